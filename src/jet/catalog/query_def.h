// A saved query as a structure: what its MSysQueries rows say, clause by clause, without
// the SQL layout. read_query_def turns one query's rows into it; query_def_rows writes it
// back as rows (grouped by attribute, each clause's items numbered in their order), so that
// rows → QueryDef → rows gives the same rows, up to storage order, for queries Access saved.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "jet/catalog/query_rows.h"

namespace jet {

// The query type, as the Type row's Flag stores it.
enum class QueryType : std::int16_t {
  Select = 1,
  MakeTable = 2,
  Append = 3,
  Update = 4,
  Delete = 5,
  Crosstab = 6,
  DataDefinition = 7,
  PassThrough = 8,
  Union = 9,
};

const char* query_type_name(QueryType type) noexcept;  // "Select", "Crosstab"...

// The type MSysObjects.Flags gives a query object (bits 0xF0: 0 Select, 16 Crosstab,
// 32 Delete, 48 Update, 64 Append, 80 MakeTable, 96 DataDefinition, 112 PassThrough,
// 128 Union); nullopt for other values.
std::optional<QueryType> query_type_from_object_flags(std::int32_t flags) noexcept;

// Bits of the Flags row.
namespace select_flags {
inline constexpr std::int16_t SelectStar = 0x01;   // SELECT * (all fields)
inline constexpr std::int16_t Distinct = 0x02;     // (union queries: UNION without ALL)
inline constexpr std::int16_t OwnerAccess = 0x04;  // WITH OWNERACCESS OPTION
inline constexpr std::int16_t DistinctRow = 0x08;
inline constexpr std::int16_t Top = 0x10;
inline constexpr std::int16_t Percent = 0x20;
}  // namespace select_flags

// Bits of the Flag of output columns and groupings.
namespace query_column_flags {
inline constexpr std::int16_t Pivot = 0x01;         // crosstab: the PIVOT expression
inline constexpr std::int16_t RowHeading = 0x02;    // crosstab: a row heading (SELECT, GROUP BY)
inline constexpr std::int16_t AppendValue = -0x8000;  // append: a VALUES item (0x8000)
}  // namespace query_column_flags

enum class JoinKind : std::int16_t { Inner = 1, Left = 2, Right = 3 };

struct QueryParameter {
  std::string name;
  std::int16_t type = 0;              // Jet data type code (10 Text, 4 Long, 8 DateTime...)
  std::optional<std::int32_t> size;   // Text: declared length
  friend bool operator==(const QueryParameter&, const QueryParameter&) = default;
};

struct QueryTable {
  std::optional<std::string> name;        // table or query
  std::optional<std::string> alias;       // union queries: the part's key (X7YZ_____1...)
  std::optional<std::string> expression;  // union queries: the part's SQL text
  friend bool operator==(const QueryTable&, const QueryTable&) = default;
};

struct QueryColumn {
  std::optional<std::string> expression;
  std::optional<std::string> alias;   // AS ...
  std::optional<std::string> target;  // append/update: the field written
  std::optional<std::int16_t> flag;   // query_column_flags
  friend bool operator==(const QueryColumn&, const QueryColumn&) = default;
};

struct QueryJoin {
  std::string left;   // table (or alias) on the left
  std::string right;
  std::optional<std::string> on;
  std::int16_t kind = 1;  // JoinKind
  friend bool operator==(const QueryJoin&, const QueryJoin&) = default;
};

struct QueryGrouping {
  std::string expression;
  std::optional<std::int16_t> flag;  // crosstab: query_column_flags
  friend bool operator==(const QueryGrouping&, const QueryGrouping&) = default;
};

struct QueryOrdering {
  std::string expression;
  bool descending = false;
  friend bool operator==(const QueryOrdering&, const QueryOrdering&) = default;
};

struct QueryDef {
  QueryType type = QueryType::Select;
  // The Type row's other fields: make-table/append target table (name1), its database
  // (name2 path, expression type); pass-through connect string (name1) and SQL
  // (expression); data-definition SQL (expression).
  std::optional<std::string> type_name1;
  std::optional<std::string> type_name2;
  std::optional<std::string> type_expression;

  std::vector<QueryParameter> parameters;
  std::optional<std::int16_t> flags;      // select_flags; absent when there is no Flags row
  std::optional<std::string> top;         // TOP value
  bool has_remote_database = false;       // FROM ... IN '<path>' [<type>]
  std::optional<std::string> remote_path;
  std::optional<std::string> remote_type;
  std::vector<QueryTable> tables;
  std::vector<QueryColumn> columns;
  std::vector<QueryJoin> joins;
  std::optional<std::string> where;
  std::vector<QueryGrouping> group_by;
  std::optional<std::string> having;
  std::vector<QueryOrdering> order_by;
  // Rows whose attribute the engine does not know, kept so they are written back.
  std::vector<QueryRow> other_rows;

  bool has_flag(std::int16_t bit) const noexcept { return flags && (*flags & bit) != 0; }
  friend bool operator==(const QueryDef&, const QueryDef&) = default;
};

// The Order value of the n-th row (from 1) of a clause: four bytes, big-endian, as Access
// numbers them.
std::vector<std::uint8_t> order_number(std::uint32_t n);

// One query's rows, in any order: the items of a clause are taken in the order of their
// Order values (rows without one keep their relative order, before numbered ones). Throws
// jet::Error 3049 when the rows cannot form a query: no Type row or an unknown type, two
// rows of a single-row clause (Type, Flags, Where, Having...), a join without tables.
QueryDef read_query_def(std::span<const QueryRow> rows);

// The rows of a query: Start, Type, parameters, Flags, remote database, tables, columns,
// joins, Where, Group By, Having, Order By, other rows, End; each with object_id and the
// Order numbers of its clause (1, 2, 3...).
std::vector<QueryRow> query_def_rows(const QueryDef& def, std::int32_t object_id);

}  // namespace jet
