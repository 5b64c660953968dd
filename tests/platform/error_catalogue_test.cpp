// Every layer words an error number the same way: the engine (jet::describe, jet::Error), the
// SQL layer (sql_error), the object model (daoError) and the run-time (platform::describe,
// platform::Error) all read the one catalogue, and every number they raise is in it.
#include <gtest/gtest.h>

#include <string>

#include "jet/base/error.h"
#include "jet/base/error_texts.h"
#include "jet/sql/sql_error.h"
#include "platform/dao/dao_error.h"
#include "platform/error.h"

namespace {

using jet::sql::SqlError;

// The numbers each layer raises by name; a new one without a text would fall back silently.
constexpr jet::ErrorCode kEngineCodes[] = {
    jet::ErrorCode::Overflow, jet::ErrorCode::TypeMismatch, jet::ErrorCode::NoCurrentRecord,
    jet::ErrorCode::DuplicateKey, jet::ErrorCode::FileNotFound, jet::ErrorCode::DiskFull,
    jet::ErrorCode::DiskReadError, jet::ErrorCode::DiskOrNetworkError, jet::ErrorCode::PreviousVersion,
    jet::ErrorCode::InvalidPath, jet::ErrorCode::FileInUse, jet::ErrorCode::DatabaseDamaged,
    jet::ErrorCode::TooFewParameters, jet::ErrorCode::TableNotFound, jet::ErrorCode::SyntaxErrorInExpression,
    jet::ErrorCode::TableExists, jet::ErrorCode::SyntaxErrorInFrom, jet::ErrorCode::SyntaxErrorInInsert,
    jet::ErrorCode::SyntaxErrorInUpdate, jet::ErrorCode::FieldTooSmall, jet::ErrorCode::FieldDefinedTwice,
    jet::ErrorCode::RelatedRecordsExist, jet::ErrorCode::RelatedRecordRequired, jet::ErrorCode::ItemNotFound,
    jet::ErrorCode::FieldRequired, jet::ErrorCode::NumericFieldOverflow, jet::ErrorCode::ZeroLengthNotAllowed,
    jet::ErrorCode::UnrecognizedFormat, jet::ErrorCode::OpenedExclusively, jet::ErrorCode::UnsupportedKeyCharacter,
    jet::ErrorCode::OperationNotSupported, jet::ErrorCode::InvalidName, jet::ErrorCode::DatabaseExists,
    jet::ErrorCode::PrimaryKeyExists, jet::ErrorCode::IndexExists, jet::ErrorCode::ObjectExists,
    jet::ErrorCode::IndexNullNotAllowed, jet::ErrorCode::FieldInUse, jet::ErrorCode::InvalidOperation,
};

constexpr SqlError kSqlCodes[] = {
    SqlError::InvalidProcedureCall, SqlError::Overflow, SqlError::DivisionByZero, SqlError::TypeMismatch,
    SqlError::InvalidPattern, SqlError::InvalidUseOfNull, SqlError::ExpressionSyntax, SqlError::UndefinedFunction,
    SqlError::InvalidStatement, SqlError::FromClauseSyntax, SqlError::InsertSyntax, SqlError::OrderByClauseSyntax,
    SqlError::SelectSyntax, SqlError::CharactersAfterEnd, SqlError::UpdateSyntax, SqlError::ConstraintSyntax,
    SqlError::CreateTableSyntax, SqlError::CreateIndexSyntax, SqlError::FieldDefinitionSyntax,
    SqlError::AlterTableSyntax, SqlError::ValueCountMismatch, SqlError::DropSyntax,
    SqlError::CriteriaTypeMismatch, SqlError::CannotExecuteSelect, SqlError::ReadOnlyObject,
    SqlError::AmbiguousField, SqlError::NotPartOfAggregate, SqlError::UnknownInsertField,
    SqlError::DeleteTableUnspecified, SqlError::CannotGroupOnField,
};

constexpr int kDaoNumbers[] = {
    platform::dao::dao_errors::InvalidArgument, platform::dao::dao_errors::UpdateWithoutEdit,
    platform::dao::dao_errors::NoCurrentRecord, platform::dao::dao_errors::ReadOnly,
    platform::dao::dao_errors::NoTransaction, platform::dao::dao_errors::RecordDeleted,
    platform::dao::dao_errors::DatabaseExists, platform::dao::dao_errors::InvalidOperation,
    platform::dao::dao_errors::NotSupported, platform::dao::dao_errors::InvalidFieldType,
    platform::dao::dao_errors::NoFieldDefined, platform::dao::dao_errors::ItemNotFound,
    platform::dao::dao_errors::PropertyNotFound, platform::dao::dao_errors::PrimaryKeyExists,
    platform::dao::dao_errors::IndexExists, platform::dao::dao_errors::RelationWithoutFields,
    platform::dao::dao_errors::NameExists, platform::dao::dao_errors::InvalidObject,
    platform::dao::dao_errors::ObjectExists,
};

constexpr platform::ErrorCode kRunTimeCodes[] = {
    platform::ErrorCode::InvalidProcedureCall, platform::ErrorCode::Overflow, platform::ErrorCode::OutOfMemory,
    platform::ErrorCode::SubscriptOutOfRange, platform::ErrorCode::TypeMismatch,
    platform::ErrorCode::BadFileNameOrNumber, platform::ErrorCode::FileNotFound, platform::ErrorCode::BadFileMode,
    platform::ErrorCode::FileAlreadyOpen, platform::ErrorCode::DeviceIoError, platform::ErrorCode::FileAlreadyExists,
    platform::ErrorCode::DiskFull, platform::ErrorCode::InputPastEndOfFile, platform::ErrorCode::DeviceUnavailable,
    platform::ErrorCode::PermissionDenied, platform::ErrorCode::DiskNotReady, platform::ErrorCode::RenameAcrossDisks,
    platform::ErrorCode::PathFileAccessError, platform::ErrorCode::PathNotFound,
    platform::ErrorCode::ObjectVariableNotSet, platform::ErrorCode::ObjectRequired,
    platform::ErrorCode::CannotCreateObject,
};

TEST(ErrorTexts, EveryNumberALayerRaisesIsCatalogued) {
  for (auto code : kEngineCodes) EXPECT_FALSE(jet::error_text(static_cast<int>(code)).empty()) << static_cast<int>(code);
  for (auto code : kSqlCodes) EXPECT_FALSE(jet::error_text(static_cast<int>(code)).empty()) << static_cast<int>(code);
  for (int number : kDaoNumbers) EXPECT_FALSE(jet::error_text(number).empty()) << number;
  for (auto code : kRunTimeCodes) EXPECT_FALSE(jet::error_text(static_cast<int>(code)).empty()) << static_cast<int>(code);
}

TEST(ErrorTexts, EveryLayerGivesTheSameTextForTheSameNumber) {
  for (const auto& entry : jet::error_catalogue()) {
    const int n = entry.number;
    const std::string engine = jet::describe(n, "Fiche");
    EXPECT_EQ(engine, jet::error_message(n, "Fiche")) << n;
    EXPECT_EQ(platform::dao::daoError(n, "Fiche").description(), engine) << n;
    EXPECT_EQ(platform::dao::daoError(n, "Fiche").number(), n);
    EXPECT_EQ(platform::describe(n), jet::describe(n)) << n;
    EXPECT_EQ(platform::fromJet(jet::Error(n, engine)).description(), engine) << n;
  }
  for (auto code : kEngineCodes) {
    const int n = static_cast<int>(code);
    const jet::Error e(code, "Fiche");
    EXPECT_EQ(e.number(), n);
    EXPECT_EQ(e.description(), platform::dao::daoError(n, "Fiche").description()) << n;
  }
  for (auto code : kSqlCodes) {
    const int n = static_cast<int>(code);
    const jet::Error e = jet::sql::sql_error(code, "Fiche");
    EXPECT_EQ(e.number(), n);
    EXPECT_EQ(e.description(), jet::describe(n, "Fiche")) << n;
  }
  for (auto code : kRunTimeCodes) {
    const int n = static_cast<int>(code);
    EXPECT_EQ(platform::Error(code).description(), jet::describe(n)) << n;
  }
}

TEST(ErrorTexts, TheSqlLayerRaisesTheOtherWordingsOf3075As3075) {
  const std::pair<SqlError, jet::ExpressionSyntax> variants[] = {
      {SqlError::ExpressionStringSyntax, jet::ExpressionSyntax::String},
      {SqlError::ExpressionDateSyntax, jet::ExpressionSyntax::Date},
      {SqlError::ExpressionCommaSyntax, jet::ExpressionSyntax::Comma},
      {SqlError::WrongArgumentCount, jet::ExpressionSyntax::ArgumentCount},
  };
  for (const auto& [code, wording] : variants) {
    const jet::Error e = jet::sql::sql_error(code, "Nz([A]");
    EXPECT_EQ(e.number(), 3075);
    EXPECT_EQ(e.description(), jet::error_message(wording, "Nz([A]"));
    EXPECT_NE(e.description(), jet::describe(3075, "Nz([A]"));
  }
  EXPECT_EQ(jet::sql::too_few_parameters(2).description(), jet::describe(3061, "2"));
}

}  // namespace
