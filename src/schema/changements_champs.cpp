// Field changes: drop, add (with a default written into existing rows), resize by copy, and
// rebuild of a code field.
#include "platform/dao/constants.h"
#include "schema/outils_schema.h"

namespace schema {

using namespace platform::dao;

void OutilsSchema::SupChamp(const std::string& table, const std::string& champ) {
  piege("SupChamp", [&] {
    const std::string debut = " - Suppression du champ " + champ + " (table " + table + ") : ";
    if (!ExisteChamp(table, champ)) {
      EcritJournalBase(debut + "Erreur (Champ inexistant)");
      return;
    }
    BaseEnCours().TableDefs(table).Fields().Delete(champ);
    EcritJournalBase(debut + "Ok");
  });
}

void OutilsSchema::CreChamp(const std::string& table, const std::string& champ, const std::string& type,
                            std::int32_t taille, const std::optional<Variant>& defaut) {
  piege("CreChamp", [&] {
    const std::string debut = " - Création du champ " + champ + " (table " + table + ") : ";
    if (ExisteChamp(table, champ)) {
      EcritJournalBase(debut + "Erreur (Champ déjà existant)");
      return;
    }
    TableDef definition = BaseEnCours().TableDefs(table);
    Field nouveau = definition.CreateField(champ, type, taille);
    definition.Fields().Append(nouveau);
    if (defaut) {
      nouveau.SetDefaultValue(*defaut);
      // The rows already there take the default too; a blank default leaves them Null.
      const std::string litteral = TranslateToSQL(*defaut, static_cast<std::int16_t>(defaut->VarType()));
      BaseEnCours().Execute("Update " + table + " SET " + champ + " = " + litteral, dbFailOnError);
    }
    EcritJournalBase(debut + "Ok");
  });
}

// The engine cannot resize a field in place: a new field takes every property of the old
// one that can be set (errors ignored while copying, so read-only and stored-only
// properties are skipped), then the new size and rules, the rows' values, and finally the
// old field's place and name.
void OutilsSchema::ChangeFieldSize(const std::string& table, const std::string& champ, bool requis,
                                   std::int32_t taille, bool zeroLength) {
  piege("ChangeFieldSize", [&] {
    TableDef definition = BaseEnCours().TableDefs(table);
    Field ancien = definition.Fields(champ);
    Field nouveau = definition.CreateField();
    for (const Property& propriete : ancien.Properties()) {
      try {
        nouveau.Properties(propriete.Name()).SetValue(propriete.Value());
      } catch (const platform::Error&) {
        // Read-only or not settable on a new field: skipped, as the copy means to.
      }
    }
    nouveau.SetSize(taille);
    nouveau.SetName("_" + nouveau.Name());
    nouveau.SetRequired(requis);
    if (zeroLength) nouveau.SetAllowZeroLength(true);
    definition.Fields().Append(nouveau);
    definition.Fields().Refresh();
    BaseEnCours().Execute("UPDATE " + table + " Set " + table + ".[_" + champ + "] = [" + champ + "]",
                          dbFailOnError);
    definition.Fields().Delete(champ);
    definition.Fields("_" + champ).SetName(champ);
    EcritJournalBase(" - Modification du champ " + champ + " (table " + table + ") : Ok");
  });
}

// The copy statement compares with Null ("<> null") rather than testing for it, and is kept
// so. Under Jet's three-valued logic that condition is never true, so no row gets its "0" +
// code: the new field is then filled with Nulls, which a required field refuses (3314) when
// the table holds rows. The error ends the operation with "champtemp" left in the table; in
// the pipeline and the step runner the whole update is one transaction on a temporary copy,
// so the live database keeps its codes.
void OutilsSchema::ModifChampCoAgent(const std::string& table, const std::string& champ, bool requis,
                                     const std::string& type, std::int32_t taille) {
  piege("ModifChampCoAgent", [&] {
    if (!ExisteChamp(table, champ)) return;
    TableDef definition = BaseEnCours().TableDefs(table);
    definition.Fields().Append(definition.CreateField("champtemp", type, taille));
    BaseEnCours().Execute("Update " + table + " SET champtemp = '0' & " + champ + " WHERE " + champ + " <> null",
                          dbFailOnError);
    const int position = definition.Fields(champ).OrdinalPosition();
    definition.Fields().Delete(champ);
    Field nouveau = definition.CreateField(champ, type, taille);
    nouveau.SetRequired(requis);
    nouveau.SetOrdinalPosition(position);
    definition.Fields().Append(nouveau);
    BaseEnCours().Execute("Update " + table + " SET " + champ + "= champtemp", dbFailOnError);
    definition.Fields().Delete("champtemp");
    EcritJournalBase(" - Modification du champ " + champ + " de la table " + table + " : Ok");
  });
}

}  // namespace schema
