#include "jet/sql/sql_error.h"

#include <optional>
#include <string>

#include "jet/base/error_texts.h"

namespace jet::sql {
namespace {

// The negative codes are 3075 in one of its other wordings.
std::optional<ExpressionSyntax> wording_of(SqlError code) {
  switch (code) {
    case SqlError::ExpressionStringSyntax: return ExpressionSyntax::String;
    case SqlError::ExpressionDateSyntax: return ExpressionSyntax::Date;
    case SqlError::ExpressionCommaSyntax: return ExpressionSyntax::Comma;
    case SqlError::WrongArgumentCount: return ExpressionSyntax::ArgumentCount;
    default: return std::nullopt;
  }
}

}  // namespace

jet::Error sql_error(SqlError code, std::string_view argument) {
  if (auto wording = wording_of(code)) return jet::Error(3075, error_message(*wording, argument));
  const int number = static_cast<int>(code);
  return jet::Error(number, error_message(number, argument));
}

jet::Error too_few_parameters(int missing) {
  return jet::Error(jet::ErrorCode::TooFewParameters, std::to_string(missing));
}

}  // namespace jet::sql
