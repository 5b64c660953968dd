// Traitement: one data folder's database, installed from a delivered school database or
// updated through temporary copies. Every step is announced through Message; any error ends
// the call through ErreurInstallation ("Traitement").
#include "pipeline/frm_attente.h"
#include "pipeline/remplacement.h"
#include "platform/vbfiles.h"
#include "platform/vbstring.h"

namespace pipeline {

namespace {

std::string Gauche(const std::string& texte, std::size_t retires) {
  return texte.size() > retires ? texte.substr(0, texte.size() - retires) : std::string();
}

}  // namespace

void FrmAttente::Traitement() {
  setMousePointer(ui::vbHourglass);
  TransactionOuverte = false;
  BaseOuverte = false;
  Succes = true;
  piege("Traitement", [&] {
    OuvreJournalBase();
    setCaption("Installation base QUELIS - " + state_->VersionCourte +
               (state_->TypeConfiguration == pipeline::kConfigurationEcole ? " ECOLE" : ""));
    refresh();
    ConstruitChemins();
    if (state_->TypeConfiguration != pipeline::kConfigurationEcole || state_->ChoixBaseEcole == 1) {
      BrancheMiseAJour();
    } else {
      BrancheEcole();
    }
    EcritFin();
  });
}

void FrmAttente::ConstruitChemins() {
  CheminBase = DossierBases + "Quelis.mdb";
  CheminSauvegarde = DossierBases + "QuelisSauv_18012013.mdb";
  CheminTemp = DossierBases + "QuelMaj.mdb";
  CheminCompact = DossierBases + "QuelComp.mdb";
  if (state_->TypeConfiguration != pipeline::kConfigurationEcole) return;
  // Bases\ and RAZ\ are siblings in the data folder.
  DossierRAZ = Gauche(DossierBases, 6) + "RAZ\\";
  CheminBaseRAZ = DossierRAZ + "Quelis.mdb";
  CheminTempRAZ = DossierRAZ + "QuelMaj.mdb";
  CheminCompactRAZ = DossierRAZ + "QuelComp.mdb";
  switch (state_->ChoixBaseEcole) {
    case 1:
      CheminBaseEcole.clear();
      break;
    case 2:
      CheminBaseEcole = state_->CheminAppli + "QuelisEcoleTorvandes_" + state_->VersionCourte + ".mdb";
      break;
    case 3:
      CheminBaseEcole = state_->CheminAppli + "QuelisEcoleMiranel_" + state_->VersionCourte + ".mdb";
      break;
    default:
      throw platform::applicationError(kErrBaseEcoleNonChoisie, "Traitement base Ecole non choisi");
  }
}

void FrmAttente::BrancheMiseAJour() {
  Message("--- Mise à jour base existante ---");
  if (!Existe(CheminBase)) {
    throw platform::applicationError(kErrBaseAbsente, "La base est absente : " + CheminBase);
  }
  VerifieVerrou(platform::Replace(CheminBase, ".mdb", ".ldb"));
  VerifieVersion();
  CopieTemporaire();

  Message("Mise à jour de la base temporaire...");
  MiseAJour(CheminTemp);

  if (Succes) {
    RemplaceParCopie();

    if (state_->TypeConfiguration == pipeline::kConfigurationEcole) {
      if (Existe(CheminBaseRAZ)) {
        MiseAJourRAZ();
      } else {
        CopieRAZ();
      }
    }

    Message("Installation de la base terminée -> succès");
    if (Interactif) {
      desktop().msgBox("Installation de la base " + LibelleEnCours + " terminée avec succès", ui::vbOKOnly,
                       state_->TitreMessage);
    }
  } else {
    // The temporary copy stays for inspection; the live database was never touched.
    Message("Installation de la base terminée -> échec");
    if (Interactif) {
      desktop().msgBox("Installation de la base " + LibelleEnCours + " terminée en échec", ui::vbOKOnly,
                       state_->TitreMessage);
    }
  }
}

// A lock file nobody holds is a leftover: removed silently. One held open means the
// database is in use.
void FrmAttente::VerifieVerrou(const std::string& verrou) {
  // A name that is the database's own (no ".mdb" to replace) is never taken for its lock.
  if (platform::EqualsNoCase(verrou, CheminBase)) return;
  if (Existe(verrou)) {
    try {
      env_->files().Kill(verrou);
    } catch (const platform::Error&) {
      throw platform::applicationError(kErrFichierLdb, "Un fichier ldb est présent : " + verrou);
    }
  }
}

void FrmAttente::CopieTemporaire() {
  Message("Copie vers base temporaire...");
  if (Existe(CheminTemp)) Supprime(CheminTemp);
  Copie(CheminBase, CheminTemp);

  Message("Réparation de la base temporaire...");
  moteur_->RepairDatabase(CheminTemp);
}

void FrmAttente::RemplaceParCopie() {
  Message("Compactage base temporaire");
  if (Existe(CheminCompact)) Supprime(CheminCompact);
  moteur_->CompactDatabase(CheminTemp, CheminCompact);

  Message("Suppression bases temporaires");
  Supprime(CheminTemp);
  RemplaceFichier(env_->workstation(), CheminCompact, CheminBase);
}

// The version gate, on the live database opened exclusively and closed again.
void FrmAttente::VerifieVersion() {
  Espace.emplace(moteur_->Workspaces(0));
  Bd.emplace(Espace->OpenDatabase(CheminBase, true));
  BaseOuverte = true;
  dao::Recordset rs = Bd->OpenRecordset("VERSION", dao::dbOpenDynaset);
  const dao::Variant livers = rs("livers");
  // A Null version passes both tests (a comparison with Null is not true).
  if (livers == kVersionApres) {
    throw platform::applicationError(kErrVersionDejaAJour,
                                     "La version de la base de données est déjà mise à jour : " + livers.Text());
  }
  if (livers != kVersionAvant) {
    throw platform::applicationError(kErrVersionInvalide,
                                     "La version de la base de données n'est pas valide : " + livers.Text());
  }
  rs.Close();
  Bd->Close();
  BaseOuverte = false;
}

// The reset database follows the same copy, update, compact and replace sequence, without
// the repair and whatever MiseAJour's outcome: a half-updated copy fails the next step.
void FrmAttente::MiseAJourRAZ() {
  Message("Copie vers base RAZ temporaire");
  if (Existe(CheminTempRAZ)) Supprime(CheminTempRAZ);
  Copie(CheminBaseRAZ, CheminTempRAZ);

  Message("Mise à jour base RAZ temporaire");
  MiseAJour(CheminTempRAZ);

  Message("Compactage base RAZ temporaire");
  if (Existe(CheminCompactRAZ)) Supprime(CheminCompactRAZ);
  moteur_->CompactDatabase(CheminTempRAZ, CheminCompactRAZ);

  Message("Suppression bases RAZ temporaires");
  Supprime(CheminTempRAZ);
  RemplaceFichier(env_->workstation(), CheminCompactRAZ, CheminBaseRAZ);
}

void FrmAttente::BrancheEcole() {
  Message("--- Installation base Ecole ---");
  if (Existe(CheminBase)) {
    Message("suppression de la base existante " + CheminBase);
    Supprime(CheminBase);
  }
  Message("Copie de la base " + CheminBaseEcole);
  Copie(CheminBaseEcole, CheminBase);

  Espace.emplace(moteur_->Workspaces(0));
  Bd.emplace(Espace->OpenDatabase(CheminBase, true));
  BaseOuverte = true;
  LibelleCreation();
  Bd->Close();
  BaseOuverte = false;
  Bd.reset();
  Espace.reset();

  CopieRAZ();
}

void FrmAttente::EcritFin() {
  JournalBase->WriteLine();
  JournalBase->WriteLine("Fin : " + env_->Date() + " à " + env_->Time());
  JournalBase->Close();
  Fso.reset();
  setMousePointer(ui::vbDefault);
}

bool FrmAttente::Existe(const std::string& chemin) { return !env_->files().Dir(chemin).empty(); }

void FrmAttente::Supprime(const std::string& chemin) { env_->files().Kill(chemin); }

void FrmAttente::Copie(const std::string& source, const std::string& destination) {
  env_->files().FileCopy(source, destination);
}

}  // namespace pipeline
