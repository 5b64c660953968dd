// Traitement: one data folder's database, installed from a delivered school database or
// updated through temporary copies. Every step is announced through Message; any error ends
// the call through ErreurInstallation ("Traitement").
#include <memory>

#include "pipeline/frm_attente.h"
#include "pipeline/remplacement.h"
#include "pipeline/restes.h"
#include "platform/dao/dao_error.h"
#include "platform/localfs.h"
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
  JournalBaseCree = false;
  TemporairesANous = false;
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
  Termine();
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
  const std::string verrou = platform::Replace(CheminBase, ".mdb", ".ldb");
  VerifieVerrou(verrou);
  GardeBase(verrou);
  NettoieRestes();
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
    // The live database was never touched; the temporary copy goes at the end (Termine).
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

void FrmAttente::GardeBase(const std::string& verrou) {
  if (!platform::EqualsNoCase(verrou, CheminBase)) {
    try {
      VerrouTenu.emplace(env_->workstation().resolveOnDrive(verrou).local);
      CheminVerrouTenu = verrou;
    } catch (const std::system_error&) {
      throw platform::applicationError(kErrFichierLdb, "Un fichier ldb est présent : " + verrou);
    }
  }
  Garde.emplace(env_->workstation(), CheminBase);
  TemporairesANous = true;
  // The database will be replaced: a file that may not be written is refused now (3051), as
  // the original's first opening of it, exclusive and for writing, refused it.
  if (platform::localfs::isReadOnly(Garde->local())) throw platform::dao::daoError(3051, CheminBase);
}

void FrmAttente::LibereBase() {
  if (Garde) Garde->release();
  Garde.reset();
  if (VerrouTenu) {
    VerrouTenu.reset();
    try {
      SupprimeTemporaire(env_->workstation(), CheminVerrouTenu);
    } catch (const platform::Error&) {
      // Someone took it the moment it was let go: theirs now.
    }
  }
  CheminVerrouTenu.clear();
}

std::vector<std::string> FrmAttente::Temporaires() const {
  std::vector<std::string> chemins = FichiersTemporaires(
      env_->workstation(), DossierBases,
      {platform::LastComponent(CheminTemp), platform::LastComponent(CheminCompact)}, CheminBase);
  if (!DossierRAZ.empty()) {
    for (std::string& c : FichiersTemporaires(env_->workstation(), DossierRAZ,
                                              {platform::LastComponent(CheminTempRAZ),
                                               platform::LastComponent(CheminCompactRAZ)},
                                              CheminBaseRAZ))
      chemins.push_back(std::move(c));
  }
  return chemins;
}

void FrmAttente::NettoieRestes() {
  for (const std::string& chemin : Temporaires()) SupprimeTemporaire(env_->workstation(), chemin);
}

void FrmAttente::RetireTemporaires() {
  if (BaseOuverte && Bd) {
    try {
      Bd->Close();
    } catch (const platform::Error&) {
      // Closed with its failure already.
    }
  }
  Bd.reset();
  BaseOuverte = false;
  if (TransactionOuverte) {
    try {
      moteur_->Rollback();
    } catch (const platform::Error&) {
      // The level went with its database.
    }
    TransactionOuverte = false;
  }
  for (const std::string& chemin : Temporaires()) {
    try {
      SupprimeTemporaire(env_->workstation(), chemin);
    } catch (const platform::Error&) {
      // Held by another process, or refused: a later run finds it and says so.
    }
  }
}

void FrmAttente::Termine() {
  if (!Succes && TemporairesANous) {
    try {
      RetireTemporaires();
    } catch (const platform::Error&) {
      // The folder itself cannot be listed any more: nothing can be removed.
    }
  }
  LibereBase();
}

void FrmAttente::CopieTemporaire() {
  Message("Copie vers base temporaire...");
  if (Existe(CheminTemp)) Supprime(CheminTemp);
  Copie(CheminBase, CheminTemp);

  Message("Réparation de la base temporaire...");
  try {
    moteur_->RepairDatabase(CheminTemp, Avancement(CheminTemp));
  } catch (const platform::Error& e) {
    throw ErreurSurFichier(e, "réparation de " + CheminTemp);
  }
}

void FrmAttente::RemplaceParCopie() {
  Message("Compactage base temporaire");
  if (Existe(CheminCompact)) Supprime(CheminCompact);
  Compacte(CheminTemp, CheminCompact);

  Message("Suppression bases temporaires");
  Supprime(CheminTemp);
  Remplace(CheminCompact, CheminBase, Garde ? &*Garde : nullptr);
}

// The version gate, on the live database opened and closed again. The form holds it against
// writers already (GardeBase), so it is opened for reading beside that hold, where the
// original opened it exclusively for writing.
void FrmAttente::VerifieVersion() {
  Espace.emplace(moteur_->Workspaces(0));
  Bd.emplace(Espace->OpenDatabase(CheminBase, false, true));
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
  Compacte(CheminTempRAZ, CheminCompactRAZ);

  Message("Suppression bases RAZ temporaires");
  Supprime(CheminTempRAZ);
  Remplace(CheminCompactRAZ, CheminBaseRAZ, nullptr);
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

void FrmAttente::Supprime(const std::string& chemin) {
  try {
    env_->files().Kill(chemin);
  } catch (const platform::Error& e) {
    throw ErreurSurFichier(e, chemin);
  }
}

std::function<void(std::uint64_t, std::uint64_t)> FrmAttente::Avancement(const std::string& fichier) {
  std::int64_t taille = 0;
  try {
    taille = env_->files().FileLen(fichier);
  } catch (const platform::Error&) {
    return {};  // the step itself reports the missing file
  }
  if (taille < SeuilAvancement) return {};
  auto dixiemes = std::make_shared<std::uint64_t>(0);
  return [this, dixiemes](std::uint64_t fait, std::uint64_t total) {
    const std::uint64_t atteint = total ? fait * 10 / total : 0;
    if (atteint <= *dixiemes || atteint >= 10) return;
    *dixiemes = atteint;
    const std::string texte = DernierMessage + " (" + std::to_string(atteint * 10) + " %)";
    LblMessage1.setCaption(texte);
    refresh();
    if (SurMessage) SurMessage(texte);
  };
}

void FrmAttente::Copie(const std::string& source, const std::string& destination) {
  try {
    env_->files().FileCopy(source, destination, Avancement(source));
  } catch (const platform::Error& e) {
    throw ErreurSurFichier(e, "copie de " + source + " vers " + destination);
  }
}

void FrmAttente::Compacte(const std::string& source, const std::string& destination) {
  try {
    moteur_->CompactDatabase(source, destination, Avancement(source));
  } catch (const platform::Error& e) {
    throw ErreurSurFichier(e, "compactage de " + source + " vers " + destination);
  }
}

void FrmAttente::Remplace(const std::string& source, const std::string& cible, platform::dao::WriteGuard* garde) {
  try {
    RemplaceFichier(env_->workstation(), source, cible, garde);
  } catch (const platform::Error& e) {
    throw ErreurSurFichier(e, "remplacement de " + cible + " par " + source);
  }
}

}  // namespace pipeline
