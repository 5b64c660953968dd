// Jet SQL of query structures the fixtures do not hold: predicates, parameters, VALUES,
// external databases, deep joins, names needing brackets, and damaged definitions.
#include <gtest/gtest.h>

#include <functional>

#include "jet/base/error.h"
#include "jet/catalog/query_def.h"
#include "jet/catalog/query_sql.h"
#include "jet_test_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace query_sql_test_cases {

namespace {

using jet::QueryDef;
using jet::QueryType;

QueryDef select_from(std::string table) {
  QueryDef def;
  def.type = QueryType::Select;
  def.tables.push_back({std::move(table), std::nullopt, std::nullopt});
  return def;
}

jet::QueryColumn column(std::string expression, std::optional<std::string> alias = std::nullopt) {
  return {std::move(expression), std::move(alias), std::nullopt, std::int16_t{0}};
}

using jet_test::error_of;
TEST(QuerySql, SelectPredicatesAndOptions) {
  QueryDef def = select_from("Dossier");
  def.columns = {column("Dossier.Numero"), column("Dossier.Date depot", "Déposé le")};
  def.flags = jet::select_flags::Top | jet::select_flags::Percent | jet::select_flags::DistinctRow;
  def.top = "25";
  def.order_by = {{"Dossier.Numero", true}, {"Dossier.[Date depot]", false}};
  EXPECT_EQ(jet::query_sql(def),
            "SELECT DISTINCTROW TOP 25 PERCENT Dossier.Numero, Dossier.Date depot AS [Déposé le]\r\n"
            "FROM Dossier\r\n"
            "ORDER BY Dossier.Numero DESC, Dossier.[Date depot];");

  def.flags = jet::select_flags::SelectStar | jet::select_flags::OwnerAccess | jet::select_flags::Top;
  def.top = "10";
  def.columns.clear();
  def.order_by.clear();
  def.where = "(((Dossier.Etat)=\"ouvert\"))";
  EXPECT_EQ(jet::query_sql(def, {"\n", true}),
            "SELECT TOP 10 *\nFROM Dossier\nWHERE (((Dossier.Etat)=\"ouvert\"))\nWITH OWNERACCESS OPTION;\n");
}

TEST(QuerySql, ParametersAreDeclaredFirst) {
  QueryDef def = select_from("Commune");
  def.columns = {column("Commune.Nom")};
  def.parameters = {{"[Forms]![frmParam]![txtCode]", 10, 255}, {"Année", 3, std::nullopt},
                    {"Date début", 8, std::nullopt}, {"Montant", 5, 0}};
  EXPECT_EQ(jet::query_sql(def),
            "PARAMETERS [Forms]![frmParam]![txtCode] Text ( 255 ), Année Short, [Date début] DateTime, "
            "Montant Currency;\r\n"
            "SELECT Commune.Nom\r\nFROM Commune;");
  EXPECT_STREQ(jet::parameter_type_name(1), "Bit");
  EXPECT_STREQ(jet::parameter_type_name(7), "IEEEDouble");
  EXPECT_STREQ(jet::parameter_type_name(12), "LongText");
  EXPECT_EQ(jet::parameter_type_name(13), nullptr);

  def.parameters = {{"X", 13, std::nullopt}};
  EXPECT_EQ(error_of([&] { jet::query_sql(def); }), 3049);
}

TEST(QuerySql, AppendWithValuesAndToAnotherDatabase) {
  QueryDef def;
  def.type = QueryType::Append;
  def.type_name1 = "Journal des envois";
  const std::int16_t value = jet::query_column_flags::AppendValue;
  def.columns = {{"54", std::nullopt, "ID", value}, {"'bonjour'", std::nullopt, "Champ 3", value}};
  EXPECT_EQ(jet::query_sql(def), "INSERT INTO [Journal des envois] ( ID, [Champ 3] )\r\nVALUES (54, 'bonjour');");

  def = select_from("Source");
  def.type = QueryType::Append;
  def.type_name1 = "Cible";
  def.type_name2 = "C:\\Archives\\Ancien.mdb";
  def.columns = {{"Source.A", std::nullopt, "Cible.A", std::int16_t{0}}};
  EXPECT_EQ(jet::query_sql(def),
            "INSERT INTO Cible ( Cible.A ) IN 'C:\\Archives\\Ancien.mdb'\r\nSELECT Source.A\r\nFROM Source;");
}

TEST(QuerySql, MakeTableAndSelectFromAnotherDatabase) {
  QueryDef def = select_from("Clients");
  def.type = QueryType::MakeTable;
  def.type_name1 = "Copie clients";
  def.type_name2 = "";
  def.type_expression = "dBASE IV;";
  def.flags = jet::select_flags::SelectStar;
  def.has_remote_database = true;
  def.remote_path = "C:\\Données\\Base.mdb";
  EXPECT_EQ(jet::query_sql(def),
            "SELECT * INTO [Copie clients] IN '' [dBASE IV;]\r\nFROM Clients IN 'C:\\Données\\Base.mdb';");
}

TEST(QuerySql, UpdateAcrossAJoinAndDeleteStar) {
  QueryDef def = select_from("Dossier");
  def.type = QueryType::Update;
  def.tables.push_back({"Plan", "P", std::nullopt});
  def.joins = {{"Dossier", "P", "Dossier.Id = P.IdDossier", 2}};
  def.columns = {{"[P].[Feuille]", std::nullopt, "Dossier.Nb feuilles", std::int16_t{0}}};
  EXPECT_EQ(jet::query_sql(def),
            "UPDATE Dossier LEFT JOIN Plan AS P ON Dossier.Id = P.IdDossier "
            "SET Dossier.[Nb feuilles] = [P].[Feuille];");

  QueryDef del = select_from("Temp");
  del.type = QueryType::Delete;
  del.flags = jet::select_flags::SelectStar;
  del.where = "Temp.Ok=False";
  EXPECT_EQ(jet::query_sql(del), "DELETE *\r\nFROM Temp\r\nWHERE Temp.Ok=False;");
}

TEST(QuerySql, JoinsNestInTheOrderTheyAreStored) {
  QueryDef def;
  for (const char* t : {"A", "B", "C", "D", "E"}) def.tables.push_back({t, std::nullopt, std::nullopt});
  def.columns = {column("A.x")};
  def.joins = {{"C", "D", "C.k = D.k", 3}, {"A", "B", "A.k = B.k", 1}, {"B", "C", "B.k = C.k", 2},
               {"A", "B", "A.j = B.j", 1}};
  // E is joined to nothing and keeps its place; A-B's second condition goes first.
  EXPECT_EQ(jet::query_sql(def),
            "SELECT A.x\r\nFROM E, (A INNER JOIN B ON (A.j = B.j) AND (A.k = B.k)) LEFT JOIN "
            "(C RIGHT JOIN D ON C.k = D.k) ON B.k = C.k;");
}

TEST(QuerySql, JoinsThatContradictEachOtherAreRefused) {
  QueryDef def = select_from("A");
  def.tables.push_back({"B", std::nullopt, std::nullopt});
  def.joins = {{"A", "B", "A.k = B.k", 1}, {"A", "B", "A.j = B.j", 2}};
  EXPECT_EQ(error_of([&] { jet::query_sql(def); }), 3049);
  def.joins = {{"A", "B", "A.k = B.k", 4}};
  EXPECT_EQ(error_of([&] { jet::query_sql(def); }), 3049);
}

TEST(QuerySql, UnionWithoutAllAndStoredTexts) {
  QueryDef def;
  def.type = QueryType::Union;
  def.flags = jet::select_flags::Distinct;
  def.tables = {{std::nullopt, "X7YZ_____2", "SELECT B FROM T2\r\n"}, {std::nullopt, "X7YZ_____1", "SELECT A FROM T1"}};
  def.order_by = {{"A", false}};
  EXPECT_EQ(jet::query_sql(def), "SELECT A FROM T1\r\nUNION SELECT B FROM T2\r\nORDER BY A;");
  def.tables.pop_back();
  EXPECT_EQ(error_of([&] { jet::query_sql(def); }), 3049);

  QueryDef pass;
  pass.type = QueryType::PassThrough;
  pass.type_name1 = "ODBC;DSN=Cadastre";
  pass.type_expression = std::string("EXEC majParcelles\0", 18);
  EXPECT_EQ(jet::query_sql(pass), "EXEC majParcelles");
}

TEST(QuerySql, NamesGetBracketsOnlyWhenNeeded) {
  EXPECT_EQ(jet::sql_name("Parcelle"), "Parcelle");
  EXPECT_EQ(jet::sql_name("Numéro_1"), "Numéro_1");
  EXPECT_EQ(jet::sql_name("Date dépôt"), "[Date dépôt]");
  EXPECT_EQ(jet::sql_name("N°"), "[N°]");
  EXPECT_EQ(jet::sql_name("Taux-TVA"), "[Taux-TVA]");
  EXPECT_EQ(jet::sql_name("[Déjà]"), "[Déjà]");
  EXPECT_EQ(jet::sql_name(""), "[]");
  EXPECT_EQ(jet::sql_qualified_name("Table 1.Champ"), "[Table 1].Champ");
  EXPECT_EQ(jet::sql_qualified_name("[a.b].c d"), "[a.b].[c d]");
}

TEST(QueryDefinition, DamagedRowsAreRefused) {
  using jet::QueryRow;
  namespace qa = jet::query_attribute;
  auto row = [](std::uint8_t attribute, std::optional<std::int16_t> flag = std::nullopt,
                std::optional<std::string> expression = std::nullopt) {
    QueryRow r;
    r.attribute = attribute;
    r.flag = flag;
    r.expression = std::move(expression);
    return r;
  };
  const std::vector<QueryRow> no_type = {row(qa::Start, 0), row(qa::End)};
  const std::vector<QueryRow> bad_type = {row(qa::Type, 12)};
  const std::vector<QueryRow> two_where = {row(qa::Type, 1), row(qa::Where, {}, "a"), row(qa::Where, {}, "b")};
  const std::vector<QueryRow> bare_join = {row(qa::Type, 1), row(qa::Join, 1, "A.x=B.x")};
  for (const auto* rows : {&no_type, &bad_type, &two_where, &bare_join}) {
    EXPECT_EQ(error_of([&] { jet::read_query_def(*rows); }), 3049);
  }
  // Rows of an attribute the engine does not know are kept, not refused.
  const std::vector<QueryRow> extra = {row(qa::Type, 1), row(42, 7, "?")};
  const QueryDef def = jet::read_query_def(extra);
  ASSERT_EQ(def.other_rows.size(), 1u);
  const auto rows = jet::query_def_rows(def, 99);
  EXPECT_EQ(rows.size(), 4u);
  EXPECT_EQ(rows[2].attribute, 42);
  EXPECT_EQ(rows[2].order, (std::vector<std::uint8_t>{0, 0, 0, 1}));
  EXPECT_EQ(rows[2].object_id, 99);
}

TEST(QueryDefinition, RowsOfAWrittenDefinitionAreInClauseOrder) {
  QueryDef def = select_from("T");
  def.parameters = {{"P", 4, std::nullopt}};
  def.flags = 0;
  def.columns = {column("T.a", "b"), column("T.c")};
  def.where = "T.a>[P]";
  def.order_by = {{"T.a", true}};
  const auto rows = jet::query_def_rows(def, -5);
  std::vector<int> attributes;
  for (const auto& r : rows) attributes.push_back(r.attribute);
  EXPECT_EQ(attributes, (std::vector<int>{0, 1, 2, 3, 5, 6, 6, 8, 11, 255}));
  EXPECT_EQ(rows[8].name1, "D");
  EXPECT_EQ(rows[5].name1, "b");
  // Each clause numbers its rows from 1, big-endian.
  EXPECT_EQ(rows[5].order, (std::vector<std::uint8_t>{0, 0, 0, 1}));
  EXPECT_EQ(rows[6].order, (std::vector<std::uint8_t>{0, 0, 0, 2}));
  EXPECT_EQ(rows[7].order, (std::vector<std::uint8_t>{0, 0, 0, 1}));
  EXPECT_EQ(jet::order_number(0x01020304), (std::vector<std::uint8_t>{1, 2, 3, 4}));
  EXPECT_EQ(jet::read_query_def(rows), def);
  EXPECT_EQ(jet::query_sql(rows),
            "PARAMETERS P Long;\r\nSELECT T.a AS b, T.c\r\nFROM T\r\nWHERE T.a>[P]\r\nORDER BY T.a DESC;");
}

TEST(QueryRows, CatalogValuesOfWrongKindsAreDamage) {
  std::vector<std::pair<std::string, jet::Value>> columns = {{"ObjectId", jet::Value::text("x")}};
  EXPECT_EQ(error_of([&] { jet::query_row_from_columns(columns); }), 3049);
  columns = {{"attribute", jet::Value::long_(300)}};
  EXPECT_EQ(error_of([&] { jet::query_row_from_columns(columns); }), 3049);
  columns = {{"Name1", jet::Value::long_(1)}};
  EXPECT_EQ(error_of([&] { jet::query_row_from_columns(columns); }), 3049);
  // Any numeric kind that holds the number will do; column names ignore case.
  columns = {{"OBJECTID", jet::Value::double_(-7.0)}, {"flag", jet::Value::byte(3)}, {"Order", jet::Value::null()}};
  const jet::QueryRow row = jet::query_row_from_columns(columns);
  EXPECT_EQ(row.object_id, -7);
  EXPECT_EQ(row.flag, 3);
  EXPECT_FALSE(row.order.has_value());
  EXPECT_FALSE(row.name1.has_value());
}

}  // namespace

}  // namespace query_sql_test_cases
