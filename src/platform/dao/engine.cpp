#include <filesystem>

#include "platform/dao/dao_error.h"
#include "platform/dao/dbengine.h"
#include "platform/dao/maintenance.h"
#include "platform/dao/state.h"

namespace platform::dao {

// ---- Workspace ----

std::string Workspace::Name() const { return "#Default Workspace#"; }

Database Workspace::OpenDatabase(std::string_view path, bool exclusive, bool readOnly) {
  return Database(detail::openDatabase(impl_, path, exclusive, readOnly));
}

void Workspace::BeginTrans() {
  guarded([&] {
    for (auto& db : impl_->live()) {
      if (!db->writable) continue;
      db->writable->pager().begin();
      ++db->joined;
    }
    ++impl_->depth;
  });
}

void Workspace::CommitTrans() {
  if (impl_->depth == 0) throw daoError(dao_errors::NoTransaction);
  guarded([&] {
    for (auto& db : impl_->live()) {
      if (!db->writable || db->joined == 0) continue;
      db->writable->pager().commit();
      --db->joined;
    }
    --impl_->depth;
  });
}

void Workspace::Rollback() {
  if (impl_->depth == 0) throw daoError(dao_errors::NoTransaction);
  guarded([&] {
    for (auto& db : impl_->live()) {
      if (!db->writable || db->joined == 0) continue;
      db->writable->pager().rollback();
      --db->joined;
      // Tables or queries made inside the level may be gone.
      db->schemaChanged();
    }
    --impl_->depth;
  });
}

int Workspace::TransactionDepth() const { return impl_->depth; }

int Workspace::DatabaseCount() const { return static_cast<int>(impl_->live().size()); }

// ---- DBEngine ----

DBEngine::DBEngine(const platform::Workstation& workstation) : impl_(std::make_shared<detail::EngineImpl>()) {
  impl_->workstation = &workstation;
  impl_->workspace = std::make_shared<detail::WorkspaceImpl>();
  impl_->workspace->workstation = &workstation;
}

DBEngine::~DBEngine() = default;

Workspace DBEngine::Workspaces(int index) const {
  if (index != 0) throw daoError(dao_errors::ItemNotFound);
  return Workspace(impl_->workspace);
}

Database DBEngine::OpenDatabase(std::string_view path, bool exclusive, bool readOnly) {
  return Workspaces(0).OpenDatabase(path, exclusive, readOnly);
}
void DBEngine::BeginTrans() { Workspaces(0).BeginTrans(); }
void DBEngine::CommitTrans() { Workspaces(0).CommitTrans(); }
void DBEngine::Rollback() { Workspaces(0).Rollback(); }

void DBEngine::RepairDatabase(std::string_view path, const std::function<void(std::uint64_t, std::uint64_t)>& progress) {
  detail::repairDatabase(*impl_->workstation, path, progress);
}

void DBEngine::CompactDatabase(std::string_view source, std::string_view destination,
                               const std::function<void(std::uint64_t, std::uint64_t)>& progress) {
  detail::compactDatabase(*impl_->workstation, source, destination, progress);
}

const platform::Workstation& DBEngine::workstation() const noexcept { return *impl_->workstation; }

}  // namespace platform::dao
