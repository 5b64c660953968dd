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

#include <string>
#include <vector>

#include "schema/outils_schema.h"

namespace steps {

class EtapesMiseAJour : public schema::OutilsSchema {
 public:
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
