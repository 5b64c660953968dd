// The error report and the completion display: what reaches the run log, the operator and the
// text editor, and how the program ends.
#include "launcher_fixture.h"

namespace launcher_test {
namespace {

const std::vector<std::string> ErrorBlock(const std::string& procedure, const std::string& number,
                                          const std::string& description) {
  return {"", "L'erreur suivante s'est produite durant la mise à jour :", "Procédure : " + procedure,
          "Erreur n° " + number, description, ""};
}

TEST_F(LauncherTest, SilentErrorIsLoggedThenTheProgramEndsWithoutEndLine) {
  folder("C/QUELIS");
  Program& program = load("C:\\QUELIS");
  program.Act([&] { form().Form_Load(); });
  form().setMousePointer(ui::vbHourglass);
  program.Act([&] {
    form().GestionErreur("LanceTraitement", platform::Error(platform::ErrorCode::FileNotFound));
  });
  EXPECT_TRUE(program.ended());
  EXPECT_TRUE(form().EnErreur);
  EXPECT_FALSE(form().Journal.has_value());
  EXPECT_EQ(form().mousePointer(), ui::vbDefault);
  EXPECT_TRUE(boxes.shown().empty());
  EXPECT_TRUE(launcher().calls().empty());
  EXPECT_EQ(read("C/QUELIS/" + kLogName),
            lines(Header("Configuration PORTABLE") +
                  ErrorBlock("LanceTraitement", "2147221557", "Fichier introuvable")));
}

TEST_F(LauncherTest, ShownNumberIsRelativeToTheObjectErrorBase) {
  struct Case {
    platform::Error error;
    const char* shown;
  };
  const Case cases[] = {
      {platform::applicationError(3, "Base verrouillée"), "3"},
      {platform::Error(3024, "Fichier introuvable : x"), "2147224528"},
      {platform::Error(platform::kObjectErrorBase - 5, "sous la base"), "-5"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.shown);
    folder("C/QUELIS");
    Program& program = load("C:\\QUELIS");
    program.Act([&] { form().Form_Load(); });
    program.Act([&] { form().GestionErreur("cmdOK_Click", c.error); });
    EXPECT_EQ(read("C/QUELIS/" + kLogName),
              lines(Header("Configuration PORTABLE") +
                    ErrorBlock("cmdOK_Click", c.shown, c.error.description())));
  }
}

TEST_F(LauncherTest, NumberTooLargeToShowStopsTheProgramUntrapped) {
  folder("C/QUELIS");
  Program& program = load("C:\\QUELIS");
  program.Act([&] { form().Form_Load(); });
  program.Act([&] { form().GestionErreur("cmdOK_Click", platform::Error(300000, "trop grand")); });
  EXPECT_TRUE(program.ended());
  ASSERT_TRUE(program.erreurNonInterceptee().has_value());
  EXPECT_EQ(program.erreurNonInterceptee()->number(), 6);
}

TEST_F(LauncherTest, TrappedErrorInInteractiveRunShowsBothBoxesAndOpensTheLog) {
  folder("C/QUELIS");
  Program& program = start("C:\\QUELIS", ModeLancement::Interactif);
  // The run log is lost (closed elsewhere): "Fermer" cannot write its line.
  form().Journal->Close();
  form().Journal.reset();
  program.Act([&] { form().cmdAnnuler.click(); });

  EXPECT_TRUE(program.ended());
  EXPECT_TRUE(form().EnErreur);
  ASSERT_EQ(boxes.shown().size(), 2u);
  EXPECT_EQ(boxes.shown()[0].style, ui::vbOKOnly);
  EXPECT_EQ(boxes.shown()[0].title, "Traitement données QUELIS 4.4.0");
  EXPECT_EQ(boxes.shown()[0].text,
            "Erreur dans le traitement des données\r\nProcédure : cmdAnnuler_click\r\n"
            "Erreur n° 2147221595\r\nVariable objet ou variable de bloc With non définie\r\n");
  EXPECT_EQ(boxes.shown()[1].title, "QUELIS - mise à jour 4.4.0");
  EXPECT_EQ(boxes.shown()[1].text,
            "Une erreur a été rencontrée lors des traitements.\r\nLe journal des traitements va s'afficher.");
  ASSERT_EQ(launcher().calls().size(), 1u);
  EXPECT_EQ(launcher().calls()[0].pathName, "notepad.exe C:\\QUELIS\\" + kLogName);
  EXPECT_EQ(launcher().calls()[0].windowStyle, platform::vbNormalFocus);
  ASSERT_EQ(launcher().activated().size(), 1u);
  // The header written at start-up stays; no error block and no end line could be added.
  EXPECT_EQ(read("C/QUELIS/" + kLogName), lines(Header("Configuration PORTABLE", "intéractif")));
}

TEST_F(LauncherTest, EditorGetsALogPathWithBlanksUnquoted) {
  folder("C/Program Files/QUELIS");
  Program& program = start("C:\\Program Files\\QUELIS", ModeLancement::Interactif);
  ASSERT_EQ(boxes.shown().size(), 1u);  // unknown folder
  program.Act([&] { form().GestionErreur("chkActions_click", platform::Error(platform::ErrorCode::PathNotFound)); });
  ASSERT_EQ(launcher().calls().size(), 1u);
  EXPECT_EQ(launcher().calls()[0].pathName,
            "notepad.exe C:\\Program Files\\QUELIS\\" + kLogName);
  EXPECT_EQ(read("C/Program Files/QUELIS/" + kLogName),
            lines(Header("Configuration PORTABLE", "intéractif") +
                  ErrorBlock("chkActions_click", "2147221580", "Chemin d'accès introuvable")));
}

TEST_F(LauncherTest, CompletionAfterAFailedDatabaseOpensTheLogAtUnload) {
  folder("C/QUELIS");
  Program& program = start("C:\\QUELIS", ModeLancement::Interactif);
  // A folder failed earlier in the run; the run itself raised nothing.
  program.Act([&] {
    form().EnErreur = true;
    form().Unload();
  });
  EXPECT_TRUE(program.ended());
  ASSERT_EQ(boxes.shown().size(), 1u);
  EXPECT_EQ(boxes.shown()[0].text,
            "Une erreur a été rencontrée lors des traitements.\r\nLe journal des traitements va s'afficher.");
  ASSERT_EQ(launcher().calls().size(), 1u);
  // The log was closed with its end line before the editor opened it.
  EXPECT_EQ(read("C/QUELIS/" + kLogName),
            lines(Header("Configuration PORTABLE", "intéractif") + kEndLines));
}

}  // namespace
}  // namespace launcher_test
