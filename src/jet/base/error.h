// Errors of the database engine: a Jet error number and the French text a French Windows
// shows for it, so that callers (and their users) see exactly what Access would report.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace jet {

// Jet error numbers the engine raises. Their French texts are in the catalogue (error_texts.h).
enum class ErrorCode : int {
  Overflow = 6,
  TypeMismatch = 13,
  // Also Jet's answer to a write that would take a file past 2 GB.
  InvalidArgument = 3001,
  NoCurrentRecord = 3021,
  DuplicateKey = 3022,
  FileNotFound = 3024,
  DiskFull = 3026,
  DiskReadError = 3040,
  DiskOrNetworkError = 3043,
  // Jet's "incompatible database version": the engine refuses to write an Access 97 file.
  PreviousVersion = 3041,
  InvalidPath = 3044,
  FileInUse = 3045,
  DatabaseDamaged = 3049,
  TooFewParameters = 3061,
  TableNotFound = 3078,
  SyntaxErrorInExpression = 3075,
  TableExists = 3010,
  SyntaxErrorInFrom = 3131,
  SyntaxErrorInInsert = 3134,
  SyntaxErrorInUpdate = 3144,
  FieldTooSmall = 3163,
  FieldDefinedTwice = 3191,
  RelatedRecordsExist = 3200,
  RelatedRecordRequired = 3201,
  ItemNotFound = 3265,
  FieldRequired = 3314,
  NumericFieldOverflow = 3349,
  ZeroLengthNotAllowed = 3315,
  UnrecognizedFormat = 3343,
  OpenedExclusively = 3356,
  // Not a Jet number of its own: the engine met a character whose index key it does not know.
  UnsupportedKeyCharacter = 3431,
  OperationNotSupported = 3251,
  InvalidName = 3125,
  DatabaseExists = 3204,
  PrimaryKeyExists = 3283,
  IndexExists = 3284,
  ObjectExists = 3012,
  IndexNullNotAllowed = 3058,
  FieldInUse = 3280,
  InvalidOperation = 3219,
};

// Thrown for every failure of the engine. `number()` is the Jet error number; `what()`
// and `description()` give the French text with its placeholder filled in.
class Error : public std::runtime_error {
 public:
  Error(int number, std::string description);
  Error(ErrorCode code, std::string_view argument = {});

  int number() const noexcept { return number_; }
  const std::string& description() const noexcept { return description_; }

 private:
  int number_;
  std::string description_;
};

// The French description of a Jet error; `argument` replaces the placeholder (a file, table
// or field name) in the texts that have one. See jet::error_message (error_texts.h).
std::string describe(int number, std::string_view argument = {});

}  // namespace jet
