// frmAttente, the wait form that treats one data folder's database. The parameter form fills
// its public values, shows it modeless, calls Traitement and reads Succes, then unloads it.
// Progress goes through Message to the label LblMessage1 and to the per-database log; every
// failure goes through ErreurInstallation, which reports it and clears Succes without ending
// the program.
//
// Traitement is the entry of the per-database pipeline. This build has no database engine
// behind it: Traitement opens the per-database log, writes its header, reports that the update
// is not available and returns with Succes false. The database is never touched.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "launcher/program_state.h"
#include "platform/environment.h"
#include "platform/error.h"
#include "platform/fso.h"
#include "platform/textstream.h"
#include "platform/ui/control.h"
#include "platform/ui/desktop.h"
#include "platform/ui/form.h"

namespace pipeline {

namespace ui = platform::ui;

class FrmAttente : public ui::Form {
 public:
  FrmAttente(platform::Environment& env, ui::Desktop& desktop, const launcher::ProgramState& state);
  ~FrmAttente() override;

  // --- Public values, set by the caller before Traitement ---
  std::string DossierBases;    // the data folder's Bases\ folder, ending in "\"
  std::string LibelleEnCours;  // the database's label, may be empty
  std::string DossierCourant;  // the data folder (not read by the pipeline)
  bool Interactif = false;     // message boxes are shown only when true
  // Result, read by the caller after Traitement: true unless an error was reported.
  bool Succes = false;

  // Where a label created for a freshly installed database is handed back (the parameter
  // form's LibelleBase).
  std::function<void(const std::string&)> RetourLibelle;

  // Treats the database of DossierBases. Never raises a run-time error: failures end in
  // ErreurInstallation. Virtual so that the parameter form's callers can be exercised with
  // other outcomes.
  virtual void Traitement();

  // Shows and logs one progress line (the log only when it is open).
  void Message(std::string_view texte);
  // Reports the current error `err` raised in `procedure`: message box (interactive), error
  // block in the per-database log, Succes false, default mouse pointer.
  void ErreurInstallation(const std::string& procedure, const platform::Error& err);

  // VB's "Unload frmAttente": hides the form and releases the per-database log.
  void Unload();

  ui::Label LblMessage1{*this, "LblMessage1", ""};

  // --- Form-level state ---
  std::string NomJournalBase;
  std::optional<platform::FileSystemObject> Fso;
  std::optional<platform::TextStream> JournalBase;

 protected:
  platform::Environment& env() const { return *env_; }
  const launcher::ProgramState& state() const { return *state_; }
  // Opens the per-database log (replacing a file of the same name) and writes its header.
  void OuvreJournalBase();

 private:
  platform::Environment* env_;
  const launcher::ProgramState* state_;
};

}  // namespace pipeline
