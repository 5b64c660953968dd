#include "platform/error.h"

#include <filesystem>
#include <limits>
#include <map>
#include <new>

#include "jet/api/values.h"
#include "platform/program.h"

namespace platform {
namespace {

// The texts of the Visual Basic 6 run-time as a French Windows shows them.
const std::map<std::int32_t, std::string_view>& texts() {
  static const std::map<std::int32_t, std::string_view> table{
      {3, "Return sans GoSub"},
      {5, "Argument ou appel de procédure incorrect"},
      {6, "Dépassement de capacité"},
      {7, "Mémoire insuffisante"},
      {9, "L'indice n'appartient pas à la sélection"},
      {10, "Ce tableau est fixe ou temporairement verrouillé"},
      {11, "Division par zéro"},
      {13, "Type incompatible"},
      {14, "Espace de chaîne insuffisant"},
      {28, "Espace pile insuffisant"},
      {35, "Sub ou Function non définie"},
      {48, "Erreur de chargement de la DLL"},
      {51, "Erreur interne"},
      {52, "Nom ou numéro de fichier incorrect"},
      {53, "Fichier introuvable"},
      {54, "Mode d'accès au fichier incorrect"},
      {55, "Fichier déjà ouvert"},
      {57, "Erreur d'entrée/sortie sur périphérique"},
      {58, "Fichier déjà existant"},
      {59, "Longueur d'enregistrement incorrecte"},
      {61, "Disque plein"},
      {62, "L'entrée dépasse la fin de fichier"},
      {63, "Numéro d'enregistrement incorrect"},
      {67, "Trop de fichiers"},
      {68, "Périphérique non disponible"},
      {70, "Permission refusée"},
      {71, "Disque non prêt"},
      {74, "Impossible de renommer avec un lecteur différent"},
      {75, "Erreur d'accès au chemin/fichier"},
      {76, "Chemin d'accès introuvable"},
      {91, "Variable objet ou variable bloc With non définie"},
      {92, "Boucle For non initialisée"},
      {93, "Format de chaîne incorrect"},
      {94, "Utilisation incorrecte de Null"},
      {424, "Objet requis"},
      {429, "Un composant ActiveX ne peut pas créer d'objet"},
      {438, "Propriété ou méthode non gérée par cet objet"},
      {440, "Erreur Automation"},
      {457, "Cette clé est déjà associée à un élément de cette collection"},
  };
  return table;
}

}  // namespace

std::string describe(std::int32_t number) {
  auto it = texts().find(number);
  if (it == texts().end()) return "Erreur définie par l'application ou par l'objet";
  return std::string(it->second);
}

Error::Error(ErrorCode code) : Error(static_cast<std::int32_t>(code), describe(static_cast<std::int32_t>(code))) {}

Error::Error(std::int32_t number, std::string description)
    : std::runtime_error(description), number_(number), description_(std::move(description)) {}

Error applicationError(std::int32_t offset, std::string description) {
  return Error(kObjectErrorBase + offset, std::move(description));
}

Error fromJet(const jet::Error& error) { return Error(error.number(), error.description()); }

Error currentError() {
  try {
    throw;
  } catch (const ProgramEnd&) {
    throw;  // the end of the program is not an error a trap may swallow
  } catch (const Error& e) {
    return e;
  } catch (const jet::Error& e) {
    return fromJet(e);
  } catch (const std::bad_alloc&) {
    return Error(ErrorCode::OutOfMemory);
  } catch (const std::filesystem::filesystem_error&) {
    return Error(ErrorCode::PathFileAccessError);
  } catch (const std::exception& e) {
    return Error(static_cast<std::int32_t>(ErrorCode::InvalidProcedureCall), e.what());
  }
}

std::int32_t displayedNumber(std::int32_t number) {
  constexpr std::int64_t kShift = 2147221504;
  const std::int64_t sum = static_cast<std::int64_t>(number) + kShift;
  if (sum > std::numeric_limits<std::int32_t>::max() || sum < std::numeric_limits<std::int32_t>::min())
    throw Error(ErrorCode::Overflow);
  return static_cast<std::int32_t>(sum);
}

}  // namespace platform
