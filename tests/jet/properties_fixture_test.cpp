// Property blobs of every Access-made fixture, read through the engine's catalog: exact
// round trips and agreement with mdb-prop.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>

#include "jet/base/error.h"
#include "jet/record/properties.h"
#include "properties_oracle.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace properties_fixture_test_cases {

namespace {

using jet_oracle::Blob;

std::vector<Blob> all_blobs() {
  std::vector<Blob> out;
  for (const auto& db : jet_oracle::fixtures()) {
    auto blobs = jet_oracle::engine_property_blobs(db);
    out.insert(out.end(), blobs.begin(), blobs.end());
  }
  return out;
}

const std::vector<Blob>& blobs() {
  static const std::vector<Blob> cached = all_blobs();
  return cached;
}

const jet::PropertySet& parsed(const std::string& database, const std::string& object) {
  static std::map<std::pair<std::string, std::string>, jet::PropertySet> cache;
  auto key = std::make_pair(database, object);
  auto it = cache.find(key);
  if (it == cache.end()) {
    for (const auto& b : blobs()) {
      if (b.database == database && b.object == object) {
        it = cache.emplace(key, jet::parse_properties(b.bytes)).first;
        break;
      }
    }
  }
  if (it == cache.end()) throw std::runtime_error("no blob for " + database + " " + object);
  return it->second;
}

TEST(PropertyBlobs, EveryFixtureBlobIsWrittenBackByteForByte) {
  ASSERT_GE(blobs().size(), 100u) << "the fixtures hold over a hundred property blobs";
  std::size_t properties = 0;
  for (const auto& b : blobs()) {
    SCOPED_TRACE(b.database + " / " + b.object);
    const jet::PropertySet set = jet::parse_properties(b.bytes);
    for (const auto& block : set.blocks) properties += block.properties.size();
    EXPECT_EQ(jet::encode_properties(set), b.bytes);
    EXPECT_EQ(jet::parse_properties(jet::encode_properties(set)), set);
  }
  EXPECT_GT(properties, 2000u);
}

// mdb-prop's rendering of one value: yes/no, integers, binary as its length, and the GUID
// property with its last two groups run together (an mdbtools quirk, see guid_as_mdb_prop).
std::string guid_as_mdb_prop(const std::vector<std::uint8_t>& b) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "{%02X%02X%02X%02X-%02X%02X-%02X%02X-", b[3], b[2], b[1], b[0], b[5],
                b[4], b[7], b[6]);
  std::string s = buf;
  for (int i = 8; i < 16; ++i) {
    std::snprintf(buf, sizeof buf, "%02X", b[i]);
    s += buf;
  }
  return s + "}";
}

std::string as_mdb_prop(const jet::Property& p) {
  const jet::Value& v = p.value;
  char buf[64];
  switch (v.kind()) {
    case jet::ValueKind::Boolean: return v.as_boolean() ? "yes" : "no";
    case jet::ValueKind::Byte: return std::to_string(v.as_byte());
    case jet::ValueKind::Integer: return std::to_string(v.as_integer());
    case jet::ValueKind::Long: return std::to_string(v.as_long());
    case jet::ValueKind::Single: std::snprintf(buf, sizeof buf, "%g", v.as_single()); return buf;
    case jet::ValueKind::Text: return v.as_text();
    case jet::ValueKind::Binary:
      if (p.name == "GUID" && v.as_binary().size() == 16) return guid_as_mdb_prop(v.as_binary());
      return "(binary data of length " + std::to_string(v.as_binary().size()) + ")";
    default: return "?";
  }
}

// Blocks as mdb-prop prints them: "name: X" then one "\tName: value" line per property, in
// an order of its own, so each block is compared as a sorted list of lines.
std::vector<std::vector<std::string>> blocks_as_lines(const std::string& text) {
  std::vector<std::vector<std::string>> out;
  for (const auto& line : jet_oracle::split(text, '\n')) {
    if (line.rfind("name: ", 0) == 0) {
      out.push_back({line});
    } else if (!line.empty() && !out.empty()) {
      out.back().push_back(line);
    }
  }
  for (auto& block : out) std::sort(block.begin() + 1, block.end());
  return out;
}

TEST(PropertyBlobs, ValuesAgreeWithMdbProp) {
  QUELIS_NEEDS_MDBTOOLS();
  std::size_t compared = 0;
  for (const auto& db : jet_oracle::fixtures()) {
    const auto db_blobs = jet_oracle::engine_property_blobs(db);
    std::multiset<std::string> names;
    for (const auto& b : db_blobs) names.insert(b.object);
    for (const auto& b : db_blobs) {
      // mdb-prop finds objects by name; skip names it could confuse.
      if (names.count(b.object) != 1) continue;
      SCOPED_TRACE(b.database + " / " + b.object);
      const auto expected = blocks_as_lines(
          jet_oracle::run("mdb-prop " + jet_oracle::shell_quote(db.string()) + " " +
                          jet_oracle::shell_quote(b.object)));
      std::vector<std::vector<std::string>> actual;
      for (const auto& block : parsed(b.database, b.object).blocks) {
        std::vector<std::string> lines{"name: " + (block.name.empty() ? "(none)" : block.name)};
        for (const auto& p : block.properties) lines.push_back("\t" + p.name + ": " + as_mdb_prop(p));
        std::sort(lines.begin() + 1, lines.end());
        actual.push_back(std::move(lines));
      }
      EXPECT_EQ(actual, expected);
      ++compared;
    }
  }
  EXPECT_GE(compared, 100u);
}

TEST(PropertyBlobs, DatabaseAndTablePropertiesAreTyped) {
  const auto& db = parsed("testV2000.mdb", "MSysDb");
  ASSERT_NE(db.object(), nullptr);
  const jet::Property* version = db.object()->find("accessversion");
  ASSERT_NE(version, nullptr);
  EXPECT_EQ(version->type, jet::ColumnType::Text);
  EXPECT_EQ(version->value, jet::Value::text("08.50"));
  EXPECT_EQ(db.object()->find("Build")->value, jet::Value::long_(6620));

  const auto& table = parsed("testV2000.mdb", "Table1");
  ASSERT_NE(table.object(), nullptr);
  EXPECT_EQ(table.object()->find("DefaultView")->value, jet::Value::byte(2));
  EXPECT_EQ(table.object()->find("OrderByOn")->value, jet::Value::boolean(false));
  EXPECT_EQ(table.object()->find("NameMap")->value.kind(), jet::ValueKind::Binary);

  const jet::PropertyBlock* a = table.column("a");  // stored as "A"
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a->name, "A");
  EXPECT_EQ(a->find("UnicodeCompression")->value, jet::Value::boolean(true));
  EXPECT_TRUE(a->find("UnicodeCompression")->is_ddl());
  EXPECT_EQ(a->find("AllowZeroLength")->value, jet::Value::boolean(false));
  EXPECT_EQ(a->find("DisplayControl")->value, jet::Value::integer(109));
  // Integer values are stored on four bytes here: the width is kept for the round trip.
  EXPECT_EQ(a->find("ColumnWidth")->type, jet::ColumnType::Integer);
  EXPECT_EQ(a->find("ColumnWidth")->value, jet::Value::integer(-1));
  EXPECT_EQ(a->find("ColumnWidth")->width, 4);
  EXPECT_EQ(a->find("DefaultValue"), nullptr);

  const jet::Property* dflt = table.column("C")->find("DefaultValue");
  ASSERT_NE(dflt, nullptr);
  EXPECT_EQ(dflt->type, jet::ColumnType::Memo);
  EXPECT_EQ(dflt->value, jet::Value::text("0"));
  EXPECT_EQ(table.column("C")->find("DecimalPlaces")->value, jet::Value::byte(255));
}

TEST(PropertyBlobs, PoolNamesNoValueUsesAreKept) {
  // Access leaves the names of properties it once held (ValidationRule, Caption...) in the
  // pool; they are part of the blob and must survive.
  const auto& table = parsed("testV2000.mdb", "Table1");
  EXPECT_NE(std::find(table.names.begin(), table.names.end(), "ValidationRule"), table.names.end());
  for (const auto& block : table.blocks) EXPECT_EQ(block.find("ValidationRule"), nullptr) << block.name;
}

TEST(PropertyBlobs, WideYesNoValuesKeepTheirWidth) {
  const auto& table = parsed("indexTestV2000.mdb", "Table1");
  const jet::Property* totals = table.object()->find("TotalsRow");
  ASSERT_NE(totals, nullptr);
  EXPECT_EQ(totals->type, jet::ColumnType::Boolean);
  EXPECT_EQ(totals->width, 4);
  EXPECT_EQ(totals->value, jet::Value::boolean(false));
}

TEST(PropertyBlobs, EditedSetEncodesAndReadsBack) {
  jet::PropertySet set = parsed("testV2000.mdb", "Table1");
  const std::size_t pool = set.names.size();
  jet::PropertyBlock& a = set.column_block("A");
  a.set("Description", jet::Value::text("Référence du dossier"));
  a.set("required", jet::ColumnType::Boolean, jet::Value::boolean(true), jet::property_flags::Ddl);
  EXPECT_TRUE(a.remove("ColumnWidth"));
  EXPECT_FALSE(a.remove("ColumnWidth"));
  set.column_block("Nouveau champ").set("DefaultValue", jet::ColumnType::Memo, jet::Value::text("=Date()"));

  const jet::PropertySet back = jet::parse_properties(jet::encode_properties(set));
  // "Description" was already in the pool; only ColumnWidth's name stays unused.
  EXPECT_EQ(back.names.size(), pool);
  const jet::PropertyBlock* back_a = back.column("A");
  ASSERT_NE(back_a, nullptr);
  EXPECT_EQ(back_a->find("Description")->value, jet::Value::text("Référence du dossier"));
  EXPECT_EQ(back_a->find("Required")->value, jet::Value::boolean(true));
  EXPECT_EQ(back_a->find("Required")->name, "Required");  // replaced in place, stored spelling
  EXPECT_EQ(back_a->find("ColumnWidth"), nullptr);
  ASSERT_NE(back.column("NOUVEAU CHAMP"), nullptr);
  EXPECT_EQ(back.column("nouveau champ")->find("DefaultValue")->value, jet::Value::text("=Date()"));
  EXPECT_EQ(back.blocks.back().name, "Nouveau champ");
}

}  // namespace

namespace {

// The forms the engine gives the column properties it enforces are the ones Access stored in
// every fixture (DefaultValue on GUID columns, GenGUID(), is the one Text Access writes).
TEST(PropertyBlobs, EnforcedColumnPropertiesTakeTheFormAccessStores) {
  std::map<std::string, int> seen;
  for (const auto& b : blobs()) {
    const jet::PropertySet set = jet::parse_properties(b.bytes);
    for (const jet::PropertyBlock& block : set.blocks) {
      if (block.kind != jet::PropertyBlockKind::Column) continue;
      for (const jet::Property& p : block.properties) {
        const auto form = jet::engine_column_property_form(p.name);
        if (!form) continue;
        if (p.value == jet::Value::text("GenGUID()")) continue;
        ++seen[p.name];
        EXPECT_EQ(p.type, form->type) << b.database << " " << b.object << "." << block.name << " " << p.name;
        EXPECT_EQ(p.flags & jet::property_flags::Ddl, form->flags) << b.database << " " << p.name;
      }
    }
  }
  EXPECT_GT(seen["DefaultValue"], 0);
  EXPECT_GT(seen["Required"], 0);
  EXPECT_GT(seen["AllowZeroLength"], 0);
}

TEST(PropertyBlobs, ColumnPropertiesAreSetInTheirStoredForm) {
  jet::PropertyBlock block;
  jet::set_column_property(block, "DefaultValue", jet::Value::long_(0));  // an expression, kept as text
  jet::set_column_property(block, "validationrule", jet::Value::text(">0"));
  jet::set_column_property(block, "Format", jet::Value::text("Fixed"));
  ASSERT_EQ(block.properties.size(), 3u);
  EXPECT_EQ(block.find("DefaultValue")->type, jet::ColumnType::Memo);
  EXPECT_EQ(block.find("DefaultValue")->value, jet::Value::text("0"));
  EXPECT_TRUE(block.find("DefaultValue")->is_ddl());
  EXPECT_EQ(block.find("ValidationRule")->type, jet::ColumnType::Text);
  EXPECT_TRUE(block.find("ValidationRule")->is_ddl());
  EXPECT_FALSE(block.find("Format")->is_ddl());

  // A property already stored keeps the type Access gave it.
  block.set("Caption", jet::ColumnType::Memo, jet::Value::text("Nom"), 0);
  jet::set_column_property(block, "Caption", jet::Value::text("Nom complet"));
  EXPECT_EQ(block.find("Caption")->type, jet::ColumnType::Memo);
  EXPECT_EQ(block.find("Caption")->value, jet::Value::text("Nom complet"));
}

}  // namespace

}  // namespace properties_fixture_test_cases
