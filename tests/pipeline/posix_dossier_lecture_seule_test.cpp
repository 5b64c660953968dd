// A Bases\ folder the program may not write (permissions denied, as on a share given read-only
// to the workstation's user): not even the database's log can be made. The run fails with the
// error naming that log, which its caller then tells in the run log (the only log there is),
// and nothing is touched. The test drops the administrator's override of permissions, which a
// run as root would otherwise have.
#include "pannes_fixture.h"
#include "support/posix_permissions_apply.h"

namespace dossier_lecture_seule_test {
namespace {

using namespace pannes_test;

class DossierLectureSeuleTest : public PannesTest {};

TEST_F(DossierLectureSeuleTest, TheDatabaseLogCannotBeMadeAndTheErrorNamesIt) {
  baseVivante(std::string("4.4.0.1"), 6);
  const std::string vivante = bytes(kBasesLocal + "Quelis.mdb");
  const fs::path bases = local(kBasesLocal);
  fs::permissions(bases, fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                  fs::perm_options::remove);
  Deroulement deroulement;
  {
    test_support::PermissionsApply droits;
    deroulement = lance();
  }
  fs::permissions(bases, fs::perms::owner_write, fs::perm_options::add);
  EXPECT_FALSE(deroulement.succes);
  EXPECT_FALSE(deroulement.journalCree);
  ASSERT_EQ(deroulement.erreurs.size(), 1u);
  EXPECT_EQ(deroulement.erreurs[0].Procedure, "Traitement");
  EXPECT_EQ(deroulement.erreurs[0].Numero, "2147221574");
  EXPECT_EQ(deroulement.erreurs[0].Description, "Permission refusée : " + kBases + "QuelisBase_4.4.0_20130115143005.log");
  EXPECT_EQ(bytes(kBasesLocal + "Quelis.mdb"), vivante);
  EXPECT_EQ(contenu(), (std::vector<std::string>{"Quelis.mdb", "QuelisSauv_18012013.mdb"}));
}

}  // namespace
}  // namespace dossier_lecture_seule_test
