// An open database (Workspace::OpenDatabase).
//
// The database is held exclusively while open: another opener, in this process or another,
// is refused (3045 / 3356). Every change goes through the workspace's transaction when one is
// open, else each statement is written at once.
//
// OpenRecordset takes a table name, a saved query's name or an SQL SELECT (see recordset.h).
// Execute runs an action statement (UPDATE, DELETE, INSERT INTO, SELECT ... INTO, and
// data-definition statements); with dbFailOnError the statement is all or nothing and any
// failure raises; without it, rows that fail are skipped silently. RecordsAffected is the
// number of rows the last Execute changed. Other databases named in a statement
// ([;database=C:\...].TABLE) are Windows paths of the workstation, opened read-only.
//
// Close() ends the handle: record sets and definition objects taken from it raise 3420
// afterwards; closing does not end the workspace's transaction, but the changes this database
// made inside it are dropped. Dropping the last handle closes the database.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/dao/collection.h"
#include "platform/dao/recordset.h"
#include "platform/dao/schema.h"

namespace platform::dao {

namespace detail {
struct DatabaseImpl;
}

class Database {
 public:
  explicit Database(std::shared_ptr<detail::DatabaseImpl> impl) : impl_(std::move(impl)) {}

  // The Windows path the database was opened with.
  std::string Name() const;
  bool Updatable() const;

  Recordset OpenRecordset(std::string_view source, int type = 0, int options = 0);
  void Execute(std::string_view sql, int options = 0);
  long RecordsAffected() const;
  // Told as a long Execute writes its rows (rows written, rows to write), for a wait form;
  // empty to stop. Not a DAO member: Jet showed no progress.
  void SetProgress(std::function<void(std::uint64_t, std::uint64_t)> progress);
  // For a working copy that is deleted unless the work on it succeeds: commits write their
  // pages without the rollback journal and the sync that only a crash in the middle of one
  // would need (the copy is then thrown away). Rollbacks still leave it as it was. Not a DAO
  // member: Jet kept no journal.
  void WriteAsWorkingCopy();

  Collection<TableDef> TableDefs() const;
  TableDef TableDefs(std::string_view name) const { return TableDefs()(name); }
  TableDef TableDefs(int index) const { return TableDefs()(index); }
  Collection<QueryDef> QueryDefs() const;
  QueryDef QueryDefs(std::string_view name) const { return QueryDefs()(name); }
  QueryDef QueryDefs(int index) const { return QueryDefs()(index); }
  Collection<Relation> Relations() const;
  Relation Relations(std::string_view name) const { return Relations()(name); }
  Relation Relations(int index) const { return Relations()(index); }

  TableDef CreateTableDef(std::string_view name = {});
  // With a name the query is saved at once; without, it is a temporary query.
  QueryDef CreateQueryDef(std::string_view name = {}, std::string_view sql = {});
  Relation CreateRelation(std::string_view name = {}, std::string_view table = {},
                          std::string_view foreignTable = {}, long attributes = 0);

  void Close();

  const std::shared_ptr<detail::DatabaseImpl>& impl() const noexcept { return impl_; }

 private:
  std::shared_ptr<detail::DatabaseImpl> impl_;
};

}  // namespace platform::dao
