// The update steps of earlier releases: procedures of the wait form, on its open database
// (Bd) and its per-database log, built on the schema toolkit. No update script of this
// release calls them; a maintainer runs any of them with `quelis-maj etape`, and the next
// release's script will call some. Statements and log lines are kept word for word as the
// application has always written them, odd spacing included: a statement that Jet refuses
// as written fails through ErreurInstallation, as it always did.
//
// Each step traps its own errors under its own procedure name, except where a comment says
// otherwise; what a step did before its error stays done (the caller's transaction decides).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "schema/outils_schema.h"

namespace steps {

// The optional columns of a field of the pilot catalogue (PILOTEREF), each written when given.
struct ChampRefOptions {
  std::optional<std::string> corpictgen;
  std::optional<std::int16_t> qurpiclong;
  std::optional<std::string> corpictsql;
  std::optional<std::string> corpicoblig;
  std::optional<std::string> lirpicform;
};

class EtapesMiseAJour : public schema::OutilsSchema {
 public:
  // --- Document pilots ---
  // Creates pilot `nupilote` ("03"), first moving the pilots numbered from there up to the
  // first free number one place up (highest first). Returns whether any pilot was moved.
  bool PiloteAjout(const std::string& cotpilote, const std::string& nupilote, const std::string& lipilote,
                   const std::string& copilformat, const std::optional<std::string>& copilsepar = std::nullopt,
                   const std::optional<std::string>& copiltfic = std::nullopt,
                   const std::optional<std::string>& copilverr = std::nullopt);
  // Moves pilot `ancien` to `nouveau`, its fields and the import jobs using it with it.
  void PiloteRenumeroter(const std::string& ancien, const std::string& nouveau);
  // Optional values are written when given and not empty; a separator "|" as chr(124).
  void PiloteCreation(const std::string& cotpilote, const std::string& nupilote, const std::string& lipilote,
                      const std::string& copilformat, const std::optional<std::string>& copilsepar = std::nullopt,
                      const std::optional<std::string>& copiltfic = std::nullopt,
                      const std::optional<std::string>& copilverr = std::nullopt);
  // Adds a field to a pilot unless there ("NEANT", an empty slot, is told by its order number).
  void PiloteDescVarAjoutDonnes(const std::string& cotpilote, const std::string& nupilote,
                                const std::string& codpichamp, std::int16_t qudpidlong, std::int16_t nudpicord,
                                const std::optional<std::string>& codpidform = std::nullopt);
  // Removes a catalogue field from every pilot of a type: deleted from fixed-format pilots,
  // left as an empty "NEANT" slot in the others. Errors are reported as "PiloteDescSuppDonnes".
  void PiloteDescSuppDonnees(const std::string& cotpilote, const std::string& codpichamp);
  void PiloteDescMajNumOrdre(const std::string& cotpilote, const std::string& nupilote,
                             const std::string& codpichamp, std::int16_t ordre);
  void PiloteSuppression(const std::string& cotpilote, const std::string& nupilote);
  void PiloteRefCreationDonnees(const std::string& cotpilote, const std::string& corpichamp,
                                const std::string& lirpichamp, const ChampRefOptions& options = {});
  // Errors are reported as "PiloteRefCreationDonnees".
  void PiloteRefSuppressionDonnees(const std::string& cotpilote, const std::string& corpichamp);
  void PiloteRefModifDonnees(const std::string& cotpilote, const std::string& corpichamp, std::int16_t qurpiclong,
                             const std::string& lirpichamp);
  void PiloteTypAjout(const std::string& cotpilote, const std::string& valeur2);

  // --- Multi-criteria search criteria (MC_DONNEE), appended without a test, no line ---
  // 60 criteria of the case record and the permit, then three criteria made free again.
  void MC_AjoutModif();
  // Renames the fiscal note-pad criterion and adds the survey one.
  void ModificationTableMulticritereBlocNote();

  // --- One statement, then one line ---
  // Appends " et sur rendez-vous" to every office's reception hours; twice run, twice appended.
  void MAJCDIF_HEURESRECEPT();
  // Drops the leading "0" of the permits' works labels that start with one.
  void MajEnregLibelleTravaux0();
  // Makes the "SHON" criteria read "Surface de plancher" (their first four characters replaced).
  void MajCritereSHON();

  // --- Record edits, no line ---
  void MajChampLibelleTravaux();
  void MajChampLibelleTravauxPilote();
  // No trap of their own: an error reaches the caller's.
  void MajAppPlanGeo();
  void MajLettre2MiseEnDemeure();

  // --- Structure ---
  // Creates the empty table PREFIXEFIC; a database that has it already reports the engine's refusal.
  void CreerTablePREFIXEFICTIF();
  void CreationChampBlocNoteTopoFiche();
  void CreationChampBlocNoteTopoImportFiche();
  // Renames the fiscal note's label and adds the survey note's pilot row; errors are reported
  // under "ModificationTableMulticritereBlocNote", the name the application gives them.
  void ModificationBlocNotePilote();

  // --- Rows added when their code is missing, and a code change ---
  void AjoutTableParametre(const std::string& code, const std::string& valeur2, const std::string& valeur3);
  void AjoutTableRecherche(const std::string& code, const std::string& valeur2, const std::string& valeur3);
  void AjoutTableRechercheVsl(const std::string& code, const std::string& valeur2, const std::string& valeur3,
                              const std::string& valeur4);
  void Etat6443TravauxEquipementsModifCodeChantier(const std::string& ancien, const std::string& nouveau);

 private:
  // "03" -> "04": the number's value plus one, padded to two digits.
  std::string NumeroSuivant(const std::string& numero);
  // Edits the first record of `sql` and sets `champ` to `valeur` (no end-of-set test).
  void ModifiePremier(const std::string& sql, const std::string& champ, const std::string& valeur);
  // Sets `champ` to `valeur` on every record of `sql`.
  void ModifieTous(const std::string& sql, const std::string& champ, const std::string& valeur);
  // The add-if-missing pattern on a table keyed by its first column.
  void AjouteSiAbsent(const std::string& procedure, const std::string& table, const std::string& colonneCode,
                      const std::string& libelleLigne, const std::vector<std::string>& valeurs);
};

// The SQL literal of an argument given as text: quoted, quotes doubled; "Null" when blank.
std::string Litteral(const std::string& texte);

}  // namespace steps
