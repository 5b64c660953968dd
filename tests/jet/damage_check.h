// What must hold for any file handed to the engine, however damaged: the promises of
// `jet verify` and `jet repair`, checked on one file. Shared by the mutation sweep of the
// tests and the libFuzzer program (fuzz/), so it uses neither GoogleTest nor the test
// support code.
//
// - A file verify calls sound opens, every table (system tables included) reads in full with
//   its long values, the catalog's properties, relationships and saved queries read, it
//   compacts into a new file, each user table takes a row removed and written back (and the
//   file then still checks sound), and (when asked) mdb-export reads every table.
// - Compaction of any file it opens either fails with no new file left behind, or writes a
//   file that checks sound.
// - Repair of a copy either refuses with 3049 (an opening refusal keeps its own number)
//   leaving the copy byte for byte as it was, or succeeds and the copy then checks sound;
//   a sound file is neither changed nor written.
// jet::Error is the only exception the engine may raise for damage; any other one leaves
// this check (the sweep reports it, the fuzzer stops on it).
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace damage_check {

struct Options {
  bool mdbtools = false;           // run mdb-export on every table of a file verify calls sound
  bool compact_damaged = true;     // compact the files verify finds damaged too
};

enum class RepairOutcome { Refused, Repaired, NothingToDo };

struct Result {
  bool opened = false;   // Database::open accepted the file
  bool sound = false;    // verify found nothing
  RepairOutcome repair = RepairOutcome::Refused;
  std::string refusal;   // the error text of a refused repair
  std::vector<std::string> broken;  // promises not kept, one sentence each
};

// Checks `bytes` as a database file; scratch files go in `work` (an existing folder, its
// files named damage-*.mdb are replaced).
Result check(const std::vector<std::uint8_t>& bytes, const std::filesystem::path& work, const Options& options = {});

}  // namespace damage_check
