// The end of every run: the common error report of the form's procedures and the completion
// display of interactive runs.
#include "launcher/frm_param.h"
#include "platform/program.h"
#include "platform/vbfiles.h"

namespace launcher {

void FrmParam::GestionErreur(const std::string& NomProcedure, const platform::Error& err) {
  const pipeline::ProgramState& s = *state_;
  // Shown relative to the object-error base: error 53 reads 2147221557.
  const std::string numero = std::to_string(platform::displayedNumber(err.number()));

  if (s.ModeInteractif) {
    desktop().msgBox("Erreur dans le traitement des données\r\nProcédure : " + NomProcedure +
                         "\r\nErreur n° " + numero + "\r\n" + err.description() + "\r\n",
                     ui::vbOKOnly, "Traitement données QUELIS " + s.VersionCourte);
  }
  if (Journal) {
    Journal->WriteLine();
    Journal->WriteLine("L'erreur suivante s'est produite durant la mise à jour :");
    Journal->WriteLine("Procédure : " + NomProcedure);
    Journal->WriteLine("Erreur n° " + numero);
    Journal->WriteLine(err.description());
    Journal->WriteLine();
    Journal->Close();
    Journal.reset();  // later writes find no log
  }
  setMousePointer(ui::vbDefault);
  EnErreur = true;
  if (s.ModeInteractif) AfficheFin();
  // Ends at once: no unload handler runs, so the run log gets no end line.
  platform::End();
}

void FrmParam::AfficheFin() {
  const pipeline::ProgramState& s = *state_;
  if (EnErreur) {
    desktop().msgBox(
        "Une erreur a été rencontrée lors des traitements.\r\nLe journal des traitements va "
        "s'afficher.",
        ui::vbOKOnly, s.TitreMessage);
    // An error before the log was named leaves nothing to show.
    if (!FichierLog.empty() && !env_->files().Dir(FichierLog).empty()) {
      const double tache = env_->Shell("notepad.exe " + FichierLog, platform::vbNormalFocus);
      env_->AppActivate(tache);
    }
  } else {
    desktop().msgBox("Traitements terminés avec succès.", ui::vbOKOnly, s.TitreMessage);
  }
}

}  // namespace launcher
