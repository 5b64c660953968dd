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

  // --- Code tables: a row added when missing ---
  // Codes and labels are put between quotes as given: an apostrophe breaks the statement,
  // and the step reports the engine's refusal; only AjoutDataPAYS and AjoutImprime double it.
  // A row already there is never updated: the step writes its "Déjà présent" line.
  void AjoutDataPAYS(const std::string& code, const std::string& libelle);
  // Present means same code and same label; the "present" line spells the table "TYPEAUT".
  void AjoutDataTYPEAUT(const std::string& code, const std::string& libelle);
  void AjoutMotifAnnulPermis(std::int16_t code, const std::string& libelle);
  // Writes no line when the code is there.
  void MAJCodeNatureTravaux(const std::string& code, const std::string& libelle, const std::string& codeTopo,
                            const std::string& codeVerr);
  void AjoutTypeUtill(std::int16_t code, const std::string& libelle);
  void AjoutNatLog(std::int16_t code, const std::string& libelle);
  // Errors are reported under "AjoutImprime " (trailing blank), the name the application gives.
  void AjoutImprime(const std::string& code);
  // Each optional value given adds its column (coimptot, coimppre, coimppub).
  void AjoutDataImpression(const std::string& code, const std::string& libelle, const std::string& rang,
                           const std::optional<std::string>& total = std::nullopt,
                           const std::optional<std::string>& precedent = std::nullopt,
                           const std::optional<std::string>& publication = std::nullopt);
  void AjoutDataEtat(const std::string& code, const std::string& libelle, const std::string& codeImpression,
                     const std::string& typeEtat);
  // Its selection joins "WHERE" to the column and names CODSFDEP twice: Jet refuses it, and the
  // refusal is reported under "AjoutDataSDF".
  void AjoutDataDSF(const std::string& departement, const std::string& direction, const std::string& libelleDirection,
                    const std::string& service, const std::string& grade, const std::string& nom,
                    const std::string& telephone);
  // Its selection joins "WHERE" to the column too: Jet refuses it.
  void AjoutDataSectFonc(const std::string& secteur, const std::string& departement, const std::string& direction,
                         const std::string& cdif, const std::string& agent, const std::string& libelle,
                         const std::string& telephone);
  void AjoutDataINSPECTION(const std::string& table, const std::string& inspection, const std::string& departement,
                           const std::string& direction, const std::string& cdif, const std::string& agent,
                           const std::string& telephone);

  // --- Code tables: labels, ranks and codes changed, in the code table and the permits ---
  void MAJTypeUtilLog(std::int16_t code, const std::string& libelle);
  void MAJTypeNatLog(std::int16_t code, const std::string& libelle);
  void MAJTypeNatLogRang(std::int16_t code, std::int16_t rang);
  void MAJMotifAnnulPermis(std::int16_t ancien, std::int16_t nouveau);
  // Its lines name TYPMANNUL and its errors are reported under "MAJMotifAnnulPermis".
  void MAJNatLogement(std::int16_t ancien, std::int16_t nouveau);
  // The numeric works codes other than 1 to 6 become 12, 13... in text order ("10" before
  // "7"), in NATTRAV and in PERMIS; other codes stay.
  void MajTableNatTrav();
  // The works codes 1 to 9 become "01" to "09", in NATTRAV and in PERMIS.
  void MajTableNatTrav2();

  // --- Small tables created, without an existence test: a second run reports the engine's refusal ---
  void CreerTableIMPORTPANNULE();
  void CreerTableIMPORTDAT();
  // Errors are reported under "CreerTablePays".
  void CreerTablePAYS();
  // TYPDESTCOLL with its primary key, its code made required and allowed empty, and its seven rows.
  void CreerTableDestColl();
  void CreerTableTypCentre();
  // DSF, filled from the centre rows of `centres` (from its current record on) when it has any.
  void CreerTableDSF(schema::dao::Recordset& centres);
  // CreerTableDSF over the rows of `source` (a table, query or SELECT giving COCDIDEP, COCDIDIR,
  // LICDIDIR, LICDISERVC, LICDIGRADC, LICDINOMC, NUCDITELC), for a maintainer who names them;
  // a source that cannot be opened is reported under "CreerTableDSF".
  void CreerTableDSFDepuis(const std::string& source);

  // --- Relations and agent codes ---
  // DSF-CDIF, CDIF-INSPECTION, CDIF-SECTFONC with cascading updates; no line.
  void CreationRelationTable();
  // The offices' secondary administrator: field, relation to AGENT, and the first agent of
  // COAGEADMIN '2' given to the offices of type 1.
  void MAJ_Admin_Secondaire();
  // Rebuilds every agent-code field as text 3: relations and indexes over them dropped, the
  // fields rebuilt by ModifChampCoAgent, indexes and relations created again (no cascades).
  void MAJCodeAgent();

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
  // The code tables' add pattern: `test` opened as a snapshot; when it yields no row,
  // `insertion` runs and `ajoute` is written, else `present` when there is one.
  void AjouteSiManquant(const std::string& procedure, const std::string& test, const std::string& insertion,
                        const std::string& ajoute, const std::optional<std::string>& present);
};

// The SQL literal of an argument given as text: quoted, quotes doubled; "Null" when blank.
std::string Litteral(const std::string& texte);

}  // namespace steps
