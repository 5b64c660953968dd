// Changes to saved definitions, through the engine's data-definition services.
#include "platform/dao/constants.h"
#include "platform/dao/dao_error.h"
#include "platform/dao/schema_impl.h"
#include "platform/vbstring.h"

namespace platform::dao::detail {

jet::ColumnSpec columnSpecOf(const FieldDef& field) {
  jet::ColumnSpec spec;
  spec.name = field.name;
  spec.type = columnTypeOf(field.type);
  if (spec.type == jet::ColumnType::Text || spec.type == jet::ColumnType::Binary) {
    if (field.size < 1 || field.size > 255) throw daoError(dao_errors::InvalidArgument);
    spec.size = static_cast<std::uint16_t>(field.size);
  }
  spec.autonumber = (field.attributes & dbAutoIncrField) && spec.type == jet::ColumnType::Long;
  spec.required = field.required;
  spec.allow_zero_length = field.allowZeroLength;
  if (!field.defaultValue.empty()) spec.default_value = field.defaultValue;
  if (!field.validationRule.empty()) spec.properties.emplace_back("ValidationRule", jet::Value::text(field.validationRule));
  if (!field.validationText.empty()) spec.properties.emplace_back("ValidationText", jet::Value::text(field.validationText));
  return spec;
}

jet::IndexSpec indexSpecOf(const IndexImpl& index) {
  if (index.fields.empty()) throw daoError(dao_errors::NoFieldDefined);
  jet::IndexSpec spec;
  spec.name = index.name;
  spec.primary = index.primary;
  spec.unique = index.unique || index.primary;
  spec.ignore_nulls = index.ignoreNulls;
  spec.required = index.required || index.primary;
  for (const auto& f : index.fields) spec.columns.push_back({f->def.name, (f->def.attributes & dbDescending) != 0});
  return spec;
}

namespace {
[[noreturn]] void notYet() { throw daoError(dao_errors::NotSupported); }
}  // namespace

void alterSavedField(FieldImpl&, const FieldDef&) { notYet(); }
void appendTable(const std::shared_ptr<DatabaseImpl>&, TableDefImpl&) { notYet(); }
void deleteTable(const std::shared_ptr<DatabaseImpl>&, std::string_view) { notYet(); }
void appendField(TableDefImpl&, const std::shared_ptr<FieldImpl>&) { notYet(); }
void deleteField(TableDefImpl&, std::string_view) { notYet(); }
void appendIndex(TableDefImpl&, const std::shared_ptr<IndexImpl>&) { notYet(); }
void deleteIndex(TableDefImpl&, std::string_view) { notYet(); }
void appendRelation(const std::shared_ptr<DatabaseImpl>&, RelationImpl&) { notYet(); }
void deleteRelation(const std::shared_ptr<DatabaseImpl>&, std::string_view) { notYet(); }
void saveQuery(const std::shared_ptr<DatabaseImpl>&, QueryDefImpl&) { notYet(); }
void deleteQuery(const std::shared_ptr<DatabaseImpl>&, std::string_view) { notYet(); }
void changeQuerySql(QueryDefImpl&, const std::string&) { notYet(); }

}  // namespace platform::dao::detail
