// frmAttente, the wait form that treats one data folder's database. The parameter form fills
// its public values, shows it modeless, calls Traitement and reads Succes, then unloads it.
// Progress goes through Message to the label LblMessage1 and to the per-database log; every
// failure goes through ErreurInstallation, which reports it and clears Succes without ending
// the program.
//
// Traitement either installs a delivered school database or updates the existing database
// from 4.4.0.1 to 4.4.0.3 through temporary copies (copy, repair, MiseAJour, compact) and
// only then puts the result in place of the live file, in one rename: the live name holds
// the old or the new database at every instant. From its first look at the live database to
// that rename the form holds it against every other writer (and holds its lock file, as an
// open database does), so that nothing another program writes meanwhile is lost under the
// replacement. Temporaries an interrupted run left are removed first; those of a failed run
// are removed at its end. The reset database under RAZ\ follows in the school configuration;
// a fresh school database gets its libelle.txt.
#pragma once

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "pipeline/program_state.h"
#include "platform/dao/dao.h"
#include "platform/dao/write_guard.h"
#include "platform/environment.h"
#include "platform/error.h"
#include "platform/filelock.h"
#include "platform/fso.h"
#include "platform/program.h"
#include "platform/textstream.h"
#include "platform/ui/control.h"
#include "platform/ui/desktop.h"
#include "platform/ui/form.h"
#include "schema/outils_schema.h"
#include "steps/catalogue.h"

namespace pipeline {

namespace ui = platform::ui;
namespace dao = platform::dao;

// The application's error numbers raised by the pipeline (added to vbObjectError).
inline constexpr int kErrVersionDejaAJour = 1;
inline constexpr int kErrVersionInvalide = 2;
inline constexpr int kErrBaseAbsente = 3;
inline constexpr int kErrFichierLdb = 4;
inline constexpr int kErrBaseEcoleNonChoisie = 6;
// A step asked on a file that bears the name of a temporary copy (which the steps replace).
inline constexpr int kErrNomTemporaire = 7;

// The error `erreur` of an operation on files with the file(s) it is about added to its text
// (" : " and `fichiers`, Windows paths), as the application's own errors name theirs. An error
// whose text names a file already (most of the engine's) is returned unchanged; application
// errors (negative numbers) too.
platform::Error ErreurSurFichier(const platform::Error& erreur, const std::string& fichiers);

// The versions this release moves a database between.
inline constexpr std::string_view kVersionAvant = "4.4.0.1";
inline constexpr std::string_view kVersionApres = "4.4.0.3";

// The form carries the schema toolkit (probes, structure changes, value helpers) and the
// update steps of earlier releases, on its open database Bd and its per-database log.
class FrmAttente : public ui::Form, public steps::EtapesMiseAJour {
 public:
  // `moteur` is the program's one database engine; it must outlive the form.
  FrmAttente(platform::Environment& env, ui::Desktop& desktop, const pipeline::ProgramState& state,
             dao::DBEngine& moteur);
  ~FrmAttente() override;

  // --- Public values, set by the caller before Traitement ---
  std::string DossierBases;    // the data folder's Bases\ folder, ending in "\"
  std::string LibelleEnCours;  // the database's label, may be empty
  std::string DossierCourant;  // the data folder (not read by the pipeline)
  bool Interactif = false;     // message boxes are shown only when true
  // Result, read by the caller after Traitement: true unless an error was reported.
  bool Succes = false;
  // True once the per-database log NomJournalBase was created; when it could not be, the
  // errors of ErreursSignalees are nowhere else and the caller must tell them.
  bool JournalBaseCree = false;
  // The errors reported while treating the database, in order: what the error blocks of the
  // per-database log say (the procedure, the number shown, the description).
  struct ErreurSignalee {
    std::string Procedure;
    std::string Numero;
    std::string Description;
  };
  std::vector<ErreurSignalee> ErreursSignalees;

  // Where a label created for a freshly installed database is handed back (the parameter
  // form's LibelleBase).
  std::function<void(const std::string&)> RetourLibelle;
  // Called after each progress line is shown, with its text: where an observer (a test) acts
  // between two stages of the work.
  // Also called with each label text of the progress of a long step.
  std::function<void(std::string_view)> SurMessage;

  // Treats the database of DossierBases. Never raises a run-time error of its own steps:
  // failures end in ErreurInstallation. Virtual so that the parameter form's callers can be
  // exercised with other outcomes.
  virtual void Traitement();

  // The update script: raises the database at `chemin` (a temporary copy) to 4.4.0.3 in one
  // workspace transaction and puts back the survey fields from the backup database. On
  // failure the error is reported, Succes is false, and the transaction and the database
  // are left open: nothing of the update reaches the file.
  void MiseAJour(const std::string& chemin);
  // Runs one named step on the database at `cheminBase` (a file of DossierBases) the way an
  // update runs: temporary copy, repair, the step in one transaction, compaction, then one
  // rename over the live file. A step that reports an error changes nothing: the copy is
  // dropped and the live file is left as it was. Logged in DossierBases like an update.
  void TraitementEtape(const std::string& cheminBase, const std::string& nom, const steps::EtapePrete& etape);
  // Makes the reset database (RAZ\Quelis.mdb) a copy of the current database.
  void CopieRAZ();
  // Writes libelle.txt from the CDIF label of the site of the open database Bd.
  void LibelleCreation();

  // Shows and logs one progress line (the log only when it is open).
  void Message(std::string_view texte);
  // Copies and compactions of files of at least this many bytes show how far they have gone
  // on the label, after the current progress line, at every tenth of the work (" (40 %)"),
  // so that an operator sees a long step moving. The log keeps the line alone.
  std::int64_t SeuilAvancement = std::int64_t{32} << 20;
  // Reports the current error `err` raised in `procedure`: message box (interactive), error
  // block in the per-database log, Succes false, default mouse pointer.
  void ErreurInstallation(const std::string& procedure, const platform::Error& err) override;

  // VB's "Unload frmAttente": hides the form and releases the per-database log and the
  // database objects. A transaction an error exit left open is rolled back here, so that it
  // cannot swallow the next database's update.
  void Unload();

  ui::Label LblMessage1{*this, "LblMessage1", ""};

  // --- Form-level state ---
  std::string NomJournalBase;
  std::optional<platform::FileSystemObject> Fso;
  std::optional<platform::TextStream> JournalBase;

  std::string CheminBase, CheminSauvegarde, CheminTemp, CheminCompact;
  std::string DossierRAZ, CheminBaseRAZ, CheminTempRAZ, CheminCompactRAZ;
  std::string CheminBaseEcole;

  std::optional<dao::Workspace> Espace;
  std::optional<dao::Database> Bd;
  bool TransactionOuverte = false;
  bool BaseOuverte = false;

 protected:
  platform::Environment& env() const { return *env_; }
  const pipeline::ProgramState& state() const { return *state_; }
  dao::DBEngine& moteur() const { return *moteur_; }
  // Opens the per-database log (replacing a file of the same name) and writes its header.
  void OuvreJournalBase();
  // The open database Bd (error 91 when none is open).
  dao::Database& BaseEnCours() override;
  // A line written straight to the per-database log (error 91 when it is not open).
  void EcritJournalBase(const std::string& ligne) override;

 private:
  void ConstruitChemins();
  void BrancheMiseAJour();
  void BrancheEcole();
  void MiseAJourRAZ();
  void VerifieVersion();
  // The lock-file test of CheminBase, whose lock file is `verrou`.
  void VerifieVerrou(const std::string& verrou);
  // Copies the live database (CheminBase) to CheminTemp and repairs the copy.
  void CopieTemporaire();
  // Compacts CheminTemp into CheminCompact and puts that in place of CheminBase in one rename.
  void RemplaceParCopie();
  void EcritFin();
  // Holds the database CheminBase (whose lock file is `verrou`) against other writers until
  // the replacement, and its lock file as an open database does: error 4 when another
  // program took the lock file meanwhile, 3045 when one has the database open for writing,
  // 3051 when the database may not be written (it could not be replaced).
  void GardeBase(const std::string& verrou);
  // Lets the database and its lock file go (the lock file is removed).
  void LibereBase();
  // The temporaries of DossierBases (and of DossierRAZ in the school configuration), found on
  // disk (restes.h).
  std::vector<std::string> Temporaires() const;
  // Removes what an interrupted run left (3045 naming a file some process holds).
  void NettoieRestes();
  // After a failed run: closes what the failure left open, then removes the temporaries that
  // nobody holds; silent, whatever it meets (a later run removes what remains).
  void RetireTemporaires();
  // Releases the guards at the end of Traitement or TraitementEtape and, when the run failed
  // after the guard was taken, removes the temporaries.
  void Termine();
  bool Existe(const std::string& chemin);
  void Supprime(const std::string& chemin);
  // The progress callback of a copy or compaction of `fichier` (none for a small file).
  std::function<void(std::uint64_t, std::uint64_t)> Avancement(const std::string& fichier);
  void Copie(const std::string& source, const std::string& destination);
  void Compacte(const std::string& source, const std::string& destination);
  void Remplace(const std::string& source, const std::string& cible, platform::dao::WriteGuard* garde);

  // Held from the first look at the live database to its replacement (GardeBase).
  std::optional<platform::dao::WriteGuard> Garde;
  std::optional<platform::FileLockHolder> VerrouTenu;
  std::string CheminVerrouTenu;
  bool TemporairesANous = false;  // the folder's temporaries are this run's to remove
  std::string DernierMessage;     // the progress line on the label

  platform::Environment* env_;
  const pipeline::ProgramState* state_;
  dao::DBEngine* moteur_;
};

}  // namespace pipeline
