// A workstation folder in a temporary directory, a fixed clock (15 January 2013, 14:30:05),
// scripted message boxes, and helpers to run the program on it and read its run log back
// from the disk as the workstation holds it (Windows-1252, CR LF).
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "support/scratch_folder.h"
#include "launcher/base_migration.h"
#include "launcher/program.h"
#include "pipeline/frm_attente.h"
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

// The run-log lines of "Mettre à jour" defining the location `L` (portable and school):
// the INI write, then the product folder and the location itself, created or not.
inline std::vector<std::string> Definition(const std::string& iniFile, const std::string& L,
                                           bool produitExiste, bool emplacementExiste) {
  std::string produit = L;
  produit.replace(produit.find("\\Donnees\\"), 9, "\\");
  std::vector<std::string> out{"", "-- Définition de l'emplacement des données",
                               "\tMise à jour du fichier " + iniFile + " avec le chemin " + L,
                               "\tMise à jour du fichier ini terminée"};
  for (const auto& [dossier, existe] : {std::pair{produit, produitExiste}, std::pair{L, emplacementExiste}}) {
    if (existe) {
      out.push_back("\tCréation du dossier inutile car déjà existant");
    } else {
      out.push_back("\tCréation du dossier " + dossier);
      out.push_back("\tCréation du dossier effectuée");
    }
  }
  return out;
}

inline const std::vector<std::string> kAucunDossier{"", "-- Mise à jour des données (bases et/ou lettres)",
                                                    "-- Aucun dossier à traiter"};

// The old database as the migration reads it, in memory. Opening a missing path is what the
// engine does with it: error 3024; a locked database gives 3045.
struct BaseEnMemoire {
  std::optional<std::string> livers = std::string("4.4.0.1");
  std::vector<std::string> codes{"0590100"};  // rows of the CDIF query, in order
  bool verrouillee = false;
  // What the migration asked, in order ("ouvrir <path>", "version", "cdif", "fermer").
  std::vector<std::string> appels;
};

class BaseMigrationEnMemoire : public BaseMigration {
 public:
  explicit BaseMigrationEnMemoire(BaseEnMemoire& base) : base_(&base) {}
  void OuvrirExclusif(const std::string& chemin) override {
    base_->appels.push_back("ouvrir " + chemin);
    if (base_->verrouillee) {
      throw platform::Error(3045, "Impossible d'utiliser '" + chemin + "' ; fichier déjà utilisé.");
    }
    ouverte_ = true;
  }
  std::optional<std::string> VersionBase() override {
    base_->appels.push_back("version");
    if (!ouverte_) throw platform::Error(platform::ErrorCode::ObjectVariableNotSet);
    return base_->livers;
  }
  std::optional<std::string> CodeCdif() override {
    base_->appels.push_back("cdif");
    if (!ouverte_) throw platform::Error(platform::ErrorCode::ObjectVariableNotSet);
    if (base_->codes.empty()) return std::nullopt;
    return base_->codes.front();
  }
  void Fermer() override {
    base_->appels.push_back("fermer");
    ouverte_ = false;
  }

 private:
  BaseEnMemoire* base_;
  bool ouverte_ = false;
};

// A wait form whose database work has a scripted outcome, recording what it was given.
struct TraitementScripte {
  bool succes = true;
  bool journalCree = true;   // whether the database log could be created
  std::vector<pipeline::FrmAttente::ErreurSignalee> erreurs;  // reported when it fails
  std::string libelleRendu;  // handed back as the new label when not empty
  struct Appel {
    std::string DossierBases, LibelleEnCours, DossierCourant;
    bool Interactif;
    bool affichee;
  };
  std::vector<Appel> appels;
};

class FrmAttenteScriptee : public pipeline::FrmAttente {
 public:
  FrmAttenteScriptee(platform::Environment& env, ui::Desktop& desktop, const pipeline::ProgramState& state,
                     platform::dao::DBEngine& moteur, TraitementScripte& script)
      : pipeline::FrmAttente(env, desktop, state, moteur), script_(&script) {}
  void Traitement() override {
    script_->appels.push_back({DossierBases, LibelleEnCours, DossierCourant, Interactif, isShown()});
    Succes = script_->succes;
    JournalBaseCree = script_->journalCree;
    NomJournalBase = DossierBases + "QuelisBase_4.4.0_20130115143005.log";
    ErreursSignalees = script_->erreurs;
    if (!script_->libelleRendu.empty()) RetourLibelle(script_->libelleRendu);
  }

 private:
  TraitementScripte* script_;
};

class LauncherTest : public ::testing::Test {
 protected:
  LauncherTest() {
    root_ = test_support::MakeScratchFolder("quelis-launcher-");
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
    program_.reset();  // a program's forms go before the desktop they live on
    env_ = std::make_unique<platform::Environment>(platform::Environment::ForTests(root_, kNow, info));
    desktop_ = std::make_unique<ui::Desktop>(boxes);
    program_ = std::make_unique<Program>(*env_, *desktop_, mode);
    if (baseMigration) {
      program_->frmParam().OuvreBaseMigration = [this] {
        return std::make_unique<BaseMigrationEnMemoire>(*baseMigration);
      };
    }
    if (traitement) {
      program_->frmParam().CreeFrmAttente = [this] {
        return std::make_unique<FrmAttenteScriptee>(*env_, *desktop_, program_->state(),
                                                    program_->frmParam().Moteur, *traitement);
      };
    }
    return *program_;
  }

  FrmParam& form() { return program_->frmParam(); }
  // The desktop of the program built by load(), for front ends to watch.
  ui::Desktop& desktop() { return *desktop_; }
  const fs::path& root() const { return root_; }
  pipeline::ProgramState& state() { return program_->state(); }
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

  // Lists a folder of the workstation: names, sorted, folders with a trailing "/".
  std::vector<std::string> tree(const std::string& relative) const {
    std::vector<std::string> names;
    for (const auto& e : fs::recursive_directory_iterator(root_ / relative)) {
      std::string name = fs::relative(e.path(), root_ / relative).generic_string();
      if (e.is_directory()) name += "/";
      names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  ui::ScriptedMessageBoxes boxes;
  // Set before load()/start(): the migration's database, the wait form's outcome.
  std::optional<BaseEnMemoire> baseMigration;
  std::optional<TraitementScripte> traitement;

 private:
  fs::path root_;
  std::unique_ptr<platform::Environment> env_;
  std::unique_ptr<ui::Desktop> desktop_;
  std::unique_ptr<Program> program_;
};

}  // namespace launcher_test
