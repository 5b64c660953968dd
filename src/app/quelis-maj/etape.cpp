#include "etape.h"

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "pipeline/program_state.h"
#include "pipeline/frm_attente.h"
#include "platform/dao/dao.h"
#include "platform/environment.h"
#include "platform/localfs.h"
#ifdef _WIN32
#include "platform/native_workstation.h"
#endif
#include "platform/program.h"
#include "platform/ui/console_front_end.h"
#include "platform/ui/desktop.h"
#include "platform/ui/message_box.h"
#include "platform/workstation.h"
#include "sample/reference_database.h"
#include "steps/catalogue.h"
#include "texte_windows.h"
#include "dossier_temporaire.h"

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

// `existante`: the file must be there (a step runs on it), else it is to be made and only
// its folder must be there.
std::unique_ptr<Poste> Place(const std::string& workstation, const std::string& base, bool existante = true) {
  auto poste = std::make_unique<Poste>();
  if (!workstation.empty()) {
    poste->racine = platform::localfs::fromUtf8(workstation);
    poste->base = base;
    return poste;
  }
  const fs::path fichier = fs::absolute(platform::localfs::fromUtf8(base));
  if (existante && !fs::is_regular_file(fichier))
    throw std::runtime_error("base introuvable : " + platform::localfs::toUtf8(fichier));
  if (!existante && !fs::is_directory(fichier.parent_path()))
    throw std::runtime_error("dossier introuvable : " + platform::localfs::toUtf8(fichier.parent_path()));
#ifdef _WIN32
  // A file of this machine is already named by a Windows path.
  poste->base = platform::localfs::toUtf8(fichier.lexically_normal().make_preferred());
#else
  // A workstation made for the occasion, whose drive C: is the file's folder.
  poste->temporaire = NouveauDossierTemporaire("quelis-etape");
  poste->racine = poste->temporaire;
  fs::create_directory_symlink(fichier.parent_path(), poste->racine / "C");
  poste->base = "C:\\" + platform::localfs::toUtf8(fichier.filename());
#endif
  return poste;
}

// The workstation the step runs on: the folder when one is given, else this machine (Windows)
// or the folder made by Place.
std::unique_ptr<platform::Workstation> Ouvre(const Poste& poste) {
#ifdef _WIN32
  if (poste.racine.empty()) return platform::ThisMachine();
#endif
  return std::make_unique<platform::FolderWorkstation>(poste.racine);
}

std::string Dossier(const std::string& chemin) {
  const std::size_t fin = chemin.find_last_of('\\');
  return fin == std::string::npos ? std::string() : chemin.substr(0, fin + 1);
}

}  // namespace

void Liste(std::ostream& out) {
  out << "Étapes (quelis-maj etape NOM ARGUMENTS... --base CHEMIN) :\n";
  for (const steps::Etape& e : steps::Catalogue())
    out << "  " << e.nom << (e.arguments.empty() ? "" : " " + e.arguments) << "\n      " << e.description << '\n';
}

int Lance(const std::string& workstation, const std::string& base, const std::string& nom,
          const std::vector<std::string>& arguments, const std::optional<platform::DateTime>& horloge,
          std::ostream& out, std::ostream& err, const std::optional<int>& fichesReference) {
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
  if (fichesReference) {
    if (const int cree = CreeBaseReference(workstation, base, *fichesReference, out, err); cree != 0) return cree;
  }

  std::unique_ptr<Poste> poste;
  std::unique_ptr<platform::Workstation> vue;
  std::unique_ptr<platform::Environment> env;
  try {
    poste = Place(workstation, base);
    vue = Ouvre(*poste);
    platform::ProgramInfo programme;
    programme.Path = "C:\\QUELIS";
    env = std::make_unique<platform::Environment>(
        Ouvre(*poste),
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
    out << "\nJournal de l'étape : " << (workstation.empty() ? platform::localfs::toUtf8(local) : journal) << "\n\n";
    if (fs::is_regular_file(local)) out << LitTexteWindows(local);
  }
  return succes ? 0 : 1;
}

int CreeBaseReference(const std::string& workstation, const std::string& base, int fiches, std::ostream& out,
                      std::ostream& err) {
  std::unique_ptr<Poste> poste;
  std::unique_ptr<platform::Workstation> vue;
  try {
    poste = Place(workstation, base, false);
    vue = Ouvre(*poste);
  } catch (const std::exception& e) {
    err << "quelis-maj etape: " << e.what() << '\n';
    return 3;
  }
  echantillon::BaseEchantillon modele;
  modele.site = {"059", "01", "00", "Centre des impôts fonciers de Lille"};
  modele.fiches = fiches;
  platform::dao::DBEngine moteur(*vue);
  try {
    echantillon::CreeBaseReference(moteur, poste->base, modele);
  } catch (const platform::Error& e) {
    err << "quelis-maj etape: base de référence non créée (" << base << ") : " << e.description() << '\n';
    return e.number() == 3204 ? 2 : 3;
  } catch (const std::exception& e) {
    err << "quelis-maj etape: base de référence non créée (" << base << ") : " << e.what() << '\n';
    return 3;
  }
  out << "Base de référence créée : " << base << " (version 4.4.0.1, " << fiches << " fiches)\n";
  return 0;
}

}  // namespace etape
