// The step catalogue as a maintainer reaches it: names found whatever their case, arguments
// read from text and refused with a message that says what is wrong.
#include <gtest/gtest.h>

#include <stdexcept>

#include "steps/catalogue.h"

namespace {

using steps::TrouveEtape;

std::string Refus(const std::string& nom, const std::vector<std::string>& arguments) {
  try {
    TrouveEtape(nom)->prepare(arguments);
  } catch (const std::invalid_argument& e) {
    return e.what();
  }
  return "accepté";
}

TEST(CatalogueEtapes, EveryToolkitChangeIsAStepFoundWhateverTheCase) {
  for (const char* nom : {"SupChamp", "CreChamp", "ModifRequete", "ChangeFieldSize", "ModifChampCoAgent",
                          "SuppIndex", "CreeIndex", "CreeRelation"}) {
    const steps::Etape* etape = TrouveEtape(nom);
    ASSERT_NE(etape, nullptr) << nom;
    EXPECT_EQ(etape->nom, nom);
    EXPECT_FALSE(etape->arguments.empty());
  }
  EXPECT_EQ(TrouveEtape("crechamp"), TrouveEtape("CreChamp"));
  EXPECT_EQ(TrouveEtape("ExisteTable"), nullptr);  // probes change nothing: not steps
}

TEST(CatalogueEtapes, ArgumentsAreCountedAndReadAsNumbersAndYesNo) {
  EXPECT_EQ(Refus("SupChamp", {"FICHE"}), "arguments attendus : TABLE CHAMP (1 donnés)");
  EXPECT_EQ(Refus("CreChamp", {"FICHE", "X", "10", "trente"}), "TAILLE doit être un nombre entier : 'trente'");
  EXPECT_EQ(Refus("CreChamp", {"FICHE", "X", "texte", "30"}), "TYPE doit être un nombre entier : 'texte'");
  EXPECT_EQ(Refus("CreChamp", {"FICHE", "X", "10", "99999999999"}),
            "TAILLE doit être un nombre entier : '99999999999'");
  EXPECT_EQ(Refus("ChangeFieldSize", {"AGENT", "LIAGENT", "peut-être", "80", "Vrai"}),
            "REQUIS doit valoir Vrai ou Faux : 'peut-être'");
  EXPECT_EQ(Refus("CreeIndex", {"FICHE", "Idx", "Non", "A", "B", "C", "D", "E", "F", "G", "H"}),
            "arguments attendus : TABLE NOM PRIMAIRE CHAMP1 [CHAMP2 ... CHAMP7] (11 donnés)");
  EXPECT_EQ(Refus("ChangeFieldSize", {"AGENT", "LIAGENT", "vrai", "80", "FALSE"}), "accepté");
  EXPECT_EQ(Refus("CreeRelation", {"AGENT", "FICHE", "R", "oui", "COAGENT", "COAGENT"}), "accepté");
  EXPECT_EQ(Refus("CreChamp", {"FICHE", "X", "10", "30", "défaut"}), "accepté");
}

TEST(CatalogueEtapes, StepsOfEarlierReleasesAreListedWithTheirArgumentsRead) {
  for (const char* nom : {"PiloteAjout", "PiloteDescSuppDonnees", "PiloteTypAjout", "MC_AjoutModif",
                          "ModificationTableMulticritereBlocNote", "MAJCDIF_HEURESRECEPT", "AjoutTableRechercheVsl",
                          "Etat6443TravauxEquipementsModifCodeChantier"}) {
    EXPECT_NE(TrouveEtape(nom), nullptr) << nom;
  }
  EXPECT_EQ(Refus("PiloteAjout", {"FICHE", "03", "Libellé", "F", "|"}), "accepté");
  EXPECT_EQ(Refus("PiloteAjout", {"FICHE", "03", "Libellé"}),
            "arguments attendus : TYPE NUMERO LIBELLE FORMAT [SEPARATEUR [TFIC [VERR]]] (3 donnés)");
  EXPECT_EQ(Refus("PiloteDescVarAjoutDonnes", {"FICHE", "03", "LIFICADR", "40000", "2"}),
            "LONGUEUR doit être compris entre -32768 et 32767 : '40000'");
  EXPECT_EQ(Refus("PiloteRefCreationDonnees", {"FICHE", "X", "Libellé", "T", "quarante"}),
            "LONGUEUR doit être un nombre entier : 'quarante'");
  EXPECT_EQ(Refus("MC_AjoutModif", {"en trop"}), "arguments attendus :  (1 donnés)");
}

}  // namespace
