// Database discovery: the data folders of the data location, each with its label. A data
// folder is a sub-folder named with 7 characters (the site's CDIF code) holding "Bases\";
// on the network, data folders sit one level down, under 3-character grouping folders, and
// keep their database under "QUELIS\".
#include "launcher/frm_param.h"
#include "platform/vbfiles.h"
#include "platform/vbstring.h"

namespace launcher {

void FrmParam::RechercheDossiers() {
  const platform::Folder emplacement = Fso->GetFolder(CheminDonnees);
  // The file system's own order: nothing is sorted.
  for (const platform::Folder& dossier : emplacement.SubFolders()) {
    if (state_->TypeConfiguration == pipeline::kConfigurationReseau) {
      if (platform::Len(dossier.Name()) != 3) continue;
      for (const platform::Folder& site : dossier.SubFolders()) RechercheBases(site);
    } else {
      RechercheBases(dossier);
    }
  }
}

void FrmParam::RechercheBases(const platform::Folder& Dossier) {
  trap("RechercheBases", [&] {
    if (platform::Len(Dossier.Name()) != 7) return;
    std::string base = Dossier.Path() + "\\";
    if (state_->TypeConfiguration == pipeline::kConfigurationReseau) base += "QUELIS\\";
    // Only the folder is tested: a Bases\ without database is still listed.
    if (!Fso->FolderExists(base + "Bases\\")) return;

    std::string libelle;
    const std::string fichierLibelle = base + "Bases\\libelle.txt";
    if (!env_->files().Dir(fichierLibelle, platform::vbNormal).empty()) {
      // The first line, whole; an empty file cannot be read and is an error.
      platform::TextStream texte = Fso->OpenTextFile(fichierLibelle, platform::IOMode::ForReading, false);
      libelle = texte.ReadLine();
      texte.Close();
    }
    if (libelle.empty()) libelle = "Base inconnue (" + Dossier.Path() + ")";

    if (NbDossiers == INT16_MAX) throw platform::Error(platform::ErrorCode::Overflow);
    ++NbDossiers;
    ListeDossiers.resize(static_cast<std::size_t>(NbDossiers));
    ListeDossiers.back() = DossierDonnees{libelle, base};
  });
}

}  // namespace launcher
