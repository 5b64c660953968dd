// Definition objects: TableDef, Index, Relation, QueryDef.
//
// Made by Database::CreateTableDef / CreateRelation / CreateQueryDef and TableDef::CreateIndex,
// they live outside the database until appended to their collection (a QueryDef created
// with a name is saved at once, as in the original). Saved objects read from the database;
// changing them changes the database.
//
// Handles are cheap to copy and share the object; using one after its database was closed
// raises 3420 "Objet invalide ou n'est plus défini.".
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/dao/collection.h"
#include "platform/dao/field.h"
#include "platform/dao/variant.h"

namespace platform::dao {

class Recordset;

namespace detail {
struct TableDefImpl;
struct IndexImpl;
struct RelationImpl;
struct QueryDefImpl;
}  // namespace detail

class Index {
 public:
  explicit Index(std::shared_ptr<detail::IndexImpl> impl) : impl_(std::move(impl)) {}
  std::string Name() const;
  void SetName(std::string_view name);
  bool Primary() const;
  void SetPrimary(bool primary);
  bool Unique() const;
  void SetUnique(bool unique);
  bool IgnoreNulls() const;
  void SetIgnoreNulls(bool ignore);
  bool Required() const;
  void SetRequired(bool required);
  bool Foreign() const;  // made by a relationship
  // Index fields, in key order; ForeignName is unused here, Attributes holds dbDescending.
  Collection<Field> Fields() const;
  Field CreateField(std::string_view name);

  const std::shared_ptr<detail::IndexImpl>& impl() const noexcept { return impl_; }

 private:
  std::shared_ptr<detail::IndexImpl> impl_;
};

class TableDef {
 public:
  explicit TableDef(std::shared_ptr<detail::TableDefImpl> impl) : impl_(std::move(impl)) {}
  std::string Name() const;
  void SetName(std::string_view name);
  long Attributes() const;
  std::string Connect() const;
  std::string SourceTableName() const;
  // Rows in the table, as the engine keeps the count.
  long RecordCount() const;

  Collection<Field> Fields() const;
  Field Fields(std::string_view name) const { return Fields()(name); }
  Field Fields(int index) const { return Fields()(index); }
  Collection<Index> Indexes() const;
  Index Indexes(std::string_view name) const { return Indexes()(name); }
  Index Indexes(int index) const { return Indexes()(index); }
  Collection<Property> Properties() const;

  // A new field, not yet appended. `type` is a field type, as a number or its decimal text
  // ("10"); `size` a number of characters or bytes (0 or Empty: the type's default).
  Field CreateField(const Variant& name = {}, const Variant& type = {}, const Variant& size = {});
  Index CreateIndex(std::string_view name = {});

  Recordset OpenRecordset(int type = 0, int options = 0);

  const std::shared_ptr<detail::TableDefImpl>& impl() const noexcept { return impl_; }

 private:
  std::shared_ptr<detail::TableDefImpl> impl_;
};

class Relation {
 public:
  explicit Relation(std::shared_ptr<detail::RelationImpl> impl) : impl_(std::move(impl)) {}
  std::string Name() const;
  void SetName(std::string_view name);
  // The primary (referenced) table and the table holding the foreign key.
  std::string Table() const;
  void SetTable(std::string_view table);
  std::string ForeignTable() const;
  void SetForeignTable(std::string_view table);
  long Attributes() const;
  void SetAttributes(long attributes);
  // Relation fields: Name in Table, ForeignName in ForeignTable.
  Collection<Field> Fields() const;
  Field CreateField(std::string_view name = {});

  const std::shared_ptr<detail::RelationImpl>& impl() const noexcept { return impl_; }

 private:
  std::shared_ptr<detail::RelationImpl> impl_;
};

class QueryDef {
 public:
  explicit QueryDef(std::shared_ptr<detail::QueryDefImpl> impl) : impl_(std::move(impl)) {}
  std::string Name() const;
  std::string SQL() const;
  void SetSQL(std::string_view sql);
  int Type() const;  // dbQSelect, dbQUpdate...
  Recordset OpenRecordset(int type = 0, int options = 0);
  void Execute(int options = 0);
  long RecordsAffected() const;
  void Close();

  const std::shared_ptr<detail::QueryDefImpl>& impl() const noexcept { return impl_; }

 private:
  std::shared_ptr<detail::QueryDefImpl> impl_;
};

}  // namespace platform::dao
