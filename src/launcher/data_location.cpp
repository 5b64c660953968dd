// Where the application's data lives: the INI file beside the program (portable and school),
// the registry (network), and the data-location combo offered to the operator.
#include <vector>

#include "launcher/frm_param.h"
#include "platform/vbstring.h"
#include "platform/workstation.h"

namespace launcher {
namespace {

constexpr long kTailleTampon = 150;

// The places the INI value may name: the "Donnees" folders always, the old top folders (to be
// migrated) only for release 4.4.0; C: before D:.
std::vector<std::string> EmplacementsAutorises(std::int32_t typeConfiguration,
                                               const std::string& versionCourte) {
  const std::string produit = typeConfiguration == pipeline::kConfigurationEcole ? "QuelisEcole" : "Quelis";
  std::vector<std::string> liste{"C:\\" + produit + "\\Donnees\\", "D:\\" + produit + "\\Donnees\\"};
  if (versionCourte == "4.4.0") {
    liste.push_back("C:\\" + produit + "\\");
    liste.push_back("D:\\" + produit + "\\");
  }
  return liste;
}

}  // namespace

bool FrmParam::LitCheminIni(const std::string& fichierIni) {
  bool resultat = false;
  trap("LitCheminIni", [&] {
    const pipeline::ProgramState& s = *state_;
    if (s.TypeConfiguration == pipeline::kConfigurationReseau) {
      resultat = true;
      return;
    }
    // The value is cut to the buffer: a value of 150 characters or more never matches.
    std::string tampon(kTailleTampon, ' ');
    const long lus = env_->GetPrivateProfileStringA("INIT", "Chemin donnees", "", tampon,
                                                    kTailleTampon, fichierIni);
    const std::string valeur = platform::Trim(platform::Left(tampon, static_cast<std::size_t>(lus)));

    const std::string valeurMaj = platform::UCase(valeur);
    for (const std::string& autorise : EmplacementsAutorises(s.TypeConfiguration, s.VersionCourte)) {
      if (valeurMaj == platform::UCase(autorise)) {
        resultat = true;
        CheminDonnees = valeur;  // as written in the file, case kept
      }
    }
  });
  return resultat;
}

void FrmParam::ResoudEmplacementDonnees() {
  const pipeline::ProgramState& s = *state_;
  if (s.TypeConfiguration == pipeline::kConfigurationReseau) {
    CheminDonneesRegistre = LitRegistre("HKEY_LOCAL_MACHINE\\SOFTWARE\\Ortavia\\Donnees");
    CheminDonnees = CheminDonneesRegistre;
    CheminEchange = LitRegistre("HKEY_LOCAL_MACHINE\\SOFTWARE\\Ortavia\\Echange");
  } else if (Fso->FileExists(s.FichierIni)) {
    if (!LitCheminIni(s.FichierIni)) CheminDonnees.clear();
  } else {
    CheminDonnees.clear();
  }
  // Only registry values can lack it: the INI values are accepted with it only.
  if (!CheminDonnees.empty() && platform::Right(CheminDonnees, 1) != "\\") CheminDonnees += "\\";
}

void FrmParam::RemplitListeLecteurs() {
  const pipeline::ProgramState& s = *state_;
  if (!CheminDonnees.empty()) {
    FraLecteurDonnees.setEnabled(false);
    cboListeLecteurs.setEnabled(false);
    cboListeLecteurs.addItem(CheminDonnees);
    cboListeLecteurs.setListIndex(cboListeLecteurs.listCount() - 1);
    return;
  }
  if (s.TypeConfiguration == pipeline::kConfigurationReseau) {
    cboListeLecteurs.addItem(CheminDonneesRegistre);
  } else {
    const std::string dossier =
        s.TypeConfiguration == pipeline::kConfigurationEcole ? "QuelisEcole\\Donnees\\" : "Quelis\\Donnees\\";
    for (int i = 0; i <= 1; ++i) {
      const std::string& racine = Lecteurs[static_cast<std::size_t>(i)];
      if (env_->GetDriveTypeA(racine) == platform::DRIVE_FIXED) {
        cboListeLecteurs.addItem(racine + dossier);
      }
    }
  }
  FraLecteurDonnees.setEnabled(true);
  // The last line wins: D: over C: when both are fixed disks; none when no drive qualified.
  cboListeLecteurs.setListIndex(cboListeLecteurs.listCount() - 1);
}

}  // namespace launcher
