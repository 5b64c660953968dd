// "Mettre à jour" and the run dispatch: the run-log lines of the definition, of the choices
// and of every data folder, the wait form's inputs and outcome, and the letter templates.
#include "launcher_fixture.h"

namespace launcher_test {
namespace {

using Lines = std::vector<std::string>;

// The dispatch lines of one folder whose database is treated (and no templates).
Lines Dossier(const std::string& chemin, const std::string& libelle, bool reussi,
              const std::string& libelleFinal = "") {
  const std::string fin = libelleFinal.empty() ? libelle : libelleFinal;
  return {"",
          "Traitement du dossier " + chemin + " (" + libelle + ") - début traitement",
          "\tTraitement de la base " + chemin + "Bases\\Quelis.mdb (" + libelle + ") - début traitement",
          reussi ? "\t\tTraitement de la base réussi"
                 : "\t\tTraitement de la base en échec -> voir log liée à la base",
          "\tTraitement de la base " + chemin + "Bases\\Quelis.mdb (" + fin + ") - fin traitement",
          "Traitement du dossier " + chemin + " (" + fin + ") - fin traitement"};
}

const Lines kDonnees{"", "-- Mise à jour des données (bases et/ou lettres)"};

class DispatchTest : public LauncherTest {
 protected:
  void portable(std::initializer_list<std::pair<const char*, const char*>> sites) {
    folder("C/QUELIS/Donnees");
    ini("C/QUELIS", "C:\\Quelis\\Donnees\\");
    for (const auto& [site, libelle] : sites) {
      folder(std::string("C/QUELIS/Donnees/") + site + "/Bases");
      file(std::string("C/QUELIS/Donnees/") + site + "/Bases/libelle.txt", libelle);
    }
  }
  Program& loaded(const std::string& appPath, ModeLancement mode = ModeLancement::Interactif) {
    Program& program = load(appPath, mode);
    program.Act([&] { form().Form_Load(); });
    return program;
  }
  std::string log() { return read("C/QUELIS/" + kLogName); }
};

TEST_F(DispatchTest, SilentRunDefinesTheLocationAndTreatsEveryFolderInOrder) {
  portable({{"0620200", "Arras"}, {"0590100", "Lille"}});
  traitement.emplace();
  Program& program = start("C:\\QUELIS");
  EXPECT_TRUE(program.ended());
  EXPECT_FALSE(form().EnErreur);
  EXPECT_EQ(log(), lines(Header("Configuration PORTABLE") +
                         Definition("C:\\QUELIS\\Quelis.ini", "C:\\Quelis\\Donnees\\", true, true) + kDonnees +
                         Lines{"-- Choix mise à jour de 2 dossiers de données"} +
                         Dossier("C:\\Quelis\\Donnees\\0590100\\", "Lille", true) +
                         Dossier("C:\\Quelis\\Donnees\\0620200\\", "Arras", true) + kEndLines));
  EXPECT_EQ(read("C/QUELIS/Quelis.ini"), "[INIT]\r\nChemin donnees=C:\\Quelis\\Donnees\\\r\n");
  // The wait form was shown and given each folder, silent.
  ASSERT_EQ(traitement->appels.size(), 2u);
  const auto& premier = traitement->appels[0];
  EXPECT_EQ(premier.DossierBases, "C:\\Quelis\\Donnees\\0590100\\Bases\\");
  EXPECT_EQ(premier.LibelleEnCours, "Lille");
  EXPECT_EQ(premier.DossierCourant, "C:\\Quelis\\Donnees\\0590100\\");
  EXPECT_FALSE(premier.Interactif);
  EXPECT_TRUE(premier.affichee);
  EXPECT_FALSE(form().frmAttente);  // unloaded after each database
}

TEST_F(DispatchTest, FailedDatabaseFailsTheRunAndTheNextFolderIsStillTreated) {
  portable({{"0590100", "Lille"}, {"0620200", "Arras"}});
  traitement.emplace();
  traitement->succes = false;
  Program& program = loaded("C:\\QUELIS");
  program.Act([&] { form().cmdOK.click(); });
  EXPECT_TRUE(form().EnErreur);
  EXPECT_EQ(traitement->appels.size(), 2u);
  EXPECT_TRUE(traitement->appels[1].Interactif);
  const std::string text = log();
  EXPECT_NE(text.find(lines(Dossier("C:\\Quelis\\Donnees\\0620200\\", "Arras", false))), std::string::npos) << text;
  // The completion tells the operator and opens the log.
  ASSERT_EQ(boxes.shown().size(), 1u);
  EXPECT_EQ(boxes.shown()[0].text,
            "Une erreur a été rencontrée lors des traitements.\r\nLe journal des traitements va s'afficher.");
  ASSERT_EQ(launcher().calls().size(), 1u);
  EXPECT_EQ(launcher().calls()[0].pathName, "notepad.exe C:\\QUELIS\\" + kLogName);
}

TEST_F(DispatchTest, ADatabaseWhoseOwnLogCouldNotBeMadeHasItsErrorsInTheRunLog) {
  portable({{"0590100", "Lille"}});
  traitement.emplace();
  traitement->succes = false;
  traitement->journalCree = false;
  const std::string bases = "C:\\Quelis\\Donnees\\0590100\\Bases\\";
  traitement->erreurs = {{"Traitement", "2147221574", "Permission refusée : " + bases + kLogName}};
  start("C:\\QUELIS");
  EXPECT_TRUE(form().EnErreur);
  const std::string chemin = "C:\\Quelis\\Donnees\\0590100\\";
  EXPECT_NE(log().find(lines(
                {"\tTraitement de la base " + chemin + "Bases\\Quelis.mdb (Lille) - début traitement",
                 "\t\tTraitement de la base en échec -> log liée à la base non créée : " + bases + kLogName,
                 "\t\tProcédure : Traitement - Erreur n° 2147221574 - Permission refusée : " + bases + kLogName,
                 "\tTraitement de la base " + chemin + "Bases\\Quelis.mdb (Lille) - fin traitement"})),
            std::string::npos)
      << log();
  EXPECT_EQ(log().find("voir log liée à la base"), std::string::npos);
  // The summary names no log that does not exist.
  ASSERT_EQ(form().Bilan.size(), 1u);
  EXPECT_EQ(form().Bilan[0].JournalBase, "");
  EXPECT_EQ(form().Bilan[0].Erreurs.size(), 1u);
}

TEST_F(DispatchTest, SummaryKeepsEachFolderOutcomeAndTheLabelItEndedWith) {
  portable({{"0590100", "Lille"}, {"0620200", "Arras"}});
  // The real wait form: the first database is missing its file, the second is refused too.
  Program& program = loaded("C:\\QUELIS", ModeLancement::Silencieux);
  program.Act([&] { form().cmdOK_Click(); });
  ASSERT_EQ(form().Bilan.size(), 2u);
  const BilanDossier& lille = form().Bilan[0];
  EXPECT_EQ(lille.Chemin, "C:\\Quelis\\Donnees\\0590100\\");
  EXPECT_EQ(lille.Libelle, "Lille");
  EXPECT_TRUE(lille.BaseTraitee);
  EXPECT_FALSE(lille.BaseReussie);
  EXPECT_EQ(lille.JournalBase, "C:\\Quelis\\Donnees\\0590100\\Bases\\" + kLogName);
  ASSERT_EQ(lille.Erreurs.size(), 1u);
  EXPECT_EQ(lille.Erreurs[0].Procedure, "Traitement");
  EXPECT_EQ(lille.Erreurs[0].Numero, "3");
  EXPECT_EQ(lille.Erreurs[0].Description, "La base est absente : C:\\Quelis\\Donnees\\0590100\\Bases\\Quelis.mdb");
  EXPECT_EQ(lille.Lettres, "");
  // The per-database log says the same.
  EXPECT_NE(read("C/QUELIS/Donnees/0590100/Bases/" + kLogName).find("Erreur n° 3\r\n" + lille.Erreurs[0].Description),
            std::string::npos);
  EXPECT_EQ(form().Bilan[1].Chemin, "C:\\Quelis\\Donnees\\0620200\\");
}

TEST_F(DispatchTest, SummaryTakesTheLabelHandedBackAndTheTemplatesOutcome) {
  portable({{"0590100", "Lille"}});
  file("C/QUELIS/Lettres/Accord.dot", "modèle");
  traitement.emplace();
  traitement->libelleRendu = "CDIF de Lille";
  Program& program = loaded("C:\\QUELIS");
  program.Act([&] {
    form().chkActions(1).setValue(ui::vbChecked);
    form().cmdOK_Click();
  });
  ASSERT_EQ(form().Bilan.size(), 1u);
  EXPECT_EQ(form().Bilan[0].Libelle, "CDIF de Lille");
  EXPECT_TRUE(form().Bilan[0].BaseReussie);
  EXPECT_TRUE(form().Bilan[0].Erreurs.empty());
  EXPECT_EQ(form().Bilan[0].Lettres, "copiés");
}

TEST_F(DispatchTest, LabelHandedBackByThePipelineRenamesTheFolderFromItsEnd) {
  portable({{"0590100", "Lille"}});
  traitement.emplace();
  traitement->libelleRendu = "CDIF de Lille";
  start("C:\\QUELIS");
  EXPECT_NE(log().find(lines(kDonnees + Lines{"-- Choix mise à jour d'un seul dossier de données"} +
                             Dossier("C:\\Quelis\\Donnees\\0590100\\", "Lille", true, "CDIF de Lille"))),
            std::string::npos)
      << log();
  EXPECT_EQ(form().ListeDossiers[0].Libelle, "CDIF de Lille");
}

TEST_F(DispatchTest, OneChosenFolderIsTheOnlyOneTreated) {
  portable({{"0590100", "Lille"}, {"0620200", "Arras"}, {"0700000", "Autre"}});
  traitement.emplace();
  Program& program = loaded("C:\\QUELIS");
  program.Act([&] {
    form().optChoixPerimetre(0).click();
    form().cboListeBases.choose(1);
    form().cmdOK.click();
  });
  ASSERT_EQ(traitement->appels.size(), 1u);
  EXPECT_EQ(traitement->appels[0].LibelleEnCours, "Arras");
  EXPECT_NE(log().find("-- Choix mise à jour d'un seul dossier de données\r\n\r\nTraitement du dossier "
                       "C:\\Quelis\\Donnees\\0620200\\ (Arras)"),
            std::string::npos);
}

TEST_F(DispatchTest, OneFolderWithNoLineChosenTreatsNothing) {
  portable({{"0590100", "Lille"}, {"0620200", "Arras"}});
  traitement.emplace();
  Program& program = loaded("C:\\QUELIS");
  program.Act([&] {
    form().optChoixPerimetre(0).click();
    form().cboListeBases.setListIndex(-1);
    form().cmdOK.click();
  });
  EXPECT_TRUE(traitement->appels.empty());
  EXPECT_EQ(log(), lines(Header("Configuration PORTABLE", "intéractif") +
                         Definition("C:\\QUELIS\\Quelis.ini", "C:\\Quelis\\Donnees\\", true, true) + kDonnees +
                         kEndLines));
}

TEST_F(DispatchTest, SchoolInstallsTheChosenDatabaseUnderBsecoleCreatingItsFolders) {
  folder("C/QUELISECOLE");
  ini("C/QUELISECOLE", "C:\\QuelisEcole\\Donnees\\");
  traitement.emplace();
  Program& program = loaded("C:\\QUELISECOLE");
  program.Act([&] {
    form().optBasesEcole(2).click();
    form().cmdOK.click();
  });
  const std::string chemin = "C:\\QuelisEcole\\Donnees\\BSECOLE\\";
  EXPECT_EQ(read("C/QUELISECOLE/" + kLogName),
            lines(Header("Configuration ECOLE", "intéractif") +
                  Definition("C:\\QUELISECOLE\\Quelis.ini", "C:\\QuelisEcole\\Donnees\\", true, false) +
                  Lines{"\tcréation du dossier " + chemin, "\tCréation du dossier effectuée",
                        "\tcréation du dossier " + chemin + "Bases\\", "\tCréation du dossier effectuée"} +
                  kDonnees +
                  Lines{"-- Choix mise à jour du dossier Base école", "-- Choix installation base Ecole Miranel"} +
                  Dossier(chemin, "MIRANEL", true) + kEndLines));
  EXPECT_TRUE(exists("C/QUELISECOLE/Donnees/BSECOLE/Bases"));
  ASSERT_EQ(traitement->appels.size(), 1u);
  EXPECT_EQ(traitement->appels[0].LibelleEnCours, "MIRANEL");
  EXPECT_EQ(state().ChoixBaseEcole, 3);
}

TEST_F(DispatchTest, SchoolSilentRunsUpdateTheCurrentDatabaseOrInstallTorvandes) {
  folder("C/QUELISECOLE/Donnees/BSECOLE/Bases");
  file("C/QUELISECOLE/Donnees/BSECOLE/Bases/libelle.txt", "Ecole");
  ini("C/QUELISECOLE", "C:\\QuelisEcole\\Donnees\\");
  traitement.emplace();
  start("C:\\QUELISECOLE");
  std::string text = read("C/QUELISECOLE/" + kLogName);
  EXPECT_NE(text.find("-- Choix mise à jour du dossier Base école\r\n-- Choix mise à jour base Ecole actuelle\r\n"
                      "\r\nTraitement du dossier C:\\QuelisEcole\\Donnees\\BSECOLE\\ (Ecole)"),
            std::string::npos)
      << text;
  // Existing school folders are not logged.
  EXPECT_EQ(text.find("création du dossier"), std::string::npos);

  fs::remove_all(folder("C/QUELISECOLE/Donnees/BSECOLE"));
  start("C:\\QUELISECOLE");
  text = read("C/QUELISECOLE/" + kLogName);
  EXPECT_NE(text.find("-- Choix installation base Ecole Torvandes\r\n\r\nTraitement du dossier "
                      "C:\\QuelisEcole\\Donnees\\BSECOLE\\ (TORVANDES)"),
            std::string::npos)
      << text;
}

TEST_F(DispatchTest, NetworkNeverRewritesItsLocation) {
  folder("G/QUELIS");
  folder("H/NPX/LOG");
  ini("G/QUELIS", "C:\\Quelis\\Donnees\\");
  registry("E:\\Reseau\\Donnees\\", "F:\\Echange\\");
  folder("E/Reseau/Donnees/059/0590100/QUELIS/Bases");
  traitement.emplace();
  start("G:\\QUELIS");
  EXPECT_EQ(read("G/QUELIS/Quelis.ini"), "[INIT]\r\nChemin donnees=C:\\Quelis\\Donnees\\\r\n");
  EXPECT_EQ(read("H/NPX/LOG/Quelis/" + kLogName),
            lines(Header("Configuration NPX-CDIF") + kDonnees +
                  Lines{"-- Choix mise à jour d'un seul dossier de données"} +
                  Dossier("E:\\Reseau\\Donnees\\059\\0590100\\QUELIS\\",
                          "Base inconnue (E:\\Reseau\\Donnees\\059\\0590100)", true) +
                  kEndLines));
}

// --- Letter templates ---

class LettersTest : public DispatchTest {
 protected:
  void SetUp() override {
    portable({{"0590100", "Lille"}});
    file("C/QUELIS/Lettres/Accord.dot", "modèle neuf");
    traitement.emplace();
  }
  // Loads, leaves only the templates checked, presses "Mettre à jour".
  void lettresSeules(ModeLancement mode) {
    Program& program = loaded("C:\\QUELIS", mode);
    program.Act([&] {
      form().chkActions(1).setValue(ui::vbChecked);
      form().chkActions(0).setValue(ui::vbUnchecked);
      form().cmdOK_Click();
    });
    EXPECT_TRUE(program.ended());
  }
  Lines copie(const Lines& milieu) {
    const std::string d = "C:\\Quelis\\Donnees\\0590100\\";
    return Lines{"", "Traitement du dossier " + d + " (Lille) - début traitement",
                 "\tCopie des modèles de lettres vers " + d + " - début traitement"} +
           milieu +
           Lines{"\tCopie des modèles de lettres vers " + d + " - fin traitement",
                 "Traitement du dossier " + d + " (Lille) - fin traitement"};
  }
};

TEST_F(LettersTest, TemplatesOnlyCopyTheFolderWithoutTouchingTheDatabase) {
  lettresSeules(ModeLancement::Silencieux);
  EXPECT_TRUE(traitement->appels.empty());
  EXPECT_NE(log().find(lines(Lines{"-- Choix mise à jour d'un seul dossier de données"} +
                             copie({"\t\tCopie du dossier Lettres", "\t\tCopie des lettres : OK"}))),
            std::string::npos)
      << log();
  EXPECT_EQ(read("C/QUELIS/Donnees/0590100/Lettres/Accord.dot"), "modèle neuf");
  EXPECT_TRUE(exists("C/QUELIS/Lettres/Accord.dot"));  // the source stays
}

TEST_F(LettersTest, SilentRunReplacesAnExistingFolderWithoutAsking) {
  file("C/QUELIS/Donnees/0590100/Lettres/Ancien.dot", "ancien");
  lettresSeules(ModeLancement::Silencieux);
  EXPECT_TRUE(boxes.shown().empty());
  EXPECT_NE(log().find(lines(copie({"\t\tLe dossier C:\\Quelis\\Donnees\\0590100\\ existe déjà.",
                                    "\t\tCopie du dossier Lettres", "\t\tCopie des lettres : OK"}))),
            std::string::npos)
      << log();
  EXPECT_FALSE(exists("C/QUELIS/Donnees/0590100/Lettres/Ancien.dot"));
  EXPECT_TRUE(exists("C/QUELIS/Donnees/0590100/Lettres/Accord.dot"));
}

TEST_F(LettersTest, OperatorAcceptsOrRefusesTheReplacement) {
  file("C/QUELIS/Donnees/0590100/Lettres/Ancien.dot", "ancien");
  boxes.script(ui::vbNo);
  lettresSeules(ModeLancement::Interactif);
  ASSERT_EQ(boxes.shown().size(), 2u);  // the question, then the completion
  EXPECT_EQ(boxes.shown()[0].style, 52);
  EXPECT_EQ(boxes.shown()[0].title, "QUELIS - mise à jour 4.4.0");
  EXPECT_EQ(boxes.shown()[0].text,
            "C:\\Quelis\\Donnees\\0590100\\Lettres\\ existe déjà.\r\nVoulez-vous remplacer ce dossier par celui "
            "contenant les modèles de publipostage ?");
  EXPECT_NE(log().find(lines(copie({"\t\tLe dossier C:\\Quelis\\Donnees\\0590100\\ existe déjà.",
                                    "\t\tAnnulation de la copie par l'utilisateur"}))),
            std::string::npos)
      << log();
  EXPECT_EQ(read("C/QUELIS/Donnees/0590100/Lettres/Ancien.dot"), "ancien");
  EXPECT_FALSE(exists("C/QUELIS/Donnees/0590100/Lettres/Accord.dot"));

  boxes.script(ui::vbYes);
  lettresSeules(ModeLancement::Interactif);
  EXPECT_NE(log().find(lines(copie({"\t\tLe dossier C:\\Quelis\\Donnees\\0590100\\ existe déjà.",
                                    "\t\tAcceptation de l'écrasement du dossier Lettres par l'utilisateur",
                                    "\t\tCopie du dossier Lettres", "\t\tCopie des lettres : OK"}))),
            std::string::npos)
      << log();
  EXPECT_FALSE(exists("C/QUELIS/Donnees/0590100/Lettres/Ancien.dot"));
  EXPECT_EQ(boxes.unusedAnswers(), 0u);
}

TEST_F(LettersTest, MissingSourceIsANoOpStillLoggedOk) {
  fs::remove_all(folder("C/QUELIS/Lettres"));
  lettresSeules(ModeLancement::Silencieux);
  EXPECT_NE(log().find("\t\tCopie du dossier Lettres\r\n\t\tCopie des lettres : OK\r\n"), std::string::npos);
  EXPECT_FALSE(exists("C/QUELIS/Donnees/0590100/Lettres"));
}

TEST_F(LettersTest, CopyErrorIsLoggedWithItsNumberAndDoesNotFailTheRun) {
  // A file named Lettres where the folder should go.
  file("C/QUELIS/Donnees/0590100/Lettres", "pas un dossier");
  lettresSeules(ModeLancement::Silencieux);
  const std::string text = log();
  const auto at = text.find("\t\tCopie du dossier Lettres\r\n\t\tCopie des lettres en erreur : ");
  ASSERT_NE(at, std::string::npos) << text;
  EXPECT_NE(text.find(")\r\n\tCopie des modèles de lettres vers C:\\Quelis\\Donnees\\0590100\\ - fin traitement", at),
            std::string::npos)
      << text;
  EXPECT_FALSE(form().EnErreur);
  EXPECT_NE(text.find("Fin : "), std::string::npos);
}

TEST_F(LettersTest, MissingDataFolderIsCreatedFirst) {
  Program& program = loaded("C:\\QUELIS");
  // The list still holds the folder removed after discovery.
  fs::remove_all(folder("C/QUELIS/Donnees/0590100"));
  program.Act([&] {
    form().chkActions(1).setValue(ui::vbChecked);
    form().chkActions(0).setValue(ui::vbUnchecked);
    form().cmdOK_Click();
  });
  EXPECT_NE(log().find("\t\tCréation du dossier C:\\Quelis\\Donnees\\0590100\\\r\n\t\tCréation du dossier : OK\r\n"
                       "\t\tCopie du dossier Lettres\r\n\t\tCopie des lettres : OK\r\n"),
            std::string::npos)
      << log();
  EXPECT_TRUE(exists("C/QUELIS/Donnees/0590100/Lettres/Accord.dot"));
}

TEST_F(DispatchTest, NetworkTemplatesGoToTheExchangeTree) {
  folder("G/QUELIS");
  folder("H/NPX/LOG");
  file("G/QUELIS/Lettres/Accord.dot", "modèle");
  registry("E:\\Reseau\\Donnees\\", "F:\\Echange\\");
  folder("E/Reseau/Donnees/059/0590100/QUELIS/Bases");
  folder("F/Echange/059/0590100");
  traitement.emplace();
  Program& program = loaded("G:\\QUELIS");
  program.Act([&] {
    form().chkActions(1).setValue(ui::vbChecked);
    form().cmdOK_Click();
  });
  ASSERT_EQ(traitement->appels.size(), 1u);
  EXPECT_EQ(traitement->appels[0].DossierBases, "E:\\Reseau\\Donnees\\059\\0590100\\QUELIS\\Bases\\");
  EXPECT_EQ(traitement->appels[0].DossierCourant, "F:\\Echange\\059\\0590100\\QUELIS\\");
  const std::string text = read("H/NPX/LOG/Quelis/" + kLogName);
  EXPECT_NE(text.find("\tCopie des modèles de lettres vers F:\\Echange\\059\\0590100\\QUELIS\\ - début traitement\r\n"
                      "\t\tCréation du dossier F:\\Echange\\059\\0590100\\QUELIS\\\r\n"
                      "\t\tCréation du dossier : OK\r\n\t\tCopie du dossier Lettres\r\n\t\tCopie des lettres : OK\r\n"),
            std::string::npos)
      << text;
  EXPECT_EQ(read("F/Echange/059/0590100/QUELIS/Lettres/Accord.dot"), "modèle");
  EXPECT_FALSE(exists("E/Reseau/Donnees/059/0590100/QUELIS/Lettres"));
}

}  // namespace
}  // namespace launcher_test
