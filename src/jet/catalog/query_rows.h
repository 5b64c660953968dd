// Rows of MSysQueries, the table where Jet keeps saved queries: one row per clause item
// (type, parameter, table, output column, join, criteria, grouping, sort...), all rows of a
// query sharing its MSysObjects.Id as ObjectId. The Attribute column says what a row is;
// the meaning of Name1, Name2, Expression, Flag and LvExtra depends on it.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "jet/base/value.h"

namespace jet {

namespace query_attribute {
inline constexpr std::uint8_t Start = 0;
inline constexpr std::uint8_t Type = 1;       // Flag: query type; Name1/Name2/Expression: target
inline constexpr std::uint8_t Parameter = 2;  // Name1: name, Flag: data type, LvExtra: size
inline constexpr std::uint8_t Flags = 3;      // Flag: select flags, Name1: TOP value
inline constexpr std::uint8_t RemoteDatabase = 4;  // Name1: path, Expression: type ("dBASE IV;")
inline constexpr std::uint8_t Table = 5;      // Name1: table or query, Name2: alias
inline constexpr std::uint8_t Column = 6;     // Expression, Name1: alias, Name2: target field
inline constexpr std::uint8_t Join = 7;       // Name1/Name2: tables, Expression: ON, Flag: kind
inline constexpr std::uint8_t Where = 8;
inline constexpr std::uint8_t GroupBy = 9;
inline constexpr std::uint8_t Having = 10;
inline constexpr std::uint8_t OrderBy = 11;   // Name1 "D": descending
inline constexpr std::uint8_t End = 255;
}  // namespace query_attribute

struct QueryRow {
  std::int32_t object_id = 0;
  std::uint8_t attribute = 0;
  // The Order column: the row's rank within its clause, a big-endian number (00 00 00 01...).
  std::optional<std::vector<std::uint8_t>> order;
  std::optional<std::string> name1;
  std::optional<std::string> name2;
  std::optional<std::string> expression;
  std::optional<std::int16_t> flag;
  std::optional<std::int32_t> extra;  // LvExtra

  friend bool operator==(const QueryRow&, const QueryRow&) = default;
};

// Names of the MSysQueries columns, as the catalog stores them.
inline constexpr std::string_view kQueryColumns[] = {"ObjectId", "Attribute", "Order", "Name1",
                                                     "Name2", "Expression", "Flag", "LvExtra"};

// A row from its decoded columns (by name, case-insensitive; missing columns read as Null).
// Numbers are accepted in any numeric kind that holds them. Throws jet::Error 3049 when a
// column holds a value of the wrong kind or out of range.
QueryRow query_row_from_columns(const std::vector<std::pair<std::string, Value>>& columns);

// The decoded columns of a row, in kQueryColumns order, each of its stored kind (Long,
// Byte, Binary, Text, Text, Text, Integer, Long) or Null.
std::vector<std::pair<std::string, Value>> query_row_columns(const QueryRow& row);

}  // namespace jet
