// Small tables created whole: definition, fields in order, the primary key where there is
// one, then the table appended. No existence test: on a database that has the table already
// Jet refuses the append and the step reports it, changing nothing.
#include <initializer_list>

#include "steps/etapes.h"

namespace steps {

using schema::dao::dbDate;
using schema::dao::dbOpenTable;
using schema::dao::dbText;
using schema::dao::Variant;

namespace {

struct Champ {
  const char* nom;
  int type;
  int taille;
};

void CreeTable(schema::dao::Database& bd, const std::string& nom, std::initializer_list<Champ> champs,
               const std::string& cle = {}, std::initializer_list<const char*> champsCle = {}) {
  schema::dao::TableDef table = bd.CreateTableDef(nom);
  for (const Champ& c : champs) table.Fields().Append(table.CreateField(c.nom, c.type, c.taille));
  if (!cle.empty()) {
    schema::dao::Index index = table.CreateIndex(cle);
    index.SetPrimary(true);
    for (const char* c : champsCle) index.Fields().Append(index.CreateField(c));
    table.Indexes().Append(index);
  }
  bd.TableDefs().Append(table);
}

void AjouteLignes(schema::dao::Database& bd, const std::string& table, const char* code, const char* libelle,
                  std::initializer_list<std::pair<const char*, const char*>> lignes) {
  schema::dao::Recordset rs = bd.OpenRecordset(table, dbOpenTable);
  for (const auto& [c, l] : lignes) {
    rs.AddNew();
    rs.Fields(code).SetValue(Variant(c));
    rs.Fields(libelle).SetValue(Variant(l));
    rs.Update();
  }
  rs.Close();
}

}  // namespace

void EtapesMiseAJour::CreerTableIMPORTPANNULE() {
  piege("CreerTableIMPORTPANNULE", [&] {
    CreeTable(BaseEnCours(), "IMPORTPANNULE",
              {{"COCDIDEP", dbText, 3}, {"COCNE", dbText, 3}, {"COPERAUT", dbText, 2}, {"NUPERMIS", dbText, 7},
               {"COPERANDEPOT", dbText, 2}, {"COPERNUMDOSS", dbText, 5}, {"COPERMOD", dbText, 2},
               {"COPERMANN", dbText, 1}, {"DAPERANN", dbDate, 0}});
    EcritJournalBase(" - Création de la table IMPORTPANNULE : Ok");
  });
}

void EtapesMiseAJour::CreerTableIMPORTDAT() {
  piege("CreerTableIMPORTDAT", [&] {
    CreeTable(BaseEnCours(), "IMPORTDAT",
              {{"COCDIDEP", dbText, 3}, {"COCNE", dbText, 3}, {"NUPERMIS", dbText, 7}, {"COPERANDEPOT", dbText, 2},
               {"COPERNUMDOSS", dbText, 5}, {"COPERAUT", dbText, 2}, {"COPERMOD", dbText, 2}, {"DAFICACHC", dbDate, 0}});
    EcritJournalBase(" - Création de la table IMPORTDAT : Ok");
  });
}

void EtapesMiseAJour::CreerTablePAYS() {
  piege("CreerTablePays", [&] {
    CreeTable(BaseEnCours(), "PAYS", {{"COPAYS", dbText, 3}, {"LIPAYS", dbText, 32}});
    EcritJournalBase(" - Création de la table PAYS : Ok");
  });
}

// The code is then rebuilt required and allowed empty, under a primary key made again, and the
// blank row (code and label of one blank) heads the list.
void EtapesMiseAJour::CreerTableDestColl() {
  piege("CreerTableDestColl", [&] {
    CreeTable(BaseEnCours(), "TYPDESTCOLL", {{"CODESTCOLL", dbText, 1}, {"LIDESTCOLL", dbText, 30}}, "PK_TYPDESTCOLL",
              {"CODESTCOLL"});
    SuppIndex("TYPDESTCOLL", "PK_TYPDESTCOLL");
    ChangeFieldSize("TYPDESTCOLL", "CODESTCOLL", true, 1, true);
    CreeIndex("TYPDESTCOLL", "PK_TYPDESTCOLL", true, "CODESTCOLL");
    AjouteLignes(BaseEnCours(), "TYPDESTCOLL", "CODESTCOLL", "LIDESTCOLL",
                 {{" ", " "},
                  {"1", "Transport"},
                  {"2", "Enseignement et recherche"},
                  {"3", "Santé"},
                  {"4", "Action sociale"},
                  {"5", "Ouvrage spécial"},
                  {"6", "Culture et loisirs"}});
  });
}

void EtapesMiseAJour::CreerTableTypCentre() {
  piege("CreerTableTypCentre", [&] {
    CreeTable(BaseEnCours(), "TYPCENTRE", {{"COTCENTRE", dbText, 1}, {"LITCENTRE", dbText, 32}}, "PK_TYPCENTRE",
              {"COTCENTRE"});
    AjouteLignes(BaseEnCours(), "TYPCENTRE", "COTCENTRE", "LITCENTRE", {{"1", "CDIF"}, {"2", "CDI"}});
  });
}

void EtapesMiseAJour::CreerTableDSF(schema::dao::Recordset& centres) {
  piege("CreerTableDSF", [&] {
    CreeTable(BaseEnCours(), "DSF",
              {{"CODSFDEP", dbText, 2}, {"CODSFDIR", dbText, 1}, {"LIDSFDIR", dbText, 32}, {"LIDSFSERVC", dbText, 32},
               {"LIDSFGRADC", dbText, 32}, {"LIDSFNOMC", dbText, 32}, {"NUDSFTELC", dbText, 10}},
              "PK_DSF", {"CODSFDEP", "CODSFDIR"});
    if (centres.Eof()) return;
    schema::dao::Recordset dsf = BaseEnCours().OpenRecordset("DSF", dbOpenTable);
    for (; !centres.Eof(); centres.MoveNext()) {
      dsf.AddNew();
      for (const auto& [vers, depuis] :
           {std::pair{"CODSFDEP", "COCDIDEP"}, std::pair{"CODSFDIR", "COCDIDIR"}, std::pair{"LIDSFDIR", "LICDIDIR"},
            std::pair{"LIDSFSERVC", "LICDISERVC"}, std::pair{"LIDSFGRADC", "LICDIGRADC"},
            std::pair{"LIDSFNOMC", "LICDINOMC"}, std::pair{"NUDSFTELC", "NUCDITELC"}})
        dsf.Fields(vers).SetValue(centres(depuis));
      dsf.Update();
    }
    dsf.Close();
  });
}

void EtapesMiseAJour::CreerTableDSFDepuis(const std::string& source) {
  std::optional<schema::dao::Recordset> centres;
  if (!piege("CreerTableDSF", [&] { centres = BaseEnCours().OpenRecordset(source, schema::dao::dbOpenSnapshot); }))
    return;
  CreerTableDSF(*centres);
  centres->Close();
}

}  // namespace steps
