#include "pipeline/frm_attente.h"

#include "platform/clock.h"

namespace pipeline {

platform::Error ErreurSurFichier(const platform::Error& erreur, const std::string& fichiers) {
  // Visual Basic's texts name no file, nor do the engine's disk errors (3026, 3043); the
  // engine's others name theirs already, as a Windows path.
  if (erreur.number() <= 0 || erreur.description().find(":\\") != std::string::npos) return erreur;
  return platform::Error(erreur.number(), erreur.description() + " : " + fichiers);
}

FrmAttente::FrmAttente(platform::Environment& env, ui::Desktop& desktop,
                       const pipeline::ProgramState& state, dao::DBEngine& moteur)
    : ui::Form(desktop, "frmAttente", "Installation base QUELIS"), env_(&env), state_(&state), moteur_(&moteur) {
  // A small box, the progress line across it (twips: 15 to a pixel at 96 dots per inch).
  setScaleSize(400 * 15, 80 * 15);
  LblMessage1.move(16 * 15, 24 * 15, 368 * 15, 32 * 15);
}

FrmAttente::~FrmAttente() = default;

void FrmAttente::OuvreJournalBase() {
  const platform::DateTime now = env_->Now();
  NomJournalBase = DossierBases + "QuelisBase_" + state_->VersionCourte + "_" +
                   platform::Format(now, "yyyymmdd") + platform::Format(now, "hhmmss") + ".log";
  Fso.emplace(env_->CreateFileSystemObject());
  try {
    JournalBase.emplace(Fso->CreateTextFile(NomJournalBase, true));
  } catch (const platform::Error& e) {
    throw ErreurSurFichier(e, NomJournalBase);
  }
  JournalBaseCree = true;
  JournalBase->WriteLine("Installation / mise à jour de la base de données QUELIS");
  JournalBase->WriteLine("version de l'exécutable de mise à jour : " + state_->VersionComplete);
  JournalBase->WriteLine("nouvelle version de la base : " + std::string(kVersionApres));
  if (!LibelleEnCours.empty()) JournalBase->WriteLine("base : " + LibelleEnCours);
  JournalBase->WriteLine();
  JournalBase->WriteLine("Date et heure de l'installation : " + env_->Date() + " à " + env_->Time());
  JournalBase->WriteLine();
  JournalBase->WriteLine();
  JournalBase->WriteLine("---------------------------------");
  JournalBase->WriteLine("Traitements effectués :");
}

void FrmAttente::Message(std::string_view texte) {
  if (JournalBase) JournalBase->WriteLine(texte);
  DernierMessage = std::string(texte);
  LblMessage1.setCaption(DernierMessage);
  refresh();
  if (SurMessage) SurMessage(texte);
}

dao::Database& FrmAttente::BaseEnCours() {
  if (!Bd) throw platform::Error(platform::ErrorCode::ObjectVariableNotSet);
  return *Bd;
}

void FrmAttente::EcritJournalBase(const std::string& ligne) {
  if (!JournalBase) throw platform::Error(platform::ErrorCode::ObjectVariableNotSet);
  JournalBase->WriteLine(ligne);
}

void FrmAttente::ErreurInstallation(const std::string& procedure, const platform::Error& err) {
  const std::string numero = std::to_string(platform::displayedNumber(err.number()));
  ErreursSignalees.push_back({procedure, numero, err.description()});
  if (Interactif) {
    desktop().msgBox("Erreur de mise à jour de la base de données " + DossierBases +
                         "\r\nProcédure : " + procedure + "\r\nErreur n° " + numero + "\r\n" +
                         err.description() + "\r\n",
                     ui::vbOKOnly, state_->TitreMessage);
  }
  if (JournalBase) {
    JournalBase->WriteLine();
    JournalBase->WriteLine("L'erreur suivante s'est produite durant l'installation :");
    JournalBase->WriteLine("Procédure : " + procedure);
    JournalBase->WriteLine("Erreur n° " + numero);
    JournalBase->WriteLine(err.description());
    JournalBase->WriteLine();
  }
  Succes = false;
  setMousePointer(ui::vbDefault);
}

void FrmAttente::Unload() {
  JournalBase.reset();
  Fso.reset();
  // Releasing the form releases its objects. A transaction left open by an error exit is
  // ended with them; its changes never reached the file.
  if (TransactionOuverte) {
    try {
      moteur_->Workspaces(0).Rollback();
    } catch (const platform::Error&) {
      // Nothing left to end: the level was already gone with its database.
    }
    TransactionOuverte = false;
  }
  Bd.reset();
  Espace.reset();
  BaseOuverte = false;
  LibereBase();
  unloaded();
}

}  // namespace pipeline
