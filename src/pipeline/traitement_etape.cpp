// TraitementEtape: one named step on one database, through the same temporary copies as an
// update, so that a maintainer can try a step of a future update script on a copy of a real
// database without risk to it.
#include "pipeline/frm_attente.h"
#include "platform/vbstring.h"

namespace pipeline {
namespace {

// Access's lock file: the database's name with its extension, whatever its case, made ".ldb".
std::string NomVerrou(const std::string& base) {
  const std::size_t dossier = base.find_last_of('\\');
  const std::size_t point = base.find_last_of('.');
  if (point == std::string::npos || (dossier != std::string::npos && point < dossier)) return base + ".ldb";
  return base.substr(0, point) + ".ldb";
}

}  // namespace

void FrmAttente::TraitementEtape(const std::string& cheminBase, const std::string& nom,
                                 const steps::EtapePrete& etape) {
  setMousePointer(ui::vbHourglass);
  TransactionOuverte = false;
  BaseOuverte = false;
  Succes = true;
  bool copieCommencee = false;  // from then on CheminTemp is ours to remove
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
    VerifieVerrou(NomVerrou(CheminBase));
    copieCommencee = true;
    CopieTemporaire();

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
      RemplaceParCopie();
      Message("Étape terminée -> succès");
    } else {
      // Nothing of the step reached the live file; its copy is not kept.
      Supprime(CheminTemp);
      Message("Étape terminée -> échec");
    }
    EcritFin();
  });
  // A failure before the end leaves the copy behind: removed so the next try starts clean.
  if (!Succes && copieCommencee && Existe(CheminTemp)) {
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
