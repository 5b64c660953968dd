#include "sample/sample_workstation.h"

#include <fstream>
#include <stdexcept>

#include "sample/reference_database.h"
#include "sample/sample_databases.h"
#include "platform/codepage.h"
#include "platform/dao/dbengine.h"
#include "platform/localfs.h"
#include "platform/workstation.h"

namespace echantillon {
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
  if (!out) throw std::runtime_error("cannot write " + platform::localfs::toUtf8(file));
}

}  // namespace

SampleWorkstation BuildSampleWorkstation(const fs::path& root, int fiches) {
  if (fs::exists(root) && (!fs::is_directory(root) || !fs::is_empty(root))) {
    throw std::runtime_error("the sample workstation needs a missing or empty folder: " +
                             platform::localfs::toUtf8(root));
  }
  SampleWorkstation sample;
  sample.root = root;
  sample.programFolder = "C:\\QUELIS";
  sample.dataLocation = "C:\\Quelis\\Donnees\\";

  // One folder on this machine for C:\QUELIS\ and C:\Quelis\: Windows names are case-blind.
  // In the old layout the program's folder is the data folder too, and its Lettres\ holds
  // the templates delivered with the program.
  const fs::path program = root / "C" / "QUELIS";
  fs::create_directories(program / "Lettres");
  fs::create_directories(program / "Bases");
  fs::create_directories(program / "Profils");
  WriteWindowsText(program / "Quelis.ini", {"[INIT]", "Chemin donnees=C:\\Quelis\\"});
  WriteWindowsText(program / "Lettres" / "AccordPermis.dot",
                   {"Objet : accord du permis de construire n° <<numero>>", "",
                    "Madame, Monsieur,"});
  WriteWindowsText(program / "Lettres" / "DemandePieces.dot",
                   {"Objet : demande de pièces complémentaires", "", "Madame, Monsieur,"});
  WriteWindowsText(program / "Profils" / "admin.prf", {"[Profil]", "Nom=admin"});

  const fs::path arras = program / "Donnees" / "0620200";
  fs::create_directories(arras / "Bases");
  fs::create_directories(arras / "Profils");

  const platform::FolderWorkstation poste(root);
  platform::dao::DBEngine moteur(poste);
  BaseEchantillon lille;
  lille.site = {"059", "01", "00", "Centre des impôts fonciers de Lille"};
  lille.fiches = fiches;
  CreeBaseReference(moteur, "C:\\QUELIS\\Bases\\Quelis.mdb", lille);
  CreeBaseSauvegarde(moteur, "C:\\QUELIS\\Bases\\QuelisSauv_18012013.mdb", fiches);
  // The label file holds one line without a line end, as the tool itself writes it.
  WriteWindowsText(program / "Bases" / "libelle.txt", {lille.site.licdif}, false);

  BaseEchantillon arrasDejaAJour;
  arrasDejaAJour.livers = "4.4.0.3";
  arrasDejaAJour.site = {"062", "02", "00", "Centre des impôts fonciers d'Arras"};
  arrasDejaAJour.fiches = fiches;
  CreeBaseReference(moteur, "C:\\QUELIS\\Donnees\\0620200\\Bases\\Quelis.mdb", arrasDejaAJour);
  WriteWindowsText(arras / "Bases" / "libelle.txt", {arrasDejaAJour.site.licdif}, false);

  for (const char* code : {"0590100", "0620200"}) {
    sample.dataFolders.push_back(sample.dataLocation + code + "\\");
    sample.basesFolders.push_back(program / "Donnees" / code / "Bases");
  }
  sample.updatedDatabase = sample.dataFolders[0] + "Bases\\Quelis.mdb";
  sample.refusedDatabase = sample.dataFolders[1] + "Bases\\Quelis.mdb";
  return sample;
}

}  // namespace echantillon
