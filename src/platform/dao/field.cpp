#include "platform/dao/field.h"

#include "platform/dao/constants.h"
#include "platform/dao/dao_error.h"
#include "platform/dao/field_impl.h"
#include "platform/dao/recordset_impl.h"
#include "platform/dao/schema_impl.h"

namespace platform::dao {

namespace detail {

int fieldTypeOf(jet::ColumnType type) {
  switch (type) {
    case jet::ColumnType::Boolean: return dbBoolean;
    case jet::ColumnType::Byte: return dbByte;
    case jet::ColumnType::Integer: return dbInteger;
    case jet::ColumnType::Long: return dbLong;
    case jet::ColumnType::Currency: return dbCurrency;
    case jet::ColumnType::Single: return dbSingle;
    case jet::ColumnType::Double: return dbDouble;
    case jet::ColumnType::DateTime: return dbDate;
    case jet::ColumnType::Binary: return dbBinary;
    case jet::ColumnType::Text: return dbText;
    case jet::ColumnType::Ole: return dbLongBinary;
    case jet::ColumnType::Memo: return dbMemo;
    case jet::ColumnType::Guid: return dbGUID;
    case jet::ColumnType::Numeric: return dbDecimal;
  }
  return static_cast<int>(type);
}

jet::ColumnType columnTypeOf(int fieldType) {
  switch (fieldType) {
    case dbBoolean: return jet::ColumnType::Boolean;
    case dbByte: return jet::ColumnType::Byte;
    case dbInteger: return jet::ColumnType::Integer;
    case dbLong: return jet::ColumnType::Long;
    case dbCurrency: return jet::ColumnType::Currency;
    case dbSingle: return jet::ColumnType::Single;
    case dbDouble: return jet::ColumnType::Double;
    case dbDate: return jet::ColumnType::DateTime;
    case dbBinary: return jet::ColumnType::Binary;
    case dbText: return jet::ColumnType::Text;
    case dbLongBinary: return jet::ColumnType::Ole;
    case dbMemo: return jet::ColumnType::Memo;
    case dbGUID: return jet::ColumnType::Guid;
    case dbDecimal: return jet::ColumnType::Numeric;
    default: throw daoError(dao_errors::InvalidFieldType);
  }
}

FieldDef fieldDefOf(const jet::ColumnDef& column, const std::string& table) {
  FieldDef def;
  def.name = column.name;
  def.type = fieldTypeOf(column.type);
  if (column.type == jet::ColumnType::Text) def.size = column.length / 2;
  else if (jet::is_long_value(column.type)) def.size = 0;
  else if (column.type == jet::ColumnType::Boolean) def.size = 1;
  else def.size = static_cast<long>(jet::fixed_column_size(column));
  def.attributes = column.is_fixed() ? dbFixedField : dbVariableField;
  if (column.flags & jet::column_flags::AutoLong) def.attributes |= dbAutoIncrField;
  if (column.flags & jet::column_flags::Hyperlink) def.attributes |= dbHyperlinkField;
  def.ordinalPosition = static_cast<int>(column.definition_order);
  def.sourceTable = table;
  def.sourceField = column.name;
  def.collatingOrder = column.sort_order ? column.sort_order : 0x0409;
  return def;
}

void FieldImpl::checkAlive() const {
  if (recordset) recordset->checkOpen();
  if (table) table->checkAlive();
}

void FieldImpl::checkChangeable() const {
  checkAlive();
  if (owner != Owner::Detached && owner != Owner::Index && owner != Owner::Relation)
    throw daoError(dao_errors::InvalidOperation);
}

}  // namespace detail

// ---- Property ----

std::string Property::Name() const { return impl_->name; }
int Property::Type() const { return impl_->type; }
Variant Property::Value() const { return impl_->get(); }
void Property::SetValue(const Variant& value) {
  if (!impl_->set) throw daoError(dao_errors::InvalidOperation);
  impl_->set(value);
}
bool Property::Inherited() const { return impl_->inherited; }

// ---- Field ----

namespace {

using detail::FieldImpl;

// Sets a definition property: on a field not yet saved it only changes the object; on a
// saved table field the table itself changes (see schema_impl.h).
template <class Apply>
void changeDefinition(FieldImpl& f, Apply apply) {
  f.checkAlive();
  if (f.owner == FieldImpl::Owner::Table) {
    detail::FieldDef changed = f.def;
    apply(changed);
    detail::alterSavedField(f, changed);
    return;
  }
  f.checkChangeable();
  apply(f.def);
}

}  // namespace

std::string Field::Name() const { impl_->checkAlive(); return impl_->def.name; }
void Field::SetName(std::string_view name) {
  changeDefinition(*impl_, [&](detail::FieldDef& d) { d.name = std::string(name); });
}
int Field::Type() const { impl_->checkAlive(); return impl_->def.type; }
void Field::SetType(int type) {
  changeDefinition(*impl_, [&](detail::FieldDef& d) { d.type = type; });
}
long Field::Size() const { impl_->checkAlive(); return impl_->def.size; }
void Field::SetSize(long size) {
  changeDefinition(*impl_, [&](detail::FieldDef& d) { d.size = size; });
}
bool Field::Required() const { impl_->checkAlive(); return impl_->def.required; }
void Field::SetRequired(bool required) {
  changeDefinition(*impl_, [&](detail::FieldDef& d) { d.required = required; });
}
bool Field::AllowZeroLength() const { impl_->checkAlive(); return impl_->def.allowZeroLength; }
void Field::SetAllowZeroLength(bool allow) {
  changeDefinition(*impl_, [&](detail::FieldDef& d) { d.allowZeroLength = allow; });
}
Variant Field::DefaultValue() const { impl_->checkAlive(); return Variant(impl_->def.defaultValue); }
void Field::SetDefaultValue(const Variant& value) {
  std::string text = value.Text();
  changeDefinition(*impl_, [&](detail::FieldDef& d) { d.defaultValue = text; });
}
int Field::OrdinalPosition() const { impl_->checkAlive(); return impl_->def.ordinalPosition; }
void Field::SetOrdinalPosition(int position) {
  changeDefinition(*impl_, [&](detail::FieldDef& d) { d.ordinalPosition = position; });
  if (impl_->owner == FieldImpl::Owner::Detached) impl_->ordinalPositionSet = true;
}
long Field::Attributes() const {
  impl_->checkAlive();
  long attributes = impl_->def.attributes;
  if (impl_->owner == FieldImpl::Owner::Recordset && impl_->recordset->updatable &&
      impl_->recordset->columns[static_cast<std::size_t>(impl_->column)].tableColumn >= 0 &&
      !(attributes & dbAutoIncrField))
    attributes |= dbUpdatableField;
  return attributes;
}
void Field::SetAttributes(long attributes) {
  changeDefinition(*impl_, [&](detail::FieldDef& d) { d.attributes = attributes; });
}
std::string Field::ValidationRule() const { impl_->checkAlive(); return impl_->def.validationRule; }
void Field::SetValidationRule(std::string_view rule) {
  changeDefinition(*impl_, [&](detail::FieldDef& d) { d.validationRule = std::string(rule); });
}
std::string Field::ValidationText() const { impl_->checkAlive(); return impl_->def.validationText; }
void Field::SetValidationText(std::string_view text) {
  changeDefinition(*impl_, [&](detail::FieldDef& d) { d.validationText = std::string(text); });
}
std::string Field::ForeignName() const { impl_->checkAlive(); return impl_->def.foreignName; }
void Field::SetForeignName(std::string_view name) {
  impl_->checkChangeable();
  impl_->def.foreignName = std::string(name);
}
std::string Field::SourceTable() const { impl_->checkAlive(); return impl_->def.sourceTable; }
std::string Field::SourceField() const { impl_->checkAlive(); return impl_->def.sourceField; }

Variant Field::Value() const {
  if (impl_->owner != FieldImpl::Owner::Recordset) {
    impl_->checkAlive();
    throw daoError(dao_errors::InvalidOperation);
  }
  return impl_->recordset->value(impl_->column);
}

void Field::SetValue(const Variant& value) {
  if (impl_->owner != FieldImpl::Owner::Recordset) {
    impl_->checkAlive();
    throw daoError(dao_errors::InvalidOperation);
  }
  impl_->recordset->setValue(impl_->column, value);
}

Collection<Property> Field::Properties() const {
  impl_->checkAlive();
  struct Source : detail::CollectionSource<Property> {
    Field field;
    explicit Source(Field f) : field(std::move(f)) {}
    std::vector<Property> items() override {
      std::vector<Property> list;
      Field f = field;
      auto add = [&](std::string name, int type, std::function<Variant()> get,
                     std::function<void(const Variant&)> set) {
        auto p = std::make_shared<detail::PropertyImpl>();
        p->name = std::move(name);
        p->type = type;
        p->get = std::move(get);
        p->set = std::move(set);
        list.emplace_back(p);
      };
      const bool recordsetField = f.impl()->owner == FieldImpl::Owner::Recordset;
      add("Value", dbText, [f] { return f.Value(); },
          recordsetField ? std::function<void(const Variant&)>([f](const Variant& v) mutable { f.SetValue(v); }) : nullptr);
      add("Attributes", dbLong, [f] { return Variant(f.Attributes()); },
          [f](const Variant& v) mutable { f.SetAttributes(v.CLng()); });
      add("CollatingOrder", dbLong, [f] { return Variant(static_cast<long>(f.impl()->def.collatingOrder)); }, nullptr);
      add("Type", dbInteger, [f] { return Variant(f.Type()); }, [f](const Variant& v) mutable { f.SetType(v.CInt()); });
      add("Name", dbText, [f] { return Variant(f.Name()); }, [f](const Variant& v) mutable { f.SetName(v.CStr()); });
      add("OrdinalPosition", dbInteger, [f] { return Variant(f.OrdinalPosition()); },
          [f](const Variant& v) mutable { f.SetOrdinalPosition(v.CInt()); });
      add("Size", dbLong, [f] { return Variant(f.Size()); }, [f](const Variant& v) mutable { f.SetSize(v.CLng()); });
      add("SourceField", dbText, [f] { return Variant(f.SourceField()); }, nullptr);
      add("SourceTable", dbText, [f] { return Variant(f.SourceTable()); }, nullptr);
      add("ValidateOnSet", dbBoolean, [] { return Variant(false); }, nullptr);
      add("DataUpdatable", dbBoolean, [f] { return Variant(recordsetUpdatable(f)); }, nullptr);
      add("ForeignName", dbText, [f] { return Variant(f.ForeignName()); },
          [f](const Variant& v) mutable { f.SetForeignName(v.CStr()); });
      add("DefaultValue", dbText, [f] { return f.DefaultValue(); },
          [f](const Variant& v) mutable { f.SetDefaultValue(v); });
      add("ValidationRule", dbText, [f] { return Variant(f.ValidationRule()); },
          [f](const Variant& v) mutable { f.SetValidationRule(v.Text()); });
      add("ValidationText", dbText, [f] { return Variant(f.ValidationText()); },
          [f](const Variant& v) mutable { f.SetValidationText(v.Text()); });
      add("Required", dbBoolean, [f] { return Variant(f.Required()); },
          [f](const Variant& v) mutable { f.SetRequired(v.CBool()); });
      add("AllowZeroLength", dbBoolean, [f] { return Variant(f.AllowZeroLength()); },
          [f](const Variant& v) mutable { f.SetAllowZeroLength(v.CBool()); });
      // Properties stored for the column (Description, Format...): settable on a saved field.
      const bool saved = f.impl()->owner == FieldImpl::Owner::Table;
      for (const auto& [name, value] : f.impl()->extraProperties) {
        std::string property = name;
        std::function<void(const Variant&)> set;
        if (saved)
          set = [f, property](const Variant& v) { detail::setSavedFieldProperty(*f.impl(), property, v); };
        add(name, storedType(value),
            [f, property] {
              for (const auto& [n, v] : f.impl()->extraProperties)
                if (n == property) return v;
              return Variant::Null();
            },
            std::move(set));
      }
      return list;
    }
    // The field type constant of a stored property's value.
    static int storedType(const Variant& v) {
      switch (v.kind()) {
        case jet::ValueKind::Boolean: return dbBoolean;
        case jet::ValueKind::Byte: return dbByte;
        case jet::ValueKind::Integer: return dbInteger;
        case jet::ValueKind::Long: return dbLong;
        case jet::ValueKind::Double: return dbDouble;
        case jet::ValueKind::Date: return dbDate;
        default: return dbText;
      }
    }
    static bool recordsetUpdatable(const Field& f) {
      const auto& impl = f.impl();
      return impl->owner == FieldImpl::Owner::Recordset && impl->recordset->updatable &&
             impl->recordset->columns[static_cast<std::size_t>(impl->column)].tableColumn >= 0;
    }
    void append(const Property&) override { throw daoError(dao_errors::NotSupported); }
    void remove(std::string_view) override { throw daoError(dao_errors::NotSupported); }
    int notFoundError() const override { return dao_errors::PropertyNotFound; }
  };
  return Collection<Property>(std::make_shared<Source>(*this));
}

}  // namespace platform::dao
