// A workstation in a temporary folder with a fixed clock (15 January 2013, 14:30:05), the
// program's database engine over it, scripted message boxes, and readers for the files the
// pipeline leaves (Windows-1252, CR LF) and for database rows.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "support/scratch_folder.h"
#include "pipeline/program_state.h"
#include "sample/sample_databases.h"
#include "pipeline/frm_attente.h"
#include "platform/codepage.h"
#include "platform/dao/dao.h"
#include "support/dao_rows.h"
#include "platform/environment.h"
#include "platform/ui/message_box.h"

namespace pipeline_test {

namespace fs = std::filesystem;
namespace ui = platform::ui;
namespace dao = platform::dao;

using Lines = std::vector<std::string>;

inline const std::string kBases = "C:\\QUELIS\\Donnees\\0590100\\Bases\\";
inline const std::string kBasesLocal = "C/QUELIS/Donnees/0590100/Bases/";
inline const std::string kJournal = kBasesLocal + "QuelisBase_4.4.0_20130115143005.log";

// The per-database log header at the fixed time, for a database labelled `libelle`.
inline Lines EnTete(const std::string& libelle) {
  Lines l{"Installation / mise à jour de la base de données QUELIS",
          "version de l'exécutable de mise à jour : 4.4.0.3", "nouvelle version de la base : 4.4.0.3"};
  if (!libelle.empty()) l.push_back("base : " + libelle);
  for (const char* s : {"", "Date et heure de l'installation : 15/01/2013 à 14:30:05", "", "",
                        "---------------------------------", "Traitements effectués :"})
    l.push_back(s);
  return l;
}

inline Lines operator+(Lines a, const Lines& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

inline Lines BlocErreur(const std::string& procedure, const std::string& numero, const std::string& texte) {
  return {"", "L'erreur suivante s'est produite durant l'installation :", "Procédure : " + procedure,
          "Erreur n° " + numero, texte, ""};
}

inline const Lines kFin{"", "Fin : 15/01/2013 à 14:30:05"};

inline echantillon::SiteEchantillon SiteLille() { return {"059", "01", "00", "Centre des impôts fonciers de Lille"}; }

class PipelineTest : public ::testing::Test {
 protected:
  PipelineTest() {
    root = test_support::MakeScratchFolder("quelis-pipeline-");
    fs::create_directories(root / kBasesLocal);
    env = std::make_unique<platform::Environment>(
        platform::Environment::ForTests(root, platform::DateTime{2013, 1, 15, 14, 30, 5}));
    desktop = std::make_unique<ui::Desktop>(boxes);
    moteur = std::make_unique<dao::DBEngine>(env->workstation());
    state.VersionCourte = "4.4.0";
    state.VersionComplete = "4.4.0.3";
    state.TitreMessage = "QUELIS - mise à jour 4.4.0";
    state.CheminAppli = "C:\\QUELIS\\";
    state.TypeConfiguration = pipeline::kConfigurationPortable;
  }
  ~PipelineTest() override {
    std::error_code ignored;
    fs::remove_all(root, ignored);
  }

  std::unique_ptr<pipeline::FrmAttente> form(const std::string& dossierBases = kBases) {
    auto f = std::make_unique<pipeline::FrmAttente>(*env, *desktop, state, *moteur);
    f->DossierBases = dossierBases;
    f->DossierCourant = dossierBases.substr(0, dossierBases.size() - 6);
    return f;
  }

  // A file of the workstation ("C/QUELIS/...").
  fs::path local(const std::string& relative) const { return root / relative; }
  bool exists(const std::string& relative) const { return fs::exists(root / relative); }
  std::string bytes(const std::string& relative) const {
    std::ifstream in(root / relative, std::ios::binary);
    std::stringstream b;
    b << in.rdbuf();
    return b.str();
  }
  std::string read(const std::string& relative) const { return platform::Cp1252ToUtf8(bytes(relative)); }
  static std::string lines(const Lines& all) {
    std::string text;
    for (const auto& line : all) text += line + "\r\n";
    return text;
  }
  void write(const std::string& relative, const std::string& content) {
    fs::create_directories((root / relative).parent_path());
    std::ofstream(root / relative, std::ios::binary) << content;
  }

  // The sample live database (and its backup) of the data folder of `dossierBases`.
  void baseVivante(std::optional<std::string> livers = std::string("4.4.0.1"), int fiches = 24,
                   const std::string& dossierBases = kBases, bool sauvegarde = true) {
    echantillon::BaseEchantillon base;
    base.livers = std::move(livers);
    base.site = SiteLille();
    base.fiches = fiches;
    echantillon::CreeBaseQuelis(*moteur, dossierBases + "Quelis.mdb", base);
    if (sauvegarde) echantillon::CreeBaseSauvegarde(*moteur, dossierBases + "QuelisSauv_18012013.mdb", fiches);
  }

  // Every row of `table` of the database at the Windows path `chemin`, each field as its
  // display text ("" for Null), fields in `champs` order.
  std::vector<Lines> rows(const std::string& chemin, const std::string& table, const Lines& champs) {
    return test_support::TableRows(*moteur, chemin, table, champs);
  }

  fs::path root;
  ui::ScriptedMessageBoxes boxes;
  std::unique_ptr<platform::Environment> env;
  std::unique_ptr<ui::Desktop> desktop;
  std::unique_ptr<dao::DBEngine> moteur;
  pipeline::ProgramState state;
};

}  // namespace pipeline_test
