#include "dossier_temporaire.h"

#include <random>
#include <stdexcept>
#include <string>
#include <system_error>

#include "platform/localfs.h"

namespace fs = std::filesystem;

fs::path NouveauDossierTemporaire(std::string_view prefixe) {
  std::error_code ec;
  const fs::path base = fs::temp_directory_path(ec);
  if (ec) throw std::runtime_error("dossier temporaire du système introuvable : " + ec.message());
  std::random_device source;
  static constexpr char kChiffres[] = "abcdefghijklmnopqrstuvwxyz0123456789";
  for (int essai = 0; essai < 100; ++essai) {
    std::string nom(prefixe);
    nom += '-';
    for (int i = 0; i < 6; ++i) nom += kChiffres[source() % (sizeof kChiffres - 1)];
    // create_directory says whether this call made the folder: one already there is skipped.
    if (fs::create_directory(base / nom, ec)) return base / nom;
    if (ec) break;
  }
  throw std::runtime_error("dossier temporaire impossible à créer dans " + platform::localfs::toUtf8(base));
}
