// A new, empty folder under the system's temporary folder, on every system.
#pragma once

#include <filesystem>
#include <string_view>

// "<temp>/<prefixe>-xxxxxx", created by this call (never an existing folder); raises
// std::runtime_error when none can be made.
std::filesystem::path NouveauDossierTemporaire(std::string_view prefixe);
