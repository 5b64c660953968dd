// The parts of the reference database (reference_database.h), one per concern: each gives
// its table designs and fills its rows. The parts share the agents and communes below, so
// that every code a row holds is one the referenced table has.
#pragma once

#include <array>
#include <vector>

#include "jet/api/schema.h"
#include "platform/dao/dao.h"
#include "sample/construction.h"
#include "sample/sample_databases.h"

namespace echantillon::reference {

namespace dao = platform::dao;
// The building blocks every part uses.
using construction::AjouteIndex;
using construction::AjouteLignes;
using construction::Colonne;
using construction::Jour;
using construction::Table;
using V = dao::Variant;

// Agent codes (two characters) by role: an inspector, three surveyors (géomètres) who hold
// communes, a survey technician, two land-office agents (ASF).
inline constexpr const char* kInspecteur = "03";
inline constexpr std::array<const char*, 3> kGeometres{"07", "12", "24"};
inline constexpr const char* kTechnicien = "15";
inline constexpr std::array<const char*, 2> kAgentsAsf{"21", "31"};

// The communes of the case records (FICHE.COCNE of the live database: INSEE codes, five
// characters) and their surveyor; Roubaix has a surveyor but no case record yet.
inline constexpr std::array<const char*, 3> kCommunes{"59350", "62041", "59512"};

// CDIF (extended), SECTFONC, INSPECTION.
std::vector<jet::TableDesign> TablesServices();
void RemplitServices(dao::Database& bd, const BaseEchantillon& base);

// AGENT, COMGEO, SECCOMGEO, COMASF, SECCOMASF.
std::vector<jet::TableDesign> TablesAgents();
void RemplitAgents(dao::Database& bd, const BaseEchantillon& base);

// 6443IND, 6443INDA, 6443INDC, 6443INDE, 6443INDP, VERR6443.
std::vector<jet::TableDesign> Tables6443();
void Remplit6443(dao::Database& bd);

// FICHE (extended), PERMIS, FICHEVSL, ARCHIVEFICHE, ARCHIVEVSL, REJETREGROUP, IMPORTFICHE,
// LETTREFICHE.
std::vector<jet::TableDesign> TablesFiches();
void RemplitFiches(dao::Database& bd, const BaseEchantillon& base);

// PILOTE, PILOTEDESC, PILOTEREF, PILOTETYP, JIMPORT.
std::vector<jet::TableDesign> TablesPilotes();
void RemplitPilotes(dao::Database& bd);

// NATTRAV, TYPAUT, TYPMANNUL, TYPUTILL, TYPNATLOG, typimprime, IMPRESSION, ETAT.
std::vector<jet::TableDesign> TablesCodes();
void RemplitCodes(dao::Database& bd);

// MC_DONNEE, PARAMETRE, RECHERCHE, RECHERCHEVSL.
std::vector<jet::TableDesign> TablesRecherche();
void RemplitRecherche(dao::Database& bd, const BaseEchantillon& base);

// The 15 relations of the agent codes, once the rows are in.
void RelieAgents(dao::Database& bd);

}  // namespace echantillon::reference
