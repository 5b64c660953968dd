// TraitementEtape: one named step on one database, through the same temporary copies as an
// update, so that a maintainer can try a step of a future update script on a copy of a real
// database without risk to it.
#include "pipeline/frm_attente.h"
#include "pipeline/remplacement.h"
#include "platform/vbstring.h"

namespace pipeline {

void FrmAttente::TraitementEtape(const std::string& cheminBase, const std::string& nom,
                                 const steps::EtapePrete& etape) {
  setMousePointer(ui::vbHourglass);
  TransactionOuverte = false;
  BaseOuverte = false;
  Succes = true;
  piege("TraitementEtape", [&] {
    OuvreJournalBase();
    CheminBase = cheminBase;
    CheminTemp = DossierBases + "QuelMaj.mdb";
    CheminCompact = DossierBases + "QuelComp.mdb";
    Message("--- Étape " + nom + " ---");
    if (!Existe(CheminBase)) {
      throw platform::applicationError(kErrBaseAbsente, "La base est absente : " + CheminBase);
    }
    const std::string verrou = platform::Replace(CheminBase, ".mdb", ".ldb", platform::CompareMethod::Text);
    if (Existe(verrou)) {
      try {
        env_->files().Kill(verrou);
      } catch (const platform::Error&) {
        throw platform::applicationError(kErrFichierLdb, "Un fichier ldb est présent : " + verrou);
      }
    }

    Message("Copie vers base temporaire...");
    if (Existe(CheminTemp)) Supprime(CheminTemp);
    Copie(CheminBase, CheminTemp);
    Message("Réparation de la base temporaire...");
    moteur_->RepairDatabase(CheminTemp);

    Message("Étape " + nom + " sur la base temporaire...");
    moteur_->BeginTrans();
    TransactionOuverte = true;
    Espace.emplace(moteur_->Workspaces(0));
    Bd.emplace(Espace->OpenDatabase(CheminTemp, true));
    BaseOuverte = true;
    etape(*this);
    if (Succes) {
      moteur_->CommitTrans();
    } else {
      moteur_->Rollback();
    }
    TransactionOuverte = false;
    Bd->Close();
    Bd.reset();
    BaseOuverte = false;

    if (Succes) {
      Message("Compactage base temporaire");
      if (Existe(CheminCompact)) Supprime(CheminCompact);
      moteur_->CompactDatabase(CheminTemp, CheminCompact);
      Message("Suppression bases temporaires");
      Supprime(CheminTemp);
      RemplaceFichier(env_->workstation(), CheminCompact, CheminBase);
      Message("Étape terminée -> succès");
    } else {
      // Nothing of the step reached the live file; its copy is not kept.
      Supprime(CheminTemp);
      Message("Étape terminée -> échec");
    }
    EcritFin();
  });
  // A failure before the end leaves the copy behind: removed so the next try starts clean.
  if (!Succes && !CheminTemp.empty() && Existe(CheminTemp)) {
    if (BaseOuverte && Bd) Bd->Close();
    Bd.reset();
    BaseOuverte = false;
    if (TransactionOuverte) {
      moteur_->Rollback();
      TransactionOuverte = false;
    }
    try {
      Supprime(CheminTemp);
    } catch (const platform::Error&) {
      // Left for the next run, which removes it before copying.
    }
  }
}

}  // namespace pipeline
