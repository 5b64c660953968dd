#include "platform/dao/recordset.h"

#include "jet/api/sql.h"
#include "platform/dao/constants.h"
#include "platform/dao/dao_error.h"
#include "platform/dao/recordset_impl.h"
#include "platform/vbstring.h"

namespace platform::dao {

namespace detail {

void RecordsetImpl::checkOpen() const {
  if (closed || !db || !db->isOpen()) throw daoError(dao_errors::InvalidObject);
}

void RecordsetImpl::checkCurrent() const {
  if (!hasCurrent()) throw fromJet(jet::Error(jet::ErrorCode::NoCurrentRecord));
  if (deleted[static_cast<std::size_t>(cur)]) throw daoError(dao_errors::RecordDeleted);
}

int RecordsetImpl::columnIndex(std::string_view fieldName) const {
  if (columnsByName.empty()) {
    // The first of equal names wins, as a search in column order would find it.
    for (std::size_t i = 0; i < columns.size(); ++i)
      columnsByName.emplace(FoldCase(columns[i].def.name), static_cast<int>(i));
  }
  FoldCase(fieldName, foldedName);
  const auto it = columnsByName.find(foldedName);
  if (it == columnsByName.end()) throw daoError(dao_errors::ItemNotFound);
  return it->second;
}

jet::Row RecordsetImpl::readRow(long position, const jet::ColumnSelection& wanted) const {
  auto row = jet::read_row(db->pager(), def, ids[static_cast<std::size_t>(position)], wanted);
  // Removed by another statement since the set was opened.
  if (!row) throw daoError(dao_errors::RecordDeleted);
  return std::move(*row);
}

Variant RecordsetImpl::value(int column) {
  checkOpen();
  const Column& c = columns[static_cast<std::size_t>(column)];
  if (editMode != dbEditNone && c.tableColumn >= 0) return Variant(buffer[static_cast<std::size_t>(c.tableColumn)]);
  if (editMode == dbEditAdd) return Variant::Null();
  checkCurrent();
  if (rowBacked() && c.tableColumn >= 0) {
    // The one column asked for: the row's other texts and long values are left undecoded.
    const auto at = static_cast<std::size_t>(c.tableColumn);
    jet::ColumnSelection wanted(def.columns.size());
    wanted[at] = true;
    return guarded([&] { return Variant(readRow(cur, wanted)[at]); });
  }
  return Variant(values[static_cast<std::size_t>(cur)][static_cast<std::size_t>(c.resultColumn)]);
}

void RecordsetImpl::setValue(int column, const Variant& v) {
  checkOpen();
  const Column& c = columns[static_cast<std::size_t>(column)];
  if (!updatable || c.tableColumn < 0) throw daoError(dao_errors::ReadOnly);
  if (editMode == dbEditNone) throw daoError(dao_errors::UpdateWithoutEdit);
  // VB's Empty is stored as Null.
  buffer[static_cast<std::size_t>(c.tableColumn)] = v.IsEmpty() ? jet::Value::null() : v.value();
}

void RecordsetImpl::dropStaleCaches() {
  if (cacheGeneration == db->schemaGeneration) return;
  writerCache.reset();
  defaultsCache.reset();
  cacheGeneration = db->schemaGeneration;
}

jet::TableWriter& RecordsetImpl::writer() {
  dropStaleCaches();
  if (!writerCache) writerCache = std::make_unique<jet::TableWriter>(db->writer(*table));
  return *writerCache;
}

const jet::Row& RecordsetImpl::defaults() {
  dropStaleCaches();
  if (defaultsCache) return *defaultsCache;
  jet::Row row(def.columns.size(), jet::Value::null());
  // Columns with a default value start with it, as the engine fills a new record.
  const jet::PropertySet properties = db->tableEntry(*table).property_set();
  for (std::size_t i = 0; i < def.columns.size(); ++i) {
    const jet::PropertyBlock* block = properties.column(def.columns[i].name);
    const jet::Property* value = block ? block->find("DefaultValue") : nullptr;
    if (!value || value->value.kind() != jet::ValueKind::Text || value->value.as_text().empty()) continue;
    try {
      struct NoNames : jet::sql::Resolver {
        std::optional<jet::Value> column(const jet::sql::ColumnRef&) override { return std::nullopt; }
      } none;
      row[i] = jet::sql::evaluate(*jet::sql::parse_expression(value->value.as_text()), none);
    } catch (const jet::Error&) {
      // A default the expression service cannot work out here stays empty.
    }
  }
  defaultsCache = std::move(row);
  return *defaultsCache;
}

long RecordsetImpl::firstLive(long from, int step) const {
  for (long p = from; p >= 0 && p < size(); p += step)
    if (!deleted[static_cast<std::size_t>(p)]) return p;
  return step > 0 ? size() : -1;
}

void RecordsetImpl::moveTo(long position) {
  editMode = dbEditNone;
  cur = position;
  if (hasCurrent()) touch();
}

namespace {

// Names in FindFirst criteria are the set's fields ("T.name" matches the field "name").
class CurrentRecordResolver : public jet::sql::Resolver {
 public:
  explicit CurrentRecordResolver(RecordsetImpl& rs) : rs_(rs) {}
  std::optional<jet::Value> column(const jet::sql::ColumnRef& ref) override {
    for (std::size_t i = 0; i < rs_.columns.size(); ++i) {
      const auto& def = rs_.columns[i].def;
      const bool sameTable = ref.table.empty() || EqualsNoCase(ref.table, def.sourceTable) ||
                             (rs_.table && EqualsNoCase(ref.table, *rs_.table)) || EqualsNoCase(ref.table, rs_.name);
      if (sameTable && EqualsNoCase(def.name, ref.name)) return rs_.value(static_cast<int>(i)).value();
    }
    if (!ref.table.empty()) {
      std::string joined = ref.table + "." + ref.name;
      for (std::size_t i = 0; i < rs_.columns.size(); ++i)
        if (EqualsNoCase(rs_.columns[i].def.name, joined)) return rs_.value(static_cast<int>(i)).value();
    }
    return std::nullopt;
  }

 private:
  RecordsetImpl& rs_;
};

void find(RecordsetImpl& rs, std::string_view criteria, long from, int step) {
  rs.checkOpen();
  guarded([&] {
    jet::sql::ExprPtr condition = jet::sql::parse_expression(criteria);
    const long saved = rs.cur;
    const int savedMode = rs.editMode;
    rs.editMode = dbEditNone;
    for (long p = rs.firstLive(from, step); p >= 0 && p < rs.size(); p = rs.firstLive(p + step, step)) {
      rs.cur = p;
      CurrentRecordResolver resolver(rs);
      bool hit = false;
      try {
        hit = jet::sql::evaluate_condition(*condition, resolver);
      } catch (...) {
        rs.cur = saved;
        rs.editMode = savedMode;
        throw;
      }
      if (hit) {
        rs.noMatch = false;
        rs.touch();
        return;
      }
    }
    rs.cur = saved;
    rs.editMode = savedMode;
    rs.noMatch = true;
  });
}

}  // namespace
}  // namespace detail

using detail::RecordsetImpl;

std::string Recordset::Name() const { impl_->checkOpen(); return impl_->name; }
int Recordset::Type() const { impl_->checkOpen(); return impl_->type; }
bool Recordset::Updatable() const { impl_->checkOpen(); return impl_->updatable; }
bool Recordset::Eof() const { impl_->checkOpen(); return impl_->size() == 0 || impl_->cur >= impl_->size(); }
bool Recordset::Bof() const { impl_->checkOpen(); return impl_->size() == 0 || impl_->cur < 0; }
int Recordset::EditMode() const { impl_->checkOpen(); return impl_->editMode; }
bool Recordset::NoMatch() const { impl_->checkOpen(); return impl_->noMatch; }

long Recordset::AbsolutePosition() const {
  impl_->checkOpen();
  if (!impl_->hasCurrent()) return -1;
  long position = 0;
  for (long p = 0; p < impl_->cur; ++p)
    if (!impl_->deleted[static_cast<std::size_t>(p)]) ++position;
  return position;
}

long Recordset::RecordCount() const {
  impl_->checkOpen();
  if (impl_->tableType)
    return guarded([&] { return static_cast<long>(impl_->db->tableDef(*impl_->table).row_count); });
  long live = 0;
  for (long p = 0; p < impl_->visited && p < impl_->size(); ++p)
    if (!impl_->deleted[static_cast<std::size_t>(p)]) ++live;
  return live;
}

void Recordset::MoveFirst() {
  impl_->checkOpen();
  long p = impl_->firstLive(0, 1);
  if (p >= impl_->size()) throw fromJet(jet::Error(jet::ErrorCode::NoCurrentRecord));
  impl_->moveTo(p);
}

void Recordset::MoveLast() {
  impl_->checkOpen();
  long p = impl_->firstLive(impl_->size() - 1, -1);
  if (p < 0) throw fromJet(jet::Error(jet::ErrorCode::NoCurrentRecord));
  impl_->moveTo(p);
  impl_->visited = impl_->size();
}

void Recordset::MoveNext() {
  impl_->checkOpen();
  if (Eof()) throw fromJet(jet::Error(jet::ErrorCode::NoCurrentRecord));
  impl_->moveTo(impl_->firstLive(impl_->cur + 1, 1));
}

void Recordset::MovePrevious() {
  impl_->checkOpen();
  if (Bof()) throw fromJet(jet::Error(jet::ErrorCode::NoCurrentRecord));
  impl_->moveTo(impl_->firstLive(impl_->cur - 1, -1));
}

void Recordset::Move(long rows) {
  impl_->checkOpen();
  if (rows == 0) return;
  if ((rows > 0 && Eof()) || (rows < 0 && Bof())) throw fromJet(jet::Error(jet::ErrorCode::NoCurrentRecord));
  const int step = rows > 0 ? 1 : -1;
  long p = impl_->cur;
  for (long n = rows > 0 ? rows : -rows; n > 0; --n) {
    p = impl_->firstLive(p + step, step);
    if (p < 0 || p >= impl_->size()) break;
  }
  impl_->moveTo(p);
}

void Recordset::FindFirst(std::string_view criteria) { detail::find(*impl_, criteria, 0, 1); }
void Recordset::FindLast(std::string_view criteria) { detail::find(*impl_, criteria, impl_->size() - 1, -1); }
void Recordset::FindNext(std::string_view criteria) { detail::find(*impl_, criteria, impl_->cur + 1, 1); }
void Recordset::FindPrevious(std::string_view criteria) { detail::find(*impl_, criteria, impl_->cur - 1, -1); }

void Recordset::Edit() {
  impl_->checkOpen();
  if (!impl_->updatable) throw daoError(dao_errors::ReadOnly);
  impl_->checkCurrent();
  impl_->buffer = guarded([&] { return impl_->readRow(impl_->cur); });
  impl_->editMode = dbEditInProgress;
}

void Recordset::AddNew() {
  impl_->checkOpen();
  if (!impl_->updatable) throw daoError(dao_errors::ReadOnly);
  impl_->buffer = guarded([&] { return impl_->defaults(); });
  impl_->editMode = dbEditAdd;
}

void Recordset::Update() {
  impl_->checkOpen();
  if (impl_->editMode == dbEditNone) throw daoError(dao_errors::UpdateWithoutEdit);
  guarded([&] {
    jet::TableWriter& writer = impl_->writer();
    if (impl_->editMode == dbEditAdd) {
      jet::RowId id = writer.insert(impl_->buffer);
      impl_->ids.push_back(id);
      // Only a query's own columns read kept values; a table's records are read from their
      // rows, so a table filled through AddNew holds nothing per record but its place.
      if (impl_->keepsValues()) impl_->values.emplace_back(impl_->columns.size(), jet::Value::null());
      impl_->deleted.push_back(false);
      // The current record stays the one before AddNew; the position past the end moves.
      if (impl_->cur == impl_->size() - 1) impl_->cur = impl_->size();
    } else {
      writer.update(impl_->ids[static_cast<std::size_t>(impl_->cur)], impl_->buffer);
    }
  });
  impl_->editMode = dbEditNone;
}

void Recordset::CancelUpdate() {
  impl_->checkOpen();
  if (impl_->editMode == dbEditNone) throw daoError(dao_errors::UpdateWithoutEdit);
  impl_->editMode = dbEditNone;
}

void Recordset::Delete() {
  impl_->checkOpen();
  if (!impl_->updatable) throw daoError(dao_errors::ReadOnly);
  impl_->editMode = dbEditNone;
  impl_->checkCurrent();
  guarded([&] {
    impl_->writer().remove(impl_->ids[static_cast<std::size_t>(impl_->cur)]);
  });
  impl_->deleted[static_cast<std::size_t>(impl_->cur)] = true;
}

Collection<Field> Recordset::Fields() const {
  impl_->checkOpen();
  struct Source : detail::CollectionSource<Field> {
    std::shared_ptr<RecordsetImpl> rs;
    std::vector<Field> items() override {
      std::vector<Field> fields;
      for (std::size_t i = 0; i < rs->columns.size(); ++i) {
        auto f = std::make_shared<detail::FieldImpl>();
        f->owner = detail::FieldImpl::Owner::Recordset;
        f->def = rs->columns[i].def;
        f->recordset = rs;
        f->column = static_cast<int>(i);
        fields.emplace_back(f);
      }
      return fields;
    }
    void append(const Field&) override { throw daoError(dao_errors::NotSupported); }
    void remove(std::string_view) override { throw daoError(dao_errors::NotSupported); }
  };
  auto source = std::make_shared<Source>();
  source->rs = impl_;
  return Collection<Field>(source);
}

Field Recordset::Fields(std::string_view name) const {
  impl_->checkOpen();
  const int i = impl_->columnIndex(name);
  auto f = std::make_shared<detail::FieldImpl>();
  f->owner = detail::FieldImpl::Owner::Recordset;
  f->def = impl_->columns[static_cast<std::size_t>(i)].def;
  f->recordset = impl_;
  f->column = i;
  return Field(f);
}

Field Recordset::Fields(int index) const { return Fields().Item(index); }

void Recordset::Close() {
  impl_->checkOpen();
  impl_->closed = true;
  impl_->editMode = dbEditNone;
  impl_->values.clear();
  impl_->ids.clear();
}

}  // namespace platform::dao
