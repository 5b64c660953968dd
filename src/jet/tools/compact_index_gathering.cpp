#include "jet/tools/compact_index_gathering.h"

#include <algorithm>

#include "jet/base/error.h"
#include "jet/btree/index_row_key.h"
#include "jet/btree/index_stored_key.h"
#include "jet/record/long_value.h"

namespace jet::compact_detail {

GatheredIndexes::GatheredIndexes(const TableDef& def, const FormatLayout& layout, const os::Services& services,
                                 const std::string& path, std::size_t budget)
    : def_(def), layout_(layout), path_(path), pool_(budget), complete_(def.indexes.size(), true) {
  for (std::size_t i = 0; i < def.indexes.size(); ++i)
    entries_.push_back(std::make_unique<IndexEntrySort>(services, path + ".tri" + std::to_string(i), pool_));
  for (const IndexDef& index : def.indexes) {
    std::vector<std::size_t>& parts = index_parts_.emplace_back();
    for (const IndexColumn& ic : index.columns) {
      std::size_t at = 0;
      while (at < def.columns.size() && def.columns[at].number != ic.column_number) ++at;
      if (at < def.columns.size()) {
        indexed_.push_back(at);
        // Decoding one would read its long value, which only the engine's thread may do.
        if (is_long_value(def.columns[at].type)) stored_ = false;
      }
      const auto same = std::find_if(parts_.begin(), parts_.end(), [&](const Part& p) {
        return p.number == ic.column_number && p.ascending == ic.ascending;
      });
      parts.push_back(static_cast<std::size_t>(same - parts_.begin()));
      if (same == parts_.end()) parts_.push_back({at, ic.column_number, ic.ascending});
    }
  }
  std::sort(indexed_.begin(), indexed_.end());
  indexed_.erase(std::unique(indexed_.begin(), indexed_.end()), indexed_.end());
  stored_ = stored_ && !entries_.empty();
}

void GatheredIndexes::apply(const TableDef&, const Row* old_values, const Row* new_values, RowId id) {
  if (old_values || !new_values) {
    // Rows overwritten or removed: the indexes are read back from the rows instead.
    settle();
    for (std::size_t i = 0; i < entries_.size(); ++i) drop(i);
    return;
  }
  if (entries_.empty()) return;
  Batch& batch = filling_;
  if (batch.valued == batch.rows.size()) batch.rows.emplace_back(def_.columns.size(), Value::null());
  Row& row = batch.rows[batch.valued];
  for (const std::size_t at : indexed_)
    if (at < new_values->size()) row[at] = (*new_values)[at];
  batch.entries.push_back({id, static_cast<std::uint32_t>(batch.valued++), 0, false});
  if (batch.entries.size() == kBatchRows) hand_over();
}

void GatheredIndexes::apply_stored(const TableDef&, std::span<const std::uint8_t> row, RowId id) {
  Batch& batch = filling_;
  batch.entries.push_back(
      {id, static_cast<std::uint32_t>(batch.bytes.size()), static_cast<std::uint32_t>(row.size()), true});
  batch.bytes.insert(batch.bytes.end(), row.begin(), row.end());
  if (batch.entries.size() == kBatchRows) hand_over();
}

IndexEntrySort* GatheredIndexes::take(std::size_t i) {
  settle();
  return i < entries_.size() && complete_[i] ? entries_[i].get() : nullptr;
}

void GatheredIndexes::hand_over() {
  helper_.wait();
  std::swap(filling_, handed_);
  filling_.clear();
  helper_.start([this] { gather(handed_); });
}

void GatheredIndexes::settle() {
  if (!filling_.entries.empty()) hand_over();
  helper_.wait();
}

void GatheredIndexes::gather(const Batch& batch) {
  for (const Entry& entry : batch.entries) {
    if (!entry.stored) {
      gather_row(batch.rows[entry.at], entry.id);
      continue;
    }
    decode_columns_into(layout_, def_, ByteView(batch.bytes.data() + entry.at, entry.length, entry.id.page, &path_),
                        decoded_, indexed_);
    gather_row(decoded_, entry.id);
  }
}

void GatheredIndexes::gather_row(const Row& values, RowId id) {
  made_.assign(parts_.size(), Made::Not);
  spans_.resize(parts_.size());
  made_keys_.clear();
  for (std::size_t i = 0; i < def_.indexes.size() && i < entries_.size(); ++i) {
    if (!complete_[i] || row_left_out_of_index(def_, def_.indexes[i], values)) continue;
    key_.clear();
    bool computable = true;
    for (const std::size_t p : index_parts_[i]) {
      if (made_[p] == Made::Not) {
        if (parts_[p].at >= def_.columns.size())
          throw Error(ErrorCode::DatabaseDamaged,
                      "index sur la colonne " + std::to_string(parts_[p].number) + " absente de la table");
        const std::size_t from = made_keys_.bytes().size();
        try {
          append_value_key(made_keys_, values[parts_[p].at], def_.columns[parts_[p].at], parts_[p].ascending);
          made_[p] = Made::Done;
          spans_[p] = {from, made_keys_.bytes().size() - from};
        } catch (const Error& e) {
          if (!key_not_computable(e)) throw;
          made_[p] = Made::NotComputable;
        }
      }
      if (made_[p] == Made::NotComputable) {
        computable = false;
        break;
      }
      const std::uint8_t* part = made_keys_.bytes().data() + spans_[p].first;
      key_.insert(key_.end(), part, part + spans_[p].second);
    }
    if (!computable) {
      drop(i);  // its stored key is taken from the source
      continue;
    }
    entries_[i]->add(key_, id);
  }
}

void GatheredIndexes::drop(std::size_t i) {
  complete_[i] = false;
  entries_[i]->clear();
}

}  // namespace jet::compact_detail
