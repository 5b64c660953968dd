// The data-folder layout migration of release 4.4.0. An old-layout data location (the product's
// top folder on C: or D:) is moved into "Donnees\" + the site's CDIF code (school: BSECOLE);
// every step is logged in the run log, and the data location becomes "Donnees\". The network
// never migrates: old script logs of the program folder move to the network log folder instead.
#include <array>

#include "launcher/frm_param.h"
#include "platform/program.h"
#include "platform/vbstring.h"

namespace launcher {
namespace {

constexpr const char* kVersionMigration = "4.4.0";
constexpr const char* kVersionAMigrer = "4.4.0.1";

// The old-layout places of a configuration, C: first; none on the network.
std::array<std::string, 2> AnciensEmplacements(std::int32_t typeConfiguration) {
  if (typeConfiguration == pipeline::kConfigurationPortable) return {"C:\\Quelis\\", "D:\\Quelis\\"};
  if (typeConfiguration == pipeline::kConfigurationEcole) return {"C:\\QuelisEcole\\", "D:\\QuelisEcole\\"};
  return {"", ""};
}

}  // namespace

void FrmParam::MigrationDossiers() {
  const pipeline::ProgramState& s = *state_;
  if (s.VersionCourte != kVersionMigration) return;

  const auto [candidat1, candidat2] = AnciensEmplacements(s.TypeConfiguration);
  const std::string D = CheminDonnees;
  const std::string dMaj = platform::UCase(D);
  const bool aMigrer = s.TypeConfiguration != pipeline::kConfigurationReseau &&
                       (dMaj == platform::UCase(candidat1) || dMaj == platform::UCase(candidat2));
  if (!aMigrer) {
    if (s.TypeConfiguration == pipeline::kConfigurationReseau) DeplaceJournauxScript();
    return;
  }

  const std::string N = D + "Donnees\\";
  EcritJournal();
  EcritJournal("-- Migration des données à faire : " + D + "Bases");

  const std::string base = D + "Bases\\Quelis.mdb";
  if (!Fso->FileExists(base)) {
    const std::string texte = "Aucune base à traiter dans le dossier " + D + "Bases";
    ArreteMigration(texte, texte);
  }

  std::unique_ptr<BaseMigration> bd = OuvreBaseMigration();
  bd->OuvrirExclusif(base);
  // A Null version compares as not true, so it passes.
  const std::optional<std::string> livers = bd->VersionBase();
  if (livers && *livers != kVersionAMigrer) {
    bd->Fermer();
    ArreteMigration("Version de la base " + base + " incompatible (" + *livers + ").",
                    "La version de la base de données " + base + " à transférer n'est pas valide : " +
                        *livers);
  }

  if (!Fso->FolderExists(N)) {
    Fso->CreateFolder(N);
    EcritJournal("création de " + N + " : OK");
  } else {
    EcritJournal("Dossier " + N + " déjà présent.");
  }

  std::string C;
  if (s.TypeConfiguration == pipeline::kConfigurationEcole) {
    C = "BSECOLE\\";
  } else if (const std::optional<std::string> code = bd->CodeCdif()) {
    C = platform::Trim(*code) + "\\";  // the first row only
  }
  bd->Fermer();
  bd.reset();

  if (platform::Len(C) != 8) {
    const std::string texte = "Code CDIF incorrect : " + C;
    ArreteMigration(texte, texte);
  }

  const std::string cible = N + C;
  if (!Fso->FolderExists(cible)) {
    Fso->CreateFolder(cible);
    EcritJournal("création de " + cible + " : OK");
  } else {
    EcritJournal("Dossier " + cible + " déjà présent.");
  }

  MigreSousDossier(D, cible, "Bases", "Déplacement du dossier ", false);
  // A portable run leaves its RAZ\ where it is.
  if (s.TypeConfiguration == pipeline::kConfigurationEcole) {
    MigreSousDossier(D, cible, "RAZ", "Déplacement du dossier ", false);
  }
  MigreSousDossier(D, cible, "Profils", "Déplacement du dossier ", false);
  // On C: the old Lettres\ doubles as the program's templates folder: it is copied, not moved.
  if (dMaj == platform::UCase(candidat1)) {
    MigreSousDossier(D, cible, "Lettres", "Copie du dossier ", true);
  } else {
    MigreSousDossier(D, cible, "Lettres", "Déplacement du dossier ", false);
  }

  CheminDonnees = N;
}

void FrmParam::MigreSousDossier(const std::string& D, const std::string& cible, const std::string& X,
                                const std::string& prefixe, bool copie) {
  const std::string S = D + X;
  const std::string T = cible + X;
  if (!Fso->FolderExists(S + "\\")) {
    // The Lettres line does not know yet which operation it would have been.
    const std::string p = X == "Lettres" ? "Copie/Déplacement du dossier " : prefixe;
    EcritJournal(p + S + " vers " + T + " : KO car dossier initial absent.");
  } else if (Fso->FolderExists(T + "\\")) {
    EcritJournal(prefixe + S + " vers " + T + " : KO car dossier destinataire déjà présent.");
  } else {
    if (copie) {
      Fso->CopyFolder(S, T, true);
    } else {
      Fso->MoveFolder(S, T);
    }
    EcritJournal(prefixe + S + " vers " + T + " : OK");
  }
}

void FrmParam::ArreteMigration(const std::string& texteJournal, const std::string& texteMessage) {
  EcritJournal(texteJournal);
  if (state_->ModeInteractif) desktop().msgBox(texteMessage, ui::vbOKOnly, state_->TitreMessage);
  EnErreur = true;
  Unload();  // ends the program, run log closed with its end line
  platform::End();
}

void FrmParam::DeplaceJournauxScript() {
  const platform::Folder programme = Fso->GetFolder(state_->CheminAppli);
  for (platform::File fichier : programme.Files()) {
    const std::string nom = platform::UCase(fichier.Name());
    if (platform::Left(nom, 6) != "QUELIS" || platform::Right(nom, 10) != "SCRIPT.LOG") continue;
    EcritJournal("Déplacement du fichier " + fichier.Path() + " vers " + DossierLog);
    fichier.Move(DossierLog);
    EcritJournal("Déplacement du fichier " + fichier.Path() + " vers " + DossierLog + " : OK");
  }
}

}  // namespace launcher
