// Whole runs of the built quelis-maj program on workstations made for the occasion: the clock
// fixed at 15 January 2013, 14:30:05, real databases from the sample builder, and readers for
// what the run leaves (logs as Windows text, folder trees, database rows).
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "app_fixture.h"
#include "sample/sample_databases.h"
#include "platform/codepage.h"
#include "platform/dao/dao.h"
#include "support/dao_rows.h"
#include "platform/workstation.h"

namespace app_test {

using Lines = std::vector<std::string>;
namespace dao = platform::dao;

inline Lines operator+(Lines a, const Lines& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

inline const std::string kLog = "QuelisBase_4.4.0_20130115143005.log";

// The run log's first lines at the fixed time.
inline Lines EnTeteRun(const std::string& configuration) {
  return {"Mise à jour des données QUELIS", "", configuration, "Lancement silencieux",
          "version de l'exécutable de mise à jour : 4.4.0.3", "nouvelle version de la base : 4.4.0.3", "",
          "Date et heure de la mise à jour : 15/01/2013 à 14:30:05", "", "",
          "---------------------------------", "Traitements effectués :"};
}

// A per-database log's first lines.
inline Lines EnTeteBase(const std::string& libelle) {
  Lines l{"Installation / mise à jour de la base de données QUELIS", "version de l'exécutable de mise à jour : 4.4.0.3",
          "nouvelle version de la base : 4.4.0.3"};
  if (!libelle.empty()) l.push_back("base : " + libelle);
  return l + Lines{"", "Date et heure de l'installation : 15/01/2013 à 14:30:05", "", "",
                   "---------------------------------", "Traitements effectués :"};
}

inline const Lines kFinLog{"", "Fin : 15/01/2013 à 14:30:05"};

// The update branch's lines for a database of which `traites` records out of `total` are
// restored.
inline Lines MiseAJourReussie(int traites, int total) {
  return {"--- Mise à jour base existante ---", "Copie vers base temporaire...", "Réparation de la base temporaire...",
          "Mise à jour de la base temporaire...", " 1- Mise à jour table VERSION --------------",
          " - Mise à jour Version 4.4.0.3 : Ok", " 2- Retour arrière sur les infos topo --------------",
          " - Nombre d'enregistrements traités / nombre total de fiches : " + std::to_string(traites) + " sur " +
              std::to_string(total),
          "Succès de la mise à jour.", "Compactage base temporaire", "Suppression bases temporaires",
          "Installation de la base terminée -> succès"};
}

// The run-log lines of one data folder whose database is treated (letters not asked).
inline Lines DossierTraite(const std::string& chemin, const std::string& libelle, bool reussi,
                           const std::string& libelleFin = "") {
  const std::string fin = libelleFin.empty() ? libelle : libelleFin;
  return {"",
          "Traitement du dossier " + chemin + " (" + libelle + ") - début traitement",
          "\tTraitement de la base " + chemin + "Bases\\Quelis.mdb (" + libelle + ") - début traitement",
          reussi ? "\t\tTraitement de la base réussi" : "\t\tTraitement de la base en échec -> voir log liée à la base",
          "\tTraitement de la base " + chemin + "Bases\\Quelis.mdb (" + fin + ") - fin traitement",
          "Traitement du dossier " + chemin + " (" + fin + ") - fin traitement"};
}

class AcceptanceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(fs::exists(Binary())) << "build the quelis-maj target first: " << Binary();
    root = TempFolder("quelis-acceptance");
    poste = std::make_unique<platform::FolderWorkstation>(root);
    moteur = std::make_unique<dao::DBEngine>(*poste);
  }
  void TearDown() override {
    moteur.reset();
    poste.reset();
    std::error_code ignored;
    fs::remove_all(root, ignored);
  }

  // A Windows-1252 text file of the workstation ("C/QUELIS/Quelis.ini").
  void file(const std::string& relative, const std::string& utf8) {
    fs::create_directories((root / relative).parent_path());
    std::ofstream(root / relative, std::ios::binary) << platform::Utf8ToCp1252(utf8);
  }
  void folder(const std::string& relative) { fs::create_directories(root / relative); }
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

  // A live database with its label file and (unless told otherwise) its backup, in the
  // data folder `dossier` (Windows path ending in "\"), which is created.
  void dossier(const std::string& dossier, const std::string& relatif, const echantillon::SiteEchantillon& site,
               std::optional<std::string> livers = std::string("4.4.0.1"), int fiches = 12, bool sauvegarde = true) {
    folder(relatif + "Bases");
    echantillon::BaseEchantillon base;
    base.livers = std::move(livers);
    base.site = site;
    base.fiches = fiches;
    echantillon::CreeBaseQuelis(*moteur, dossier + "Bases\\Quelis.mdb", base);
    if (sauvegarde) echantillon::CreeBaseSauvegarde(*moteur, dossier + "Bases\\QuelisSauv_18012013.mdb", fiches);
    std::string texte = site.licdif;
    file(relatif + "Bases/libelle.txt", texte);
  }

  // `launcher`: see RunBinary.
  Outcome run(const std::string& programFolder, const std::string& launcher = "") {
    return RunBinary("--horloge '2013-01-15 14:30:05' --workstation '" + root.string() + "' --program-folder '" +
                         programFolder + "'",
                     launcher);
  }

  // Names below a folder of the workstation, sorted, folders with a trailing "/".
  std::vector<std::string> tree(const std::string& relative) const {
    std::vector<std::string> names;
    for (const auto& e : fs::recursive_directory_iterator(root / relative)) {
      std::string name = fs::relative(e.path(), root / relative).generic_string();
      if (e.is_directory()) name += "/";
      names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  // The rows of `table`, each field as display text ("" for Null).
  std::vector<Lines> rows(const std::string& chemin, const std::string& table, const Lines& champs) {
    return test_support::TableRows(*moteur, chemin, table, champs);
  }

  fs::path root;
  std::unique_ptr<platform::Workstation> poste;
  std::unique_ptr<dao::DBEngine> moteur;
};

inline echantillon::SiteEchantillon Lille() { return {"059", "01", "00", "Centre des impôts fonciers de Lille"}; }
inline echantillon::SiteEchantillon Arras() { return {"062", "02", "00", "Centre des impôts fonciers d'Arras"}; }

}  // namespace app_test
