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

// Visual Basic run-time error numbers raised by this layer.
enum class ErrorCode : int {
  InvalidProcedureCall = 5,   // "Argument ou appel de procédure incorrect"
  Overflow = 6,               // "Dépassement de capacité"
  OutOfMemory = 7,            // "Mémoire insuffisante"
  SubscriptOutOfRange = 9,    // "L'indice n'appartient pas à la sélection"
  TypeMismatch = 13,          // "Type incompatible"
  BadFileNameOrNumber = 52,   // "Nom ou numéro de fichier incorrect"
  FileNotFound = 53,          // "Fichier introuvable"
  BadFileMode = 54,           // "Mode d'accès au fichier incorrect"
  FileAlreadyOpen = 55,       // "Fichier déjà ouvert"
  DeviceIoError = 57,         // "Erreur d'entrée/sortie sur périphérique"
  FileAlreadyExists = 58,     // "Fichier déjà existant"
  DiskFull = 61,              // "Disque plein"
  InputPastEndOfFile = 62,    // "L'entrée dépasse la fin de fichier"
  DeviceUnavailable = 68,     // "Périphérique non disponible"
  PermissionDenied = 70,      // "Permission refusée"
  DiskNotReady = 71,          // "Disque non prêt"
  RenameAcrossDisks = 74,     // "Impossible de renommer avec un lecteur différent"
  PathFileAccessError = 75,   // "Erreur d'accès au chemin/fichier"
  PathNotFound = 76,          // "Chemin d'accès introuvable"
  ObjectVariableNotSet = 91,  // "Variable objet ou variable bloc With non définie"
  ObjectRequired = 424,       // "Objet requis"
  CannotCreateObject = 429,   // "Un composant ActiveX ne peut pas créer d'objet"
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

// The standard French text of a run-time error number; VB's generic text for unknown ones
// ("Erreur définie par l'application ou par l'objet").
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
