// A workstation folder in a temporary directory, a fixed clock (15 January 2013, 14:30:05),
// scripted message boxes, and helpers to run the program on it and read its run log back
// from the disk as the workstation holds it (Windows-1252, CR LF).
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "launcher/program.h"
#include "platform/codepage.h"
#include "platform/environment.h"
#include "platform/program.h"
#include "platform/ui/message_box.h"

namespace launcher_test {

namespace fs = std::filesystem;
using namespace launcher;
namespace ui = platform::ui;

inline const platform::DateTime kNow{2013, 1, 15, 14, 30, 5};
inline const std::string kLogName = "QuelisBase_4.4.0_20130115143005.log";

// The run-log lines every run starts with, as a 4.4.0.3 program writes them at kNow.
inline std::vector<std::string> Header(const std::string& configuration,
                                       const std::string& mode = "silencieux") {
  return {"Mise à jour des données QUELIS",
          "",
          configuration,
          "Lancement " + mode,
          "version de l'exécutable de mise à jour : 4.4.0.3",
          "nouvelle version de la base : 4.4.0.3",
          "",
          "Date et heure de la mise à jour : 15/01/2013 à 14:30:05",
          "",
          "",
          "---------------------------------",
          "Traitements effectués :"};
}

inline std::vector<std::string> operator+(std::vector<std::string> a, const std::vector<std::string>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

inline const std::vector<std::string> kEndLines{"", "Fin : 15/01/2013 à 14:30:05"};

class LauncherTest : public ::testing::Test {
 protected:
  LauncherTest() {
    std::string pattern = (fs::temp_directory_path() / "quelis-launcher-XXXXXX").string();
    root_ = mkdtemp(pattern.data());
  }
  ~LauncherTest() override {
    std::error_code ignored;
    fs::remove_all(root_, ignored);
  }

  // A folder of the workstation, "C/QUELIS" style (drive letter first), created.
  fs::path folder(const std::string& relative) {
    fs::create_directories(root_ / relative);
    return root_ / relative;
  }
  // A Windows-1252 text file of the workstation.
  void file(const std::string& relative, const std::string& utf8) {
    fs::create_directories((root_ / relative).parent_path());
    std::ofstream(root_ / relative, std::ios::binary) << platform::Utf8ToCp1252(utf8);
  }
  void ini(const std::string& programFolder, const std::string& value) {
    file(programFolder + "/Quelis.ini", "[INIT]\r\nChemin donnees=" + value + "\r\n");
  }
  // Registry values of HKLM\SOFTWARE\Ortavia, as regedit exports them ("" leaves it out).
  void registry(const std::string& donnees, const std::string& echange) {
    auto escaped = [](const std::string& text) {
      std::string out;
      for (char c : text) out += c == '\\' ? std::string("\\\\") : std::string(1, c);
      return out;
    };
    std::string text = "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Ortavia]\r\n";
    if (!donnees.empty()) text += "\"Donnees\"=\"" + escaped(donnees) + "\"\r\n";
    if (!echange.empty()) text += "\"Echange\"=\"" + escaped(echange) + "\"\r\n";
    file("registry.reg", text);
  }
  void drives(const std::string& lines) { file("drives.ini", "[Drives]\r\n" + lines); }

  // Starts the program from the Windows folder `appPath` (App.Path).
  Program& start(const std::string& appPath, ModeLancement mode = ModeLancement::Silencieux,
                 int revision = platform::kVersionRevision) {
    load(appPath, mode, revision);
    program_->Start();
    return *program_;
  }
  // Builds the program without starting it: the test drives the events itself.
  Program& load(const std::string& appPath, ModeLancement mode = ModeLancement::Silencieux,
                int revision = platform::kVersionRevision) {
    platform::ProgramInfo info;
    info.Path = appPath;
    info.Revision = revision;
    env_ = std::make_unique<platform::Environment>(platform::Environment::ForTests(root_, kNow, info));
    desktop_ = std::make_unique<ui::Desktop>(boxes);
    program_ = std::make_unique<Program>(*env_, *desktop_, mode);
    return *program_;
  }

  FrmParam& form() { return program_->frmParam(); }
  ProgramState& state() { return program_->state(); }
  platform::RecordingLauncher& launcher() {
    return dynamic_cast<platform::RecordingLauncher&>(env_->launcher());
  }

  // The bytes of a workstation file, decoded from Windows-1252.
  std::string read(const std::string& relative) const {
    std::ifstream in(root_ / relative, std::ios::binary);
    std::stringstream bytes;
    bytes << in.rdbuf();
    return platform::Cp1252ToUtf8(bytes.str());
  }
  bool exists(const std::string& relative) const { return fs::exists(root_ / relative); }
  static std::string lines(const std::vector<std::string>& all) {
    std::string text;
    for (const auto& line : all) text += line + "\r\n";
    return text;
  }

  ui::ScriptedMessageBoxes boxes;

 private:
  fs::path root_;
  std::unique_ptr<platform::Environment> env_;
  std::unique_ptr<ui::Desktop> desktop_;
  std::unique_ptr<Program> program_;
};

}  // namespace launcher_test
