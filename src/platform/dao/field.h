// Field and Property objects.
//
// A Field is one of three things, as in the original object model:
//  - a field of a record set: Value() reads the current record, SetValue() changes it
//    between Edit/AddNew and Update (3020 otherwise); the definition properties are read only;
//  - a field of a table definition: Name, Type, Size, Required, AllowZeroLength,
//    DefaultValue, OrdinalPosition... Before it is appended (made by CreateField) every
//    property is settable; once saved, setting one changes the table (Name renames the
//    column), and one that cannot change raises 3219 "Opération non valide.";
//  - a field of an index or a relation: Name, Attributes (dbDescending) and, for a
//    relation, ForeignName.
// Value() on a definition field raises 3219.
//
// Handles are cheap to copy and share the object. A field whose database was closed raises
// 3420 "Objet invalide ou n'est plus défini.".
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/dao/collection.h"
#include "platform/dao/variant.h"

namespace platform::dao {

namespace detail {
struct FieldImpl;
struct PropertyImpl;
}  // namespace detail

class Property {
 public:
  explicit Property(std::shared_ptr<detail::PropertyImpl> impl) : impl_(std::move(impl)) {}
  std::string Name() const;
  int Type() const;  // a field type constant (dbText, dbBoolean...)
  Variant Value() const;
  // Raises 3219 (or the error of the change) when the property cannot be set.
  void SetValue(const Variant& value);
  bool Inherited() const;

 private:
  std::shared_ptr<detail::PropertyImpl> impl_;
};

class Field {
 public:
  explicit Field(std::shared_ptr<detail::FieldImpl> impl) : impl_(std::move(impl)) {}

  std::string Name() const;
  void SetName(std::string_view name);
  int Type() const;
  void SetType(int type);
  long Size() const;
  void SetSize(long size);
  bool Required() const;
  void SetRequired(bool required);
  bool AllowZeroLength() const;
  void SetAllowZeroLength(bool allow);
  Variant DefaultValue() const;  // text ("" when none)
  void SetDefaultValue(const Variant& value);
  int OrdinalPosition() const;
  void SetOrdinalPosition(int position);
  long Attributes() const;
  void SetAttributes(long attributes);
  std::string ValidationRule() const;
  void SetValidationRule(std::string_view rule);
  std::string ValidationText() const;
  void SetValidationText(std::string_view text);
  // Relation fields: the matching field of the foreign table.
  std::string ForeignName() const;
  void SetForeignName(std::string_view name);
  std::string SourceTable() const;
  std::string SourceField() const;

  // Record-set fields only.
  Variant Value() const;
  void SetValue(const Variant& value);

  // Every property the field has, in the engine's order (Value first for a record-set
  // field, then Attributes, CollatingOrder, Type, Name, OrdinalPosition, Size, SourceField,
  // SourceTable, ValidateOnSet, DataUpdatable, ForeignName, DefaultValue, ValidationRule,
  // ValidationText, Required, AllowZeroLength, then those stored for a saved column:
  // Description, Format...). Reading Value of a definition field raises 3219, setting a
  // read-only property 3219; a new field has none of the stored ones (3270), as in DAO,
  // so copying a saved field's properties onto a new one with errors ignored carries its
  // definition but not its Description or Format. OrdinalPosition set on a new field is
  // where Append places it (else it goes last).
  Collection<Property> Properties() const;
  Property Properties(std::string_view name) const { return Properties()(name); }

  const std::shared_ptr<detail::FieldImpl>& impl() const noexcept { return impl_; }

 private:
  std::shared_ptr<detail::FieldImpl> impl_;
};

}  // namespace platform::dao
