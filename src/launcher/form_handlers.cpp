// The parameter form's event handlers. The location change, the action boxes, the
// "Mettre à jour" work and the layout migration are written separately: their bodies here
// are the places where that work plugs in, and they keep the traps and the closing of the
// form so that every run already ends with a complete run log.
#include "launcher/frm_param.h"

namespace launcher {

void FrmParam::cboListeLecteurs_Click() {
  // Pending: rescan of the data folders at the new location and the choices derived from it.
  // This handler installs no error trap of its own: errors reach the caller's.
}

void FrmParam::chkActions_Click(int /*Index*/) {
  trap("chkActions_click", [] {
    // Pending: the coupling of the three action boxes and of the school options.
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
    // Pending: the data-location definition and the data work, folder by folder.
    Unload();
  });
}

void FrmParam::cmdAnnuler_Click() {
  trap("cmdAnnuler_click", [&] {
    FermetureSansTraitement = true;
    EcritJournal("Fermeture sans traitement");
    Unload();
  });
}

void FrmParam::MigrationDossiers() {
  // Pending: the move of an old-layout data location into "Donnees\" and, on the network,
  // the move of old script logs into the log folder. Runs under Form_Load's trap.
}

}  // namespace launcher
