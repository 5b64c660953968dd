// The toolkit on a database made by Microsoft Access: the property blobs Access wrote for
// every field stay as they were, the changed fields get readable ones (mdb-prop), and the
// file stays sound.
#include <filesystem>
#include <vector>

#include "schema_fixture.h"

namespace {

using schema_test::Commande;
using schema_test::FormeEssai;
using schema_test::Variant;
namespace dao = platform::dao;
namespace fs = std::filesystem;

// One field's block of `mdb-prop FILE TABLE`, from "name: FIELD" to the blank line.
std::string Bloc(const std::string& props, const std::string& champ) {
  const std::string debut = "name: " + champ + "\n";
  std::size_t at = props.rfind(debut, 0) == 0 ? 0 : props.find("\n" + debut);
  if (at == std::string::npos) return "";
  if (at != 0) ++at;
  const std::size_t fin = props.find("\n\n", at);
  return props.substr(at, fin == std::string::npos ? std::string::npos : fin + 1 - at);
}

// The blocks of every field but `champ`, in order.
std::vector<std::string> SaufBloc(const std::string& props, const std::string& champ) {
  std::vector<std::string> blocs;
  std::size_t at = 0;
  while (at < props.size()) {
    std::size_t fin = props.find("\n\n", at);
    if (fin == std::string::npos) fin = props.size();
    const std::string bloc = props.substr(at, fin - at);
    if (!bloc.empty() && bloc.rfind("name: " + champ + "\n", 0) != 0) blocs.push_back(bloc);
    at = fin + 2;
  }
  return blocs;
}

class AccessMadeTest : public platform_test::WorkstationTest {
 protected:
  static constexpr const char* kChemin = "C:\\QUELIS\\Bases\\Quelis.mdb";

  AccessMadeTest() {
    fs::create_directories(fichier().parent_path());
    fs::copy_file(fs::path(QUELIS_FIXTURES) / "testV2000.mdb", fichier());
    fs::permissions(fichier(), fs::perms::owner_write, fs::perm_options::add);
    forme_.Bd = moteur_.OpenDatabase(kChemin, true);
  }
  fs::path fichier() const { return c() / "QUELIS" / "Bases" / "Quelis.mdb"; }
  void ferme() {
    forme_.Bd->Close();
    forme_.Bd.reset();
  }
  std::string prop(const std::string& table) { return Commande("mdb-prop '" + fichier().string() + "' " + table); }
  std::string sql(const std::string& instruction) {
    return Commande(std::string(QUELIS_BINARY_DIR) + "/src/app/jet sql '" + fichier().string() + "' \"" + instruction + "\"");
  }

  platform::dao::DBEngine moteur_{ws_};
  FormeEssai forme_;
};

TEST_F(AccessMadeTest, ChangeFieldSizeGivesTheNewFieldOnlyTheEnginesPropertiesAndLeavesTheOthersAlone) {
  ferme();
  const std::string avant = prop("Table2");
  const std::string lignesAvant = sql("SELECT column1, column3, column4 FROM Table2 ORDER BY column1");
  ASSERT_NE(Bloc(avant, "column3"), "");
  ASSERT_NE(Bloc(avant, "column3").find("DisplayControl: 109"), std::string::npos) << avant;
  forme_.Bd = moteur_.OpenDatabase(kChemin, true);

  forme_.ChangeFieldSize("Table2", "column3", false, 200, true);
  ASSERT_TRUE(forme_.erreurs.empty()) << forme_.erreurs[0];
  EXPECT_EQ(forme_.journal, (std::vector<std::string>{" - Modification du champ column3 (table Table2) : Ok"}));
  ferme();

  const std::string apres = prop("Table2");
  // The properties Access's forms added (display control, column width, GUID...) live only on
  // the old field: the copy loop cannot set them on a new one and skips them, as DAO does.
  EXPECT_EQ(Bloc(apres, "column3"), "name: column3\n\tAllowZeroLength: yes\n") << apres;
  // The table's own properties and every other field's stay byte for byte.
  const std::vector<std::string> autres = SaufBloc(avant, "column3");
  EXPECT_EQ(autres.size(), 89u);  // the table's, and the 88 other fields'
  EXPECT_TRUE(SaufBloc(apres, "column3") == autres);
  EXPECT_NE(Commande("mdb-schema '" + fichier().string() + "' access").find("[column3]\t\t\tText (200)"), std::string::npos);
  EXPECT_EQ(sql("SELECT column1, column3, column4 FROM Table2 ORDER BY column1"), lignesAvant);
  EXPECT_EQ(Commande(std::string(QUELIS_BINARY_DIR) + "/src/app/jet verify '" + fichier().string() + "'"), "Base saine.\n");
}

TEST_F(AccessMadeTest, CreChampWritesItsDefaultAsAPropertyAndIntoEveryRow) {
  forme_.CreChamp("Table1", "J", "10", 30, Variant("l'été"));
  ASSERT_TRUE(forme_.erreurs.empty()) << forme_.erreurs[0];
  EXPECT_EQ(forme_.journal, (std::vector<std::string>{" - Création du champ J (table Table1) : Ok"}));
  ferme();
  const std::string props = prop("Table1");
  EXPECT_NE(Bloc(props, "J").find("\tDefaultValue: l'été\n"), std::string::npos) << props;
  EXPECT_EQ(Bloc(props, "A").find("DefaultValue"), std::string::npos);
  EXPECT_EQ(sql("SELECT A, J FROM Table1 ORDER BY A"), "A,J\n\"a\",\"l'été\"\n\"abcdefg\",\"l'été\"\n");
  EXPECT_EQ(Commande(std::string(QUELIS_BINARY_DIR) + "/src/app/jet verify '" + fichier().string() + "'"), "Base saine.\n");
}

}  // namespace
