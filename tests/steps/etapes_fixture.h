// A wait form over a small database made for each test: the steps run on it, their log lines
// and reported errors are kept for the test to read, and the test builds the tables it needs.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "jet/db/create_database.h"
#include "platform/dao/dao.h"
#include "platform/platform_test_support.h"
#include "steps/etapes.h"
#include "support/test_form.h"

namespace etapes_test {

namespace dao = platform::dao;
using Lignes = std::vector<std::vector<std::string>>;
using Textes = std::vector<std::string>;

using Signalee = test_support::ErreurSignalee;
using FormeEssai = test_support::FormeEssai<steps::EtapesMiseAJour>;

struct Colonne {
  const char* nom;
  int type;
  int taille;
};

class EtapesTest : public platform_test::WorkstationTest {
 protected:
  EtapesTest() {
    const std::filesystem::path fichier = c() / "Quelis.mdb";
    jet::create_database(fichier.string());
    forme.Bd = moteur.OpenDatabase("C:\\Quelis.mdb", true);
  }

  static std::string echappe(std::string texte) {
    for (std::size_t at = texte.find('\''); at != std::string::npos; at = texte.find('\'', at + 2)) texte.insert(at, 1, '\'');
    return texte;
  }
  // Text columns accept empty texts, as the application's tables do.
  void table(const std::string& nom, const std::vector<Colonne>& colonnes) {
    dao::TableDef t = bd().CreateTableDef(nom);
    for (const Colonne& c : colonnes) {
      dao::Field f = t.CreateField(c.nom, c.type, c.taille);
      if (c.type == dao::dbText) f.SetAllowZeroLength(true);
      t.Fields().Append(f);
    }
    bd().TableDefs().Append(t);
  }
  void sql(const std::string& instruction) { bd().Execute(instruction, dao::dbFailOnError); }
  dao::Database& bd() { return *forme.Bd; }
  Lignes lignes(const std::string& requete) {
    Lignes out;
    dao::Recordset rs = bd().OpenRecordset(requete, dao::dbOpenSnapshot);
    while (!rs.Eof()) {
      std::vector<std::string> ligne;
      for (const dao::Field& f : rs.Fields()) ligne.push_back(f.Value().IsNull() ? "<Null>" : f.Value().value().to_display());
      out.push_back(ligne);
      rs.MoveNext();
    }
    rs.Close();
    return out;
  }
  long compte(const std::string& table) { return std::stol(lignes("SELECT COUNT(*) FROM [" + table + "]")[0][0]); }
  std::vector<std::string> journal() { return std::exchange(forme.journal, {}); }
  std::vector<Signalee> erreurs() { return std::exchange(forme.erreurs, {}); }

  platform::dao::DBEngine moteur{ws_};
  FormeEssai forme;
};

}  // namespace etapes_test
