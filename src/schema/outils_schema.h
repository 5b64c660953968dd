// The schema toolkit of the wait form: the probes, structure changes and value helpers with
// which update steps change the database being updated.
//
// Every operation works on the form's open database (Bd) and writes its result line, where
// it has one, straight to the per-database log. Each installs its own error trap: an engine
// error goes to the form's ErreurInstallation under the operation's own name and the
// operation returns at once, leaving done what it had done (the appended "_" field of
// ChangeFieldSize, the "champtemp" of ModifChampCoAgent). None raises to its caller.
// Statements run with dbFailOnError, so a statement that cannot change every row changes
// none.
//
// The form provides the three things the toolkit needs by deriving from OutilsSchema.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "platform/dao/dao.h"
#include "platform/error.h"
#include "platform/program.h"

namespace schema {

namespace dao = platform::dao;

class OutilsSchema {
 public:
  virtual ~OutilsSchema() = default;

  // --- Probes: names match when equal once trimmed of spaces and upper-cased ---
  bool ExisteTable(const std::string& table);
  bool ExisteChamp(const std::string& table, const std::string& champ);
  bool ExisteIndex(const std::string& table, const std::string& index);
  bool ExisteReq(const std::string& requete);

  // --- Structure changes ---
  void SupChamp(const std::string& table, const std::string& champ);
  // `type` is the engine's field-type code as decimal text ("10" text, "12" memo). A given
  // default becomes the field's DefaultValue and is written into the rows already there.
  void CreChamp(const std::string& table, const std::string& champ, const std::string& type, std::int32_t taille,
                const std::optional<dao::Variant>& defaut = std::nullopt);
  void ModifRequete(const std::string& nom, const std::string& sql);
  // Resizes a field by copying it: a new field "_F" takes the old one's properties, the
  // rows' values, then its place and name.
  void ChangeFieldSize(const std::string& table, const std::string& champ, bool requis, std::int32_t taille,
                       bool zeroLength);
  // Rebuilds a code field as a field of `type` and `taille`, meant to hold "0" + the old code.
  void ModifChampCoAgent(const std::string& table, const std::string& champ, bool requis, const std::string& type,
                         std::int32_t taille);
  void SuppIndex(const std::string& table, const std::string& index);
  // Fields 2 to 7 are used when not empty; field 1 always.
  void CreeIndex(const std::string& table, const std::string& nom, bool primaire, const std::string& champ1,
                 const std::string& champ2 = {}, const std::string& champ3 = {}, const std::string& champ4 = {},
                 const std::string& champ5 = {}, const std::string& champ6 = {}, const std::string& champ7 = {});
  // `table` is the primary side, `tableEtrangere` the side holding the foreign key; pairs 2
  // and 3 are used when their field is not empty.
  void CreeRelation(const std::string& table, const std::string& tableEtrangere, const std::string& nom,
                    bool majCascade, const std::string& champ1, const std::string& etranger1,
                    const std::string& champ2 = {}, const std::string& etranger2 = {},
                    const std::string& champ3 = {}, const std::string& etranger3 = {});

  // --- Value helpers with a trap ---
  // Pads `valeur` with `remplissage` on the left ("G") or right ("D") until it is at least
  // `longueur` characters long, in the caller's variable too; a longer value is never cut.
  dao::Variant Padlzone(dao::Variant& valeur, const std::string& remplissage, std::int16_t longueur,
                        const std::string& cote);
  // The first pilot number from 1 to 99 not used in PILOTE.nupilote (numeric value of the
  // text), 1 for an empty table, 0 when all are taken.
  std::int16_t AttribNumero();

  // The procedure's error trap: a run-time or engine error raised by `corps` goes to
  // ErreurInstallation under `procedure`; returns false then. Programming faults
  // (std::logic_error) and the end of the program pass through.
  template <class Corps>
  bool piege(const std::string& procedure, Corps&& corps);

  // Reports the current error `err` raised in `procedure` (the form's error routine).
  virtual void ErreurInstallation(const std::string& procedure, const platform::Error& err) = 0;

 protected:
  // The open database being updated (Bd); raises 91 when none is open.
  virtual dao::Database& BaseEnCours() = 0;
  // One line written straight to the per-database log; raises 91 when it is not open.
  virtual void EcritJournalBase(const std::string& ligne) = 0;
};

// --- Value helpers without a trap: a conversion error reaches the caller's trap ---

// VB's type codes as TranslateToSQL receives them.
inline constexpr std::int16_t vbInteger = 2, vbLong = 3, vbSingle = 4, vbDouble = 5, vbCurrency = 6, vbDate = 7,
                              vbString = 8, vbBoolean = 11, vbByte = 17;

// The SQL literal of `valeur` read as the type `type` (not the value's own type): "Null" for
// Empty, Null or blank text; quoted text with quotes doubled; numbers with a point; dates as
// #MM/DD/YYYY#; TRUE/FALSE; "" for a type it does not know.
std::string TranslateToSQL(const dao::Variant& valeur, std::int16_t type,
                           const std::optional<std::string>& format = std::nullopt);

// A value that is not Null, unchanged; a Null one as "" (its type name is "Null").
dao::Variant NVL(const dao::Variant& valeur);
// A field's value, or for a Null one 0 or "" by the field's type: 0 for Boolean, Byte,
// Integer, Long, Currency, Single, Double, Binary, Long binary, Numeric, Decimal, Float and
// Big integer; "" for Text, Memo, GUID, Date, Char, Time, Time stamp and unknown types.
dao::Variant NVL(const dao::Field& champ);

template <class Corps>
bool OutilsSchema::piege(const std::string& procedure, Corps&& corps) {
  try {
    corps();
    return true;
  } catch (const platform::ProgramEnd&) {
    throw;
  } catch (const std::logic_error&) {
    throw;
  } catch (...) {
    ErreurInstallation(procedure, platform::currentError());
    return false;
  }
}

}  // namespace schema
