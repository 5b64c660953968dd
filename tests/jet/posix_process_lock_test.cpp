// Another process meets the locks a database holds: its sharing mode, kept with flock on
// POSIX, binds a second program as it binds a second opener in this one, and the refused
// opener writes nothing. (On Windows the system enforces share modes per handle, process or
// not: win32_foreign_opener_test.cpp has another program's opens met by the engine.)
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

#include "jet/base/error.h"
#include "jet/db/create_database.h"
#include "jet/db/database.h"
#include "jet/db/writable_database.h"
#include "jet/storage/transaction.h"
#include "jet_test_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace posix_process_lock_test_cases {

namespace {

// Runs `child` in a forked process; returns its exit status (-1 when it did not exit).
int in_another_process(const std::function<int()>& child) {
  const pid_t pid = fork();
  if (pid < 0) return -1;
  if (pid == 0) _exit(child());
  int status = 0;
  if (waitpid(pid, &status, 0) != pid || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

int error_number(const std::function<void()>& action) { return jet_test::error_of(action); }

TEST(ProcessLocks, AnExclusiveOpenHoldsAgainstAnotherProcess) {
  jet_test::ScratchDir dir;
  const std::string path = jet_test::copy_fixture(dir, "emptyV2000.mdb", "verrou.mdb");
  auto db = jet::Database::open(path, {.exclusive = true});
  EXPECT_EQ(in_another_process([&] { return error_number([&] { jet::Database::open(path); }) == 3356 ? 0 : 1; }), 0);
}

TEST(ProcessLocks, AWriterInATransactionRefusesAnotherProcessWhichWritesNothing) {
  jet_test::ScratchDir dir;
  const std::string path = jet_test::copy_fixture(dir, "testV2000.mdb");
  const std::vector<std::uint8_t> before = jet_test::read_file(path);
  auto db = jet::WritableDatabase::open(path);
  jet::Transaction t(db->pager());
  db->pager().write(3, std::vector<std::uint8_t>(4096, 0x66));
  EXPECT_EQ(in_another_process([&] {
              return error_number([&] { jet::WritableDatabase::open(path); }) == 3045 ? 0 : 1;
            }),
            0);
  t.rollback();
  EXPECT_EQ(jet_test::read_file(path), before);
}

TEST(ProcessLocks, ANewDatabaseIsHeldAgainstWritersAndReadersOfAnotherProcess) {
  jet_test::ScratchDir dir;
  const std::string path = (dir.path() / "t.mdb").string();
  auto db = jet::create_database(path);
  const auto before = jet_test::read_file(path);
  const int code = in_another_process([&] {
    int code = error_number([&] { jet::WritableDatabase::open(path); }) == 3045 ? 10 : 1;
    jet::OpenOptions shared;
    code += error_number([&] { jet::Database::open(path, shared); }) == 3356 ? 20 : 2;
    return code;
  });
  EXPECT_EQ(code, 30);
  EXPECT_EQ(jet_test::read_file(path), before);
}

}  // namespace

}  // namespace posix_process_lock_test_cases
