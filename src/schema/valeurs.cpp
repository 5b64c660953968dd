// Value helpers: SQL literals, Null replacements, padding and the first free pilot number.
#include <algorithm>

#include "platform/dao/constants.h"
#include "platform/vbstring.h"
#include "schema/outils_schema.h"

namespace schema {

using namespace platform::dao;
using platform::Replace;
using platform::Trim;
using platform::UCase;

std::string TranslateToSQL(const Variant& valeur, std::int16_t type, const std::optional<std::string>& format) {
  if (valeur.IsEmpty() || valeur.IsNull() || Trim(valeur.CStr()).empty()) return "Null";
  switch (type) {
    case vbString:
      return "'" + Replace(valeur.CStr(), "'", "''") + "'";
    case vbInteger:
    case vbLong:
    case vbByte:
      return valeur.CStr();
    case vbSingle:
    case vbDouble:
    case vbCurrency:
      // A French workstation writes "3,5": SQL wants the point. A format is taken as it is.
      if (format) return Format(valeur, *format).CStr();
      return Replace(valeur.CStr(), ",", ".");
    case vbDate:
      return "#" + Format(Variant::Date(valeur.CDate()), format.value_or("MM/DD/YYYY")).CStr() + "#";
    case vbBoolean: {
      // CStr of a Boolean is "Vrai"/"Faux" on a French workstation, "True"/"False" elsewhere.
      const std::string texte = UCase(Variant(valeur.CBool()).CStr());
      return texte == "TRUE" || texte == "VRAI" ? "TRUE" : "FALSE";
    }
    default:
      return {};
  }
}

// The original tests the value's type name: "Double" gives 0 and anything but "Field" gives
// "". The type name of a Null value is "Null", so a plain Null always gives "".
Variant NVL(const Variant& valeur) {
  if (!valeur.IsNull()) return valeur;
  return Variant(std::string());
}

Variant NVL(const Field& champ) {
  Variant valeur = champ.Value();
  if (!valeur.IsNull()) return valeur;
  switch (champ.Type()) {
    case dbBigInt:
    case dbBinary:
    case dbBoolean:
    case dbByte:
    case dbCurrency:
    case dbDecimal:
    case dbDouble:
    case dbFloat:
    case dbInteger:
    case dbLong:
    case dbLongBinary:
    case dbNumeric:
    case dbSingle:
      return Variant(0);
    default:  // texts, memo, GUID, date and time types, unknown ones
      return Variant(std::string());
  }
}

// A side other than "D" or "G", or an empty pad, would never lengthen the value: the
// original loops for ever then. Here the value is returned as it stands instead.
Variant OutilsSchema::Padlzone(Variant& valeur, const std::string& remplissage, std::int16_t longueur,
                               const std::string& cote) {
  piege("Padlzone", [&] {
    if (valeur.IsNull()) valeur = Variant(std::string());
    if ((cote != "D" && cote != "G") || remplissage.empty()) return;
    while (platform::Len(valeur.Text()) < static_cast<std::size_t>(std::max<std::int16_t>(longueur, 0))) {
      if (cote == "D") valeur = Variant(valeur.Text() + remplissage);
      else valeur = Variant(remplissage + valeur.Text());
    }
  });
  return valeur;
}

std::int16_t OutilsSchema::AttribNumero() {
  std::int16_t numero = 0;
  piege("AttribNumero", [&] {
    Recordset numeros = BaseEnCours().OpenRecordset(
        "select val(nupilote) as numpilote from pilote order by val(nupilote)", dbOpenDynaset);
    if (numeros.Eof() && numeros.Bof()) {
      numero = 1;
    } else {
      for (std::int16_t i = 1; i <= 99; ++i) {
        numeros.MoveFirst();
        numeros.FindFirst("numpilote = " + std::to_string(i));
        if (numeros.NoMatch()) {
          numero = i;
          break;
        }
      }
    }
    numeros.Close();
  });
  return numero;
}

}  // namespace schema
