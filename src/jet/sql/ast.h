// Syntax tree of Jet SQL statements and expressions. The tree keeps what the statement says,
// not how it was spaced or parenthesised: printing a tree and parsing the text back gives an
// equal tree. operator== compares structurally and exactly: names keep the spelling they
// were given (binding them without regard to case is the executor's business).
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace jet::sql {

struct Expr;
using ExprPtr = std::unique_ptr<Expr>;

enum class LiteralKind { Null, True, False, Number, Text, Date };

// A literal as written: numbers keep their source digits and dates their body between the
// hashes, so printing is exact; the evaluator converts them.
struct Literal {
  LiteralKind kind = LiteralKind::Null;
  std::string text;
  friend bool operator==(const Literal&, const Literal&) = default;
};

// `name`, `table.name`, `[table].[name]`; also every unqualified name the resolver may later
// treat as a parameter. `star` marks `*` or `table.*` (select lists, COUNT(*)).
struct ColumnRef {
  std::string table;  // empty when unqualified
  std::string name;   // empty for `*`
  bool star = false;
  friend bool operator==(const ColumnRef&, const ColumnRef&) = default;
};

enum class UnaryOp { Negate, Plus, Not };
enum class BinaryOp {
  Power, Multiply, Divide, IntDivide, Modulo, Add, Subtract, Concat,
  Equal, NotEqual, Less, LessEqual, Greater, GreaterEqual,
  And, Or, Xor, Eqv, Imp,
};

struct Unary {
  UnaryOp op;
  ExprPtr operand;
  friend bool operator==(const Unary&, const Unary&) = default;
};
struct Binary {
  BinaryOp op;
  ExprPtr left, right;
  friend bool operator==(const Binary&, const Binary&) = default;
};
struct Like {
  bool negated = false;
  ExprPtr value, pattern;
  friend bool operator==(const Like&, const Like&) = default;
};
struct InList {
  bool negated = false;
  ExprPtr value;
  std::vector<ExprPtr> items;
  friend bool operator==(const InList&, const InList&) = default;
};
struct Between {
  bool negated = false;
  ExprPtr value, low, high;
  friend bool operator==(const Between&, const Between&) = default;
};
struct IsNull {
  bool negated = false;
  ExprPtr value;
  friend bool operator==(const IsNull&, const IsNull&) = default;
};
// Function call; aggregates (Count, Sum...) are calls too. `Count(*)` has one ColumnRef star.
struct Call {
  std::string name;  // as written
  std::vector<ExprPtr> args;
  friend bool operator==(const Call&, const Call&) = default;
};

struct Select;
// A SELECT used inside an expression: as a value `(SELECT ...)`, as the list of
// `x IN (SELECT ...)`, or after EXISTS. The select is immutable once parsed, so copies of a
// tree share it.
struct Subquery {
  std::shared_ptr<const Select> select;
  bool exists = false;
};
bool operator==(const Subquery& a, const Subquery& b);

struct Expr {
  std::variant<Literal, ColumnRef, Unary, Binary, Like, InList, Between, IsNull, Call, Subquery>
      node;
};

bool operator==(const Expr& a, const Expr& b);
inline bool operator==(const ExprPtr& a, const ExprPtr& b) {
  return (!a && !b) || (a && b && *a == *b);
}
ExprPtr clone(const Expr& e);

// Factories keep parser and tests short.
ExprPtr make_literal(LiteralKind kind, std::string text = {});
ExprPtr make_column(std::string table, std::string name);
ExprPtr make_unary(UnaryOp op, ExprPtr operand);
ExprPtr make_binary(BinaryOp op, ExprPtr left, ExprPtr right);
ExprPtr make_call(std::string name, std::vector<ExprPtr> args);

// ---- tables -----------------------------------------------------------------------------

struct TableRef;
using TableRefPtr = std::unique_ptr<TableRef>;

// A table or saved query, possibly of another database: `[;database=PATH].T` keeps the
// bracket body in `connect`, `T IN 'PATH'` keeps PATH in `in_database`.
struct NamedTable {
  std::string name;
  std::string alias;  // empty when none
  std::string connect;
  std::string in_database;
  friend bool operator==(const NamedTable&, const NamedTable&) = default;
  // The file named by `connect` (";database=..." part) or `in_database`; empty if local.
  std::string database_path() const;
};

enum class JoinKind { Inner, Left, Right };
struct Join {
  JoinKind kind = JoinKind::Inner;
  TableRefPtr left, right;
  ExprPtr on;
  friend bool operator==(const Join&, const Join&) = default;
};

struct TableRef {
  std::variant<NamedTable, Join> node;
};
bool operator==(const TableRef& a, const TableRef& b);
inline bool operator==(const TableRefPtr& a, const TableRefPtr& b) {
  return (!a && !b) || (a && b && *a == *b);
}

// ---- statements -------------------------------------------------------------------------

struct SelectItem {
  ExprPtr expr;
  std::string alias;
  friend bool operator==(const SelectItem&, const SelectItem&) = default;
};
struct OrderItem {
  ExprPtr expr;
  bool descending = false;
  friend bool operator==(const OrderItem&, const OrderItem&) = default;
};

enum class Distinctness { All, Distinct, DistinctRow };

struct Select {
  Distinctness distinct = Distinctness::All;
  std::optional<std::string> top;  // digits as written
  bool top_percent = false;
  std::vector<SelectItem> items;
  std::optional<NamedTable> into;  // SELECT ... INTO new table (make-table query)
  std::vector<TableRefPtr> from;   // comma-separated sources
  ExprPtr where;
  std::vector<ExprPtr> group_by;
  ExprPtr having;
  std::vector<OrderItem> order_by;  // of a union: held by its last select
  // SELECT ... UNION [ALL] SELECT ...: the next select of the union.
  std::shared_ptr<const Select> union_next;
  bool union_all = false;
  friend bool operator==(const Select& a, const Select& b);
};

struct Assignment {
  ColumnRef column;
  ExprPtr value;
  friend bool operator==(const Assignment&, const Assignment&) = default;
};

struct Update {
  TableRefPtr target;  // a table or a join
  std::vector<Assignment> assignments;
  ExprPtr where;
  friend bool operator==(const Update&, const Update&) = default;
};

struct Insert {
  NamedTable table;
  std::vector<std::string> columns;  // empty: every column in table order
  std::vector<ExprPtr> values;       // VALUES (...), or
  std::unique_ptr<Select> select;    // INSERT INTO ... SELECT
  friend bool operator==(const Insert& a, const Insert& b);
};

struct Delete {
  // `DELETE * FROM`, `DELETE t.* FROM`, or plain `DELETE FROM` (empty, star false).
  bool star = false;
  std::string star_table;
  std::vector<ColumnRef> columns;  // `DELETE t.a, t.b FROM ...` as Access writes it (ignored by Jet)
  std::vector<TableRefPtr> from;
  ExprPtr where;
  friend bool operator==(const Delete&, const Delete&) = default;
};

// Column type as written, upper-cased keyword (TEXT, LONG, COUNTER...) with its size if any.
struct DataType {
  std::string name;
  std::optional<int> size;   // TEXT(50); DECIMAL(precision
  std::optional<int> scale;  //                     , scale)
  friend bool operator==(const DataType&, const DataType&) = default;
};

enum class ConstraintKind { PrimaryKey, Unique, NotNull, ForeignKey };
struct Constraint {
  std::string name;  // CONSTRAINT name, empty when unnamed
  ConstraintKind kind = ConstraintKind::PrimaryKey;
  std::vector<std::string> columns;            // table constraints
  std::string references;                      // foreign key: referenced table
  std::vector<std::string> referenced_columns;
  friend bool operator==(const Constraint&, const Constraint&) = default;
};

struct ColumnDef {
  std::string name;
  DataType type;
  bool not_null = false;
  std::vector<Constraint> constraints;  // column constraints (no column list)
  friend bool operator==(const ColumnDef&, const ColumnDef&) = default;
};

struct CreateTable {
  std::string name;
  std::vector<ColumnDef> columns;
  std::vector<Constraint> constraints;
  friend bool operator==(const CreateTable&, const CreateTable&) = default;
};

enum class AlterAction { AddColumn, DropColumn, AlterColumn, AddConstraint, DropConstraint };
struct AlterTable {
  std::string table;
  AlterAction action = AlterAction::AddColumn;
  ColumnDef column;        // AddColumn / AlterColumn
  std::string name;        // DropColumn / DropConstraint
  Constraint constraint;   // AddConstraint
  friend bool operator==(const AlterTable&, const AlterTable&) = default;
};

struct IndexColumn {
  std::string name;
  bool descending = false;
  friend bool operator==(const IndexColumn&, const IndexColumn&) = default;
};
enum class IndexOption { Primary, DisallowNull, IgnoreNull };
struct CreateIndex {
  bool unique = false;
  std::string name, table;
  std::vector<IndexColumn> columns;
  std::vector<IndexOption> options;  // WITH ...
  friend bool operator==(const CreateIndex&, const CreateIndex&) = default;
};
struct DropIndex {
  std::string name, table;
  friend bool operator==(const DropIndex&, const DropIndex&) = default;
};
struct DropTable {
  std::string name;
  friend bool operator==(const DropTable&, const DropTable&) = default;
};

struct ParameterDecl {
  std::string name;
  DataType type;
  friend bool operator==(const ParameterDecl&, const ParameterDecl&) = default;
};

struct Statement {
  std::vector<ParameterDecl> parameters;  // PARAMETERS ...; prefix
  std::variant<Select, Update, Insert, Delete, CreateTable, AlterTable, CreateIndex, DropIndex,
               DropTable>
      body;
  friend bool operator==(const Statement&, const Statement&) = default;
};

}  // namespace jet::sql
