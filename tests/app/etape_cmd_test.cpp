// `quelis-maj etape` on a copy of an Access-made database of this machine: the change in
// place and its log beside the file on success; on failure or bad arguments the file byte
// for byte as it was.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "app_fixture.h"

namespace {

using namespace app_test;

std::string Octets(const fs::path& f) {
  std::ifstream in(f, std::ios::binary);
  std::stringstream b;
  b << in.rdbuf();
  return b.str();
}

class EtapeCmdTest : public ::testing::Test {
 protected:
  EtapeCmdTest() : dossier_(TempFolder("quelis-etape-cmd")), base_(dossier_ / "Copie de base.mdb") {
    fs::copy_file(fs::path(QUELIS_FIXTURES) / "testV2000.mdb", base_);
    fs::permissions(base_, fs::perms::owner_write, fs::perm_options::add);
  }
  ~EtapeCmdTest() override { fs::remove_all(dossier_); }
  Outcome etape(const std::string& arguments) {
    return RunBinary("etape " + arguments + " --base '" + base_.string() + "' --horloge '2013-01-15 14:30:05'");
  }
  std::vector<std::string> autres() const {
    std::vector<std::string> noms;
    for (const auto& e : fs::directory_iterator(dossier_))
      if (e.path() != base_) noms.push_back(e.path().filename().string());
    return noms;
  }

  fs::path dossier_, base_;
};

TEST_F(EtapeCmdTest, AStepChangesTheFileInPlaceAndLeavesOnlyItsLogBeside) {
  const Outcome run = etape("CreChamp Table1 NOUVEAU 10 20 \"l'essai\"");
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_NE(run.output.find(" - Création du champ NOUVEAU (table Table1) : Ok"), std::string::npos) << run.output;
  EXPECT_EQ(autres(), (std::vector<std::string>{"QuelisBase_4.4.0_20130115143005.log"}));
  std::string export_;
  {
    FILE* p = popen(("mdb-export '" + base_.string() + "' Table1").c_str(), "r");
    char b[512];
    while (std::fgets(b, sizeof b, p)) export_ += b;
    pclose(p);
  }
  EXPECT_NE(export_.find("A,B,C,D,E,F,G,H,I,NOUVEAU\n"), std::string::npos) << export_;
  EXPECT_NE(export_.find(",\"l'essai\"\n"), std::string::npos) << export_;
}

TEST_F(EtapeCmdTest, AFailedStepOrWrongArgumentsLeaveTheFileAsItWas) {
  const std::string avant = Octets(base_);
  const Outcome echec = etape("SuppIndex Table1 PasDIndex");
  EXPECT_EQ(echec.status, 1) << echec.output;
  EXPECT_NE(echec.output.find("Procédure : SuppIndex"), std::string::npos) << echec.output;
  EXPECT_NE(echec.output.find("Étape terminée -> échec"), std::string::npos) << echec.output;
  EXPECT_EQ(Octets(base_), avant);
  EXPECT_EQ(autres(), (std::vector<std::string>{"QuelisBase_4.4.0_20130115143005.log"}));

  const Outcome inconnue = etape("MajToutCeQuiBouge");
  EXPECT_EQ(inconnue.status, 2);
  EXPECT_NE(inconnue.output.find("étape inconnue : MajToutCeQuiBouge"), std::string::npos) << inconnue.output;
  const Outcome mauvaise = etape("CreChamp Table1 X 10 vingt");
  EXPECT_EQ(mauvaise.status, 2);
  EXPECT_NE(mauvaise.output.find("TAILLE doit être un nombre entier : 'vingt'"), std::string::npos);
  EXPECT_EQ(Octets(base_), avant);
}

TEST_F(EtapeCmdTest, AStepNotCarriedIsListedButRefusedWithoutOpeningTheFile) {
  const std::string avant = Octets(base_);
  const Outcome run = etape("MajFichePlan");
  EXPECT_EQ(run.status, 2) << run.output;
  EXPECT_NE(run.output.find("l'étape MajFichePlan n'est pas disponible dans ce programme"), std::string::npos)
      << run.output;
  EXPECT_EQ(Octets(base_), avant);
  EXPECT_TRUE(autres().empty());
  const Outcome liste = RunBinary("etape --liste");
  EXPECT_NE(liste.output.find("  MajFichePlan\n      non disponible : "), std::string::npos) << liste.output;
  EXPECT_NE(liste.output.find("  AjoutDataImpression CODE LIBELLE RANG [TOTAL [PRECEDENT [PUBLICATION]]]\n"),
            std::string::npos);
}

TEST_F(EtapeCmdTest, TheListNamesEveryStepWithItsArguments) {
  const Outcome run = RunBinary("etape --liste");
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.output.find("CreeRelation TABLE TABLE_ETRANGERE NOM CASCADE CHAMP1 ETRANGER1"), std::string::npos)
      << run.output;
  EXPECT_NE(run.output.find("ChangeFieldSize TABLE CHAMP REQUIS TAILLE ZERO"), std::string::npos);
}

}  // namespace
