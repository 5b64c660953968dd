#include "platform/dao/database.h"

#include <cctype>

#include "platform/dao/constants.h"
#include "platform/dao/dao_error.h"
#include "platform/dao/recordset_impl.h"
#include "platform/dao/schema_impl.h"
#include "platform/vbstring.h"

namespace platform::dao {

using detail::DatabaseImpl;

std::string Database::Name() const { impl_->checkOpen(); return impl_->name; }
bool Database::Updatable() const { impl_->checkOpen(); return impl_->writable != nullptr; }

Recordset Database::OpenRecordset(std::string_view source, int type, int options) {
  return Recordset(detail::openRecordset(impl_, source, type, options));
}

void Database::Execute(std::string_view sql, int options) {
  impl_->checkWritable();
  // With dbFailOnError the statement is all or nothing and its failure is raised; without,
  // the rows the engine refuses are passed over silently, as Jet does.
  const auto rows = (options & dbFailOnError) ? jet::sql::RowErrors::Fail : jet::sql::RowErrors::Skip;
  std::string text(sql);
  bool isName = !text.empty();
  for (char c : text)
    if (std::isspace(static_cast<unsigned char>(c))) isName = false;
  if (isName && impl_->catalog().find_object(text, static_cast<std::int16_t>(jet::ObjectType::Query)))
    text = guarded([&] { return detail::savedQuerySql(*impl_, text); });
  impl_->recordsAffected = 0;
  try {
    impl_->recordsAffected = guarded([&] { return static_cast<long>(impl_->sql().execute(text, {}, rows)); });
  } catch (...) {
    impl_->catalogCache.reset();
    throw;
  }
  // A statement may have made or dropped a table: read the catalog again when next asked.
  impl_->catalogCache.reset();
  ++impl_->schemaGeneration;
}

long Database::RecordsAffected() const { impl_->checkOpen(); return impl_->recordsAffected; }

void Database::SetProgress(std::function<void(std::uint64_t, std::uint64_t)> progress) {
  impl_->checkOpen();
  impl_->sql().set_progress(std::move(progress));
}

void Database::WriteAsWorkingCopy() {
  impl_->checkOpen();
  if (!impl_->writable) throw daoError(dao_errors::ReadOnly);
  impl_->writable->write_unjournaled(false);
}

Collection<TableDef> Database::TableDefs() const {
  impl_->checkOpen();
  struct Source : detail::CollectionSource<TableDef> {
    std::shared_ptr<DatabaseImpl> db;
    std::vector<TableDef> items() override {
      db->checkOpen();
      std::vector<TableDef> tables;
      for (auto& t : guarded([&] { return detail::savedTables(db); })) tables.emplace_back(t);
      return tables;
    }
    void append(const TableDef& table) override { detail::appendTable(db, *table.impl()); }
    void remove(std::string_view name) override { detail::deleteTable(db, name); }
  };
  auto source = std::make_shared<Source>();
  source->db = impl_;
  return Collection<TableDef>(source);
}

Collection<QueryDef> Database::QueryDefs() const {
  impl_->checkOpen();
  struct Source : detail::CollectionSource<QueryDef> {
    std::shared_ptr<DatabaseImpl> db;
    std::vector<QueryDef> items() override {
      db->checkOpen();
      std::vector<QueryDef> queries;
      for (auto& q : guarded([&] { return detail::savedQueries(db); })) queries.emplace_back(q);
      return queries;
    }
    void append(const QueryDef& query) override { detail::saveQuery(db, *query.impl()); }
    void remove(std::string_view name) override { detail::deleteQuery(db, name); }
  };
  auto source = std::make_shared<Source>();
  source->db = impl_;
  return Collection<QueryDef>(source);
}

Collection<Relation> Database::Relations() const {
  impl_->checkOpen();
  struct Source : detail::CollectionSource<Relation> {
    std::shared_ptr<DatabaseImpl> db;
    std::vector<Relation> items() override {
      db->checkOpen();
      std::vector<Relation> relations;
      for (auto& r : guarded([&] { return detail::savedRelations(db); })) relations.emplace_back(r);
      return relations;
    }
    void append(const Relation& relation) override { detail::appendRelation(db, *relation.impl()); }
    void remove(std::string_view name) override { detail::deleteRelation(db, name); }
  };
  auto source = std::make_shared<Source>();
  source->db = impl_;
  return Collection<Relation>(source);
}

TableDef Database::CreateTableDef(std::string_view name) {
  impl_->checkOpen();
  auto t = std::make_shared<detail::TableDefImpl>();
  t->name = std::string(name);
  return TableDef(t);
}

QueryDef Database::CreateQueryDef(std::string_view name, std::string_view sql) {
  impl_->checkOpen();
  auto q = std::make_shared<detail::QueryDefImpl>();
  q->db = impl_;
  q->name = std::string(name);
  q->sql = std::string(sql);
  if (!q->name.empty()) detail::saveQuery(impl_, *q);
  return QueryDef(q);
}

Relation Database::CreateRelation(std::string_view name, std::string_view table, std::string_view foreignTable,
                                  long attributes) {
  impl_->checkOpen();
  auto r = std::make_shared<detail::RelationImpl>();
  r->name = std::string(name);
  r->table = std::string(table);
  r->foreignTable = std::string(foreignTable);
  r->attributes = attributes;
  return Relation(r);
}

void Database::Close() {
  impl_->checkOpen();
  impl_->close();
}

}  // namespace platform::dao
