// The parameter form's event handlers: the change of data location with the choices derived
// from it, the coupling of the action boxes, the options, "Mettre à jour" and "Fermer".
// Setting a box or an option from code raises its click exactly as the operator's click does:
// the handlers below rely on those cascades.
#include <string>

#include "launcher/frm_param.h"
#include "platform/vbfiles.h"
#include "platform/vbstring.h"

namespace launcher {
namespace {

constexpr const char* kDossierEcole = "BSECOLE\\";

bool Coche(const ui::CheckBox& box) { return box.value() == ui::vbChecked; }

}  // namespace

void FrmParam::cboListeLecteurs_Click() {
  // No error trap here: an error reaches whoever changed the selection.
  const pipeline::ProgramState& s = *state_;
  NbDossiers = 0;
  ListeDossiers.clear();
  cboListeBases.clear();
  CheminDonnees = cboListeLecteurs.text();

  chkActions(2).setValue(ui::vbUnchecked);
  chkActions(0).setValue(ui::vbUnchecked);
  chkActions(1).setValue(ui::vbUnchecked);

  // An empty location (network without registry value) is a missing one.
  if (!CheminDonnees.empty() && !env_->files().Dir(CheminDonnees, platform::vbDirectory).empty()) {
    setMousePointer(ui::vbHourglass);
    RechercheDossiers();
    for (const DossierDonnees& dossier : ListeDossiers) cboListeBases.addItem(dossier.Chemin);
  }

  if (NbDossiers >= 1) {
    fraChoixBases.setEnabled(true);
    optChoixPerimetre(0).setEnabled(true);
    optChoixPerimetre(1).setEnabled(true);
    if (NbDossiers == 1) {
      optChoixPerimetre(0).setValue(true);
    } else {
      optChoixPerimetre(1).setValue(true);
    }
    cboListeBases.setListIndex(0);
  } else {
    fraChoixBases.setEnabled(false);
    optChoixPerimetre(0).setEnabled(false);
    optChoixPerimetre(1).setEnabled(false);
    optChoixPerimetre(0).setValue(false);
    optChoixPerimetre(1).setValue(false);
    cboListeBases.setEnabled(false);
  }

  if (s.TypeConfiguration == pipeline::kConfigurationEcole) {
    if (NbDossiers == 0) {
      // A pseudo-entry for the school database to install; the count stays 0 on purpose.
      ListeDossiers.assign(1, DossierDonnees{"Base école", CheminDonnees + kDossierEcole});
      cboListeBases.addItem(ListeDossiers[0].Chemin);
    }
    fraChoixBases.setEnabled(false);
    optChoixPerimetre(0).setEnabled(false);
    optChoixPerimetre(1).setEnabled(false);
    optChoixPerimetre(0).setValue(false);
    optChoixPerimetre(1).setValue(false);
    cboListeBases.setEnabled(false);
    cboListeBases.setListIndex(0);
  }

  chkActions(2).setValue(ui::vbChecked);
  chkActions(2).setEnabled(cboListeLecteurs.enabled());
  setMousePointer(ui::vbDefault);
}

void FrmParam::chkActions_Click(int Index) {
  trap("chkActions_click", [&] {
    const pipeline::ProgramState& s = *state_;
    if (Index == 0) {
      if (s.TypeConfiguration == pipeline::kConfigurationEcole && Coche(chkActions(0))) {
        fraChoixBaseEcole.setEnabled(true);
        optBasesEcole(1).setEnabled(true);
        optBasesEcole(2).setEnabled(true);
        if (NbDossiers != 0) {
          optBasesEcole(0).setEnabled(true);
          optBasesEcole(0).setValue(true);
        } else {
          optBasesEcole(0).setEnabled(false);
          optBasesEcole(1).setValue(true);
        }
      } else {
        fraChoixBaseEcole.setEnabled(false);
        for (int i = 0; i <= 2; ++i) {
          optBasesEcole(i).setEnabled(false);
          optBasesEcole(i).setValue(false);
        }
      }
    }

    if (Index == 2) {
      if (!Coche(chkActions(2))) {
        // Withdrawing the location withdraws both other actions.
        chkActions(0).setEnabled(false);
        chkActions(0).setValue(ui::vbUnchecked);
        chkActions(1).setEnabled(false);
        chkActions(1).setValue(ui::vbUnchecked);
      } else if (NbDossiers > 0 || s.TypeConfiguration == pipeline::kConfigurationEcole) {
        chkActions(0).setEnabled(true);
        chkActions(0).setValue(ui::vbChecked);
        chkActions(1).setEnabled(true);
        chkActions(1).setValue(ui::vbUnchecked);
      } else {
        chkActions(0).setEnabled(false);
        chkActions(0).setValue(ui::vbUnchecked);
        chkActions(1).setEnabled(false);
        chkActions(1).setValue(ui::vbUnchecked);
      }
    }

    if (!Coche(chkActions(2)) && !Coche(chkActions(0)) && !Coche(chkActions(1))) {
      cmdOK.setEnabled(false);
      cmdOK.setVisible(false);
      lblMessage.setCaption("Aucune action sélectionnée.");
    } else {
      cmdOK.setEnabled(true);
      cmdOK.setVisible(true);
      lblMessage.setCaption("");
    }
  });
}

void FrmParam::optBasesEcole_Click(int Index) {
  // Its own trap leaves silently: nothing can fail here anyway.
  if (Index >= 0 && Index <= 2) state_->ChoixBaseEcole = Index + 1;
}

void FrmParam::optChoixPerimetre_Click(int Index) {
  trap("optChoixPerimetre_Click", [&] { cboListeBases.setEnabled(Index == 0); });
}

void FrmParam::cmdOK_Click() {
  trap("cmdOK_Click", [&] {
    EnErreur = false;
    FermetureSansTraitement = false;
    // The network keeps its location in the registry: it is never rewritten.
    if (Coche(chkActions(2)) && state_->TypeConfiguration != pipeline::kConfigurationReseau) {
      DefinitEmplacement();
    }
    if (Coche(chkActions(0)) || Coche(chkActions(1))) TraiteDonnees();
    Unload();
  });
}

void FrmParam::DefinitEmplacement() {
  const pipeline::ProgramState& s = *state_;
  const std::string L = cboListeLecteurs.text();
  EcritJournal();
  EcritJournal("-- Définition de l'emplacement des données");
  EcritJournal("\tMise à jour du fichier " + s.FichierIni + " avec le chemin " + L);
  env_->WritePrivateProfileStringA("INIT", "Chemin donnees", L, s.FichierIni);
  EcritJournal("\tMise à jour du fichier ini terminée");

  // The product folder first, then the data location inside it.
  const std::string P = platform::Replace(L, "\\Donnees\\", "\\");
  for (const std::string& dossier : {P, L}) {
    if (!Fso->FolderExists(dossier)) {
      EcritJournal("\tCréation du dossier " + dossier);
      Fso->CreateFolder(dossier);
      EcritJournal("\tCréation du dossier effectuée");
    } else {
      EcritJournal("\tCréation du dossier inutile car déjà existant");
    }
  }

  if (s.TypeConfiguration == pipeline::kConfigurationEcole) {
    const std::string ecole = L + kDossierEcole;
    for (const std::string& dossier : {ecole, ecole + "Bases\\"}) {
      if (!Fso->FolderExists(dossier)) {
        EcritJournal("\tcréation du dossier " + dossier);
        Fso->CreateFolder(dossier);
        EcritJournal("\tCréation du dossier effectuée");
      }
    }
  }
}

void FrmParam::TraiteDonnees() {
  const pipeline::ProgramState& s = *state_;
  // An index outside the list is VB's "subscript out of range".
  auto entree = [this](int index) -> DossierDonnees& {
    if (index < 0 || static_cast<std::size_t>(index) >= ListeDossiers.size()) {
      throw platform::Error(platform::ErrorCode::SubscriptOutOfRange);
    }
    return ListeDossiers[static_cast<std::size_t>(index)];
  };

  EcritJournal();
  EcritJournal("-- Mise à jour des données (bases et/ou lettres)");
  if (s.TypeConfiguration == pipeline::kConfigurationEcole) {
    EcritJournal("-- Choix mise à jour du dossier Base école");
    switch (s.ChoixBaseEcole) {
      case 1:
        EcritJournal("-- Choix mise à jour base Ecole actuelle");
        break;
      case 2:
        entree(0).Libelle = "TORVANDES";
        EcritJournal("-- Choix installation base Ecole Torvandes");
        break;
      case 3:
        entree(0).Libelle = "MIRANEL";
        EcritJournal("-- Choix installation base Ecole Miranel");
        break;
      default:
        break;
    }
    // The label carries the school choice into the pipeline.
    LanceTraitement(entree(0));
  } else if (s.TypeConfiguration == pipeline::kConfigurationPortable ||
             s.TypeConfiguration == pipeline::kConfigurationReseau) {
    if (NbDossiers < 1) {
      EcritJournal("-- Aucun dossier à traiter");
    } else if (optChoixPerimetre(0).value() && !cboListeBases.text().empty()) {
      EcritJournal("-- Choix mise à jour d'un seul dossier de données");
      LanceTraitement(entree(cboListeBases.listIndex()));
    } else if (optChoixPerimetre(1).value()) {
      EcritJournal("-- Choix mise à jour de " + std::to_string(NbDossiers) + " dossiers de données");
      for (int i = 0; i < NbDossiers; ++i) LanceTraitement(entree(i));
    }
  }
}

void FrmParam::cmdAnnuler_Click() {
  trap("cmdAnnuler_click", [&] {
    FermetureSansTraitement = true;
    EcritJournal("Fermeture sans traitement");
    Unload();
  });
}

}  // namespace launcher
