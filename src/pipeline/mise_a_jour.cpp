// MiseAJour: the update script of this release, run on a temporary copy. One workspace
// transaction, begun before the database is opened so that the database joins it, holds the
// version change and the survey-field restore: both reach the file together or not at all.
#include "pipeline/frm_attente.h"

namespace pipeline {

namespace {

// Survey date and code put back from the backup of 18 January 2013, for case records of
// type '1' that have no survey check, no completion date and no plan date.
std::string RequeteRetourTopo(const std::string& cheminSauvegarde) {
  return "UPDATE FICHE INNER JOIN [;database=" + cheminSauvegarde +
         "].FICHE AS FICHE1 ON (FICHE.NUFICHE = FICHE1.NUFICHE) AND (FICHE.COPERAUT = FICHE1.COPERAUT) AND "
         "(FICHE.NUPERMIS = FICHE1.NUPERMIS) AND (FICHE.COCNE = FICHE1.COCNE) SET FICHE.DAFICTOPO = "
         "[FICHE1].[DAFICTOPO], FICHE.COFICTOPO = [FICHE1].[COFICTOPO] WHERE fiche.cofictyp = '1' AND "
         "fiche.coficvtopo is null AND fiche.daficcro is null AND fiche.daficplan is null";
}

}  // namespace

void FrmAttente::MiseAJour(const std::string& chemin) {
  piege("MiseAJour " + chemin, [&] {
    moteur_->BeginTrans();
    TransactionOuverte = true;
    Espace.emplace(moteur_->Workspaces(0));
    Bd.emplace(Espace->OpenDatabase(chemin, true));
    BaseOuverte = true;
    Bd->WriteAsWorkingCopy();  // deleted unless the update succeeds

    Message(" 1- Mise à jour table VERSION --------------");
    dao::Recordset rs = Bd->OpenRecordset("VERSION");
    const dao::Variant livers = rs("livers");
    if (livers == kVersionApres) {
      throw platform::applicationError(kErrVersionDejaAJour,
                                       "La version de la base de données est déjà mise à jour : " + livers.Text());
    }
    // The second test cannot hold after the first; a Null version fails both.
    if (livers == kVersionAvant || livers == kVersionApres) {
      rs.Edit();
      rs.Fields("livers").SetValue(std::string(kVersionApres));
      rs.Fields("liverslexe").SetValue(std::string(kVersionAvant));
      rs.Update();
      EcritJournalBase(" - Mise à jour Version " + std::string(kVersionApres) + " : Ok");
    } else {
      throw platform::applicationError(kErrVersionInvalide,
                                       "La version de la base de données n'est pas valide : " + livers.Text());
    }
    rs.Close();

    Message(" 2- Retour arrière sur les infos topo --------------");
    Bd->SetProgress(Avancement(chemin));
    Bd->Execute(RequeteRetourTopo(CheminSauvegarde), dao::dbFailOnError);
    Bd->SetProgress({});
    EcritJournalBase(" - Nombre d'enregistrements traités / nombre total de fiches : " +
                     std::to_string(Bd->RecordsAffected()) + " sur " +
                     std::to_string(Bd->TableDefs("FICHE").RecordCount()));

    if (Succes) {
      if (TransactionOuverte) {
        moteur_->CommitTrans();
        TransactionOuverte = false;
      }
      Message("Succès de la mise à jour.");
    } else {
      if (TransactionOuverte) {
        moteur_->Rollback();
        TransactionOuverte = false;
      }
      Message("Echec de la mise à jour.");
    }
    if (BaseOuverte) {
      Bd->Close();
      BaseOuverte = false;
      Bd.reset();
    }
  });
}

}  // namespace pipeline
