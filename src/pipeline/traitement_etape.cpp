// TraitementEtape: one named step on one database, through the same temporary copies as an
// update, so that a maintainer can try a step of a future update script on a copy of a real
// database without risk to it.
#include "pipeline/frm_attente.h"
#include "pipeline/restes.h"
#include "platform/vbstring.h"

namespace pipeline {
void FrmAttente::TraitementEtape(const std::string& cheminBase, const std::string& nom,
                                 const steps::EtapePrete& etape) {
  setMousePointer(ui::vbHourglass);
  TransactionOuverte = false;
  BaseOuverte = false;
  Succes = true;
  JournalBaseCree = false;
  TemporairesANous = false;
  piege("TraitementEtape", [&] {
    OuvreJournalBase();
    CheminBase = cheminBase;
    CheminTemp = DossierBases + "QuelMaj.mdb";
    CheminCompact = DossierBases + "QuelComp.mdb";
    Message("--- Étape " + nom + " ---");
    if (!Existe(CheminBase)) {
      throw platform::applicationError(kErrBaseAbsente, "La base est absente : " + CheminBase);
    }
    if (platform::EqualsNoCase(CheminBase, CheminTemp) || platform::EqualsNoCase(CheminBase, CheminCompact)) {
      throw platform::applicationError(kErrNomTemporaire,
                                       "La base porte le nom d'une copie temporaire : " + CheminBase);
    }
    const std::string verrou = NomVerrou(CheminBase);
    VerifieVerrou(verrou);
    GardeBase(verrou);
    NettoieRestes();
    CopieTemporaire();

    Message("Étape " + nom + " sur la base temporaire...");
    moteur_->BeginTrans();
    TransactionOuverte = true;
    Espace.emplace(moteur_->Workspaces(0));
    Bd.emplace(Espace->OpenDatabase(CheminTemp, true));
    BaseOuverte = true;
    Bd->WriteAsWorkingCopy();  // deleted unless the step succeeds
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
      RemplaceParCopie();
      Message("Étape terminée -> succès");
    } else {
      // Nothing of the step reached the live file; its copy is not kept.
      Supprime(CheminTemp);
      Message("Étape terminée -> échec");
    }
    EcritFin();
  });
  // Whatever failed, the copies go and the live database is let go.
  Termine();
}

}  // namespace pipeline
