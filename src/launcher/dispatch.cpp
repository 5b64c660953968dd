// Run dispatch: one data folder at a time, its database through the wait form, then the
// mail-merge letter templates. Every outcome goes to the run log, indented with tabs; a failed
// database marks the run as failed and the run goes on with the next folder.
#include <stdexcept>

#include "launcher/frm_param.h"
#include "platform/program.h"
#include "platform/vbfiles.h"
#include "platform/vbstring.h"

namespace launcher {

void FrmParam::LanceTraitement(DossierDonnees& Dossier) {
  trap("LanceTraitement", [&] {
    const pipeline::ProgramState& s = *state_;
    LibelleBase.clear();
    Bilan.emplace_back();
    Bilan.back().Chemin = Dossier.Chemin;
    Bilan.back().Libelle = Dossier.Libelle;
    EcritJournal();
    EcritJournal("Traitement du dossier " + Dossier.Chemin + " (" + Dossier.Libelle + ") - début traitement");

    // On the network the templates go to the exchange tree mirroring the data tree.
    DossierCourant = Dossier.Chemin;
    if (s.TypeConfiguration == pipeline::kConfigurationReseau) {
      DossierCourant = platform::Replace(Dossier.Chemin, CheminDonneesRegistre, CheminEchange,
                                         platform::CompareMethod::Text);
    }

    if (chkActions(0).value() == ui::vbChecked) {
      EcritJournal("\tTraitement de la base " + Dossier.Chemin + "Bases\\Quelis.mdb (" + Dossier.Libelle +
                   ") - début traitement");
      if (!frmAttente) {
        frmAttente = CreeFrmAttente();
        frmAttente->RetourLibelle = [this](const std::string& libelle) { LibelleBase = libelle; };
      }
      frmAttente->DossierBases = Dossier.Chemin + "Bases\\";
      frmAttente->LibelleEnCours = Dossier.Libelle;
      frmAttente->DossierCourant = DossierCourant;
      frmAttente->Interactif = s.ModeInteractif;
      frmAttente->show();
      frmAttente->Traitement();
      BilanDossier& bilan = Bilan.back();
      bilan.BaseTraitee = true;
      bilan.BaseReussie = frmAttente->Succes;
      if (frmAttente->JournalBaseCree) bilan.JournalBase = frmAttente->NomJournalBase;
      bilan.Erreurs = frmAttente->ErreursSignalees;
      if (frmAttente->Succes) {
        EcritJournal("\t\tTraitement de la base réussi");
      } else if (frmAttente->JournalBaseCree) {
        EcritJournal("\t\tTraitement de la base en échec -> voir log liée à la base");
        EnErreur = true;
      } else {
        // No database log to look into: its errors are told here.
        EcritJournal("\t\tTraitement de la base en échec -> log liée à la base non créée : " +
                     frmAttente->NomJournalBase);
        for (const auto& erreur : frmAttente->ErreursSignalees) {
          EcritJournal("\t\tProcédure : " + erreur.Procedure + " - Erreur n° " + erreur.Numero + " - " +
                       erreur.Description);
        }
        EnErreur = true;
      }
      frmAttente->Unload();
      frmAttente.reset();
      if (!LibelleBase.empty()) Dossier.Libelle = LibelleBase;
      Bilan.back().Libelle = Dossier.Libelle;
      EcritJournal("\tTraitement de la base " + Dossier.Chemin + "Bases\\Quelis.mdb (" + Dossier.Libelle +
                   ") - fin traitement");
    }

    if (chkActions(1).value() == ui::vbChecked) CopieLettres();

    EcritJournal("Traitement du dossier " + Dossier.Chemin + " (" + Dossier.Libelle + ") - fin traitement");
  });
}

void FrmParam::CopieLettres() {
  const pipeline::ProgramState& s = *state_;
  bool copierLettres = true;
  EcritJournal("\tCopie des modèles de lettres vers " + DossierCourant + " - début traitement");
  if (env_->files().Dir(DossierCourant, platform::vbDirectory).empty()) {
    EcritJournal("\t\tCréation du dossier " + DossierCourant);
    env_->files().MkDir(DossierCourant);
    EcritJournal("\t\tCréation du dossier : OK");
  }
  if (Fso->FolderExists(DossierCourant + "Lettres\\")) {
    EcritJournal("\t\tLe dossier " + DossierCourant + " existe déjà.");
    // Silent runs never ask: an existing Lettres\ is always replaced.
    if (s.ModeInteractif) {
      const int reponse = desktop().msgBox(
          DossierCourant +
              "Lettres\\ existe déjà.\r\nVoulez-vous remplacer ce dossier par celui contenant les "
              "modèles de publipostage ?",
          ui::vbYesNo + ui::vbExclamation, s.TitreMessage);
      if (reponse == ui::vbNo) {
        EcritJournal("\t\tAnnulation de la copie par l'utilisateur");
        if (!Bilan.empty()) Bilan.back().Lettres = "copie annulée par l'utilisateur";
        copierLettres = false;
      } else {
        EcritJournal("\t\tAcceptation de l'écrasement du dossier Lettres par l'utilisateur");
      }
    }
  }
  if (copierLettres) {
    EcritJournal("\t\tCopie du dossier Lettres");
    // Errors of the copy are caught here and only logged: they do not fail the run.
    try {
      CopieDossier(DossierLettres, DossierCourant + "Lettres");
      EcritJournal("\t\tCopie des lettres : OK");
      if (!Bilan.empty()) Bilan.back().Lettres = "copiés";
    } catch (const platform::ProgramEnd&) {
      throw;
    } catch (const std::logic_error&) {
      throw;
    } catch (...) {
      const platform::Error err = platform::currentError();
      EcritJournal("\t\tCopie des lettres en erreur : " + err.description() + " (" +
                   std::to_string(err.number()) + ")");
      if (!Bilan.empty()) {
        Bilan.back().Lettres = "copie en erreur : " + err.description() + " (" + std::to_string(err.number()) + ")";
      }
    }
  }
  EcritJournal("\tCopie des modèles de lettres vers " + DossierCourant + " - fin traitement");
}

void FrmParam::CopieDossier(const std::string& Source, const std::string& Destination) {
  if (Source.empty()) return;
  if (!Fso->FolderExists(Source)) return;
  if (Fso->FolderExists(Destination)) Fso->DeleteFolder(Destination, true);
  Fso->CopyFolder(Source, Destination, true);
}

}  // namespace launcher
