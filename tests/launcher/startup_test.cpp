// Start-up on sample workstations: configuration, run log name and header, log folder,
// activation and the end of the run.
#include "launcher_fixture.h"

namespace launcher_test {
namespace {

TEST_F(LauncherTest, PortableSilentRunWritesHeaderThenEndLine) {
  folder("C/QUELIS");
  ini("C/QUELIS", "C:\\Quelis\\Donnees\\");
  Program& program = start("C:\\QUELIS");

  EXPECT_TRUE(program.ended());
  EXPECT_FALSE(program.erreurNonInterceptee().has_value());
  // Nothing at the location: it is defined (INI rewritten, folder created), no data to treat.
  EXPECT_EQ(read("C/QUELIS/" + kLogName),
            lines(Header("Configuration PORTABLE") +
                  Definition("C:\\QUELIS\\Quelis.ini", "C:\\Quelis\\Donnees\\", true, false) +
                  kAucunDossier + kEndLines));
  EXPECT_EQ(form().FichierLog, "C:\\QUELIS\\" + kLogName);
  EXPECT_EQ(form().DossierLog, "C:\\QUELIS\\");
  EXPECT_EQ(form().DossierLettres, "C:\\QUELIS\\Lettres");
  EXPECT_FALSE(form().Journal.has_value());  // closed at unload
  EXPECT_FALSE(form().EnErreur);
  EXPECT_TRUE(boxes.shown().empty());
  // The silent run ticks the update box itself before pressing "Mettre à jour".
  EXPECT_EQ(form().chkActions(0).value(), ui::vbChecked);
}

TEST_F(LauncherTest, ProgramWideValuesComeFromFolderAndVersionResource) {
  folder("C/QUELIS");
  start("C:\\QUELIS");
  const pipeline::ProgramState& s = state();
  EXPECT_EQ(s.VersionComplete, "4.4.0.3");
  EXPECT_EQ(s.VersionCourte, "4.4.0");
  EXPECT_EQ(s.TitreMessage, "QUELIS - mise à jour 4.4.0");
  EXPECT_EQ(s.CheminAppli, "C:\\QUELIS\\");
  EXPECT_EQ(s.FichierIni, "C:\\QUELIS\\Quelis.ini");
  EXPECT_EQ(s.TypeConfiguration, pipeline::kConfigurationPortable);
  EXPECT_FALSE(s.ModeInteractif);
  EXPECT_EQ(form().lblVersion.caption(), "Version 4.4.0");
  EXPECT_EQ(form().LblConfiguration.caption(), "Configuration PORTABLE");
}

TEST_F(LauncherTest, EachProgramFolderGivesItsConfiguration) {
  struct Case {
    const char* appPath;
    const char* localFolder;  // where the log lands on this machine
    std::int32_t type;
    const char* label;
    const char* cheminAppli;
  };
  const Case cases[] = {
      {"C:\\QUELISECOLE", "C/QUELISECOLE", pipeline::kConfigurationEcole, "Configuration ECOLE", "C:\\QUELISECOLE\\"},
      {"c:\\quelis", "C/QUELIS", pipeline::kConfigurationPortable, "Configuration PORTABLE", "c:\\quelis\\"},
      {"D:\\QUELIS\\", "D/QUELIS", pipeline::kConfigurationPortable, "Configuration PORTABLE", "D:\\QUELIS\\"},
      {"C:\\QUELIS\\Outils", "C/QUELIS/Outils", pipeline::kConfigurationPortable, "Configuration PORTABLE",
       "C:\\QUELIS\\Outils\\"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.appPath);
    folder(c.localFolder);
    start(c.appPath);
    EXPECT_EQ(state().TypeConfiguration, c.type);
    EXPECT_EQ(state().CheminAppli, c.cheminAppli);
    EXPECT_EQ(form().LblConfiguration.caption(), c.label);
    const std::string log = read(std::string(c.localFolder) + "/" + kLogName);
    EXPECT_EQ(log.rfind(lines(Header(c.label)), 0), 0u) << log;
    EXPECT_EQ(log.substr(log.size() - lines(kEndLines).size()), lines(kEndLines));
    EXPECT_TRUE(boxes.shown().empty());  // unknown folders warn only an operator
  }
}

TEST_F(LauncherTest, UnknownFolderWarnsTheOperatorAndRunsAsPortable) {
  folder("D/QUELIS");
  start("D:\\QUELIS", ModeLancement::Interactif);
  ASSERT_EQ(boxes.shown().size(), 1u);
  EXPECT_EQ(boxes.shown()[0].style, ui::vbCritical);
  EXPECT_EQ(boxes.shown()[0].title, "QUELIS - mise à jour 4.4.0");
  EXPECT_EQ(boxes.shown()[0].text,
            "Configuration de QUELIS inconnue\r\n\r\nRisque de dysfonctionnement !");
  EXPECT_EQ(state().TypeConfiguration, pipeline::kConfigurationPortable);
  EXPECT_EQ(form().LblConfiguration.caption(), "Configuration PORTABLE");
  // Known folders do not warn, even with an operator present.
  folder("C/QUELIS");
  start("C:\\QUELIS", ModeLancement::Interactif);
  EXPECT_EQ(boxes.shown().size(), 1u);
}

TEST_F(LauncherTest, NetworkRunLogsInTheNetworkFolderCreatingItOneLevelDeep) {
  folder("G/QUELIS");
  folder("H/NPX/LOG");
  start("G:\\QUELIS");
  EXPECT_EQ(state().TypeConfiguration, pipeline::kConfigurationReseau);
  EXPECT_EQ(form().DossierLog, "H:\\NPX\\LOG\\Quelis\\");
  EXPECT_EQ(form().FichierLog, "H:\\NPX\\LOG\\Quelis\\" + kLogName);
  // The network never defines its location: no INI write, no folder.
  EXPECT_EQ(read("H/NPX/LOG/Quelis/" + kLogName),
            lines(Header("Configuration NPX-CDIF") + kAucunDossier + kEndLines));
  EXPECT_FALSE(exists("G/QUELIS/" + kLogName));
}

TEST_F(LauncherTest, NetworkLogFolderAlreadyThereIsKept) {
  folder("G/QUELIS");
  file("H/NPX/LOG/Quelis/ancien.log", "garder");
  start("G:\\QUELIS");
  EXPECT_EQ(read("H/NPX/LOG/Quelis/ancien.log"), "garder");
  EXPECT_TRUE(exists("H/NPX/LOG/Quelis/" + kLogName));
}

TEST_F(LauncherTest, MissingNetworkLogParentIsReportedBeforeTheLogExists) {
  folder("G/QUELIS");
  folder("H/NPX");
  Program& program = start("G:\\QUELIS", ModeLancement::Interactif);
  EXPECT_TRUE(program.ended());
  EXPECT_TRUE(form().EnErreur);
  EXPECT_FALSE(exists("H/NPX/LOG"));
  EXPECT_TRUE(form().FichierLog.empty());
  ASSERT_EQ(boxes.shown().size(), 2u);
  EXPECT_EQ(boxes.shown()[0].title, "Traitement données QUELIS 4.4.0");
  EXPECT_EQ(boxes.shown()[0].text,
            "Erreur dans le traitement des données\r\nProcédure : Form_Load\r\nErreur n° 2147221580\r\n"
            "Chemin d'accès introuvable\r\n");
  EXPECT_EQ(boxes.shown()[1].text,
            "Une erreur a été rencontrée lors des traitements.\r\nLe journal des traitements va s'afficher.");
  EXPECT_TRUE(launcher().calls().empty());  // no log to open
}

TEST_F(LauncherTest, VersionResourceDecidesLogNameAndHeaderButNotTargetVersion) {
  folder("C/QUELIS");
  start("C:\\QUELIS", ModeLancement::Silencieux, 312);
  EXPECT_EQ(state().VersionCourte, "4.4.3");
  EXPECT_EQ(state().VersionComplete, "4.4.3.12");
  EXPECT_EQ(form().lblVersion.caption(), "Version 4.4.3");
  const std::string log = read("C/QUELIS/QuelisBase_4.4.3_20130115143005.log");
  EXPECT_NE(log.find("version de l'exécutable de mise à jour : 4.4.3.12\r\n"
                     "nouvelle version de la base : 4.4.0.3\r\n"),
            std::string::npos);
  EXPECT_FALSE(exists("C/QUELIS/" + kLogName));
}

TEST_F(LauncherTest, SecondRunInTheSameSecondReplacesTheLog) {
  folder("C/QUELIS");
  file("C/QUELIS/" + kLogName, std::string(5000, 'x'));
  start("C:\\QUELIS");
  start("C:\\QUELIS");
  EXPECT_EQ(read("C/QUELIS/" + kLogName),
            lines(Header("Configuration PORTABLE") +
                  Definition("C:\\QUELIS\\Quelis.ini", "C:\\Quelis\\Donnees\\", true, true) +
                  kAucunDossier + kEndLines));
}

TEST_F(LauncherTest, SilentRunWithUpdateButtonDisabledClosesWithoutProcessing) {
  folder("C/QUELIS");
  Program& program = load("C:\\QUELIS");
  program.Act([&] { form().Form_Load(); });
  form().cmdOK.setEnabled(false);
  program.Act([&] { form().Form_Activate(); });
  EXPECT_TRUE(program.ended());
  EXPECT_TRUE(form().FermetureSansTraitement);
  EXPECT_EQ(form().chkActions(0).value(), ui::vbUnchecked);
  EXPECT_EQ(read("C/QUELIS/" + kLogName),
            lines(Header("Configuration PORTABLE") + std::vector<std::string>{"Fermeture sans traitement"} +
                  kEndLines));
}

TEST_F(LauncherTest, InteractiveRunWaitsForTheOperator) {
  folder("C/QUELIS");
  Program& program = start("C:\\QUELIS", ModeLancement::Interactif);
  EXPECT_FALSE(program.ended());
  EXPECT_TRUE(form().isShown());
  EXPECT_TRUE(form().Journal.has_value());
  EXPECT_EQ(form().chkActions(0).value(), ui::vbUnchecked);

  program.Act([&] { form().cmdOK.click(); });
  EXPECT_TRUE(program.ended());
  EXPECT_FALSE(form().isShown());
  ASSERT_EQ(boxes.shown().size(), 1u);
  EXPECT_EQ(boxes.shown()[0].style, ui::vbOKOnly);
  EXPECT_EQ(boxes.shown()[0].title, "QUELIS - mise à jour 4.4.0");
  EXPECT_EQ(boxes.shown()[0].text, "Traitements terminés avec succès.");
  // No data folder: only the location is defined.
  EXPECT_EQ(read("C/QUELIS/" + kLogName),
            lines(Header("Configuration PORTABLE", "intéractif") +
                  Definition("C:\\QUELIS\\Quelis.ini", "C:\\Quelis\\Donnees\\", true, false) +
                  kEndLines));
  // Nothing reaches a program that has ended.
  program.Act([&] { form().cmdAnnuler.click(); });
  EXPECT_FALSE(form().FermetureSansTraitement);
}

TEST_F(LauncherTest, ClosingWithFermerShowsNoCompletion) {
  folder("C/QUELIS");
  Program& program = start("C:\\QUELIS", ModeLancement::Interactif);
  program.Act([&] { form().cmdAnnuler.click(); });
  EXPECT_TRUE(program.ended());
  EXPECT_TRUE(boxes.shown().empty());
  EXPECT_EQ(read("C/QUELIS/" + kLogName),
            lines(Header("Configuration PORTABLE", "intéractif") +
                  std::vector<std::string>{"Fermeture sans traitement"} + kEndLines));
}

TEST_F(LauncherTest, CommandLineReaderKeepsOnlyASingleWord) {
  folder("C/QUELIS");
  const std::pair<const char*, const char*> cases[] = {
      {"", ""}, {"/silencieux", "/silencieux"}, {"a b", ""}, {"a  b", ""}, {" a", ""}, {"a ", ""}};
  for (const auto& [command, expected] : cases) {
    SCOPED_TRACE(command);
    platform::ProgramInfo info;
    info.Command = command;
    auto env = platform::Environment::ForTests(fs::temp_directory_path(), kNow, info);
    ui::Desktop desktop(boxes);
    pipeline::ProgramState s;
    FrmParam f(env, desktop, s);
    EXPECT_EQ(f.LitArgument(), expected);
  }
}

}  // namespace
}  // namespace launcher_test
