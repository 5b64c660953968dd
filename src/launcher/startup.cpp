// Start-up and end of the program: the form's construction, Form_Load, Form_Activate,
// Form_Unload, and the small readers they rely on (registry, command line).
#include "launcher/configuration.h"
#include "launcher/frm_param.h"
#include "platform/clock.h"
#include "platform/program.h"
#include "platform/vbfiles.h"
#include "platform/vbstring.h"

namespace launcher {

FrmParam::FrmParam(platform::Environment& env, ui::Desktop& desktop, pipeline::ProgramState& state,
                   ModeLancement mode)
    : ui::Form(desktop, "frmParam", "Mise à jour des données QUELIS"),
      Moteur(env.workstation()),
      env_(&env),
      state_(&state),
      mode_(mode) {
  OuvreBaseMigration = [this] { return BaseMigrationMoteur(Moteur); };
  CreeFrmAttente = [this] {
    return std::make_unique<pipeline::FrmAttente>(*env_, this->desktop(), *state_, Moteur);
  };
  chkActions.add(2, "Définir l'emplacement des données", &fraActions);
  chkActions.add(1,
                 "Rapatrier les modèles de documents pour le publipostage dans  le dossier de "
                 "données",
                 &fraActions);
  chkActions.add(0, "Mettre à jour la base de données", &fraActions);
  optBasesEcole.add(2, "installer la nouvelle base Ecole d'Miranel (CDI-CDIF)", &fraChoixBaseEcole);
  optBasesEcole.add(1, "installer la nouvelle base Ecole de Torvandes", &fraChoixBaseEcole);
  optBasesEcole.add(0, "conserver et mettre à jour la base Ecole actuelle", &fraChoixBaseEcole);
  optChoixPerimetre.add(1, "Toutes les dossiers", &fraChoixBases);
  optChoixPerimetre.add(0, "Un dossier :", &fraChoixBases);
  PlaceControles();

  chkActions.setOnClick([this](int index) { chkActions_Click(index); });
  optBasesEcole.setOnClick([this](int index) { optBasesEcole_Click(index); });
  optChoixPerimetre.setOnClick([this](int index) { optChoixPerimetre_Click(index); });
  cboListeLecteurs.setOnClick([this] { cboListeLecteurs_Click(); });
  cmdOK.setOnClick([this] { cmdOK_Click(); });
  cmdAnnuler.setOnClick([this] { cmdAnnuler_Click(); });
}

void FrmParam::EcritJournal(std::string_view ligne) {
  if (!Journal) throw platform::Error(platform::ErrorCode::ObjectVariableNotSet);
  Journal->WriteLine(ligne);
}

void FrmParam::Form_Load() {
  trap("Form_Load", [&] {
    pipeline::ProgramState& s = *state_;
    // 1. The run mode: silent unless the program was started otherwise.
    s.ModeInteractif = mode_ == ModeLancement::Interactif;

    // 2. Version texts.
    const platform::ProgramInfo& app = env_->program();
    const VersionTexts versions = VersionFromResource(app.Major, app.Minor, app.Revision);
    s.VersionCourte = versions.courte;
    s.VersionComplete = versions.complete;
    lblVersion.setCaption("Version " + s.VersionCourte);
    s.TitreMessage = "QUELIS - mise à jour " + s.VersionCourte;

    // 3. The program's folder, always with its trailing backslash.
    s.CheminAppli = app.Path;
    if (platform::Right(s.CheminAppli, 1) != "\\") s.CheminAppli += "\\";
    s.FichierIni = s.CheminAppli + "Quelis.ini";

    // 4-5. Configuration.
    const Configuration configuration = DetectConfiguration(s.CheminAppli);
    s.TypeConfiguration = configuration.type;
    if (!configuration.known && s.ModeInteractif) {
      desktop().msgBox(
          "Configuration de QUELIS inconnue\r\n\r\nRisque de dysfonctionnement !",
          ui::vbCritical + ui::vbOKOnly, s.TitreMessage);
    }
    LblConfiguration.setCaption(configuration.label);

    // 6. Run-log folder; the network one is created when missing (its parent must exist).
    if (s.TypeConfiguration == pipeline::kConfigurationReseau) {
      DossierLog = std::string(kDossierLogReseau);
      if (env_->files().Dir(DossierLog, platform::vbDirectory).empty()) {
        env_->files().MkDir(DossierLog);
      }
    } else {
      DossierLog = s.CheminAppli;
    }

    // 7. Run-log name: date and time run together, without separator.
    const platform::DateTime now = env_->Now();
    FichierLog = DossierLog + "QuelisBase_" + s.VersionCourte + "_" +
                 platform::Format(now, "yyyymmdd") + platform::Format(now, "hhmmss") + ".log";

    // 8-9. The run log, replacing any file of that name, and its header.
    Fso.emplace(env_->CreateFileSystemObject());
    Journal.emplace(Fso->CreateTextFile(FichierLog, true));
    EcritEntete();

    // 10. The templates delivered with the program.
    DossierLettres = s.CheminAppli + "Lettres";

    // 11. Where the data lives.
    ResoudEmplacementDonnees();

    // 12. Layout migration (may end the program).
    MigrationDossiers();

    // 13. The data-location combo; selecting its line fills the rest of the form.
    RemplitListeLecteurs();
  });
}

void FrmParam::EcritEntete() {
  const pipeline::ProgramState& s = *state_;
  EcritJournal("Mise à jour des données QUELIS");
  EcritJournal();
  EcritJournal(LblConfiguration.caption());
  EcritJournal(std::string("Lancement ") + (s.ModeInteractif ? "intéractif" : "silencieux"));
  EcritJournal("version de l'exécutable de mise à jour : " + s.VersionComplete);
  // The version the databases are brought to: fixed by this release, not by the resource.
  EcritJournal("nouvelle version de la base : 4.4.0.3");
  EcritJournal();
  EcritJournal("Date et heure de la mise à jour : " + env_->Date() + " à " + env_->Time());
  EcritJournal();
  EcritJournal();
  EcritJournal("---------------------------------");
  EcritJournal("Traitements effectués :");
}

void FrmParam::Form_Activate() {
  trap("Form_Activate", [&] {
    if (state_->ModeInteractif) return;
    if (cmdOK.enabled()) {
      chkActions(0).setValue(ui::vbChecked);
      cmdOK_Click();
    } else {
      cmdAnnuler_Click();
    }
  });
}

void FrmParam::Unload() {
  int cancel = 0;
  Form_Unload(cancel);
}

void FrmParam::Form_Unload(int& /*Cancel*/) {
  trap("Form_Unload", [&] {
    EcritJournal();
    EcritJournal("Fin : " + env_->Date() + " à " + env_->Time());
    Journal->Close();
    Journal.reset();
    Fso.reset();
    if (state_->ModeInteractif && !FermetureSansTraitement) AfficheFin();
    unloaded();
    platform::End();
  });
}

std::string FrmParam::LitRegistre(std::string_view chemin) {
  // Any failure (value, key or registry missing) reads as the empty text.
  try {
    return env_->CreateShell().RegRead(chemin);
  } catch (const platform::ProgramEnd&) {
    throw;
  } catch (const std::logic_error&) {
    throw;
  } catch (...) {
    return {};
  }
}

std::string FrmParam::LitArgument() {
  std::string argument;
  trap("LitArgument", [&] {
    // Split on single blanks: two blanks in a row make an empty piece, hence two pieces.
    const std::string& ligne = env_->program().Command;
    if (ligne.empty()) return;
    if (ligne.find(' ') == std::string::npos) argument = ligne;
  });
  return argument;
}

}  // namespace launcher
