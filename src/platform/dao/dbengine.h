// The database engine object and its workspace, as the application reaches them.
//
// One DBEngine per program, built over the workstation so that the application's Windows
// paths ("C:\QUELIS\Bases\Quelis.mdb") reach files. Workspaces(0) is the default workspace;
// DBEngine's BeginTrans / CommitTrans / Rollback act on it.
//
// Transactions belong to the workspace and nest: BeginTrans opens a level on every database
// open in the workspace, and a database opened while levels are open joins them all, so
//   BeginTrans; Set Bd = OpenDatabase(path, True); ...; CommitTrans
// writes the changes at the commit and a Rollback leaves the file as it was. Only the
// outermost CommitTrans writes to the files. CommitTrans or Rollback without a transaction
// raises 3034.
//
// OpenDatabase errors: 3024 missing file, 3044 missing folder or drive, 3045 / 3356 file in
// use, 3343 not a Jet 4 database, 3049 damaged, 3051 a file that cannot be written.
// RepairDatabase(path) repairs the file in place; CompactDatabase(source, destination) writes
// a compacted copy (3204 when the destination exists). Both need the file closed by everyone.
#pragma once

#include <cstdint>
#include <functional>

#include <memory>
#include <string>
#include <string_view>

#include "platform/dao/database.h"

namespace platform {
class Workstation;
}

namespace platform::dao {

namespace detail {
struct EngineImpl;
struct WorkspaceImpl;
}  // namespace detail

class Workspace {
 public:
  explicit Workspace(std::shared_ptr<detail::WorkspaceImpl> impl) : impl_(std::move(impl)) {}

  std::string Name() const;  // "#Default Workspace#"
  Database OpenDatabase(std::string_view path, bool exclusive = false, bool readOnly = false);
  void BeginTrans();
  void CommitTrans();
  void Rollback();
  // Open transaction levels.
  int TransactionDepth() const;
  // Databases open in the workspace, in opening order.
  int DatabaseCount() const;

  const std::shared_ptr<detail::WorkspaceImpl>& impl() const noexcept { return impl_; }

 private:
  std::shared_ptr<detail::WorkspaceImpl> impl_;
};

class DBEngine {
 public:
  // `workstation` must outlive the engine and every object taken from it.
  explicit DBEngine(const platform::Workstation& workstation);
  ~DBEngine();
  DBEngine(const DBEngine&) = delete;
  DBEngine& operator=(const DBEngine&) = delete;

  // Workspace 0 is the default one; any other index raises 3265.
  Workspace Workspaces(int index) const;

  // The default workspace's operations.
  Database OpenDatabase(std::string_view path, bool exclusive = false, bool readOnly = false);
  void BeginTrans();
  void CommitTrans();
  void Rollback();

  // `progress` (not a DAO argument, as for CompactDatabase) is told how far the check goes.
  void RepairDatabase(std::string_view path, const std::function<void(std::uint64_t, std::uint64_t)>& progress = {});
  // `progress` (not DAO's) is told the rows carried and the rows to carry as it goes.
  void CompactDatabase(std::string_view source, std::string_view destination,
                       const std::function<void(std::uint64_t done, std::uint64_t total)>& progress = {});

  const platform::Workstation& workstation() const noexcept;

 private:
  std::shared_ptr<detail::EngineImpl> impl_;
};

}  // namespace platform::dao
