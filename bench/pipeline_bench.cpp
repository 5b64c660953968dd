// The update of one database at growing sizes, step by step and whole. For each count of case
// records given (default 100,000), a sample workstation is built by the tool's own writer (the
// application's FICHE table with its backup twin, realistic French text, a memo, nulls, one
// record in three to restore); then each step runs as its own process on a copy of the live
// database: a plain copy (cp), the repair, the survey restore (the release's UPDATE joined to
// the backup), the compaction, a full read of FICHE against mdb-export, and the whole
// quelis-maj run on a copy of the workstation. Prints one table per size (time, peak memory,
// ratio to cp and to mdb-export measured in the same run), then the growth of each step from
// the first size to the last. Prints figures only; never fails. A size given as COUNT=FOLDER
// uses the workstation already built there (a million records takes minutes to build).
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

struct Measure {
  double seconds = 0;
  double peak_mb = 0;
  bool ok = false;
};

// Runs `args` with its output sent to `out` (or /dev/null); elapsed time and peak memory.
// `ok_status` is the highest exit status that still means the work was done.
Measure run(const std::vector<std::string>& args, const std::string& out = "/dev/null", int ok_status = 0) {
  std::fflush(stdout);
  const auto start = Clock::now();
  const pid_t pid = fork();
  if (pid == 0) {
    if (!std::freopen(out.c_str(), "w", stdout) || !std::freopen("/dev/null", "w", stderr)) _exit(126);
    std::vector<char*> argv;
    for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    execvp(argv[0], argv.data());
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  wait4(pid, &status, 0, &usage);
  Measure m;
  m.seconds = std::chrono::duration<double>(Clock::now() - start).count();
  m.peak_mb = usage.ru_maxrss / 1024.0;
  m.ok = WIFEXITED(status) && WEXITSTATUS(status) <= ok_status;
  return m;
}

std::string survey_update(const std::string& backup) {
  return "UPDATE FICHE INNER JOIN [;database=" + backup +
         "].FICHE AS FICHE1 ON (FICHE.NUFICHE = FICHE1.NUFICHE) AND (FICHE.COPERAUT = FICHE1.COPERAUT) AND "
         "(FICHE.NUPERMIS = FICHE1.NUPERMIS) AND (FICHE.COCNE = FICHE1.COCNE) SET FICHE.DAFICTOPO = "
         "[FICHE1].[DAFICTOPO], FICHE.COFICTOPO = [FICHE1].[COFICTOPO] WHERE fiche.cofictyp = '1' AND "
         "fiche.coficvtopo is null AND fiche.daficcro is null AND fiche.daficplan is null";
}

struct Row {
  std::string step;
  Measure m;
};

// `built`: a workstation made earlier for that count (left as it is), else one is made.
std::vector<Row> bench_size(const fs::path& dir, int records, const std::string& bin, const std::string& built) {
  const std::string jet = bin + "/jet", tool = bin + "/quelis-maj";
  std::vector<Row> rows;
  fs::path station = dir / "poste";
  fs::remove_all(station);
  if (built.empty()) {
    rows.push_back({"construction du poste (2 bases et une sauvegarde)",
                    run({tool, "demo", "--poste-seulement", "--fiches", std::to_string(records), station.string()})});
  } else {
    station = built;
    rows.push_back({"construction du poste (faite avant)", Measure{0, 0, true}});
  }
  const fs::path bases = station / "C" / "QUELIS" / "Bases";
  const std::string live = (bases / "Quelis.mdb").string(), backup = (bases / "QuelisSauv_18012013.mdb").string();
  const std::string work = (dir / "copie.mdb").string(), out = (dir / "compacte.mdb").string();
  std::printf("  %d fiches : Quelis.mdb %.1f Mo\n", records, fs::file_size(live) / 1048576.0);
  std::fflush(stdout);

  fs::remove(work);
  // The floor every step is held against: a copy of the file already in the page cache, as
  // the steps find it (the first copy reads it in from the disk and is not counted).
  run({"cp", live, work});
  fs::remove(work);
  rows.push_back({"cp", run({"cp", live, work})});
  rows.push_back({"réparation (jet repair)", run({jet, "repair", work})});
  rows.push_back({"retour topo (jet sql UPDATE joint)", run({jet, "sql", work, survey_update(backup)})});
  fs::remove(out);
  rows.push_back({"compactage (jet compact)", run({jet, "compact", work, out})});
  rows.push_back({"lecture FICHE (jet export)", run({jet, "export", live, "FICHE"})});
  rows.push_back({"lecture FICHE (mdb-export)", run({"mdb-export", live, "FICHE"})});
  const fs::path copy = dir / "poste-copie";
  fs::remove_all(copy);
  fs::copy(station, copy, fs::copy_options::recursive);
  // Status 1: the sample's second site is already up to date and refused, as it should be.
  rows.push_back({"chaîne complète (quelis-maj)", run({tool, "--workstation", copy.string()}, "/dev/null", 1)});
  fs::remove_all(copy);
  fs::remove(work);
  fs::remove(out);
  return rows;
}

void print(const std::vector<Row>& rows) {
  double cp = 0, mdb = 0;
  for (const auto& r : rows) {
    if (r.step == "cp") cp = r.m.seconds;
    if (r.step == "lecture FICHE (mdb-export)") mdb = r.m.seconds;
  }
  std::printf("  %-52s %9s %9s %9s %11s\n", "étape", "temps s", "pic Mo", "x cp", "x mdb-export");
  for (const auto& r : rows) {
    std::printf("  %-52s %9.2f %9.0f %9.0f %11.2f%s\n", r.step.c_str(), r.m.seconds, r.m.peak_mb,
                cp > 0 ? r.m.seconds / cp : 0.0, mdb > 0 ? r.m.seconds / mdb : 0.0, r.m.ok ? "" : "  (échec)");
  }
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  // Each argument: a count of records, or COUNT=FOLDER for a workstation built before.
  std::vector<int> sizes;
  std::map<int, std::string> built;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    sizes.push_back(std::atoi(arg.c_str()));
    if (const auto eq = arg.find('='); eq != std::string::npos) built[sizes.back()] = arg.substr(eq + 1);
  }
  if (sizes.empty()) sizes = {100000};
  const fs::path dir = fs::temp_directory_path() / ("pipeline_bench_" + std::to_string(::getpid()));
  fs::create_directories(dir);
  std::map<int, std::vector<Row>> results;
  std::printf("Mise à jour d'une base, étape par étape et en entier\n");
  for (int records : sizes) {
    results[records] = bench_size(dir, records, QUELIS_BIN, built[records]);
    print(results[records]);
  }
  if (sizes.size() > 1) {
    const auto& first = results[sizes.front()];
    const auto& last = results[sizes.back()];
    std::printf("  croissance de %d à %d fiches (données x %.1f) :\n", sizes.front(), sizes.back(),
                static_cast<double>(sizes.back()) / sizes.front());
    for (std::size_t i = 0; i < first.size() && i < last.size(); ++i) {
      std::printf("  %-52s temps x %.1f, mémoire x %.1f\n", first[i].step.c_str(),
                  last[i].m.seconds / std::max(first[i].m.seconds, 1e-9),
                  last[i].m.peak_mb / std::max(first[i].m.peak_mb, 1e-9));
    }
  }
  std::error_code ignore;
  fs::remove_all(dir, ignore);
  return 0;
}
