// Opening files: what is accepted, what is refused and with which Jet error, and locking.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include "jet/db/database.h"
#include "jet/base/error.h"
#include "jet_test_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace open_test_cases {

namespace {

using jet_test::fixture;

int error_of(const std::function<void()>& action, std::string* text = nullptr) {
  try {
    action();
  } catch (const jet::Error& e) {
    if (text) *text = e.description();
    return e.number();
  }
  return 0;
}

TEST(JetOpen, HeaderOfAnAccess2000File) {
  auto db = jet::Database::open(fixture("testV2000.mdb"));
  EXPECT_EQ(db->header().format, jet::FileFormat::Jet4);
  EXPECT_EQ(db->header().page_size, 4096u);
  EXPECT_EQ(db->header().code_page, 1252);
  EXPECT_EQ(db->header().sort_order, 0x409u);
  EXPECT_TRUE(db->header().password.empty());
  // 3043328 bytes of 4096-byte pages.
  EXPECT_EQ(db->pager().page_count(), 743u);
  EXPECT_GT(db->header().creation_date, 36000.0);  // created after 1998
}

TEST(JetOpen, MissingFileAndMissingFolderAreDistinguished) {
  jet_test::ScratchDir dir;
  std::string text;
  EXPECT_EQ(error_of([&] { jet::Database::open((dir.path() / "absent.mdb").string()); }, &text), 3024);
  EXPECT_NE(text.find("absent.mdb"), std::string::npos);
  EXPECT_EQ(error_of([&] { jet::Database::open((dir.path() / "nowhere" / "absent.mdb").string()); }), 3044);
}

TEST(JetOpen, OtherFormatsAreRefusedAsUnrecognised) {
  jet_test::ScratchDir dir;
  auto bytes = jet_test::read_file(fixture("emptyV2000.mdb"));
  std::string text;

  // An Access 2000 file claiming the Access 97 version is read with 2 KB pages: its catalog
  // is not where Jet 3 keeps it, so it is damaged, not silently misread.
  auto jet3 = bytes;
  jet3[0x14] = 0x00;  // version byte of Access 97
  const std::string jet3_path = dir.write("acces97.mdb", jet3);
  EXPECT_EQ(error_of([&] { jet::Database::open(jet3_path); }, &text), 3049);
  EXPECT_NE(text.find("acces97.mdb"), std::string::npos) << text;

  auto ace = bytes;
  std::memcpy(ace.data() + 4, "Standard ACE DB", 15);
  ace[0x14] = 0x02;
  EXPECT_EQ(error_of([&] { jet::Database::open(dir.write("a.accdb", ace)); }), 3343);

  std::vector<std::uint8_t> text_file(5000, 'x');
  EXPECT_EQ(error_of([&] { jet::Database::open(dir.write("notes.txt", text_file)); }), 3343);

  EXPECT_EQ(error_of([&] { jet::Database::open(dir.path().string()); }), 3343);
}

TEST(JetOpen, EmptyAndTruncatedFilesAreDamaged) {
  jet_test::ScratchDir dir;
  std::string text;
  EXPECT_EQ(error_of([&] { jet::Database::open(dir.write("vide.mdb", {})); }, &text), 3049);
  EXPECT_NE(text.find("vide.mdb"), std::string::npos);

  auto bytes = jet_test::read_file(fixture("emptyV2000.mdb"));
  // Cut inside the header, then after the header but before the catalog.
  EXPECT_EQ(error_of([&] { jet::Database::open(dir.write("a.mdb", {bytes.begin(), bytes.begin() + 100})); }), 3049);
  EXPECT_EQ(error_of([&] { jet::Database::open(dir.write("b.mdb", {bytes.begin(), bytes.begin() + 4096 * 2})); }), 3049);
  // Cut in the middle of the data: opening may work, reading every table must not.
  const std::string cut = dir.write("c.mdb", {bytes.begin(), bytes.begin() + 4096 * 10 + 17});
  const int number = error_of([&] {
    auto db = jet::Database::open(cut);
    for (const auto& name : db->table_names(true)) db->table(name).count_rows();
  });
  EXPECT_EQ(number, 3049);
}

TEST(JetOpen, UnknownTableIsReported) {
  auto db = jet::Database::open(fixture("testV2000.mdb"));
  std::string text;
  EXPECT_EQ(error_of([&] { db->table("PasDeTelleTable"); }, &text), 3078);
  EXPECT_NE(text.find("PasDeTelleTable"), std::string::npos);
  // Names compare without regard to case.
  EXPECT_EQ(db->table("table1").name(), "Table1");
}

// Lock tests work on a copy: other test programs may read the fixtures at the same time.
std::string scratch_copy(const jet_test::ScratchDir& dir) {
  return dir.write("verrou.mdb", jet_test::read_file(fixture("emptyV2000.mdb")));
}

TEST(JetOpen, ExclusiveOpenShutsOutOtherOpenersInThisProcess) {
  jet_test::ScratchDir dir;
  const std::string path = scratch_copy(dir);
  {
    auto first = jet::Database::open(path, {.exclusive = true});
    std::string text;
    EXPECT_EQ(error_of([&] { jet::Database::open(path, {.exclusive = true}); }, &text), 3045);
    EXPECT_NE(text.find("verrou.mdb"), std::string::npos);
    EXPECT_EQ(error_of([&] { jet::Database::open(path); }), 3356);
  }
  // Closing releases the lock.
  auto again = jet::Database::open(path, {.exclusive = true});
  EXPECT_FALSE(again->table_names(true).empty());
}

TEST(JetOpen, SharedOpenersCoexistButBlockAnExclusiveOne) {
  jet_test::ScratchDir dir;
  const std::string path = scratch_copy(dir);
  auto a = jet::Database::open(path);
  auto b = jet::Database::open(path);
  EXPECT_EQ(error_of([&] { jet::Database::open(path, {.exclusive = true}); }), 3045);
}

}  // namespace

}  // namespace open_test_cases
