#include "platform/error.h"

#include <filesystem>
#include <functional>
#include <limits>

#include "jet/base/error.h"
#include "platform/program.h"
#include "platform_test_support.h"

namespace platform_test {
namespace {

using platform::Error;
using platform::ErrorCode;

TEST(RunTimeErrors, CarryVbNumbersAndFrenchTexts) {
  const std::pair<ErrorCode, const char*> cases[] = {
      {ErrorCode::InvalidProcedureCall, "Argument ou appel de procédure incorrect"},
      {ErrorCode::SubscriptOutOfRange, "L'indice n'appartient pas à la sélection"},
      {ErrorCode::TypeMismatch, "Incompatibilité de type"},
      {ErrorCode::BadFileNameOrNumber, "Nom ou numéro de fichier incorrect"},
      {ErrorCode::FileNotFound, "Fichier introuvable"},
      {ErrorCode::FileAlreadyExists, "Fichier déjà existant"},
      {ErrorCode::InputPastEndOfFile, "L'entrée dépasse la fin de fichier"},
      {ErrorCode::PermissionDenied, "Permission refusée"},
      {ErrorCode::PathFileAccessError, "Erreur d'accès au chemin/fichier"},
      {ErrorCode::PathNotFound, "Chemin d'accès introuvable"},
      {ErrorCode::ObjectVariableNotSet, "Variable objet ou variable de bloc With non définie"},
  };
  for (const auto& [code, text] : cases) {
    const Error e(code);
    EXPECT_EQ(e.number(), static_cast<int>(code));
    EXPECT_EQ(e.description(), text);
    EXPECT_STREQ(e.what(), text);
  }
  EXPECT_EQ(Error(ErrorCode::FileNotFound).number(), 53);
  EXPECT_EQ(Error(ErrorCode::PathNotFound).number(), 76);
  EXPECT_EQ(platform::describe(31999), "Erreur définie par l'application ou par l'objet");
}

TEST(RunTimeErrors, ApplicationErrorsStartAtTheObjectErrorBase) {
  const Error e = platform::applicationError(3, "La base est absente : C:\\Quelis.mdb");
  EXPECT_EQ(e.number(), -2147221501);
  EXPECT_EQ(e.description(), "La base est absente : C:\\Quelis.mdb");
}

TEST(DisplayedNumber, AddsTheBaseInCheckedThirtyTwoBitArithmetic) {
  EXPECT_EQ(platform::displayedNumber(53), 2147221557);
  EXPECT_EQ(platform::displayedNumber(3044), 2147224548);
  EXPECT_EQ(platform::displayedNumber(platform::kObjectErrorBase + 6), 6);
  EXPECT_EQ(platform::displayedNumber(262143), std::numeric_limits<std::int32_t>::max());
  EXPECT_VB_ERROR(platform::displayedNumber(262144), 6);
  EXPECT_VB_ERROR(platform::displayedNumber(-2147024894 + 2147483647), 6);
  EXPECT_EQ(platform::displayedNumber(-2147024894), 196610) << "a registry failure";
}

// What an error trap sees of each kind of failure.
platform::Error trapped(const std::function<void()>& failing) {
  try {
    failing();
  } catch (...) {
    return platform::currentError();
  }
  return Error(0, "none");
}

TEST(CurrentError, MapsEveryFailureToTheErrObject) {
  EXPECT_EQ(trapped([] { throw Error(ErrorCode::FileNotFound); }).number(), 53);
  const Error jet = trapped([] { throw jet::Error(jet::ErrorCode::FileNotFound, "C:\\x.mdb"); });
  EXPECT_EQ(jet.number(), 3024);
  EXPECT_EQ(jet.description(), "Fichier 'C:\\x.mdb' introuvable.");
  EXPECT_EQ(platform::fromJet(jet::Error(3022, "doublon")).description(), "doublon");
  EXPECT_EQ(trapped([] { throw std::bad_alloc(); }).number(), 7);
  EXPECT_EQ(trapped([] { throw std::filesystem::filesystem_error("x", std::error_code()); }).number(), 75);
  const Error other = trapped([] { throw std::logic_error("rupture"); });
  EXPECT_EQ(other.number(), 5);
  EXPECT_EQ(other.description(), "rupture");
  EXPECT_THROW(trapped([] { platform::End(); }), platform::ProgramEnd) << "ending is not an error";
}

}  // namespace
}  // namespace platform_test
