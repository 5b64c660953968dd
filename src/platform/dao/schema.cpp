#include "platform/dao/schema.h"

#include "platform/dao/constants.h"
#include "platform/dao/dao_error.h"
#include "platform/dao/recordset.h"
#include "platform/dao/recordset_impl.h"
#include "platform/dao/schema_impl.h"
#include "platform/vbstring.h"

namespace platform::dao {

using detail::FieldImpl;
using detail::IndexImpl;
using detail::QueryDefImpl;
using detail::RelationImpl;
using detail::TableDefImpl;

namespace {

// A collection over a list of field objects owned by a detached index or relation (or a
// detached table): appending adds the object, deleting removes it by name.
class FieldListSource : public detail::CollectionSource<Field> {
 public:
  using Check = std::function<void()>;
  FieldListSource(std::vector<std::shared_ptr<FieldImpl>>* list, std::shared_ptr<void> owner, Check check)
      : list_(list), owner_(std::move(owner)), check_(std::move(check)) {}
  std::vector<Field> items() override {
    std::vector<Field> fields;
    for (auto& f : *list_) fields.emplace_back(f);
    return fields;
  }
  void append(const Field& field) override {
    check_();
    for (auto& f : *list_)
      if (EqualsNoCase(f->def.name, field.impl()->def.name)) throw daoError(dao_errors::NameExists);
    list_->push_back(field.impl());
  }
  void remove(std::string_view name) override {
    check_();
    for (auto it = list_->begin(); it != list_->end(); ++it)
      if (EqualsNoCase((*it)->def.name, name)) {
        list_->erase(it);
        return;
      }
    throw daoError(dao_errors::ItemNotFound);
  }

 private:
  std::vector<std::shared_ptr<FieldImpl>>* list_;
  std::shared_ptr<void> owner_;  // keeps the list alive
  Check check_;
};

}  // namespace

// ---- Index ----

std::string Index::Name() const { impl_->checkAlive(); return impl_->name; }
void Index::SetName(std::string_view name) { impl_->checkChangeable(); impl_->name = std::string(name); }
bool Index::Primary() const { impl_->checkAlive(); return impl_->primary; }
void Index::SetPrimary(bool primary) { impl_->checkChangeable(); impl_->primary = primary; }
bool Index::Unique() const { impl_->checkAlive(); return impl_->unique || impl_->primary; }
void Index::SetUnique(bool unique) { impl_->checkChangeable(); impl_->unique = unique; }
bool Index::IgnoreNulls() const { impl_->checkAlive(); return impl_->ignoreNulls; }
void Index::SetIgnoreNulls(bool ignore) { impl_->checkChangeable(); impl_->ignoreNulls = ignore; }
bool Index::Required() const { impl_->checkAlive(); return impl_->required || impl_->primary; }
void Index::SetRequired(bool required) { impl_->checkChangeable(); impl_->required = required; }
bool Index::Foreign() const { impl_->checkAlive(); return impl_->foreign; }

Collection<Field> Index::Fields() const {
  impl_->checkAlive();
  auto impl = impl_;
  return Collection<Field>(std::make_shared<FieldListSource>(&impl->fields, impl, [impl] { impl->checkChangeable(); }));
}

Field Index::CreateField(std::string_view name) {
  impl_->checkAlive();
  auto f = std::make_shared<FieldImpl>();
  f->owner = FieldImpl::Owner::Index;
  f->def.name = std::string(name);
  return Field(f);
}

// ---- TableDef ----

std::string TableDef::Name() const { impl_->checkAlive(); return impl_->name; }
void TableDef::SetName(std::string_view name) {
  impl_->checkAlive();
  if (impl_->saved()) {
    if (impl_->linked()) throw daoError(dao_errors::NotSupported);
    detail::renameTable(*impl_, std::string(name));
    return;
  }
  impl_->name = std::string(name);
}
long TableDef::Attributes() const { impl_->checkAlive(); return impl_->attributes; }
std::string TableDef::Connect() const { impl_->checkAlive(); return impl_->connect; }
std::string TableDef::SourceTableName() const { impl_->checkAlive(); return impl_->sourceTableName; }

long TableDef::RecordCount() const {
  impl_->checkAlive();
  if (!impl_->saved()) return 0;
  if (impl_->linked()) return -1;
  return guarded([&] { return static_cast<long>(impl_->db->tableDef(impl_->name).row_count); });
}

Collection<Field> TableDef::Fields() const {
  impl_->checkAlive();
  auto impl = impl_;
  if (!impl->saved())
    return Collection<Field>(std::make_shared<FieldListSource>(&impl->fields, impl, [impl] { impl->checkAlive(); }));
  struct Source : detail::CollectionSource<Field> {
    std::shared_ptr<TableDefImpl> table;
    std::vector<Field> items() override {
      table->checkAlive();
      std::vector<Field> fields;
      if (table->linked()) return fields;
      for (auto& f : guarded([&] { return detail::savedFields(table); })) fields.emplace_back(f);
      return fields;
    }
    void append(const Field& field) override { detail::appendField(table, field.impl()); }
    void remove(std::string_view name) override { detail::deleteField(*table, name); }
  };
  auto source = std::make_shared<Source>();
  source->table = impl;
  return Collection<Field>(source);
}

Collection<Index> TableDef::Indexes() const {
  impl_->checkAlive();
  struct Source : detail::CollectionSource<Index> {
    std::shared_ptr<TableDefImpl> table;
    std::vector<Index> items() override {
      table->checkAlive();
      std::vector<Index> indexes;
      if (!table->saved()) {
        for (auto& i : table->indexes) indexes.emplace_back(i);
        return indexes;
      }
      if (table->linked()) return indexes;
      for (auto& i : guarded([&] { return detail::savedIndexes(table); })) indexes.emplace_back(i);
      return indexes;
    }
    void append(const Index& index) override {
      table->checkAlive();
      if (table->saved()) {
        detail::appendIndex(*table, index.impl());
        return;
      }
      for (auto& i : table->indexes)
        if (EqualsNoCase(i->name, index.impl()->name)) throw daoError(dao_errors::IndexExists);
      table->indexes.push_back(index.impl());
    }
    void remove(std::string_view name) override {
      table->checkAlive();
      if (table->saved()) {
        detail::deleteIndex(*table, name);
        return;
      }
      for (auto it = table->indexes.begin(); it != table->indexes.end(); ++it)
        if (EqualsNoCase((*it)->name, name)) {
          table->indexes.erase(it);
          return;
        }
      throw daoError(dao_errors::ItemNotFound);
    }
  };
  auto source = std::make_shared<Source>();
  source->table = impl_;
  return Collection<Index>(source);
}

Collection<Property> TableDef::Properties() const {
  impl_->checkAlive();
  struct Source : detail::CollectionSource<Property> {
    TableDef table;
    explicit Source(TableDef t) : table(std::move(t)) {}
    std::vector<Property> items() override {
      std::vector<Property> list;
      TableDef t = table;
      auto add = [&](std::string name, int type, std::function<Variant()> get) {
        auto p = std::make_shared<detail::PropertyImpl>();
        p->name = std::move(name);
        p->type = type;
        p->get = std::move(get);
        list.emplace_back(p);
      };
      add("Name", dbText, [t] { return Variant(t.Name()); });
      add("Attributes", dbLong, [t] { return Variant(t.Attributes()); });
      add("Connect", dbText, [t] { return Variant(t.Connect()); });
      add("SourceTableName", dbText, [t] { return Variant(t.SourceTableName()); });
      add("RecordCount", dbLong, [t] { return Variant(t.RecordCount()); });
      add("Updatable", dbBoolean, [t] { return Variant(!t.impl()->saved() || t.impl()->db->writable != nullptr); });
      return list;
    }
    void append(const Property&) override { throw daoError(dao_errors::NotSupported); }
    void remove(std::string_view) override { throw daoError(dao_errors::NotSupported); }
    int notFoundError() const override { return dao_errors::PropertyNotFound; }
  };
  return Collection<Property>(std::make_shared<Source>(*this));
}

Field TableDef::CreateField(const Variant& name, const Variant& type, const Variant& size) {
  impl_->checkAlive();
  auto f = std::make_shared<FieldImpl>();
  f->owner = FieldImpl::Owner::Detached;
  f->def.name = name.Text();
  if (!type.IsEmpty() && !type.IsNull()) {
    f->def.type = type.CInt();
    detail::columnTypeOf(f->def.type);  // 3259 for a type the engine does not know
  }
  if (!size.IsEmpty() && !size.IsNull()) f->def.size = size.CLng();
  else if (f->def.type == dbText) f->def.size = 50;
  if (f->def.type != 0 && f->def.type != dbText && f->def.type != dbBinary) {
    f->def.size = 0;
    jet::ColumnDef probe;
    probe.type = detail::columnTypeOf(f->def.type);
    if (probe.type != jet::ColumnType::Memo && probe.type != jet::ColumnType::Ole)
      f->def.size = probe.type == jet::ColumnType::Boolean ? 1 : static_cast<long>(jet::fixed_column_size(probe));
  }
  f->def.attributes = (f->def.type == dbText || f->def.type == dbMemo || f->def.type == dbBinary ||
                       f->def.type == dbLongBinary || f->def.type == 0)
                          ? dbVariableField
                          : dbFixedField;
  f->def.sourceTable = impl_->name;
  f->def.sourceField = f->def.name;
  return Field(f);
}

Index TableDef::CreateIndex(std::string_view name) {
  impl_->checkAlive();
  auto index = std::make_shared<IndexImpl>();
  index->name = std::string(name);
  return Index(index);
}

Recordset TableDef::OpenRecordset(int type, int options) {
  impl_->checkAlive();
  if (!impl_->saved()) throw daoError(dao_errors::InvalidOperation);
  return Recordset(detail::openRecordset(impl_->db, impl_->name, type, options));
}

// ---- Relation ----

std::string Relation::Name() const { impl_->checkAlive(); return impl_->name; }
void Relation::SetName(std::string_view name) { impl_->checkChangeable(); impl_->name = std::string(name); }
std::string Relation::Table() const { impl_->checkAlive(); return impl_->table; }
void Relation::SetTable(std::string_view table) { impl_->checkChangeable(); impl_->table = std::string(table); }
std::string Relation::ForeignTable() const { impl_->checkAlive(); return impl_->foreignTable; }
void Relation::SetForeignTable(std::string_view table) {
  impl_->checkChangeable();
  impl_->foreignTable = std::string(table);
}
long Relation::Attributes() const { impl_->checkAlive(); return impl_->attributes; }
void Relation::SetAttributes(long attributes) { impl_->checkChangeable(); impl_->attributes = attributes; }

Collection<Field> Relation::Fields() const {
  impl_->checkAlive();
  auto impl = impl_;
  return Collection<Field>(std::make_shared<FieldListSource>(&impl->fields, impl, [impl] { impl->checkChangeable(); }));
}

Field Relation::CreateField(std::string_view name) {
  impl_->checkAlive();
  auto f = std::make_shared<FieldImpl>();
  f->owner = FieldImpl::Owner::Relation;
  f->def.name = std::string(name);
  return Field(f);
}

// ---- QueryDef ----

std::string QueryDef::Name() const { impl_->checkAlive(); return impl_->name; }

std::string QueryDef::SQL() const {
  impl_->checkAlive();
  if (impl_->saved) return guarded([&] { return detail::savedQuerySql(*impl_->db, impl_->name); });
  return impl_->sql;
}

void QueryDef::SetSQL(std::string_view sql) {
  impl_->checkAlive();
  if (impl_->saved) detail::changeQuerySql(*impl_, std::string(sql));
  else impl_->sql = std::string(sql);
}

int QueryDef::Type() const { impl_->checkAlive(); return impl_->type; }

Recordset QueryDef::OpenRecordset(int type, int options) {
  impl_->checkAlive();
  if (type == dbOpenTable) throw daoError(dao_errors::InvalidOperation);
  const std::string sql = SQL();
  return Recordset(detail::openRecordset(impl_->db, sql, type == dbOpenDefault ? dbOpenDynaset : type, options));
}

void QueryDef::Execute(int options) {
  impl_->checkAlive();
  // All or nothing with dbFailOnError; without, refused rows are passed over (as Jet).
  const auto rows = (options & dbFailOnError) ? jet::sql::RowErrors::Fail : jet::sql::RowErrors::Skip;
  const std::string sql = SQL();
  impl_->db->checkWritable();
  impl_->db->catalogCache.reset();
  impl_->recordsAffected = guarded([&] { return static_cast<long>(impl_->db->sql().execute(sql, {}, rows)); });
  impl_->db->recordsAffected = impl_->recordsAffected;
}

long QueryDef::RecordsAffected() const { impl_->checkAlive(); return impl_->recordsAffected; }

void QueryDef::Close() {
  impl_->checkAlive();
  impl_->closed = true;
}

}  // namespace platform::dao
