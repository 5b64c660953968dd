#include "damage_check.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <optional>

#include "jet/base/error.h"
#include "jet/db/database.h"
#include "jet/db/writable_database.h"
#include "jet/tools/compact.h"
#include "jet/tools/index_verify.h"
#include "jet/tools/repair.h"
#include "jet/tools/verify.h"

namespace damage_check {
namespace {

namespace fs = std::filesystem;

void write_file(const fs::path& path, const std::vector<std::uint8_t>& bytes) {
  fs::remove(path);
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!out.flush()) throw std::runtime_error("cannot write " + path.string());
}

std::vector<std::uint8_t> read_file(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string quoted(const std::string& s) {
  std::string out = "'";
  for (char c : s) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

std::string text_of(const jet::Error& e) { return std::to_string(e.number()) + " " + e.description(); }

// The verdict of verify on the file: nullopt when it cannot be opened (the error kept).
std::optional<std::vector<std::string>> verify(const std::string& path, int& open_error, bool& jet3,
                                               Result& result) {
  std::unique_ptr<jet::Database> db;
  try {
    db = jet::Database::open(path);
  } catch (const jet::Error& e) {
    open_error = e.number();
    return std::nullopt;
  }
  result.opened = true;
  jet3 = db->header().format == jet::FileFormat::Jet3;
  try {
    return jet::verify_database(*db, jet::verify_indexes);
  } catch (const jet::Error& e) {
    // A verdict that cannot be given is no verdict of soundness.
    return std::vector<std::string>{"vérification interrompue : " + text_of(e)};
  }
}

// Everything a reader may ask for: a sound file gives all of it; a damaged one may refuse,
// with a jet::Error.
void read_everything(const std::string& path, bool sound, std::vector<std::string>& broken) {
  const auto fail = [&](const std::string& what) {
    if (sound) broken.push_back(what);
  };
  try {
    auto db = jet::Database::open(path);
    for (const auto& name : db->table_names(true)) {
      try {
        db->table(name).scan([](jet::RowId, const jet::Row&) { return true; });
      } catch (const jet::Error& e) {
        fail("saine mais la table « " + name + " » ne se lit pas : " + text_of(e));
      }
    }
    const bool jet3 = db->header().format == jet::FileFormat::Jet3;
    for (const auto& entry : db->catalog().entries()) {
      try {
        entry.property_set();
      } catch (const jet::Error& e) {
        // The engine does not decode the properties of Access 97 files.
        if (jet3 && e.number() == 3251) continue;
        fail("saine mais les propriétés de « " + entry.name + " » ne se lisent pas : " + text_of(e));
      }
    }
    db->catalog().relationships();
    db->catalog().query_rows();
  } catch (const jet::Error& e) {
    fail("saine mais illisible : " + text_of(e));
  }
}

// Compaction of a sound file must succeed; of a damaged one it may fail, with a jet::Error
// and no destination left behind. Whatever it writes must check sound.
void compact_into_new_file(const std::string& path, bool sound, const fs::path& work, std::vector<std::string>& broken) {
  const fs::path destination = work / "damage-compact.mdb";
  fs::remove(destination);
  try {
    jet::compact(path, destination.string());
  } catch (const jet::Error& e) {
    if (sound) broken.push_back("saine mais le compactage échoue : " + text_of(e));
    if (fs::exists(destination)) broken.push_back("compactage refusé mais nouvelle base laissée : " + text_of(e));
    return;
  }
  try {
    auto db = jet::Database::open(destination.string());
    for (const auto& p : jet::verify_database(*db, jet::verify_indexes))
      broken.push_back("la base compactée ne se vérifie pas : " + p);
  } catch (const jet::Error& e) {
    broken.push_back("la base compactée ne s'ouvre pas : " + text_of(e));
  }
  fs::remove(destination);
}

// The first row of every user table taken out and written back, each an autocommitted
// statement: the writers go through the maps, free space and indexes verify vouched for. A
// refusal other than 3049 (a related record, a rule the row breaks) says nothing of damage.
void write_each_table(const std::vector<std::uint8_t>& bytes, const fs::path& work, std::vector<std::string>& broken) {
  const fs::path copy = work / "damage-write.mdb";
  write_file(copy, bytes);
  try {
    auto db = jet::WritableDatabase::open(copy.string());
    for (const jet::CatalogEntry* entry : db->catalog().tables(false)) {
      try {
        const jet::Table table = db->table(entry->name);
        jet::Table::Cursor first(table);
        if (!first.next()) continue;
        const jet::RowId id = first.row_id();
        const jet::Row row = first.row();
        jet::TableWriter writer = db->writer(entry->name);
        writer.remove(id);
        writer.insert(row);
      } catch (const jet::Error& e) {
        if (e.number() == 3049) broken.push_back("saine mais l'écriture dans « " + entry->name + " » échoue : " + text_of(e));
      }
    }
  } catch (const jet::Error& e) {
    broken.push_back("saine mais ne s'ouvre pas en écriture : " + text_of(e));
    return;
  }
  try {
    auto db = jet::Database::open(copy.string());
    const auto problems = jet::verify_database(*db, jet::verify_indexes);
    if (!problems.empty()) broken.push_back("après des écritures, la base ne se vérifie plus : " + problems.front());
  } catch (const jet::Error& e) {
    broken.push_back("après des écritures, la base ne s'ouvre plus : " + text_of(e));
  }
}

void export_with_mdbtools(const std::string& path, std::vector<std::string>& broken) {
  std::vector<std::string> tables;
  try {
    tables = jet::Database::open(path)->table_names(true);
  } catch (const jet::Error&) {
    return;  // reported by read_everything
  }
  for (const auto& table : tables) {
    const std::string command = "timeout 20 mdb-export " + quoted(path) + " " + quoted(table) + " >/dev/null 2>&1";
    if (std::system(command.c_str()) != 0) broken.push_back("saine mais mdb-export ne lit pas la table « " + table + " »");
  }
}

}  // namespace

Result check(const std::vector<std::uint8_t>& bytes, const fs::path& work, const Options& options) {
  Result result;
  const fs::path file = work / "damage-file.mdb";
  write_file(file, bytes);
  int open_error = 0;
  bool jet3 = false;
  const auto problems = verify(file.string(), open_error, jet3, result);
  result.sound = problems && problems->empty();
  if (result.opened) read_everything(file.string(), result.sound, result.broken);
  if (result.sound) {
    if (!jet3) write_each_table(bytes, work, result.broken);
    if (options.mdbtools) export_with_mdbtools(file.string(), result.broken);
  }
  if (result.opened && !jet3 && (result.sound || options.compact_damaged))
    compact_into_new_file(file.string(), result.sound, work, result.broken);

  const fs::path copy = work / "damage-repair.mdb";
  write_file(copy, bytes);
  try {
    const jet::RepairReport report = jet::repair(copy.string());
    result.repair = report.changed() ? RepairOutcome::Repaired : RepairOutcome::NothingToDo;
    if (!report.changed() && read_file(copy) != bytes) result.broken.push_back("réparation sans action mais fichier changé");
    if (result.sound && report.changed())
      result.broken.push_back("base saine mais la réparation la change : " + report.actions.front());
    int ignored = 0;
    bool jet3_after = false;
    Result scratch;
    const auto verdict = verify(copy.string(), ignored, jet3_after, scratch);
    if (!verdict) result.broken.push_back("la base réparée ne s'ouvre plus");
    else if (!verdict->empty()) result.broken.push_back("la base réparée ne se vérifie pas : " + verdict->front());
  } catch (const jet::Error& e) {
    result.repair = RepairOutcome::Refused;
    result.refusal = text_of(e);
    // Access 97 files are refused for writing (3041) before they are opened.
    const bool jet3_header = bytes.size() > 0x14 && bytes[0x14] == 0;
    const bool expected = e.number() == 3049 || (!result.opened && e.number() == open_error) ||
                          ((jet3 || jet3_header) && e.number() == 3041);
    if (!expected) result.broken.push_back("réparation refusée par une autre erreur que 3049 : " + text_of(e));
    if (read_file(copy) != bytes) result.broken.push_back("réparation refusée mais fichier changé : " + text_of(e));
    if (result.sound && e.number() != 3041) result.broken.push_back("base saine mais réparation refusée : " + text_of(e));
  }
  return result;
}

}  // namespace damage_check
