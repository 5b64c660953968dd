// `quelis-maj etape` on a copy of an Access-made database of this machine: the change in
// place and its log beside the file on success; on failure or bad arguments the file byte
// for byte as it was.
#include <gtest/gtest.h>

#include <algorithm>
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

// --cree-base-reference writes the reference database first (never over an existing file),
// then the step runs on it; without a step only the database is written.
TEST_F(EtapeCmdTest, TheReferenceDatabaseIsWrittenFirstAndNeverOverAFile) {
  const fs::path reference = dossier_ / "Reference.mdb";
  const std::string options = " --base '" + reference.string() + "' --horloge '2013-01-15 14:30:05'";
  const Outcome cree = RunBinary("etape CreChamp FICHE RMTOPONOTE 12 0 --cree-base-reference --fiches 5" + options);
  EXPECT_EQ(cree.status, 0) << cree.output;
  EXPECT_NE(cree.output.find("Base de référence créée"), std::string::npos) << cree.output;
  EXPECT_NE(cree.output.find(" - Création du champ RMTOPONOTE (table FICHE) : Ok"), std::string::npos) << cree.output;
  std::string export_;
  {
    FILE* p = popen(("mdb-export -H -e '" + reference.string() + "' FICHE").c_str(), "r");
    char b[4096];
    while (std::fgets(b, sizeof b, p)) export_ += b;
    pclose(p);
  }
  EXPECT_EQ(std::count(export_.begin(), export_.end(), '\n'), 5) << export_;

  const std::string avant = Octets(reference);
  const Outcome refus = RunBinary("etape CreChamp FICHE AUTRE 10 5 --cree-base-reference" + options);
  EXPECT_EQ(refus.status, 2) << refus.output;
  EXPECT_NE(refus.output.find("La base de données existe déjà."), std::string::npos) << refus.output;
  EXPECT_EQ(Octets(reference), avant);
  // A wrong step is refused before any file is written.
  const fs::path autre = dossier_ / "Autre.mdb";
  EXPECT_EQ(RunBinary("etape MajToutCeQuiBouge --cree-base-reference --base '" + autre.string() + "'").status, 2);
  EXPECT_FALSE(fs::exists(autre));
  const Outcome seule = RunBinary("etape --cree-base-reference --fiches 3 --base '" + autre.string() + "'");
  EXPECT_EQ(seule.status, 0) << seule.output;
  EXPECT_TRUE(fs::is_regular_file(autre));
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

// The agent-code change on the reference database, rows in every table it touches: its copy
// of the codes ("WHERE code <> null") selects no row under Jet's logic, so the required code
// fields refuse their Nulls, the keys and relations cannot come back, and the step ends in
// failure. The live file is left byte for byte as it was.
TEST_F(EtapeCmdTest, TheAgentCodeChangeOnAFullDatabaseFailsAndLeavesItAsItWas) {
  const fs::path reference = dossier_ / "Reference.mdb";
  ASSERT_EQ(RunBinary("etape --cree-base-reference --fiches 5 --base '" + reference.string() + "'").status, 0);
  const std::string avant = Octets(reference);
  const Outcome run = RunBinary("etape MAJCodeAgent --base '" + reference.string() + "' --horloge '2013-01-15 14:30:05'");
  EXPECT_EQ(run.status, 1) << run.output;
  EXPECT_EQ(Octets(reference), avant);
  auto compte = [&](const std::string& texte) {
    std::size_t n = 0;
    for (std::size_t at = run.output.find(texte); at != std::string::npos; at = run.output.find(texte, at + 1)) ++n;
    return n;
  };
  // Every required agent-code field refuses the Nulls (3314 shown as 2147224818)...
  EXPECT_EQ(compte("Procédure : ModifChampCoAgent\nErreur n° 2147224818\n"), 8u) << run.output;
  EXPECT_NE(run.output.find("Le champ 'AGENT.COAGENT' ne peut pas contenir de valeur Null"), std::string::npos);
  // ...then every key and every relation of the change is refused.
  EXPECT_EQ(compte("Procédure : CreeIndex\n"), 9u);
  EXPECT_EQ(compte("Procédure : CreeRelation\n"), 15u);
  EXPECT_NE(run.output.find("Étape terminée -> échec"), std::string::npos);
  std::string verifie;
  if (FILE* p = popen(("'" + (fs::path(QUELIS_BINARY_DIR) / "src" / "app" / "jet").string() + "' verify '" +
                       reference.string() + "'").c_str(), "r")) {
    char b[512];
    while (std::fgets(b, sizeof b, p)) verifie += b;
    pclose(p);
  }
  EXPECT_EQ(verifie, "Base saine.\n");
}

TEST_F(EtapeCmdTest, TheListNamesEveryStepWithItsArguments) {
  const Outcome run = RunBinary("etape --liste");
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.output.find("CreeRelation TABLE TABLE_ETRANGERE NOM CASCADE CHAMP1 ETRANGER1"), std::string::npos)
      << run.output;
  EXPECT_NE(run.output.find("ChangeFieldSize TABLE CHAMP REQUIS TAILLE ZERO"), std::string::npos);
}

}  // namespace
