// The code-table steps as a maintainer reaches them through the catalogue: codes read as
// 16-bit numbers, optional values passed on in their places, and the steps this program does
// not carry refused with a message instead of run.
#include <gtest/gtest.h>

#include <stdexcept>

#include "etapes_fixture.h"
#include "steps/catalogue.h"

namespace etapes_test {
namespace {

using steps::TrouveEtape;

std::string RefusCodes(const std::string& nom, const std::vector<std::string>& arguments) {
  try {
    TrouveEtape(nom)->prepare(arguments);
  } catch (const std::invalid_argument& e) {
    return e.what();
  }
  return "accepté";
}

TEST(CatalogueCodes, EveryStepIsListedWithItsArgumentsAndCodesAreSixteenBitNumbers) {
  for (const char* nom :
       {"AjoutDataPAYS", "AjoutDataTYPEAUT", "AjoutMotifAnnulPermis", "MAJCodeNatureTravaux", "AjoutTypeUtill",
        "AjoutNatLog", "AjoutImprime", "AjoutDataImpression", "AjoutDataEtat", "AjoutDataDSF", "AjoutDataSectFonc",
        "AjoutDataINSPECTION", "MAJTypeUtilLog", "MAJTypeNatLog", "MAJTypeNatLogRang", "MAJMotifAnnulPermis",
        "MAJNatLogement", "MajTableNatTrav", "MajTableNatTrav2", "CreerTableIMPORTPANNULE", "CreerTableIMPORTDAT",
        "CreerTablePAYS", "CreerTableDestColl", "CreerTableTypCentre", "CreerTableDSF", "CreationRelationTable",
        "MAJ_Admin_Secondaire", "MAJCodeAgent"}) {
    const steps::Etape* etape = TrouveEtape(nom);
    ASSERT_NE(etape, nullptr) << nom;
    EXPECT_EQ(etape->nom, nom);
    EXPECT_FALSE(etape->description.empty()) << nom;
  }
  EXPECT_EQ(RefusCodes("AjoutNatLog", {"40000", "Foyer"}), "CODE doit être compris entre -32768 et 32767 : '40000'");
  EXPECT_EQ(RefusCodes("MAJNatLogement", {"1", "-32769"}), "NOUVEAU doit être compris entre -32768 et 32767 : '-32769'");
  EXPECT_EQ(RefusCodes("MAJTypeNatLogRang", {"1", "premier"}), "RANG doit être un nombre entier : 'premier'");
  EXPECT_EQ(RefusCodes("AjoutTypeUtill", {"4"}), "arguments attendus : CODE LIBELLE (1 donnés)");
  EXPECT_EQ(RefusCodes("AjoutDataImpression", {"A", "B"}),
            "arguments attendus : CODE LIBELLE RANG [TOTAL [PRECEDENT [PUBLICATION]]] (2 donnés)");
  EXPECT_EQ(RefusCodes("MAJMotifAnnulPermis", {"-32768", "32767"}), "accepté");
  EXPECT_EQ(RefusCodes("CreerTableDSF", {}), "accepté");
  EXPECT_EQ(RefusCodes("CreerTableDSF", {"CDIF", "X"}), "arguments attendus : [SOURCE] (2 donnés)");
}

TEST(CatalogueCodes, RecordByRecordCorrectionsAreListedAsNotAvailableAndRefused) {
  for (const char* nom : {"MajIndPermisModif", "MajFichePlan", "MajNbFichePrec", "MajIndicateurTopoBatAgri"}) {
    const steps::Etape* etape = TrouveEtape(nom);
    ASSERT_NE(etape, nullptr) << nom;
    EXPECT_EQ(etape->description.rfind("non disponible : ", 0), 0u) << etape->description;
    EXPECT_EQ(RefusCodes(nom, {}), std::string("l'étape ") + nom +
                                  " n'est pas disponible dans ce programme : son traitement enregistrement par "
                                  "enregistrement n'y est pas repris");
  }
}

class CatalogueCodesBase : public EtapesTest {
 protected:
  void lance(const std::string& nom, const std::vector<std::string>& arguments) {
    TrouveEtape(nom)->prepare(arguments)(forme);
  }
};

TEST_F(CatalogueCodesBase, ArgumentsReachTheirColumnsAndTheDirectionsComeFromTheOffices) {
  table("IMPRESSION", {{"coimp", dao::dbText, 10}, {"liimp", dao::dbText, 50}, {"coimprang", dao::dbText, 3},
                       {"coimptot", dao::dbText, 1}, {"coimppre", dao::dbText, 1}, {"coimppub", dao::dbText, 1}});
  table("TYPNATLOG", {{"CONLOG", dao::dbText, 2}, {"LINLOG", dao::dbText, 50}, {"CORANG", dao::dbText, 2}});
  table("CDIF", {{"COCDIDEP", dao::dbText, 2}, {"COCDIDIR", dao::dbText, 1}, {"LICDIDIR", dao::dbText, 32},
                 {"LICDISERVC", dao::dbText, 32}, {"LICDIGRADC", dao::dbText, 32}, {"LICDINOMC", dao::dbText, 32},
                 {"NUCDITELC", dao::dbText, 10}});
  sql("INSERT INTO CDIF VALUES ('59', '1', 'Nord', 'S', 'G', 'N', '03')");
  lance("AjoutDataImpression", {"IMP1", "Relance", "4", "1", "0"});
  lance("AjoutNatLog", {"07", "Foyer"});
  lance("MAJTypeNatLogRang", {"7", "03"});
  lance("CreerTableDSF", {});
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_EQ(lignes("SELECT * FROM IMPRESSION"), (Lignes{{"IMP1", "Relance", "4", "1", "0", "<Null>"}}));
  // Codes written as numbers: "07" becomes 7, the rank 3.
  EXPECT_EQ(lignes("SELECT * FROM TYPNATLOG"), (Lignes{{"7", "Foyer", "3"}}));
  EXPECT_EQ(lignes("SELECT CODSFDEP, CODSFDIR, LIDSFDIR FROM DSF"), (Lignes{{"59", "1", "Nord"}}));
}

}  // namespace
}  // namespace etapes_test
