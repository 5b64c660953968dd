#include "sample/construction.h"

#include "jet/api/database.h"
#include "jet/api/sql.h"
#include "platform/error.h"
#include "platform/localfs.h"
#include "platform/workstation.h"

namespace echantillon::construction {
namespace {

jet::ColumnType TypeJet(int type) {
  switch (type) {
    case dao::dbBoolean: return jet::ColumnType::Boolean;
    case dao::dbByte: return jet::ColumnType::Byte;
    case dao::dbInteger: return jet::ColumnType::Integer;
    case dao::dbLong: return jet::ColumnType::Long;
    case dao::dbCurrency: return jet::ColumnType::Currency;
    case dao::dbDouble: return jet::ColumnType::Double;
    case dao::dbDate: return jet::ColumnType::DateTime;
    case dao::dbMemo: return jet::ColumnType::Memo;
    default: return jet::ColumnType::Text;
  }
}

}  // namespace

jet::TableDesign Table(const char* nom, const std::vector<Colonne>& colonnes) {
  jet::TableDesign design;
  design.name = nom;
  for (const Colonne& c : colonnes) {
    jet::ColumnDesign colonne;
    colonne.name = c.nom;
    colonne.type = TypeJet(c.type);
    if (c.taille > 0) colonne.size = static_cast<std::uint16_t>(c.taille);
    colonne.allow_zero_length = colonne.type == jet::ColumnType::Text || colonne.type == jet::ColumnType::Memo;
    design.columns.push_back(std::move(colonne));
  }
  return design;
}

void AjouteIndex(jet::TableDesign& table, const char* nom, std::initializer_list<const char*> champs, bool primaire) {
  jet::IndexDesign index;
  index.name = nom;
  index.primary = primaire;
  for (const char* champ : champs) index.columns.push_back({champ, false});
  table.indexes.push_back(std::move(index));
}

dao::Variant Jour(int annee, int mois, int jour) {
  return dao::Variant(jet::Value::date(jet::sql::date_serial(annee, mois, jour)));
}

void AjouteLignes(dao::Database& bd, const std::string& table, const std::vector<std::string>& champs,
                  const std::vector<std::vector<dao::Variant>>& lignes) {
  dao::Recordset rs = bd.OpenRecordset(table, dao::dbOpenTable);
  for (const auto& ligne : lignes) {
    if (ligne.size() != champs.size()) throw std::logic_error("ligne de " + table + " : nombre de valeurs");
    rs.AddNew();
    for (std::size_t i = 0; i < champs.size(); ++i)
      if (!ligne[i].IsEmpty()) rs.Fields(champs[i]).SetValue(ligne[i]);
    rs.Update();
  }
  rs.Close();
}

void Relie(dao::Database& bd, const std::string& nom, const std::string& table, const std::string& etrangere,
           const std::vector<std::pair<std::string, std::string>>& paires) {
  dao::Relation relation = bd.CreateRelation(nom, table, etrangere);
  for (const auto& [champ, etranger] : paires) {
    dao::Field f = relation.CreateField(champ);
    f.SetForeignName(etranger);
    relation.Fields().Append(f);
  }
  bd.Relations().Append(relation);
}

void CreeBase(dao::DBEngine& moteur, const std::string& chemin, const std::vector<jet::TableDesign>& tables,
              const std::function<void(dao::Database&)>& remplissage) {
  const platform::ResolvedPath lieu = moteur.workstation().resolveOnDrive(chemin);
  jet::CreateOptions options;
  options.created = jet::sql::date_serial(2013, 1, 18);
  try {
    auto nouvelle = jet::create_database(platform::localfs::toUtf8(lieu.local), options);
    for (const jet::TableDesign& table : tables) nouvelle->create_table(table);
  } catch (const jet::Error& e) {
    throw platform::fromJet(e);
  }
  moteur.BeginTrans();
  try {
    dao::Database bd = moteur.OpenDatabase(chemin, true);
    remplissage(bd);
    moteur.CommitTrans();
    bd.Close();
  } catch (...) {
    moteur.Rollback();
    throw;
  }
}

}  // namespace echantillon::construction
