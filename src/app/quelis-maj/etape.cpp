#include "etape.h"

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "pipeline/program_state.h"
#include "pipeline/frm_attente.h"
#include "platform/dao/dao.h"
#include "platform/environment.h"
#include "platform/program.h"
#include "platform/ui/console_front_end.h"
#include "platform/ui/desktop.h"
#include "platform/ui/message_box.h"
#include "platform/workstation.h"
#include "steps/catalogue.h"
#include "texte_windows.h"

namespace etape {
namespace {

namespace fs = std::filesystem;

// A file of this machine is reached through a workstation of one drive, C:, that is its
// folder: the temporary copies and the log are written beside it.
struct Poste {
  fs::path racine;
  std::string base;
  fs::path temporaire;  // the workstation folder made for a local file, removed at the end
  ~Poste() {
    std::error_code ignore;
    if (!temporaire.empty()) fs::remove_all(temporaire, ignore);
  }
};

std::unique_ptr<Poste> Place(const std::string& workstation, const std::string& base) {
  auto poste = std::make_unique<Poste>();
  if (!workstation.empty()) {
    poste->racine = workstation;
    poste->base = base;
    return poste;
  }
  const fs::path fichier = fs::absolute(base);
  if (!fs::is_regular_file(fichier)) throw std::runtime_error("base introuvable : " + fichier.string());
  std::string modele = (fs::temp_directory_path() / "quelis-etape-XXXXXX").string();
  if (!mkdtemp(modele.data())) throw std::runtime_error("dossier temporaire impossible à créer");
  poste->temporaire = modele;
  poste->racine = modele;
  fs::create_directory_symlink(fichier.parent_path(), poste->racine / "C");
  poste->base = "C:\\" + fichier.filename().string();
  return poste;
}

std::string Dossier(const std::string& chemin) {
  const std::size_t fin = chemin.find_last_of('\\');
  return fin == std::string::npos ? std::string() : chemin.substr(0, fin + 1);
}

}  // namespace

void Liste(std::ostream& out) {
  out << "Étapes (quelis-maj etape NOM ARGUMENTS... --base CHEMIN) :\n";
  for (const steps::Etape& e : steps::Catalogue())
    out << "  " << e.nom << ' ' << e.arguments << "\n      " << e.description << '\n';
}

int Lance(const std::string& workstation, const std::string& base, const std::string& nom,
          const std::vector<std::string>& arguments, const std::optional<platform::DateTime>& horloge,
          std::ostream& out, std::ostream& err) {
  const steps::Etape* etape = steps::TrouveEtape(nom);
  if (!etape) {
    err << "quelis-maj etape: étape inconnue : " << nom << " (voir quelis-maj etape --liste)\n";
    return 2;
  }
  steps::EtapePrete prete;
  try {
    prete = etape->prepare(arguments);
  } catch (const std::invalid_argument& e) {
    err << "quelis-maj etape " << etape->nom << ": " << e.what() << '\n';
    return 2;
  }

  std::unique_ptr<Poste> poste;
  std::unique_ptr<platform::Workstation> vue;
  std::unique_ptr<platform::Environment> env;
  try {
    poste = Place(workstation, base);
    vue = std::make_unique<platform::Workstation>(poste->racine);
    platform::ProgramInfo programme;
    programme.Path = "C:\\QUELIS";
    env = std::make_unique<platform::Environment>(
        poste->racine,
        horloge ? std::shared_ptr<platform::Clock>(std::make_shared<platform::FixedClock>(*horloge))
                : std::shared_ptr<platform::Clock>(std::make_shared<platform::SystemClock>()),
        programme, std::make_shared<platform::DesktopLauncher>(*vue, false));
  } catch (const std::exception& e) {
    err << "quelis-maj etape: " << e.what() << '\n';
    return 3;
  }

  pipeline::ProgramState etat;
  etat.VersionComplete = "4.4.0.3";
  etat.VersionCourte = "4.4.0";
  etat.TitreMessage = "QUELIS - mise à jour 4.4.0";
  etat.CheminAppli = "C:\\QUELIS\\";
  etat.TypeConfiguration = pipeline::kConfigurationPortable;

  platform::ui::DefaultButtonAnswers entree;
  platform::ui::Desktop bureau(entree);
  platform::ui::ConsoleFrontEnd console(out);
  bureau.addObserver(console);
  platform::dao::DBEngine moteur(env->workstation());
  pipeline::FrmAttente forme(*env, bureau, etat, moteur);
  forme.DossierBases = Dossier(poste->base);
  forme.TraitementEtape(poste->base, etape->nom, prete);
  const bool succes = forme.Succes;
  const std::string journal = forme.NomJournalBase;
  forme.Unload();

  if (!journal.empty()) {
    fs::path local = env->workstation().resolve(journal).local;
    std::error_code ignore;
    if (workstation.empty()) local = fs::canonical(local, ignore);  // beside the file, not via C:
    out << "\nJournal de l'étape : " << (workstation.empty() ? local.string() : journal) << "\n\n";
    if (fs::is_regular_file(local)) out << LitTexteWindows(local);
  }
  return succes ? 0 : 1;
}

}  // namespace etape
