// The databases and parameters of one statement run.
#include "jet/catalog/catalog.h"
#include "jet/catalog/catalog_write.h"
#include "jet/catalog/query_rows.h"
#include "jet/catalog/query_sql.h"
#include "jet/exec/exec_internal.h"
#include "jet/sql/sql_error.h"
#include "jet/sql/vb_convert.h"

namespace jet::sql::detail {
namespace {

// A declared parameter's value in its declared type, as Jet converts it on binding.
Value as_declared(const Value& v, const DataType& type) {
  if (v.is_null() || v.is_empty()) return Value::null();
  const std::string t = upper(type.name);
  if (t == "TEXT" || t == "CHAR" || t == "VARCHAR" || t == "STRING" || t == "MEMO" ||
      t == "LONGTEXT")
    return Value::text(to_text(v));
  if (t == "LONG" || t == "INTEGER" || t == "INT" || t == "INTEGER4") return to_long(v);
  if (t == "SHORT" || t == "SMALLINT" || t == "INTEGER2") return to_integer(v);
  if (t == "BYTE" || t == "TINYINT" || t == "INTEGER1") return to_byte(v);
  if (t == "DOUBLE" || t == "FLOAT" || t == "NUMBER" || t == "IEEEDOUBLE" || t == "FLOAT8")
    return Value::double_(to_number(v));
  if (t == "SINGLE" || t == "REAL" || t == "IEEESINGLE" || t == "FLOAT4") return to_single(v);
  if (t == "CURRENCY" || t == "MONEY") return to_currency(v);
  if (t == "DATETIME" || t == "DATE" || t == "TIME") return Value::date(to_date(v));
  if (t == "BIT" || t == "YESNO" || t == "LOGICAL" || t == "BOOLEAN") return to_boolean(v);
  return v;
}

}  // namespace

Run::Run(jet::Database* read_db, jet::WritableDatabase* write_db, const DatabaseOpener& opener,
         const Parameters& parameters, const std::vector<ParameterDecl>& declared)
    : read_db_(read_db), write_db_(write_db), opener_(opener) {
  for (const auto& d : declared) {
    if (const Value* v = parameters.find(d.name)) parameters_[upper(d.name)] = as_declared(*v, d.type);
  }
  parameters_given_ = &parameters;
  // Now() and Date() read the clock of the database the statement runs on.
  const os::Clock* clock = write_db_ ? write_db_->pager().services().clock
                                     : read_db_ ? read_db_->pager().services().clock : os::system_services().clock;
  options_.now = [clock] { return jet::jet_now(*clock); };
}

const Value* Run::parameter(std::string_view name) const {
  auto it = parameters_.find(upper(name));
  if (it != parameters_.end()) return &it->second;
  return parameters_given_->find(name);
}

void Run::missing(const std::string& name) {
  if (missing_.insert(upper(name)).second) missing_order_.push_back(name);
}

bool Run::skips_row(const jet::Error& e) const {
  if (row_errors != RowErrors::Skip) return false;
  switch (e.number()) {
    case 3022:  // duplicate key
    case 3200:  // related records exist
    case 3201:  // related record required
    case 3314:  // Required
    case 3315:  // zero-length text refused
    case 3316:  // table validation rule
    case 3317:  // field validation rule
      return true;
    default:
      return false;
  }
}

Value Run::convert(const jet::ColumnDef& column, const Value& value) const {
  try {
    return convert_for_column(column, value);
  } catch (const jet::Error& e) {
    const bool conversion = e.number() == 13 || e.number() == 6 || e.number() == 3163;
    if (row_errors != RowErrors::Skip || !conversion) throw;
    return Value::null();
  }
}

jet::Table Run::table(const NamedTable& ref) {
  const std::string path = ref.database_path();
  if (path.empty()) return write_db_ ? write_db_->table(ref.name) : read_db_->table(ref.name);
  auto it = others_.find(path);
  if (it == others_.end()) {
    std::unique_ptr<jet::Database> db;
    try {
      db = opener_(path);
    } catch (const jet::Error& e) {
      // The application knows the file by the path it wrote, not by where it was mapped.
      if (e.number() == 3024 || e.number() == 3044)
        throw jet::Error(static_cast<jet::ErrorCode>(e.number()), path);
      throw;
    }
    if (!db) throw jet::Error(jet::ErrorCode::FileNotFound, path);
    it = others_.emplace(path, std::move(db)).first;
  }
  return it->second->table(ref.name);
}

std::optional<std::string> Run::saved_query(std::string_view name) const {
  const Catalog& catalog = write_db_ ? write_db_->catalog() : read_db_->catalog();
  const CatalogEntry* entry = catalog.find_object(name, static_cast<std::int16_t>(ObjectType::Query));
  if (!entry) return std::nullopt;
  std::vector<QueryRow> rows;
  for (const auto& columns : catalog.query_rows()) {
    QueryRow row = query_row_from_columns(columns);
    if (row.object_id == entry->id) rows.push_back(std::move(row));
  }
  if (rows.empty()) return std::nullopt;
  return query_sql(rows);
}

}  // namespace jet::sql::detail
