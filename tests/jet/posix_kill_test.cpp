// The jet program killed in the middle of its work never leaves a file that is neither the
// old one nor the new one. Each command (an UPDATE of every row, an import, a column
// added, a compaction) is killed with SIGKILL at chosen system calls (every write, sync and
// removal it makes, through strace's fault injection) and at instants spread over its run;
// after each kill the file opens, checks sound and holds all of the change or none of it,
// and the same command then goes through.
#include <gtest/gtest.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "jet/db/create_database.h"
#include "jet/db/database.h"
#include "jet/exec/executor.h"
#include "jet/storage/rollback_journal.h"
#include "jet/storage/transaction.h"
#include "jet/tools/diff.h"
#include "jet_test_support.h"

namespace posix_kill_test {

namespace {

namespace fs = std::filesystem;
using Args = std::vector<std::string>;

// Starts `args` (the ASan runtime told not to look for leaks: it cannot under strace).
pid_t start(const Args& args) {
  const pid_t pid = fork();
  if (pid == 0) {
    setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
    std::vector<char*> argv;
    for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    const int devnull = ::open("/dev/null", O_WRONLY);
    dup2(devnull, 1);
    dup2(devnull, 2);
    execvp(argv[0], argv.data());
    _exit(127);
  }
  return pid;
}

// Whether the process was killed (true) or ended by itself (false).
bool wait_killed(pid_t pid) {
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

bool have_strace() { return std::system("strace -V > /dev/null 2>&1") == 0; }

// How many times the command makes the system call `call`.
int count_calls(const Args& command, const std::string& call, const jet_test::ScratchDir& dir) {
  const std::string log = (dir.path() / "strace.log").string();
  Args args = {"strace", "-f", "-qq", "-o", log, "-e", "trace=" + call};
  args.insert(args.end(), command.begin(), command.end());
  wait_killed(start(args));
  std::ifstream in(log);
  int calls = 0;
  for (std::string line; std::getline(in, line);) calls += line.find(call + "(") != std::string::npos;
  fs::remove(log);
  return calls;
}

// The command killed on entering its `nth` call `call`; whether the kill happened.
bool killed_at_call(const Args& command, const std::string& call, int nth) {
  Args args = {"strace", "-f", "-qq", "-o", "/dev/null",
               "-e", "trace=" + call, "-e", "inject=" + call + ":signal=KILL:when=" + std::to_string(nth)};
  args.insert(args.end(), command.begin(), command.end());
  return wait_killed(start(args));
}

bool killed_after(const Args& command, std::chrono::microseconds delay) {
  const pid_t pid = start(command);
  std::this_thread::sleep_for(delay);
  kill(pid, SIGKILL);
  return wait_killed(pid);
}

std::chrono::microseconds duration_of(const Args& command) {
  const auto begun = std::chrono::steady_clock::now();
  wait_killed(start(command));
  return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - begun);
}

bool same(const std::string& a, const std::string& b) { return jet::diff_files(a, b).empty(); }

class Kills : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!have_strace()) GTEST_SKIP() << "strace is needed to kill at chosen system calls";
    base_ = (dir_.path() / "base.mdb").string();
    auto db = jet::create_database(base_);
    jet::sql::Executor sql(*db);
    sql.execute("CREATE TABLE T (ID LONG PRIMARY KEY, NOM TEXT(120), N LONG)");
    sql.execute("CREATE INDEX ParNom ON T (NOM)");
    jet::Transaction t(db->pager());
    sql.execute("INSERT INTO T (ID, NOM, N) VALUES (1, 'Parcelle de la section cadastrale AB', 1)");
    // 2,048 rows over some fifty pages.
    for (int rows = 1; rows < 2048; rows *= 2) {
      sql.execute("INSERT INTO T (ID, NOM, N) SELECT ID + " + std::to_string(rows) + ", NOM & ' ' & ID, N + 1 FROM T");
    }
    t.commit();
  }

  std::string fresh(const std::string& name) {
    const std::string path = (dir_.path() / name).string();
    fs::copy_file(base_, path, fs::copy_options::overwrite_existing);
    return path;
  }

  // Kills `command` (which changes the file `work` in place) at every write, sync and
  // removal it makes and at spread instants; after each kill the file is the old or the new.
  void sweep_in_place(const std::function<Args(const std::string&)>& command) {
    const std::string after = fresh("after.mdb");
    wait_killed(start(command(after)));
    ASSERT_FALSE(same(base_, after)) << "the command changed nothing";
    const auto old_bytes = jet_test::read_file(base_), new_bytes = jet_test::read_file(after);
    int kills = 0, hot = 0, old_ones = 0;
    auto check = [&](const std::string& what, const std::function<bool(const Args&)>& kill_it) {
      SCOPED_TRACE(what);
      const std::string work = fresh("work.mdb");
      if (!kill_it(command(work))) return;
      ++kills;
      hot += fs::exists(jet::journal_path(work));
      jet::Database::open(work).reset();  // plays a journal back
      EXPECT_FALSE(fs::exists(jet::journal_path(work)));
      const auto bytes = jet_test::read_file(work);
      // The same bytes as a sound file, or else the same content and sound.
      const bool is_old = bytes == old_bytes || same(base_, work);
      const bool is_new = !is_old && (bytes == new_bytes || same(after, work));
      EXPECT_TRUE(is_old || is_new) << "neither the old file nor the new one";
      if (bytes != old_bytes && bytes != new_bytes) {
        EXPECT_EQ(jet_test::joined(jet_test::verify_problems(work)), "");
      }
      old_ones += is_old;
      // Nothing left behind stops the same command from finishing the job.
      if (is_old && kills % 4 == 1) {
        wait_killed(start(command(work)));
        EXPECT_TRUE(same(after, work));
      }
    };
    for (const std::string call : {"pwrite64", "fsync", "unlink"}) {
      const int calls = count_calls(command(fresh("count.mdb")), call, dir_);
      for (int n = 1; n <= calls; ++n) {
        check(call + " " + std::to_string(n), [&](const Args& c) { return killed_at_call(c, call, n); });
      }
    }
    const auto full = duration_of(command(fresh("timed.mdb")));
    for (int i = 1; i <= 6; ++i) {
      check("after " + std::to_string(i) + "/7 of the run",
            [&](const Args& c) { return killed_after(c, full * i / 7); });
    }
    EXPECT_GT(kills, 4);
    EXPECT_GT(old_ones, 0);
    EXPECT_GT(hot, 0) << "no kill fell inside a commit";
  }

  jet_test::ScratchDir dir_;
  std::string base_;
};

TEST_F(Kills, AnUpdateOfEveryRowIsAllOrNothing) {
  sweep_in_place([](const std::string& file) {
    return Args{jet_test::jet_program(), "sql", file, "UPDATE T SET NOM = NOM & ' (révisée)', N = N + 100"};
  });
}

TEST_F(Kills, AnImportIsAllOrNothing) {
  const std::string csv = (dir_.path() / "lignes.csv").string();
  {
    std::ofstream out(csv);
    out << "CODE,LIBELLE\n";
    for (int i = 1; i <= 3000; ++i) out << i << ",\"Commune numéro " << i << "\"\n";
  }
  sweep_in_place([&](const std::string& file) { return Args{jet_test::jet_program(), "import", file, "COMMUNES", csv}; });
}

TEST_F(Kills, AColumnAddedIsAllOrNothing) {
  sweep_in_place([](const std::string& file) {
    return Args{jet_test::jet_program(), "add-column", file, "T", "SURFACE", "Long"};
  });
}

TEST_F(Kills, AKilledCompactionLeavesNoDestinationOrAWholeOne) {
  const std::string out = (dir_.path() / "out.mdb").string();
  const Args command = {jet_test::jet_program(), "compact", base_, out};
  const auto before = jet_test::read_file(base_);
  int kills = 0, whole = 0;
  // A run removes the unfinished files a killed one left, which shifts the count of its calls:
  // runs killed at a chosen call start from a folder without them (the last runs keep them).
  const auto clear_leftovers = [&] {
    for (const auto& e : fs::directory_iterator(dir_.path()))
      if (e.path().filename().string().rfind("out.mdb.", 0) == 0) fs::remove(e.path());
  };
  auto check = [&](const std::string& what, bool killed, bool clear = true) {
    SCOPED_TRACE(what);
    kills += killed;
    if (fs::exists(out)) {
      ++whole;
      EXPECT_TRUE(same(base_, out));
      fs::remove(out);
    }
    EXPECT_TRUE(jet_test::read_file(base_) == before);
    if (clear) clear_leftovers();
  };
  const int writes = count_calls(command, "pwrite64", dir_);
  fs::remove(out);
  ASSERT_GT(writes, 2);
  for (int n = 1; n <= writes; n += writes / 12 + 1) check("write " + std::to_string(n), killed_at_call(command, "pwrite64", n));
  for (const std::string call : {"fsync", "link", "unlink"}) {
    const int calls = count_calls(command, call, dir_);
    fs::remove(out);
    for (int n = 1; n <= calls; ++n) check(call + " " + std::to_string(n), killed_at_call(command, call, n));
  }
  const auto full = duration_of(command);
  fs::remove(out);
  for (int i = 1; i <= 5; ++i) check("instant " + std::to_string(i), killed_after(command, full * i / 6), false);
  EXPECT_GT(kills, 4);
  // The unfinished files of the killed runs do not stop the next one.
  wait_killed(start(command));
  EXPECT_TRUE(same(base_, out));
  EXPECT_GT(whole, 0);
}

}  // namespace

}  // namespace posix_kill_test
