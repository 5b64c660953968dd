#include "steps/arguments.h"

#include <charconv>
#include <stdexcept>

#include "platform/vbstring.h"

namespace steps {

void VerifieNombre(const std::vector<std::string>& arguments, std::size_t minimum, std::size_t maximum,
                   const std::string& usage) {
  if (arguments.size() < minimum || arguments.size() > maximum)
    throw std::invalid_argument("arguments attendus : " + usage + " (" + std::to_string(arguments.size()) +
                                " donnés)");
}

std::int32_t LitEntier(const std::string& texte, const std::string& nom) {
  std::int32_t valeur = 0;
  const char* fin = texte.data() + texte.size();
  const auto [ptr, ec] = std::from_chars(texte.data(), fin, valeur);
  if (texte.empty() || ec != std::errc() || ptr != fin)
    throw std::invalid_argument(nom + " doit être un nombre entier : '" + texte + "'");
  return valeur;
}

std::int16_t LitEntierCourt(const std::string& texte, const std::string& nom) {
  const std::int32_t valeur = LitEntier(texte, nom);
  if (valeur < -32768 || valeur > 32767)
    throw std::invalid_argument(nom + " doit être compris entre -32768 et 32767 : '" + texte + "'");
  return static_cast<std::int16_t>(valeur);
}

bool LitBooleen(const std::string& texte, const std::string& nom) {
  const std::string t = platform::UCase(texte);
  if (t == "VRAI" || t == "TRUE" || t == "OUI" || t == "1" || t == "-1") return true;
  if (t == "FAUX" || t == "FALSE" || t == "NON" || t == "0") return false;
  throw std::invalid_argument(nom + " doit valoir Vrai ou Faux : '" + texte + "'");
}

}  // namespace steps
