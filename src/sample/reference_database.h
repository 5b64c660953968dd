// The reference application database: the live database of CreeBaseQuelis (VERSION, CDIF,
// FICHE, same columns and same rows for the same arguments) completed with every table,
// field, index and relation that the update steps of earlier releases read, write, drop or
// recreate, so that a maintainer can try any of them on a database where it has work to do,
// and the update of this release still raises it from 4.4.0.1 to 4.4.0.3.
//
// What it holds (40 tables):
//   - offices and sectors: CDIF (with the reception hours and the head-of-office columns),
//     SECTFONC, INSPECTION;
//   - agents and their communes: AGENT, COMGEO, SECCOMGEO, COMASF, SECCOMASF;
//   - the monthly activity statement 6443: 6443IND, 6443INDA, 6443INDC, 6443INDE, 6443INDP,
//     VERR6443;
//   - case records and what hangs on them: FICHE (plus the three agent codes and the fiscal
//     note pad), PERMIS, FICHEVSL, ARCHIVEFICHE, ARCHIVEVSL, REJETREGROUP, IMPORTFICHE,
//     LETTREFICHE;
//   - document pilots: PILOTE, PILOTEDESC, PILOTEREF, PILOTETYP, JIMPORT;
//   - code tables: NATTRAV, TYPAUT, TYPMANNUL, TYPUTILL, TYPNATLOG, typimprime, IMPRESSION,
//     ETAT;
//   - search and settings: MC_DONNEE, PARAMETRE, RECHERCHE, RECHERCHEVSL.
//
// The agent codes are two-character texts everywhere (AGENT.COAGENT and the 22 fields that
// refer to it): the agent-code change of an earlier release turns each into a three-character
// text holding "0" + the old code, so before it they held two characters at most. The primary
// keys, indexes and the 15 relations that change drops and recreates are there under the
// names it uses, and no other index covers an agent-code field (the engine refuses to delete
// an indexed field).
//
// Left out on purpose, so that the steps that make them have something to do: the tables
// PAYS, TYPDESTCOLL, TYPCENTRE, DSF, IMPORTPANNULE, IMPORTDAT and PREFIXEFIC; the fields
// FICHE.RMTOPONOTE, IMPORTFICHE.RMTOPONOTE and CDIF.COAGEADMSEC; the relations Rlt_DSFCDIF,
// Rlt_CDIFINSP, Rlt_CDIFSECTFONC and AGENTCDIF; the criteria and pilot fields those steps add
// (MC_DONNEE "FICHE.RMTOPONOTE", "FICHE.LIFICEMAIL"..., PILOTEREF "RMTOPONOTE").
//
// The rows are French and deterministic: the same arguments give the same rows. They hold
// apostrophes (AGENT "d'Hondt", PERMIS labels), accents, zero-length texts (AGENT.LIAGEPRE of
// agent "31", PARAMETRE "MAIL_SERVICE", PERMIS.LIPERDT) and Nulls (CDIF.LICDIHEUR of the
// neighbouring office, AGENT.NUAGETEL, JIMPORT.nupilote, PERMIS.LIPERDT).
#pragma once

#include <string>

#include "platform/dao/dbengine.h"
#include "sample/sample_databases.h"

namespace echantillon {

// Writes the reference database at the Windows path `chemin` of the engine's workstation;
// an existing file is refused (3204) and left alone. `base.fiches` case records, each with
// its permit and, for some, visits, letters and import rows.
void CreeBaseReference(platform::dao::DBEngine& moteur, const std::string& chemin, const BaseEchantillon& base);

}  // namespace echantillon
