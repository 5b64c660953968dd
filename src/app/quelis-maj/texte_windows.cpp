#include "texte_windows.h"

#include <fstream>
#include <sstream>

#include "platform/codepage.h"

std::string LitTexteWindows(const std::filesystem::path& fichier) {
  std::ifstream in(fichier, std::ios::binary);
  std::stringstream octets;
  octets << in.rdbuf();
  const std::string texte = platform::Cp1252ToUtf8(octets.str());
  std::string unix;
  for (std::size_t i = 0; i < texte.size(); ++i)
    if (!(texte[i] == '\r' && i + 1 < texte.size() && texte[i + 1] == '\n')) unix += texte[i];
  return unix;
}
