// Record sets: the rows of a table or a query, one current record at a time.
//
// Kinds (OpenRecordset's type):
//  - table (dbOpenTable): every row of one local table, in storage order; updatable;
//  - dynaset (dbOpenDynaset): the rows of a table or of a query, read again from the
//    database when visited (edits made elsewhere show); updatable when the query reads one
//    table without grouping, DISTINCT or joins (computed columns are read only);
//  - snapshot (dbOpenSnapshot, dbOpenForwardOnly): a copy of the rows at open; read only
//    (Edit, AddNew, Delete raise 3027).
//
// Position rules, as in the original: at open the first record is current (Eof and Bof both
// true when there is none); MoveNext from the last record makes Eof true, and MoveNext with
// Eof already true raises 3021 "Aucun enregistrement en cours."; MovePrevious mirrors it with
// Bof. Reading a field without a current record raises 3021; a record deleted through this
// set raises 3167 until the position moves.
//
// Edits: Edit (or AddNew) then SetValue on fields then Update writes the record as one
// statement (inside the workspace's transaction when one is open); Update without Edit or
// AddNew raises 3020; moving away cancels a pending Edit/AddNew. After AddNew+Update the
// current record stays where it was. Delete removes the current record at once.
//
// RecordCount: a table set gives the table's row count; a dynaset or snapshot the number of
// records visited so far (all of them after MoveLast), as the original does.
//
// A record set whose database was closed, or that was closed itself, raises 3420.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/dao/collection.h"
#include "platform/dao/field.h"
#include "platform/dao/variant.h"

namespace platform::dao {

namespace detail {
struct RecordsetImpl;
}

class Recordset {
 public:
  explicit Recordset(std::shared_ptr<detail::RecordsetImpl> impl) : impl_(std::move(impl)) {}

  std::string Name() const;
  int Type() const;
  bool Updatable() const;
  // End of file / beginning of file (VB's EOF and BOF: EOF is a C macro, hence the case).
  bool Eof() const;
  bool Bof() const;
  long RecordCount() const;
  int EditMode() const;
  // 0-based position of the current record (-1 when there is none).
  long AbsolutePosition() const;

  void MoveFirst();
  void MoveLast();
  void MoveNext();
  void MovePrevious();
  void Move(long rows);

  // Criteria are a Jet SQL condition over the set's fields ("NUFICHE = 12 AND COCNE='A'").
  // A match becomes current and NoMatch is false; no match sets NoMatch and keeps the position.
  void FindFirst(std::string_view criteria);
  void FindLast(std::string_view criteria);
  void FindNext(std::string_view criteria);
  void FindPrevious(std::string_view criteria);
  bool NoMatch() const;

  void Edit();
  void AddNew();
  void Update();
  void CancelUpdate();
  void Delete();

  Collection<Field> Fields() const;
  Field Fields(std::string_view name) const;
  Field Fields(int index) const;
  // rs!name: the value of a field of the current record.
  Variant operator()(std::string_view name) const { return Fields(name).Value(); }

  void Close();

  const std::shared_ptr<detail::RecordsetImpl>& impl() const noexcept { return impl_; }

 private:
  std::shared_ptr<detail::RecordsetImpl> impl_;
};

}  // namespace platform::dao
