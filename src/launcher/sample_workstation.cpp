#include "launcher/sample_workstation.h"

#include <fstream>
#include <stdexcept>

#include "platform/codepage.h"

namespace launcher {
namespace {

namespace fs = std::filesystem;

// Workstation files are Windows-1252 text with CR LF line ends.
void WriteWindowsText(const fs::path& file, const std::vector<std::string>& lines,
                      bool finalLineEnd = true) {
  std::string text;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    text += lines[i];
    if (finalLineEnd || i + 1 < lines.size()) text += "\r\n";
  }
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out << platform::Utf8ToCp1252(text);
  if (!out) throw std::runtime_error("cannot write " + file.string());
}

struct SampleFolder {
  const char* code;   // the site's 7-character CDIF code names the folder
  const char* label;  // first line of Bases\libelle.txt
};

constexpr SampleFolder kFolders[] = {
    {"0590100", "Centre des impôts fonciers de Lille"},
    {"0620200", "Centre des impôts fonciers d'Arras"},
};

}  // namespace

SampleWorkstation BuildSampleWorkstation(const fs::path& root) {
  if (fs::exists(root) && (!fs::is_directory(root) || !fs::is_empty(root))) {
    throw std::runtime_error("the sample workstation needs a missing or empty folder: " +
                             root.string());
  }
  SampleWorkstation sample;
  sample.root = root;
  sample.programFolder = "C:\\QUELIS";
  sample.dataLocation = "C:\\Quelis\\Donnees\\";

  // One folder on this machine for C:\QUELIS\ and C:\Quelis\: Windows names are case-blind.
  const fs::path program = root / "C" / "QUELIS";
  fs::create_directories(program / "Lettres");
  WriteWindowsText(program / "Quelis.ini", {"[INIT]", "Chemin donnees=C:\\Quelis\\Donnees\\"});
  WriteWindowsText(program / "Lettres" / "AccordPermis.dot",
                   {"Objet : accord du permis de construire n° <<numero>>", "",
                    "Madame, Monsieur,"});
  WriteWindowsText(program / "Lettres" / "DemandePieces.dot",
                   {"Objet : demande de pièces complémentaires", "", "Madame, Monsieur,"});

  for (const SampleFolder& folder : kFolders) {
    const fs::path base = program / "Donnees" / folder.code;
    fs::create_directories(base / "Bases");
    fs::create_directories(base / "Profils");
    // The label file holds one line without a line end, as the tool itself writes it.
    WriteWindowsText(base / "Bases" / "libelle.txt", {folder.label}, false);
    sample.dataFolders.push_back(sample.dataLocation + folder.code + "\\");
    sample.basesFolders.push_back(base / "Bases");
  }
  return sample;
}

}  // namespace launcher
