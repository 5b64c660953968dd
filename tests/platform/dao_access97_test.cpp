// An Access 97 database through the data-access objects: read-only opens read it, an open
// for writing is refused with 3041 naming the format, and the file is left as it was.
#include "dao_test_support.h"

namespace {

using namespace platform::dao;
namespace fs = std::filesystem;

class DaoAccess97Test : public dao_test::DaoTest {
 protected:
  std::string place97(const std::string& name) {
    fs::create_directories(c() / "QUELIS" / "Bases");
    const fs::path target = local(name);
    fs::copy_file(fs::path(QUELIS_FIXTURES97) / name, target, fs::copy_options::overwrite_existing);
    fs::permissions(target, fs::perms::owner_read | fs::perms::owner_write, fs::perm_options::add);
    return "C:\\QUELIS\\Bases\\" + name;
  }
};

TEST_F(DaoAccess97Test, ReadOnlyOpenReadsTablesAndRows) {
  const std::string path = place97("compIndexTestV1997.mdb");
  Database db = engine_.OpenDatabase(path, false, true);
  EXPECT_TRUE(db.TableDefs().Contains("Table1"));
  Recordset rs = db.OpenRecordset("Table1");
  EXPECT_EQ(rs.RecordCount(), 512);
}

TEST_F(DaoAccess97Test, OpenForWritingIsRefusedAndTheFileKept) {
  const std::string path = place97("delTestV1997.mdb");
  const std::string before = bytesOf("delTestV1997.mdb");
  try {
    engine_.OpenDatabase(path, true);
    ADD_FAILURE() << "an Access 97 database opened for writing";
  } catch (const platform::Error& e) {
    EXPECT_EQ(e.number(), 3041);
    EXPECT_NE(e.description().find("Access 97"), std::string::npos) << e.description();
  }
  EXPECT_EQ(bytesOf("delTestV1997.mdb"), before);
}

}  // namespace
