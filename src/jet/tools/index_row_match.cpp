#include "jet/tools/index_row_match.h"

#include <algorithm>
#include <optional>

#include "jet/base/bytes.h"
#include "jet/base/error.h"
#include "jet/btree/index_row_key.h"
#include "jet/btree/index_stored_key.h"

namespace jet {

std::string index_row_text(RowId r) { return std::to_string(r.page) + ":" + std::to_string(r.row); }

std::string index_entry_where(PageNumber page, std::size_t entry) {
  return "page " + std::to_string(page) + ", entrée " + std::to_string(entry);
}

namespace {

// A sorted record is keyed (row pointer, position in tree order); its payload is the leaf
// page (4 bytes), the entry's slot in it (2) and its key.
constexpr std::size_t kPayloadHeader = 6;

bool has_null_column(const std::vector<KeyColumn>& columns, std::span<const std::uint8_t> key) {
  try {
    KeyReader r(key);
    for (const auto& c : columns) {
      if (r.next(c).is_null) return true;
    }
  } catch (const Error&) {
  }
  return false;
}

}  // namespace

IndexRowMatch::IndexRowMatch(const Table& table, const IndexDef& index, const std::vector<KeyColumn>& columns,
                             const os::Services& services, std::size_t budget, std::size_t room)
    : table_(table), index_(index), columns_(columns), room_(room), sorted_(services, budget) {}

void IndexRowMatch::keep(std::vector<std::string>& list, std::string s) const {
  if (list.size() < room_) list.push_back(std::move(s));
}

bool IndexRowMatch::full() const noexcept { return seconds_.size() + duplicates_.size() + rows_.size() >= room_; }

void IndexRowMatch::add(std::span<const std::uint8_t> key, RowId row, PageNumber page, std::size_t slot) {
  if (index_.unique()) {
    // Equal keys are neighbours in tree order.
    if (has_previous_ && compare_keys(previous_key_, key) == 0 && !has_null_column(columns_, key))
      keep(duplicates_, index_entry_where(page, slot) + " : clé en double dans un index unique (lignes " +
                            index_row_text(previous_row_) + " et " + index_row_text(row) + ")");
    previous_key_.assign(key.begin(), key.end());
    previous_row_ = row;
    has_previous_ = true;
  }
  payload_.clear();
  append_le32(payload_, page);
  append_le16(payload_, static_cast<std::uint16_t>(slot));
  payload_.insert(payload_.end(), key.begin(), key.end());
  sorted_.add(std::uint64_t{row.pointer()} << 32 | ordinal_++, payload_);
}

bool IndexRowMatch::next_group(Group& g) {
  if (!have_record_) return false;
  const auto read = [](const SpillSort::Record& r, PageNumber& page, std::uint16_t& slot) {
    page = load_le32(r.payload.data());
    slot = load_le16(r.payload.data() + 4);
  };
  g.pointer = static_cast<std::uint32_t>(record_.order >> 32);
  read(record_, g.page, g.slot);
  g.key.assign(record_.payload.begin() + kPayloadHeader, record_.payload.end());
  while ((have_record_ = sorted_.next(record_)) && static_cast<std::uint32_t>(record_.order >> 32) == g.pointer) {
    Second s{static_cast<std::uint32_t>(record_.order), 0, 0, g.pointer};
    read(record_, s.page, s.slot);
    // Only the earliest ones in tree order can be reported: keep those.
    seconds_.push_back(s);
    std::push_heap(seconds_.begin(), seconds_.end());
    if (seconds_.size() > room_) {
      std::pop_heap(seconds_.begin(), seconds_.end());
      seconds_.pop_back();
    }
  }
  return true;
}

void IndexRowMatch::check_row(RowId id, const Row& row, const Group* entry, bool incomplete) {
  const TableDef& def = table_.def();
  if (row_left_out_of_index(def, index_, row)) {
    if (entry)
      keep(rows_, index_entry_where(entry->page, entry->slot) + " : la ligne " + index_row_text(id) +
                      " n'a que des valeurs Null et devrait être ignorée par l'index");
    return;
  }
  if (!entry) {
    // Behind an unreadable part of the tree, missing entries are expected: count them.
    if (incomplete) ++unlisted_rows_;
    else keep(rows_, "ligne " + index_row_text(id) + " : aucune entrée dans l'index");
    return;
  }
  // Keys this engine cannot compute (Jet 3 text) are checked by their order and rows only.
  if (!index_keys_known(def, index_)) return;
  std::vector<std::uint8_t> want;
  try {
    want = index_key_for_row(def, index_, row);
  } catch (const Error& ex) {
    // A character without a known code: the stored entry stands (it decodes and is in
    // order), its bytes cannot be checked.
    if (key_not_computable(ex)) return;
    keep(rows_, index_entry_where(entry->page, entry->slot) + " : clé de la ligne " + index_row_text(id) +
                    " impossible à calculer (" + ex.what() + ")");
    return;
  }
  if (want != entry->key)
    keep(rows_, index_entry_where(entry->page, entry->slot) + " : clé [" + key_to_hex(entry->key) + "] au lieu de [" +
                    key_to_hex(want) + "] pour la ligne " + index_row_text(id));
}

ColumnSelection IndexRowMatch::wanted() const {
  // Only the index's columns are decoded: the rest of each row is not needed here.
  ColumnSelection wanted(table_.def().columns.size(), false);
  for (const auto& ic : index_.columns) {
    if (const ColumnDef* c = table_.def().column_by_number(ic.column_number)) wanted[c->definition_order] = true;
  }
  return wanted;
}

void IndexRowMatch::begin(std::size_t room, bool incomplete) {
  room_ = std::min(room_, room);
  incomplete_ = incomplete;
  stopped_ = false;
  interrupted_.reset();
  have_record_ = sorted_.next(record_);
  has_group_ = next_group(group_);
}

void IndexRowMatch::interrupt(const std::string& error) {
  if (wants_rows()) interrupted_ = "lecture des lignes de la table interrompue : " + error;
}

bool IndexRowMatch::take_row(RowId id, const Row& row) {
  if (!wants_rows()) return false;
  try {
    const std::uint32_t at = id.pointer();
    while (has_group_ && group_.pointer < at) {
      keep(strays_, index_entry_where(group_.page, group_.slot) + " : désigne la ligne " +
                        index_row_text(RowId::from_pointer(group_.pointer)) + ", absente ou supprimée");
      has_group_ = next_group(group_);
    }
    const bool listed = has_group_ && group_.pointer == at;
    check_row(id, row, listed ? &group_ : nullptr, incomplete_);
    if (listed) has_group_ = next_group(group_);
  } catch (const Error& e) {
    interrupt(e.what());
    return false;
  }
  // Past `room_` findings nothing more would be reported.
  if (full()) stopped_ = true;
  return !stopped_;
}

void IndexRowMatch::finish(std::size_t room, bool incomplete, const std::function<void(std::string)>& report) {
  begin(room, incomplete);
  try {
    Table::Cursor rows(table_, wanted());
    while (rows.next())
      if (!take_row(rows.row_id(), rows.row())) break;
  } catch (const Error& e) {
    interrupt(e.what());
  }
  end(report);
}

void IndexRowMatch::end(const std::function<void(std::string)>& report) {
  // Entries past the last row name rows that do not exist; after an interruption they are
  // only read for the seconds among them, which come first in the report.
  while (has_group_ && !stopped_) {
    if (!interrupted_)
      keep(strays_, index_entry_where(group_.page, group_.slot) + " : désigne la ligne " +
                        index_row_text(RowId::from_pointer(group_.pointer)) + ", absente ou supprimée");
    has_group_ = next_group(group_);
  }
  std::sort_heap(seconds_.begin(), seconds_.end());
  for (const Second& s : seconds_)
    report(index_entry_where(s.page, s.slot) + " : deuxième entrée pour la ligne " +
           index_row_text(RowId::from_pointer(s.row)));
  for (auto& s : duplicates_) report(std::move(s));
  for (auto& s : rows_) report(std::move(s));
  if (interrupted_) {
    report(std::move(*interrupted_));
    return;
  }
  if (unlisted_rows_ > 0)
    report(std::to_string(unlisted_rows_) + " ligne(s) sans entrée dans la partie lisible de l'index");
  for (auto& s : strays_) report(std::move(s));
}

}  // namespace jet
