// The works codes renumbered in NATTRAV and in the permits that use them, one code at a time
// in the text order of the codes.
#include "steps/etapes.h"

namespace steps {

using schema::dao::dbFailOnError;

namespace {

// VB's IsNumeric on a text: what CDbl would read (blanks around, a sign, a decimal comma).
bool EstNumerique(const schema::dao::Variant& valeur) {
  if (valeur.IsNull()) return false;
  try {
    valeur.CDbl();
    return true;
  } catch (const platform::Error&) {
    return false;
  }
}

}  // namespace

void EtapesMiseAJour::MajTableNatTrav() {
  piege("MajTableNatTrav", [&] {
    schema::dao::Recordset rs = BaseEnCours().OpenRecordset(
        "SELECT CONTRAV FROM NATTRAV WHERE CONTRAV NOT in ('','1','2','3','4','5','6') order by CONTRAV");
    int numero = 12;
    while (!rs.Eof()) {
      const schema::dao::Variant code = rs("CONTRAV");
      if (EstNumerique(code)) {
        const std::string n = std::to_string(numero), c = code.CStr();
        BaseEnCours().Execute("Update NATTRAV SET CONTRAV  = '" + n + "' where CONTRAV = '" + c + "' ", dbFailOnError);
        EcritJournalBase(" - Modification enregistrement sur code CONTRAV dans table NATTRAV : Ok");
        BaseEnCours().Execute("UPDATE PERMIS SET COPERTRAV='" + n + "' WHERE COPERTRAV='" + c + "' ", dbFailOnError);
        EcritJournalBase(" - Modification enregistrement sur code COPERTRAV dans table PERMIS : Ok");
        ++numero;
      }
      rs.MoveNext();
    }
    rs.Close();
  });
}

void EtapesMiseAJour::MajTableNatTrav2() {
  piege("MajTableNatTrav2", [&] {
    schema::dao::Recordset rs = BaseEnCours().OpenRecordset(
        "SELECT CONTRAV FROM NATTRAV WHERE CONTRAV in ('1','2','3','4','5','6','7','8','9') order by CONTRAV");
    while (!rs.Eof()) {
      const schema::dao::Variant code = rs("CONTRAV");
      if (EstNumerique(code)) {
        const std::string c = code.CStr();
        BaseEnCours().Execute("Update NATTRAV SET CONTRAV  = '0" + c + "' where CONTRAV = '" + c + "' ", dbFailOnError);
        EcritJournalBase(" - Modification enregistrement sur code CONTRAV dans table NATTRAV : Ok");
        BaseEnCours().Execute("UPDATE PERMIS SET COPERTRAV='0" + c + "' WHERE COPERTRAV='" + c + "' ", dbFailOnError);
        EcritJournalBase(" - Modification enregistrement sur code COPERTRAV dans table PERMIS : Ok");
      }
      rs.MoveNext();
    }
    rs.Close();
  });
}

}  // namespace steps
