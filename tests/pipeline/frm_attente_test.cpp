// The wait form as this build has it: public values, progress label, per-database log with
// its header, the error report, and a database update that fails openly without touching
// the database.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "launcher/program_state.h"
#include "pipeline/frm_attente.h"
#include "platform/codepage.h"
#include "platform/environment.h"
#include "platform/ui/message_box.h"

namespace {

namespace fs = std::filesystem;
namespace ui = platform::ui;

class FrmAttenteTest : public ::testing::Test {
 protected:
  FrmAttenteTest() {
    std::string pattern = (fs::temp_directory_path() / "quelis-attente-XXXXXX").string();
    root = mkdtemp(pattern.data());
    fs::create_directories(root / "C" / "QUELIS" / "Donnees" / "0590100" / "Bases");
    std::ofstream(root / "C/QUELIS/Donnees/0590100/Bases/Quelis.mdb", std::ios::binary) << "base intacte";
    env = std::make_unique<platform::Environment>(
        platform::Environment::ForTests(root, platform::DateTime{2013, 1, 15, 14, 30, 5}));
    desktop = std::make_unique<ui::Desktop>(boxes);
    state.VersionCourte = "4.4.0";
    state.VersionComplete = "4.4.0.3";
    state.TitreMessage = "QUELIS - mise à jour 4.4.0";
    state.TypeConfiguration = launcher::kConfigurationPortable;
  }
  ~FrmAttenteTest() override {
    std::error_code ignored;
    fs::remove_all(root, ignored);
  }
  std::string read(const std::string& relative) {
    std::ifstream in(root / relative, std::ios::binary);
    std::stringstream bytes;
    bytes << in.rdbuf();
    return platform::Cp1252ToUtf8(bytes.str());
  }
  std::unique_ptr<pipeline::FrmAttente> form(const std::string& dossierBases) {
    auto f = std::make_unique<pipeline::FrmAttente>(*env, *desktop, state);
    f->DossierBases = dossierBases;
    f->DossierCourant = "C:\\QUELIS\\Donnees\\0590100\\";
    return f;
  }

  fs::path root;
  ui::ScriptedMessageBoxes boxes;
  std::unique_ptr<platform::Environment> env;
  std::unique_ptr<ui::Desktop> desktop;
  launcher::ProgramState state;
  const std::string bases = "C:\\QUELIS\\Donnees\\0590100\\Bases\\";
  const std::string journal = "C/QUELIS/Donnees/0590100/Bases/QuelisBase_4.4.0_20130115143005.log";
};

TEST_F(FrmAttenteTest, UpdateReportsItselfUnavailableAndLeavesTheDatabase) {
  auto f = form(bases);
  f->LibelleEnCours = "Lille";
  f->show();
  f->Traitement();
  EXPECT_FALSE(f->Succes);
  EXPECT_EQ(f->NomJournalBase, bases + "QuelisBase_4.4.0_20130115143005.log");
  EXPECT_EQ(read(journal),
            "Installation / mise à jour de la base de données QUELIS\r\n"
            "version de l'exécutable de mise à jour : 4.4.0.3\r\n"
            "nouvelle version de la base : 4.4.0.3\r\n"
            "base : Lille\r\n"
            "\r\n"
            "Date et heure de l'installation : 15/01/2013 à 14:30:05\r\n"
            "\r\n\r\n"
            "---------------------------------\r\n"
            "Traitements effectués :\r\n"
            "Mise à jour de la base non disponible dans cette version de l'outil : base non modifiée\r\n"
            "\r\n"
            "L'erreur suivante s'est produite durant l'installation :\r\n"
            "Procédure : Traitement\r\n"
            "Erreur n° 2147221933\r\n"
            "Un composant ActiveX ne peut pas créer d'objet\r\n"
            "\r\n");
  EXPECT_EQ(read("C/QUELIS/Donnees/0590100/Bases/Quelis.mdb"), "base intacte");
  EXPECT_EQ(f->caption(), "Installation base QUELIS - 4.4.0");
  EXPECT_EQ(f->mousePointer(), ui::vbDefault);
  EXPECT_TRUE(boxes.shown().empty());  // silent
  f->Unload();
  EXPECT_FALSE(f->JournalBase.has_value());
  EXPECT_FALSE(f->isShown());
}

TEST_F(FrmAttenteTest, InteractiveFailureIsShownAndSchoolCaptionSaysSo) {
  state.TypeConfiguration = launcher::kConfigurationEcole;
  auto f = form(bases);
  f->Interactif = true;
  f->Traitement();
  EXPECT_FALSE(f->Succes);
  EXPECT_EQ(f->caption(), "Installation base QUELIS - 4.4.0 ECOLE");
  ASSERT_EQ(boxes.shown().size(), 1u);
  EXPECT_EQ(boxes.shown()[0].style, ui::vbOKOnly);
  EXPECT_EQ(boxes.shown()[0].title, "QUELIS - mise à jour 4.4.0");
  EXPECT_EQ(boxes.shown()[0].text, "Erreur de mise à jour de la base de données " + bases +
                                       "\r\nProcédure : Traitement\r\nErreur n° 2147221933\r\n"
                                       "Un composant ActiveX ne peut pas créer d'objet\r\n");
  // No label: no "base :" line.
  EXPECT_EQ(read(journal).find("\r\nbase : "), std::string::npos);
}

TEST_F(FrmAttenteTest, MissingBasesFolderFailsWithoutALog) {
  auto f = form("C:\\QUELIS\\Donnees\\0620200\\Bases\\");
  f->Traitement();
  EXPECT_FALSE(f->Succes);
  EXPECT_FALSE(f->JournalBase.has_value());
  EXPECT_FALSE(fs::exists(root / "C/QUELIS/Donnees/0620200"));
}

TEST_F(FrmAttenteTest, MessageShowsAndLogsOnlyWhenTheLogIsOpen) {
  auto f = form(bases);
  f->Message("avant le journal");
  EXPECT_EQ(f->LblMessage1.caption(), "avant le journal");
  f->Fso.emplace(env->CreateFileSystemObject());
  f->JournalBase.emplace(f->Fso->CreateTextFile(bases + "essai.log", true));
  f->Message("Copie vers base temporaire...");
  f->JournalBase->Close();
  EXPECT_EQ(read("C/QUELIS/Donnees/0590100/Bases/essai.log"), "Copie vers base temporaire...\r\n");
  EXPECT_EQ(f->LblMessage1.caption(), "Copie vers base temporaire...");
}

TEST_F(FrmAttenteTest, ErrorReportShowsApplicationErrorsByTheirOwnNumber) {
  auto f = form(bases);
  f->Interactif = true;
  f->Succes = true;
  f->setMousePointer(ui::vbHourglass);
  f->ErreurInstallation("MiseAJour C:\\x.mdb", platform::applicationError(3, "La base est absente : x"));
  EXPECT_FALSE(f->Succes);
  EXPECT_EQ(f->mousePointer(), ui::vbDefault);
  ASSERT_EQ(boxes.shown().size(), 1u);
  EXPECT_NE(boxes.shown()[0].text.find("Procédure : MiseAJour C:\\x.mdb\r\nErreur n° 3\r\nLa base est absente : x\r\n"),
            std::string::npos);
}

}  // namespace
