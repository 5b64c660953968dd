// A small application database on a throw-away workstation, opened exclusively by a form
// that carries the schema toolkit and keeps what it writes to its log and the errors it
// reports.
//
// AGENT   COAGENT Text(2) primary key, LIAGENT Text(50) required, DAAGENT Date
// FICHE   NUFICHE Long primary key, COAGENT Text(2) (index COAGENT, relation AGENTFICHE
//         from AGENT), LIFICOBS Text(50) zero-length allowed, NBFICLOG Integer,
//         MTFICSUR Double
// PILOTE  nupilote Text(2), lipilote Text(50)
// VERSION livers Text(20)
// and the saved query ReqAgents.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "jet/db/create_database.h"
#include "platform/dao/dao.h"
#include "platform/platform_test_support.h"
#include "schema/outils_schema.h"
#include "support/test_form.h"

namespace schema_test {

namespace dao = platform::dao;
using dao::Variant;

using test_support::ErreurSignalee;
using FormeEssai = test_support::FormeEssai<schema::OutilsSchema>;

inline std::string Commande(const std::string& command) {
  std::string out;
  if (FILE* pipe = popen((command + " 2>&1").c_str(), "r")) {
    char buffer[512];
    while (std::fgets(buffer, sizeof buffer, pipe)) out += buffer;
    pclose(pipe);
  }
  return out;
}

class SchemaTest : public platform_test::WorkstationTest {
 protected:
  static constexpr const char* kChemin = "C:\\QUELIS\\Bases\\Quelis.mdb";

  SchemaTest() {
    std::filesystem::create_directories(fichier().parent_path());
    jet::create_database(fichier().string());
    {
      dao::Database db = moteur_.OpenDatabase(kChemin, true);
      construit(db);
      db.Close();
    }
    forme_.Bd = moteur_.OpenDatabase(kChemin, true);
  }

  std::filesystem::path fichier() const { return c() / "QUELIS" / "Bases" / "Quelis.mdb"; }
  dao::Database& bd() { return *forme_.Bd; }

  // Closes the form's database so that other readers (mdbtools) see the file.
  void ferme() {
    forme_.Bd->Close();
    forme_.Bd.reset();
  }

  // Every row of `table`, fields in `champs` as display texts ("" for Null), in key order.
  std::vector<std::vector<std::string>> lignes(const std::string& sql, const std::vector<std::string>& champs) {
    std::vector<std::vector<std::string>> out;
    dao::Recordset rs = bd().OpenRecordset(sql, dao::dbOpenSnapshot);
    while (!rs.Eof()) {
      std::vector<std::string> ligne;
      for (const auto& champ : champs) ligne.push_back(rs(champ).value().to_display());
      out.push_back(std::move(ligne));
      rs.MoveNext();
    }
    rs.Close();
    return out;
  }

  std::vector<std::string> noms(const dao::Collection<dao::Field>& champs) {
    std::vector<std::string> out;
    for (const dao::Field& f : champs) out.push_back(f.Name());
    return out;
  }

  platform::dao::DBEngine moteur_{ws_};
  FormeEssai forme_;

 private:
  static void champ(dao::TableDef& t, const char* nom, int type, int taille = 0, bool requis = false,
                    bool zero = false) {
    dao::Field f = t.CreateField(nom, type, taille);
    if (requis) f.SetRequired(true);
    if (zero) f.SetAllowZeroLength(true);
    t.Fields().Append(f);
  }
  static void cle(dao::TableDef& t, const char* nom, const char* colonne, bool primaire) {
    dao::Index i = t.CreateIndex(nom);
    i.SetPrimary(primaire);
    i.Fields().Append(i.CreateField(colonne));
    t.Indexes().Append(i);
  }
  static void insere(dao::Database& db, const std::string& sql) { db.Execute(sql, dao::dbFailOnError); }

  static void construit(dao::Database& db) {
    dao::TableDef version = db.CreateTableDef("VERSION");
    champ(version, "livers", dao::dbText, 20);
    db.TableDefs().Append(version);
    insere(db, "INSERT INTO VERSION (livers) VALUES ('4.4.0.1')");

    dao::TableDef agent = db.CreateTableDef("AGENT");
    champ(agent, "COAGENT", dao::dbText, 2);
    champ(agent, "LIAGENT", dao::dbText, 50, true);
    champ(agent, "DAAGENT", dao::dbDate);
    cle(agent, "PrimaryKey", "COAGENT", true);
    db.TableDefs().Append(agent);
    insere(db, "INSERT INTO AGENT VALUES ('12', 'Mme Lefèvre', #03/25/2006#)");
    insere(db, "INSERT INTO AGENT VALUES ('7', 'M. d''Hondt', Null)");
    insere(db, "INSERT INTO AGENT VALUES ('31', 'Mlle Œillet', #12/01/2010#)");

    dao::TableDef fiche = db.CreateTableDef("FICHE");
    champ(fiche, "NUFICHE", dao::dbLong);
    champ(fiche, "COAGENT", dao::dbText, 2);
    champ(fiche, "LIFICOBS", dao::dbText, 50, false, true);
    champ(fiche, "NBFICLOG", dao::dbInteger);
    champ(fiche, "MTFICSUR", dao::dbDouble);
    cle(fiche, "PrimaryKey", "NUFICHE", true);
    cle(fiche, "COAGENT", "COAGENT", false);
    db.TableDefs().Append(fiche);
    insere(db, "INSERT INTO FICHE VALUES (1, '12', 'Dossier complet', 3, 120.5)");
    insere(db, "INSERT INTO FICHE VALUES (2, '7', '', Null, 80)");
    insere(db, "INSERT INTO FICHE VALUES (3, Null, Null, 1, Null)");
    insere(db, "INSERT INTO FICHE VALUES (4, '31', 'Relevé à faire', 12, 1500.25)");
    dao::Relation relation = db.CreateRelation("AGENTFICHE", "AGENT", "FICHE");
    dao::Field paire = relation.CreateField("COAGENT");
    paire.SetForeignName("COAGENT");
    relation.Fields().Append(paire);
    db.Relations().Append(relation);

    dao::TableDef pilote = db.CreateTableDef("PILOTE");
    champ(pilote, "nupilote", dao::dbText, 2);
    champ(pilote, "lipilote", dao::dbText, 50);
    db.TableDefs().Append(pilote);

    db.CreateQueryDef("ReqAgents", "SELECT COAGENT, LIAGENT FROM AGENT");
  }
};

}  // namespace schema_test
