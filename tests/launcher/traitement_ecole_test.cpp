// Traitement in the school configuration: installing a delivered school database (label file,
// reset copy), and keeping the current one, whose reset database follows the update.
#include "pipeline/pipeline_fixture.h"

namespace {

using namespace pipeline_test;

const std::string kBasesEcole = "C:\\QUELISECOLE\\Donnees\\BSECOLE\\Bases\\";
const std::string kLocalEcole = "C/QUELISECOLE/Donnees/BSECOLE/";
const std::string kJournalEcole = kLocalEcole + "Bases/QuelisBase_4.4.0_20130115143005.log";

class TraitementEcoleTest : public PipelineTest {
 protected:
  TraitementEcoleTest() {
    state.TypeConfiguration = pipeline::kConfigurationEcole;
    state.CheminAppli = "C:\\QUELISECOLE\\";
    fs::create_directories(local(kLocalEcole + "Bases"));
    echantillon::CreeBaseEcole(*moteur, "C:\\QUELISECOLE\\QuelisEcoleTorvandes_4.4.0.mdb", echantillon::SiteTorvandes(), 6);
    echantillon::CreeBaseEcole(*moteur, "C:\\QUELISECOLE\\QuelisEcoleMiranel_4.4.0.mdb", echantillon::SiteMiranel(), 6);
  }
  std::unique_ptr<pipeline::FrmAttente> ecole(std::string* rendu) {
    auto f = form(kBasesEcole);
    f->RetourLibelle = [rendu](const std::string& l) { *rendu = l; };
    return f;
  }
};

TEST_F(TraitementEcoleTest, TorvandesReplacesTheDatabaseWritesItsLabelAndTheResetCopy) {
  state.ChoixBaseEcole = 2;
  write(kLocalEcole + "Bases/Quelis.mdb", "ancienne base");
  write(kLocalEcole + "Bases/libelle.txt", "Ancien libelle");
  std::string rendu;
  auto f = ecole(&rendu);
  f->LibelleEnCours = "Ecole";
  f->Traitement();
  EXPECT_TRUE(f->Succes) << read(kJournalEcole);
  EXPECT_EQ(read(kJournalEcole),
            lines(EnTete("Ecole") +
                  Lines{"--- Installation base Ecole ---", "suppression de la base existante " + kBasesEcole + "Quelis.mdb",
                        "Copie de la base C:\\QUELISECOLE\\QuelisEcoleTorvandes_4.4.0.mdb",
                        " - Création fichier " + kBasesEcole + "libelle.txt : Ok", "Copie de la base initiale RAZ"} +
                  kFin));
  EXPECT_EQ(read(kLocalEcole + "Bases/libelle.txt"), "CDIF de Torvandes (base Ecole)");
  EXPECT_EQ(f->LibelleEnCours, "CDIF de Torvandes (base Ecole)");
  EXPECT_EQ(rendu, "CDIF de Torvandes (base Ecole)");
  EXPECT_EQ(bytes(kLocalEcole + "Bases/Quelis.mdb"), bytes("C/QUELISECOLE/QuelisEcoleTorvandes_4.4.0.mdb"));
  EXPECT_EQ(bytes(kLocalEcole + "RAZ/Quelis.mdb"), bytes("C/QUELISECOLE/QuelisEcoleTorvandes_4.4.0.mdb"));
  EXPECT_EQ(f->caption(), "Installation base QUELIS - 4.4.0 ECOLE");
}

TEST_F(TraitementEcoleTest, MiranelLabelOnTwoLinesIsStoredOnOne) {
  state.ChoixBaseEcole = 3;
  write(kLocalEcole + "RAZ/Quelis.mdb", "ancienne RAZ");
  std::string rendu;
  auto f = ecole(&rendu);
  f->Traitement();
  EXPECT_TRUE(f->Succes) << read(kJournalEcole);
  EXPECT_EQ(read(kLocalEcole + "Bases/libelle.txt"), "Centre des impôts fonciers de Miranel (CDI-CDIF)");
  EXPECT_EQ(rendu, "Centre des impôts fonciers de Miranel (CDI-CDIF)");
  // No "suppression" line: there was no database yet. The old reset copy is replaced.
  EXPECT_EQ(read(kJournalEcole).find("suppression"), std::string::npos);
  EXPECT_EQ(bytes(kLocalEcole + "RAZ/Quelis.mdb"), bytes("C/QUELISECOLE/QuelisEcoleMiranel_4.4.0.mdb"));
}

TEST_F(TraitementEcoleTest, KeptDatabaseIsUpdatedAndItsResetDatabaseFollows) {
  state.ChoixBaseEcole = 1;
  echantillon::BaseEchantillon base;
  base.site = echantillon::SiteTorvandes();
  base.fiches = 8;
  echantillon::CreeBaseQuelis(*moteur, kBasesEcole + "Quelis.mdb", base);
  echantillon::CreeBaseSauvegarde(*moteur, kBasesEcole + "QuelisSauv_18012013.mdb", 8);
  fs::create_directories(local(kLocalEcole + "RAZ"));
  echantillon::CreeBaseQuelis(*moteur, "C:\\QUELISECOLE\\Donnees\\BSECOLE\\RAZ\\Quelis.mdb", base);
  std::string rendu;
  auto f = ecole(&rendu);
  f->Traitement();
  EXPECT_TRUE(f->Succes) << read(kJournalEcole);
  const Lines miseAJour{" 1- Mise à jour table VERSION --------------", " - Mise à jour Version 4.4.0.3 : Ok",
                        " 2- Retour arrière sur les infos topo --------------",
                        " - Nombre d'enregistrements traités / nombre total de fiches : 1 sur 8",
                        "Succès de la mise à jour."};
  EXPECT_EQ(read(kJournalEcole),
            lines(EnTete("") +
                  Lines{"--- Mise à jour base existante ---", "Copie vers base temporaire...",
                        "Réparation de la base temporaire...", "Mise à jour de la base temporaire..."} +
                  miseAJour + Lines{"Compactage base temporaire", "Suppression bases temporaires",
                                    "Copie vers base RAZ temporaire", "Mise à jour base RAZ temporaire"} +
                  miseAJour + Lines{"Compactage base RAZ temporaire", "Suppression bases RAZ temporaires",
                                    "Installation de la base terminée -> succès"} +
                  kFin));
  f->Unload();
  // The reset database took the backup of the live Bases\ folder.
  EXPECT_EQ(rows("C:\\QUELISECOLE\\Donnees\\BSECOLE\\RAZ\\Quelis.mdb", "VERSION", {"livers", "liverslexe"}),
            (std::vector<Lines>{{"4.4.0.3", "4.4.0.1"}}));
  EXPECT_EQ(rows(kBasesEcole + "Quelis.mdb", "FICHE", {"COFICTOPO"})[0], Lines{"T1"});
  EXPECT_EQ(rows("C:\\QUELISECOLE\\Donnees\\BSECOLE\\RAZ\\Quelis.mdb", "FICHE", {"COFICTOPO"})[0], Lines{"T1"});
  EXPECT_FALSE(exists(kLocalEcole + "RAZ/QuelMaj.mdb"));
  EXPECT_FALSE(exists(kLocalEcole + "RAZ/QuelComp.mdb"));
  EXPECT_TRUE(rendu.empty());  // no label handed back when updating
}

TEST_F(TraitementEcoleTest, KeptDatabaseWithoutResetFolderGetsOneCopied) {
  state.ChoixBaseEcole = 1;
  echantillon::BaseEchantillon base;
  base.site = echantillon::SiteTorvandes();
  base.fiches = 4;
  echantillon::CreeBaseQuelis(*moteur, kBasesEcole + "Quelis.mdb", base);
  echantillon::CreeBaseSauvegarde(*moteur, kBasesEcole + "QuelisSauv_18012013.mdb", 4);
  std::string rendu;
  auto f = ecole(&rendu);
  f->Traitement();
  EXPECT_TRUE(f->Succes) << read(kJournalEcole);
  EXPECT_NE(read(kJournalEcole).find("Suppression bases temporaires\r\nCopie de la base initiale RAZ\r\n"
                                     "Installation de la base terminée -> succès\r\n"),
            std::string::npos);
  EXPECT_EQ(bytes(kLocalEcole + "RAZ/Quelis.mdb"), bytes(kLocalEcole + "Bases/Quelis.mdb"));
}

TEST_F(TraitementEcoleTest, SchoolDatabaseWithoutSiteRecordKeepsTheOldLabel) {
  state.ChoixBaseEcole = 2;
  // The delivered file is replaced by a database whose CDIF has no record of type '1'.
  fs::remove(local("C/QUELISECOLE/QuelisEcoleTorvandes_4.4.0.mdb"));
  echantillon::BaseEchantillon base;
  base.site = echantillon::SiteTorvandes();
  base.fiches = 2;
  echantillon::CreeBaseQuelis(*moteur, "C:\\QUELISECOLE\\QuelisEcoleTorvandes_4.4.0.mdb", base);
  {
    dao::Database bd = moteur->OpenDatabase("C:\\QUELISECOLE\\QuelisEcoleTorvandes_4.4.0.mdb", true);
    bd.Execute("UPDATE CDIF SET cocditype = '3' WHERE cocditype = '1'", dao::dbFailOnError);
    bd.Close();
  }
  write(kLocalEcole + "Bases/libelle.txt", "Ancien libelle");
  std::string rendu;
  auto f = ecole(&rendu);
  f->LibelleEnCours = "Ecole";
  f->Traitement();
  EXPECT_TRUE(f->Succes) << read(kJournalEcole);
  EXPECT_EQ(read(kLocalEcole + "Bases/libelle.txt"), "Ancien libelle");
  EXPECT_EQ(f->LibelleEnCours, "Ecole");
  EXPECT_TRUE(rendu.empty());
  EXPECT_EQ(read(kJournalEcole).find("Création fichier"), std::string::npos);
}

}  // namespace
