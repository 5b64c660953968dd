// Reading a step's arguments typed by a maintainer: counts, whole numbers and yes/no values,
// each refused with a French message that names the argument.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace steps {

// Raises std::invalid_argument unless `minimum` <= count <= `maximum`.
void VerifieNombre(const std::vector<std::string>& arguments, std::size_t minimum, std::size_t maximum,
                   const std::string& usage);
// A whole number in the 32-bit range.
std::int32_t LitEntier(const std::string& texte, const std::string& nom);
// A whole number in the 16-bit range (the steps' code arguments).
std::int16_t LitEntierCourt(const std::string& texte, const std::string& nom);
// "Vrai"/"True"/"Oui"/"1"/"-1" or "Faux"/"False"/"Non"/"0", case ignored.
bool LitBooleen(const std::string& texte, const std::string& nom);

}  // namespace steps
