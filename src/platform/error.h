// Run-time errors as the program's error traps see them: a number and the French description a
// French Windows shows for it. One type carries Visual Basic run-time errors (53, 76...), the
// database engine's errors (same number and text as jet::Error) and the application's own
// errors, numbered from the object-error base (vbObjectError + n).
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace jet {
class Error;
}

namespace platform {

// Visual Basic run-time numbers raised by this layer (French texts: jet/base/error_texts.h).
enum class ErrorCode : int {
  InvalidProcedureCall = 5,   // Invalid procedure call or argument
  Overflow = 6,               // Overflow
  OutOfMemory = 7,            // Out of memory
  SubscriptOutOfRange = 9,    // Subscript out of range
  TypeMismatch = 13,          // Type mismatch
  BadFileNameOrNumber = 52,   // Bad file name or number
  FileNotFound = 53,          // File not found
  BadFileMode = 54,           // Bad file mode
  FileAlreadyOpen = 55,       // File already open
  DeviceIoError = 57,         // Device I/O error
  FileAlreadyExists = 58,     // File already exists
  DiskFull = 61,              // Disk full
  InputPastEndOfFile = 62,    // Input past end of file
  DeviceUnavailable = 68,     // Device unavailable
  PermissionDenied = 70,      // Permission denied
  DiskNotReady = 71,          // Disk not ready
  RenameAcrossDisks = 74,     // Can't rename with different drive
  PathFileAccessError = 75,   // Path/File access error
  PathNotFound = 76,          // Path not found
  ObjectVariableNotSet = 91,  // Object variable or With block variable not set
  ObjectRequired = 424,       // Object required
  CannotCreateObject = 429,   // ActiveX component can't create object
};

// vbObjectError: the base of the numbers an application gives its own errors.
inline constexpr std::int32_t kObjectErrorBase = -2147221504;

// A run-time error. `number()` is what VB's Err.Number holds, `description()` what
// Err.Description holds; what() is the description too.
class Error : public std::runtime_error {
 public:
  // A Visual Basic run-time error with its standard French text.
  explicit Error(ErrorCode code);
  // Any number with its own text (the application's errors, the registry's...).
  Error(std::int32_t number, std::string description);

  std::int32_t number() const noexcept { return number_; }
  const std::string& description() const noexcept { return description_; }

 private:
  std::int32_t number_;
  std::string description_;
};

// The French text of any run-time, Jet or DAO number, from the one catalogue (jet::error_message:
// an unknown number gets its family's fallback).
std::string describe(std::int32_t number);

// The application's error n: number vbObjectError + n with the given text (`Err.Raise`).
Error applicationError(std::int32_t offset, std::string description);

// A database engine error as the error trap sees it: same number, same text.
Error fromJet(const jet::Error& error);

// Inside a catch block: the current exception as the error object VB's trap would hold.
// platform::Error and jet::Error keep their number and text; std::bad_alloc becomes 7;
// a filesystem failure becomes 75; anything else becomes 5 with its message as text.
// A ProgramEnd (VB's End) is rethrown: ending the program is not an error.
Error currentError();

// The number the program's error reports display: number + 2147221504 in 32-bit signed
// arithmetic. Raises Error(Overflow) when the sum leaves the 32-bit range, as VB's checked
// Long addition does. Error 53 displays as 2147221557; application error n displays as n.
std::int32_t displayedNumber(std::int32_t number);

}  // namespace platform
