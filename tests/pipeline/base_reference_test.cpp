// The update of this release on the reference application database: the extra tables,
// indexes and enforced relations change nothing to the raise from 4.4.0.1 to 4.4.0.3, and
// the replaced database keeps all of them.
#include "pipeline_fixture.h"
#include "sample/reference_database.h"

namespace {

using namespace pipeline_test;

class BaseReferenceMiseAJourTest : public PipelineTest {};

TEST_F(BaseReferenceMiseAJourTest, TheUpdateRaisesItAndKeepsItsTablesAndRelations) {
  echantillon::BaseEchantillon base;
  base.site = SiteLille();
  base.fiches = 24;
  echantillon::CreeBaseReference(*moteur, kBases + "Quelis.mdb", base);
  echantillon::CreeBaseSauvegarde(*moteur, kBases + "QuelisSauv_18012013.mdb", base.fiches);
  const std::vector<Lines> agents = rows(kBases + "Quelis.mdb", "AGENT", {"COAGENT", "LIAGENOM", "LIAGEPRE", "NUAGETEL"});

  auto f = form();
  f->Traitement();
  const std::string journal = read(kJournal);
  EXPECT_TRUE(f->Succes) << journal;
  // The same case records as the live database of the same arguments: the same count.
  EXPECT_NE(journal.find(" - Nombre d'enregistrements traités / nombre total de fiches : 7 sur 24\r\n"),
            std::string::npos)
      << journal;
  EXPECT_EQ(rows(kBases + "Quelis.mdb", "VERSION", {"livers", "liverslexe"}), (std::vector<Lines>{{"4.4.0.3", "4.4.0.1"}}));
  EXPECT_EQ(rows(kBases + "Quelis.mdb", "AGENT", {"COAGENT", "LIAGENOM", "LIAGEPRE", "NUAGETEL"}), agents);

  dao::Database bd = moteur->OpenDatabase(kBases + "Quelis.mdb", false, true);
  int tables = 0;
  for (const dao::TableDef& t : bd.TableDefs())
    if ((t.Attributes() & dao::dbSystemObject) == 0) ++tables;
  EXPECT_EQ(tables, 40);
  EXPECT_EQ(bd.Relations().Count(), 15);
  EXPECT_EQ(bd.Relations("AGENTFICHE2").ForeignTable(), "FICHE");
  EXPECT_TRUE(bd.TableDefs("6443INDP").Indexes("PrimaryKey").Primary());
  bd.Close();
}

}  // namespace
