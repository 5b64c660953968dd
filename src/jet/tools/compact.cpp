#include "jet/tools/compact.h"

#include <algorithm>
#include <map>

#include "jet/tools/compact_internal.h"
#include "jet/db/create_database.h"
#include "jet/base/error.h"
#include "jet/base/names.h"
#include "jet/storage/database_file.h"
#include "jet/storage/leftover.h"
#include "jet/storage/transaction.h"
#include "jet/tools/verify_catalog.h"

namespace jet {
namespace {

using namespace compact_detail;

constexpr std::int16_t kTableType = static_cast<std::int16_t>(ObjectType::Table);
constexpr std::int16_t kQueryType = static_cast<std::int16_t>(ObjectType::Query);

// Catalog rows by id, with the path that names an object in any database
// ("Tables/Table1", "Relationships/Table2Table1"...): ids differ from file to file.
class ObjectPaths {
 public:
  explicit ObjectPaths(const std::vector<ObjectRow>& rows) {
    for (const auto& r : rows) by_id_[r.id] = &r;
  }
  std::string path(std::int32_t id) const {
    std::string out;
    for (int depth = 0; depth < 32; ++depth) {
      auto it = by_id_.find(id);
      if (it == by_id_.end()) break;
      out = fold_name(it->second->name) + (out.empty() ? "" : "/" + out);
      if (it->second->parent_id == id) break;
      id = it->second->parent_id;
    }
    return out;
  }
  int depth(std::int32_t id) const {
    int d = 0;
    for (auto it = by_id_.find(id); it != by_id_.end() && d < 32; it = by_id_.find(it->second->parent_id)) {
      ++d;
      if (it->second->parent_id == it->second->id) break;
    }
    return d;
  }

 private:
  std::map<std::int32_t, const ObjectRow*> by_id_;
};

class Compactor {
 public:
  Compactor(Database& source, WritableDatabase& destination, const CompactOptions& options)
      : source_(source), destination_(destination), sort_bytes_(options.index_sort_bytes) {
    progress_.report = options.progress;
  }

  CompactReport run() {
    // The source's catalog rows in full (owner, dates, extra bytes), read without writing.
    OverlayPager view(source_.pager(), nullptr);
    PageAllocator no_pages(view);
    const std::vector<ObjectRow> source_rows = CatalogWriter(view, no_pages).rows();
    const ObjectPaths source_paths(source_rows);

    std::vector<CarriedTable> tables;
    if (progress_.report) {
      for (const CatalogEntry* entry : source_.catalog().tables(true))
        if (!engine_table(entry->name)) progress_.total += source_.table(entry->name).def().row_count;
    }
    for (const CatalogEntry* entry : source_.catalog().tables(true)) {
      if (engine_table(entry->name)) continue;
      tables.push_back(carry_table(source_, *entry, destination_, report_, sort_bytes_, &progress_));
    }
    progress_.finish();
    finish_foreign_keys(source_, destination_, tables);
    destination_.reload_catalog();

    Transaction tx(destination_.pager());
    carry_catalog(source_rows, source_paths, tables);
    copy_rows(source_, "MSysQueries", destination_, [&](const TableDef& def, Row& row) {
      return map_object_id(def, row, "ObjectId");
    });
    std::vector<std::string> relationships;
    copy_rows(source_, "MSysRelationships", destination_, [&](const TableDef& def, Row& row) {
      if (const ColumnDef* c = def.find_column("szRelationship"); c && row[c->definition_order].kind() == ValueKind::Text) {
        const std::string& name = row[c->definition_order].as_text();
        if (std::find(relationships.begin(), relationships.end(), name) == relationships.end()) relationships.push_back(name);
      }
      return true;
    });
    report_.relationships = relationships.size();
    replace_access_rows();
    tx.commit();
    destination_.reload_catalog();
    report_.queries = 0;
    for (const auto& r : source_rows)
      if (r.type == kQueryType) ++report_.queries;
    check_carried(tables);
    return report_;
  }

 private:
  [[noreturn]] void cannot_carry(const std::string& what) {
    throw_damaged(source_.path(), "compactage impossible : " + what);
  }

  // Every catalog row reaches the destination: carried tables take the source's flags,
  // dates and property blob; rows the new database already has (containers, the database
  // object) take the source's properties and flags; the others (queries, relationships,
  // forms, reports...) are added under fresh ids, parents first.
  void carry_catalog(const std::vector<ObjectRow>& source_rows, const ObjectPaths& source_paths,
                     const std::vector<CarriedTable>& tables) {
    CatalogWriter writer(destination_.pager(), destination_.allocator());
    const std::vector<ObjectRow> existing = writer.rows();
    const ObjectPaths destination_paths(existing);
    std::map<std::string, std::int32_t> destination_ids;
    for (const auto& r : existing) destination_ids[destination_paths.path(r.id)] = r.id;
    std::int32_t next_id = writer.next_object_id();

    std::vector<const ObjectRow*> order;
    for (const auto& r : source_rows) order.push_back(&r);
    std::stable_sort(order.begin(), order.end(), [&](const ObjectRow* a, const ObjectRow* b) {
      return source_paths.depth(a->id) < source_paths.depth(b->id);
    });
    for (const ObjectRow* r : order) {
      const std::string path = source_paths.path(r->id);
      auto found = destination_ids.find(path);
      if (found != destination_ids.end()) {
        ids_[r->id] = found->second;
        if (r->type == kTableType && engine_table(r->name)) continue;
        ObjectRow row = *writer.find(found->second);
        row.flags = r->flags;
        row.created = r->created;
        row.updated = r->updated;
        row.owner = r->owner;
        row.properties = r->properties;
        row.lv_extra = r->lv_extra;
        row.connect = r->connect;
        row.database = r->database;
        row.foreign_name = r->foreign_name;
        writer.update(row);
        ++report_.catalog_rows;
        continue;
      }
      if (r->type == kTableType && std::any_of(tables.begin(), tables.end(), [&](const CarriedTable& t) {
            return same_name(t.name, r->name);
          }))
        cannot_carry("la table « " + r->name + " » n'a pas été recréée");
      auto parent = ids_.find(r->parent_id);
      if (parent == ids_.end()) cannot_carry("l'objet « " + r->name + " » n'a pas de parent connu");
      ObjectRow row = *r;
      row.id = next_id++;
      row.parent_id = parent->second;
      writer.add(row);
      ids_[r->id] = row.id;
      destination_ids[path] = row.id;
      if (r->type != kQueryType) ++report_.catalog_rows;
    }
  }

  // Rewrites the object id column of a copied row; rows of objects not carried are dropped.
  bool map_object_id(const TableDef& def, Row& row, std::string_view column) {
    const ColumnDef* c = def.find_column(column);
    if (!c || !row[c->definition_order].is_numeric()) return false;
    auto it = ids_.find(static_cast<std::int32_t>(row[c->definition_order].to_int64()));
    if (it == ids_.end()) return false;
    row[c->definition_order] = Value::long_(it->second);
    return true;
  }

  // The new database's own access rows give way to the source's, for every object; they
  // are overwritten rather than deleted, so the compacted MSysACEs keeps no deleted slot.
  void replace_access_rows() {
    if (!destination_.catalog().find_table("MSysACEs")) cannot_carry("table MSysACEs absente de la nouvelle base");
    copy_rows(
        source_, "MSysACEs", destination_,
        [&](const TableDef& def, Row& row) { return map_object_id(def, row, "ObjectId"); }, true);
  }

  // Every table holds as many rows as the source's, and every catalog object's properties
  // decode (a damaged blob of the source is carried as bytes). The new file is not verified
  // in full here: its indexes are built from the very rows it received, and whoever relies
  // on it checks it once, where that protects its user.
  void check_carried(const std::vector<CarriedTable>& tables) {
    for (const CarriedTable& table : tables) {
      if (destination_.table(table.name).count_rows() != table.rows)
        cannot_carry("la table " + table.name + " n'a pas reçu toutes ses lignes");
    }
    std::vector<std::string> problems;
    verify_catalog(destination_.catalog(), destination_.pager().layout(), problems);
    if (!problems.empty()) cannot_carry("la nouvelle base ne se vérifie pas : " + problems.front());
  }

  Database& source_;
  WritableDatabase& destination_;
  CompactReport report_;
  std::size_t sort_bytes_;
  RowsProgress progress_;
  std::map<std::int32_t, std::int32_t> ids_;  // source object id -> destination id
};

// A compaction's file left by a killed run is removed; one held by a compaction of the same
// name under way is refused as a file in use.
void remove_leftover(const os::Services& sys, const std::string& temp) {
  try {
    if (!remove_if_unheld(sys, temp)) throw Error(ErrorCode::FileInUse, temp);
  } catch (const os::Failure& failure) {
    throw_file_failure(failure, sys, temp, FileActivity::OpeningToWrite);
  }
}

}  // namespace

CompactReport compact(const std::string& source, const std::string& destination, const os::Services* services,
                      const CompactOptions& settings) {
  const os::Services& sys = services ? *services : os::system_services();
  if (sys.files->exists(destination)) throw Error(ErrorCode::DatabaseExists, destination);
  OpenOptions shared;
  shared.services = &sys;
  auto from = Database::open(source, shared);  // shared, read-only
  // Compaction rewrites the source's content as a file of its own format; an Access 97
  // source is refused before the destination is created.
  require_writable(from->pager().layout(), source);
  CreateOptions options;
  options.code_page = from->header().code_page;
  options.sort_order = static_cast<std::uint16_t>(from->header().sort_order);
  options.services = &sys;
  // The new file is written under a name of its own and given its name once complete, so
  // that `destination` is either absent or a whole database, even if the program is killed.
  const std::string temp = compaction_path(destination);
  remove_leftover(sys, temp);
  auto to = create_database(temp, options);  // refuses an existing file, a missing folder
  try {
    // Until it is published the new file is nobody's: no journal nor sync per table, one
    // sync before it takes its name.
    to->write_unjournaled();
    // Its pages go to the file once they leave memory, and few are touched twice: 32 MB of
    // them serve as well as 64 (a 1.7 GB file compacts in the same time, in 30 MB less;
    // 16 took 10% longer), which leaves the memory to the index sorts.
    constexpr std::size_t kHeldPages = 8192;
    to->pager().set_budget(settings.overlay_pages ? settings.overlay_pages
                                                  : std::min(OverlayPager::default_budget(), kHeldPages));
    CompactReport report = Compactor(*from, *to, settings).run();
    to->sync();
    to.reset();
    sys.files->publish_new(temp, destination);
    return report;
  } catch (const os::Failure& failure) {
    to.reset();
    try { sys.files->remove(temp); } catch (const os::Failure&) {}
    throw_file_failure(failure, sys, destination, FileActivity::Writing);
  } catch (...) {
    to.reset();
    try { sys.files->remove(temp); } catch (const os::Failure&) {}
    throw;
  }
}

std::string compaction_path(const std::string& destination) { return destination + ".compactage"; }

}  // namespace jet
