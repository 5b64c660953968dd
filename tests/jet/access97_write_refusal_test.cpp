// Writing an Access 97 (Jet 3) file is refused with 3041, naming the format, whatever the
// way in (writer, repair, compaction, the jet commands), and the file stays byte for byte.
#include <gtest/gtest.h>

#include <filesystem>

#include "jet/tools/compact.h"
#include "jet/base/error.h"
#include "jet/tools/repair.h"
#include "jet/db/writable_database.h"
#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace access97_write_refusal_test_cases {

namespace {

struct Copy97 {
  jet_test::ScratchDir dir;
  std::string path;
  std::vector<std::uint8_t> before;
  explicit Copy97(const std::string& name) {
    path = (dir.path() / name).string();
    std::filesystem::copy_file(std::string(QUELIS_FIXTURES97) + "/" + name, path);
    std::filesystem::permissions(path, std::filesystem::perms::owner_write, std::filesystem::perm_options::add);
    before = jet_test::read_file(path);
  }
  bool unchanged() const { return jet_test::read_file(path) == before; }
};

// The error of `action`, with its text.
int refusal(const std::function<void()>& action, std::string& text) {
  try {
    action();
  } catch (const jet::Error& e) {
    text = e.description();
    return e.number();
  }
  return 0;
}

TEST(Access97Write, EngineWritersRefuseAndLeaveTheFileAlone) {
  Copy97 copy("test2V1997.mdb");
  std::string text;
  EXPECT_EQ(refusal([&] { jet::WritableDatabase::open(copy.path); }, text), 3041);
  EXPECT_NE(text.find("Access 97"), std::string::npos) << text;
  EXPECT_NE(text.find("test2V1997.mdb"), std::string::npos) << text;
  EXPECT_TRUE(copy.unchanged());

  EXPECT_EQ(refusal([&] { jet::repair(copy.path); }, text), 3041);
  EXPECT_TRUE(copy.unchanged());

  const std::string compacted = (copy.dir.path() / "compacte.mdb").string();
  EXPECT_EQ(refusal([&] { jet::compact(copy.path, compacted); }, text), 3041);
  EXPECT_FALSE(std::filesystem::exists(compacted));
  EXPECT_TRUE(copy.unchanged());

  // The file is still readable afterwards: the refusal took no lock with it.
  EXPECT_EQ(refusal([&] { jet::Database::open(copy.path, {.exclusive = true}); }, text), 0);
}

// Every writing command of the jet program: refused (exit status not 0, the error on
// standard error), the file unchanged.
TEST(Access97Write, JetCommandsRefuseAndLeaveTheFileAlone) {
  QUELIS_NEEDS_JET_PROGRAM();
  Copy97 copy("compIndexTestV1997.mdb");
  const std::string csv = (copy.dir.path() / "rows.csv").string();
  copy.dir.write("rows.csv", {'C', 'D', '_', 'A', 'G', 'E', 'N', 'T', 'E', '\n', '7', '\n'});
  const std::string file = jet_test::shell_quote(copy.path);
  const std::string err = (copy.dir.path() / "err.txt").string();
  const std::vector<std::string> commands{
      "sql " + file + " \"UPDATE Table1 SET CD_AGENTE = CD_AGENTE + 1\"",
      "sql " + file + " \"INSERT INTO Table1 (CD_AGENTE) VALUES (99999)\"",
      "sql " + file + " \"DELETE FROM Table1\"",
      "sql " + file + " \"CREATE TABLE Nouvelle (n LONG)\"",
      "import " + file + " Table1 " + jet_test::shell_quote(csv),
      "add-column " + file + " Table1 Ajout Long",
      "drop-table " + file + " Table1",
      "repair " + file,
  };
  for (const auto& command : commands) {
    bool ok = true;
    jet_test::run(jet_test::jet_program() + " " + command + " 2>" + jet_test::shell_quote(err), &ok);
    const auto bytes = jet_test::read_file(err);
    const std::string message(bytes.begin(), bytes.end());
    EXPECT_FALSE(ok) << command;
    EXPECT_NE(message.find("3041"), std::string::npos) << command << " : " << message;
    EXPECT_NE(message.find("Access 97"), std::string::npos) << command << " : " << message;
    EXPECT_TRUE(copy.unchanged()) << command;
  }
  // Reading commands still work on the same file.
  bool ok = false;
  EXPECT_EQ(jet_test::run(jet_test::jet_program() + " count " + file + " Table1", &ok), "512\n");
  EXPECT_TRUE(ok);
  ok = false;
  const std::string selected = jet_test::run(
      jet_test::jet_program() + " sql " + file + " \"SELECT COUNT(*) AS n FROM Table1\"", &ok);
  EXPECT_TRUE(ok) << selected;
  EXPECT_NE(selected.find("512"), std::string::npos) << selected;
}

}  // namespace

}  // namespace access97_write_refusal_test_cases
