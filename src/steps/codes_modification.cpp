// Labels, ranks and codes of the code tables changed in place; a code change follows into the
// permits that use it. Codes are 16-bit numbers written as their decimal text between quotes.
#include "steps/etapes.h"

namespace steps {

using schema::dao::dbFailOnError;

void EtapesMiseAJour::MAJTypeUtilLog(std::int16_t code, const std::string& libelle) {
  piege("MAJTypeUtilLog", [&] {
    BaseEnCours().Execute(
        "UPDATE TYPUTILL SET LIUTILL = '" + libelle + "' WHERE COUTILL = '" + std::to_string(code) + "' ",
        dbFailOnError);
    EcritJournalBase(" - Modification enregistrement " + libelle + " table TYPUTILL : Ok");
  });
}

void EtapesMiseAJour::MAJTypeNatLog(std::int16_t code, const std::string& libelle) {
  piege("MAJTypeNatLog", [&] {
    BaseEnCours().Execute(
        "UPDATE TYPNATLOG SET LINLOG = '" + libelle + "' WHERE CONLOG = '" + std::to_string(code) + "' ",
        dbFailOnError);
    EcritJournalBase(" - Modification enregistrement " + libelle + " table TYPNATLOG : Ok");
  });
}

void EtapesMiseAJour::MAJTypeNatLogRang(std::int16_t code, std::int16_t rang) {
  piege("MAJTypeNatLogRang", [&] {
    const std::string r = std::to_string(rang);
    BaseEnCours().Execute(
        "UPDATE TYPNATLOG SET CORANG = '" + r + "' WHERE CONLOG = '" + std::to_string(code) + "' ", dbFailOnError);
    EcritJournalBase(" - MAJ rang enregistrement " + r + " table TYPNATLOG : Ok");
  });
}

void EtapesMiseAJour::MAJMotifAnnulPermis(std::int16_t ancien, std::int16_t nouveau) {
  piege("MAJMotifAnnulPermis", [&] {
    const std::string o = std::to_string(ancien), w = std::to_string(nouveau);
    BaseEnCours().Execute("UPDATE TYPMANNUL SET COMANNUL = '" + w + "' WHERE COMANNUL = '" + o + "'", dbFailOnError);
    EcritJournalBase(" - Modification enregistrement code COMANNUL dans table TYPMANNUL : Ok");
    BaseEnCours().Execute("UPDATE PERMIS SET COPERMANN = '" + w + "' WHERE COPERMANN = '" + o + "'", dbFailOnError);
    EcritJournalBase(" - Modification enregistrement code COPERMANN dans table PERMIS : Ok");
  });
}

// The lines name TYPMANNUL and the trap reports under "MAJMotifAnnulPermis": this step was
// written from the previous one and both stayed so.
void EtapesMiseAJour::MAJNatLogement(std::int16_t ancien, std::int16_t nouveau) {
  piege("MAJMotifAnnulPermis", [&] {
    const std::string o = std::to_string(ancien), w = std::to_string(nouveau);
    BaseEnCours().Execute("UPDATE TYPNATLOG SET CONLOG = '" + w + "' WHERE CONLOG = '" + o + "'", dbFailOnError);
    EcritJournalBase(" - Modification enregistrement sur code CONLOG  dans table TYPMANNUL : Ok");
    BaseEnCours().Execute("UPDATE PERMIS SET COPERNLOG = '" + w + "' WHERE COPERNLOG = '" + o + "'", dbFailOnError);
    EcritJournalBase(" - Modification enregistrement sur code COPERNLOG  dans table PERMIS : Ok");
  });
}

}  // namespace steps
