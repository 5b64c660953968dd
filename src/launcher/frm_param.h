// frmParam, the parameter form and the one window of the update tool. Loading it starts the
// program (Form_Load: versions, configuration, run log, data location, combo filling);
// showing it starts the run in silent mode (Form_Activate); unloading it writes the end of the
// run log and ends the program (Form_Unload). Every procedure traps run-time errors and
// hands its own name to GestionErreur, which reports and ends the program.
//
// Ending the program (VB's End) throws platform::ProgramEnd; Program (program.h) catches it.
// Controls, fields and procedures keep the program's own names so that each line of the
// program can be followed here.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "launcher/base_migration.h"
#include "pipeline/program_state.h"
#include "pipeline/frm_attente.h"
#include "platform/dao/dbengine.h"
#include "platform/environment.h"
#include "platform/error.h"
#include "platform/fso.h"
#include "platform/textstream.h"
#include "platform/ui/control.h"
#include "platform/ui/desktop.h"
#include "platform/ui/form.h"

namespace launcher {

namespace ui = platform::ui;

// A data folder found at the data location: its label and its base path (ending in "\").
struct DossierDonnees {
  std::string Libelle;
  std::string Chemin;
};

// What became of one data folder, for the operator's summary at the end of a run (the run
// log says the same, line by line).
struct BilanDossier {
  std::string Chemin;
  std::string Libelle;              // the label at the end of the folder's treatment
  bool BaseTraitee = false;         // the database went through the wait form
  bool BaseReussie = false;
  std::string JournalBase;          // the per-database log, when one was created
  std::vector<pipeline::FrmAttente::ErreurSignalee> Erreurs;
  std::string Lettres;              // the letter templates' outcome line, "" when not asked
};

// How the run starts. The executable always starts silent: the interactive mode exists, with
// all its message boxes, for whoever sets it, and tests do.
enum class ModeLancement { Silencieux, Interactif };

// An error raised while the error report itself runs (for instance an error number too large
// to display): nothing traps it any more, the program stops as VB stops on an unhandled error.
class ErreurNonInterceptee : public std::runtime_error {
 public:
  explicit ErreurNonInterceptee(platform::Error error)
      : std::runtime_error(error.description()), error_(std::move(error)) {}
  const platform::Error& error() const { return error_; }

 private:
  platform::Error error_;
};

class FrmParam : public ui::Form {
 public:
  FrmParam(platform::Environment& env, ui::Desktop& desktop, pipeline::ProgramState& state,
           ModeLancement mode = ModeLancement::Silencieux);

  // --- Events ---
  void Form_Load();
  void Form_Activate();
  void Form_Unload(int& Cancel);
  void cboListeLecteurs_Click();
  void chkActions_Click(int Index);
  void optBasesEcole_Click(int Index);
  void optChoixPerimetre_Click(int Index);
  void cmdOK_Click();
  void cmdAnnuler_Click();

  // VB's "Unload Me": runs Form_Unload, which ends the program.
  void Unload();

  // --- Procedures ---
  // One registry value by its full path; "" on any failure, never raises.
  std::string LitRegistre(std::string_view chemin);
  // The command line's only word, "" when it has none or several. Start-up does not call it.
  std::string LitArgument();
  // The data location from the INI file (portable and school); true and CheminDonnees set
  // when the value is one of the allowed places of the configuration.
  bool LitCheminIni(const std::string& fichierIni);
  // The common error report: logs `err` under `NomProcedure`, tells the operator when there
  // is one, and ends the program. Never returns.
  [[noreturn]] void GestionErreur(const std::string& NomProcedure, const platform::Error& err);
  // The completion display (interactive runs): success, or failure with the log opened.
  void AfficheFin();

  // Start-up step 12: an old-layout data location is moved into "Donnees\" + the site's
  // CDIF code (migration.cpp); on the network, old script logs go to the log folder. May end
  // the program.
  void MigrationDossiers();

  // Examines one candidate data folder and appends at most one entry to ListeDossiers.
  void RechercheBases(const platform::Folder& Dossier);
  // Treats one data folder: its database through the wait form, then the letter templates.
  // The entry's label may be replaced by the one the pipeline hands back.
  void LanceTraitement(DossierDonnees& Dossier);
  // Replaces the folder `Destination` by a copy of `Source`; nothing when `Source` is empty
  // or missing. No trap of its own.
  void CopieDossier(const std::string& Source, const std::string& Destination);

  // One WriteLine on the run log; error 91 when the log is not open.
  void EcritJournal(std::string_view ligne = {});

  // --- Controls ---
  ui::Frame fraActions{*this, "fraActions", "Actions"};
  ui::ControlArray<ui::CheckBox> chkActions{*this, "chkActions"};
  ui::Frame fraChoixBaseEcole{*this, "fraChoixBaseEcole", "Choix de la base Ecole"};
  ui::ControlArray<ui::OptionButton> optBasesEcole{*this, "optBasesEcole"};
  ui::Frame FraLecteurDonnees{*this, "FraLecteurDonnees", "Emplacement des données"};
  ui::ComboBox cboListeLecteurs{*this, "cboListeLecteurs", &FraLecteurDonnees};
  ui::Frame fraChoixBases{*this, "fraChoixBases", "Périmètre des données à mettre à jour"};
  ui::ControlArray<ui::OptionButton> optChoixPerimetre{*this, "optChoixPerimetre"};
  ui::ComboBox cboListeBases{*this, "cboListeBases", &fraChoixBases};
  ui::CommandButton cmdOK{*this, "cmdOK", "Mettre à jour"};
  ui::CommandButton cmdAnnuler{*this, "cmdAnnuler", "Fermer"};
  ui::Label lblMessage{*this, "lblMessage", ""};
  ui::Label lblVersion{*this, "lblVersion", "Version"};
  ui::Label LblConfiguration{*this, "LblConfiguration", "Configuration"};

  // --- Fields ---
  std::optional<platform::FileSystemObject> Fso;
  std::string DossierLog;
  std::string FichierLog;
  std::optional<platform::TextStream> Journal;
  std::string DossierLettres;
  bool EnErreur = false;
  bool FermetureSansTraitement = false;

  std::string CheminDonnees;
  std::string CheminDonneesRegistre;
  std::string CheminEchange;
  std::array<std::string, 3> Lecteurs{"C:\\", "D:\\", ""};

  std::vector<DossierDonnees> ListeDossiers;
  std::int16_t NbDossiers = 0;
  // One entry per folder handed to LanceTraitement, in order.
  std::vector<BilanDossier> Bilan;

  // Run dispatch: the folder receiving the letter templates, and the label the pipeline
  // hands back for a freshly installed database ("" otherwise).
  std::string DossierCourant;
  std::string LibelleBase;

  // The program's one database engine (DBEngine), over the workstation.
  platform::dao::DBEngine Moteur;

  // How the migration reaches the old database, and how the wait form is made (one per
  // database). Both default to the database engine; tests replace them before loading.
  FabriqueBaseMigration OuvreBaseMigration;
  std::function<std::unique_ptr<pipeline::FrmAttente>()> CreeFrmAttente;
  // The wait form while a database is treated; empty between databases.
  std::unique_ptr<pipeline::FrmAttente> frmAttente;

  pipeline::ProgramState& state() const { return *state_; }
  platform::Environment& env() const { return *env_; }

 private:
  // The error trap every procedure installs: a run-time error raised by `body` goes to
  // GestionErreur under `procedure`; ending the program passes through untouched.
  template <class Body>
  void trap(const char* procedure, Body&& body);

  // Sizes the form and places every control (frm_param_layout.cpp).
  void PlaceControles();
  void EcritEntete();
  void ResoudEmplacementDonnees();
  void RemplitListeLecteurs();

  // Pieces of the handlers and of the migration (one concern each).
  void RechercheDossiers();
  void DefinitEmplacement();
  void TraiteDonnees();
  void CopieLettres();
  [[noreturn]] void ArreteMigration(const std::string& texteJournal, const std::string& texteMessage);
  void MigreSousDossier(const std::string& D, const std::string& cible, const std::string& X,
                       const std::string& prefixe, bool copie);
  void DeplaceJournauxScript();

  platform::Environment* env_;
  pipeline::ProgramState* state_;
  ModeLancement mode_;
};

// Programming faults (std::logic_error: a test's unscripted question, a platform call not
// written yet) are not run-time errors of the program: they pass through the traps too.
template <class Body>
void FrmParam::trap(const char* procedure, Body&& body) {
  try {
    body();
  } catch (const platform::ProgramEnd&) {
    throw;
  } catch (const ErreurNonInterceptee&) {
    throw;
  } catch (const std::logic_error&) {
    throw;
  } catch (...) {
    const platform::Error err = platform::currentError();
    try {
      GestionErreur(procedure, err);
    } catch (const platform::ProgramEnd&) {
      throw;
    } catch (const std::logic_error&) {
      throw;
    } catch (...) {
      throw ErreurNonInterceptee(platform::currentError());
    }
  }
}

}  // namespace launcher
