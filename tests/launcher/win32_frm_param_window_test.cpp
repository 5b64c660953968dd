// frmParam and frmAttente as the operator sees them on Windows: after start-up's cascade the
// real window's controls, read back through the Win32 API alone, hold the captions, enabled
// states, checks and list selections the control model holds, in each configuration. Each
// window is also captured as a PNG (into QUELIS_CAPTURES when set: the pictures of docs/).
#include <windows.h>

#include <cstdlib>
#include <fstream>
#include <set>

#include "launcher_fixture.h"
#include "os/win32_text.h"
#include "platform/ui/control.h"
#include "support/win32_windows_needed.h"
#include "win32_window_capture.h"

namespace launcher_test {
namespace {

struct ChildWindow {
  std::string cls, text;
  bool enabled, visible;
  LRESULT check, selected, lines;
  RECT place;
};

// The form's own child windows (a drop-down list's parts are the list's), class names in
// lower case.
std::vector<ChildWindow> EnumerateChildren(HWND form) {
  std::vector<ChildWindow> found;
  std::pair<HWND, std::vector<ChildWindow>*> context(form, &found);
  EnumChildWindows(
      form,
      [](HWND hwnd, LPARAM out) -> BOOL {
        wchar_t cls[64] = {}, text[512] = {};
        GetClassNameW(hwnd, cls, 64);
        GetWindowTextW(hwnd, text, 512);
        CharLowerW(cls);
        ChildWindow c{os::narrow(cls), os::narrow(text), IsWindowEnabled(hwnd) != FALSE,
                      (GetWindowLongW(hwnd, GWL_STYLE) & WS_VISIBLE) != 0, 0, CB_ERR, 0, {}};
        GetWindowRect(hwnd, &c.place);
        if (c.cls == "button") c.check = SendMessageW(hwnd, BM_GETCHECK, 0, 0);
        if (c.cls == "combobox") {
          c.selected = SendMessageW(hwnd, CB_GETCURSEL, 0, 0);
          c.lines = SendMessageW(hwnd, CB_GETCOUNT, 0, 0);
        }
        auto* into = reinterpret_cast<std::pair<HWND, std::vector<ChildWindow>*>*>(out);
        if (GetParent(hwnd) == into->first) into->second->push_back(c);
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&context));
  return found;
}

// Captures the window as `name`.png and returns the file's size: a window really drawn
// (texts, frames) compresses far less than a uniform image, which takes a few hundred bytes.
std::uintmax_t CaptureTo(HWND hwnd, const std::string& name) {
  const char* folder = std::getenv("QUELIS_CAPTURES");
  const fs::path dir = folder ? fs::path(folder) : fs::temp_directory_path() / "quelis-captures";
  fs::create_directories(dir);
  // Test programs run side by side on one display: the screen under the window must be this
  // window's. One capture at a time (a mutex across processes), the window above all others.
  HANDLE turn = CreateMutexW(nullptr, FALSE, L"QuelisWindowCapture");
  WaitForSingleObject(turn, 30000);
  SetWindowPos(hwnd, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
  RedrawWindow(hwnd, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW | RDW_ALLCHILDREN | RDW_FRAME);
  for (int i = 0; i < 10; ++i) {
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&msg);
    Sleep(50);
  }
  const fs::path file = dir / (name + ".png");
  CaptureWindowPng(hwnd, file);
  SetWindowPos(hwnd, HWND_NOTOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
  ReleaseMutex(turn);
  CloseHandle(turn);
  std::ifstream in(file, std::ios::binary);
  char signature[8] = {};
  in.read(signature, 8);
  EXPECT_EQ(std::string(signature, 8), std::string("\x89PNG\r\n\x1a\n", 8));
  return fs::file_size(file);
}

struct Configuration {
  const char* name;
  const char* label;
};

// The program on its workstation, its forms drawn as windows.
class WindowTest : public LauncherTest {
 protected:
  void SetUp() override { QUELIS_NEEDS_WINDOWS(); }
  // The windows go before the program does: the desktop must stop telling them.
  void TearDown() override {
    if (watching_) desktop().removeObserver(windows);
  }
  Program& startWatched(const std::string& app) {
    Program& program = load(app, ModeLancement::Interactif);
    desktop().addObserver(windows);
    watching_ = true;
    program.Start();
    return program;
  }

  ui::Win32FrontEnd windows;

 private:
  bool watching_ = false;
};

class FrmParamWindowTest : public WindowTest, public ::testing::WithParamInterface<Configuration> {
 protected:

  // The workstation of each configuration, with its data folders, loaded and shown for an
  // operator (interactive: nothing runs by itself).
  Program& startConfiguration(const std::string& name) {
    std::string app;
    if (name == "portable") {
      ini("C/QUELIS", "C:\\Quelis\\Donnees\\");
      folder("C/QUELIS/Donnees/0590100/Bases");
      folder("C/QUELIS/Donnees/0620200/Bases");
      app = "C:\\QUELIS";
    } else if (name == "ecole") {
      ini("C/QUELISECOLE", "C:\\QuelisEcole\\Donnees\\");
      folder("C/QUELISECOLE/Donnees/BSECOLE/Bases");
      app = "C:\\QUELISECOLE";
    } else {
      folder("G/QUELIS");
      folder("H/NPX/LOG");
      registry("E:\\Reseau\\Donnees\\", "F:\\Echange\\");
      folder("E/Reseau/Donnees/059/0590100/QUELIS/Bases");
      app = "G:\\QUELIS";
    }
    return startWatched(app);
  }
};

// The captions of the parameter form, word for word.
const std::set<std::string> kCaptions{
    "Actions",
    "Définir l'emplacement des données",
    "Rapatrier les modèles de documents pour le publipostage dans  le dossier de données",
    "Mettre à jour la base de données",
    "Choix de la base Ecole",
    "installer la nouvelle base Ecole d'Miranel (CDI-CDIF)",
    "installer la nouvelle base Ecole de Torvandes",
    "conserver et mettre à jour la base Ecole actuelle",
    "Emplacement des données",
    "Périmètre des données à mettre à jour",
    "Toutes les dossiers",
    "Un dossier :",
    "Mettre à jour",
    "Fermer",
    "Version 4.4.0",
};

TEST_P(FrmParamWindowTest, TheWindowHoldsWhatTheControlModelSaysAfterStartUp) {
  Program& program = startConfiguration(GetParam().name);
  ASSERT_FALSE(program.ended());
  HWND hwnd = static_cast<HWND>(windows.windowOf(form()));
  ASSERT_NE(hwnd, nullptr);
  wchar_t title[256] = {};
  GetWindowTextW(hwnd, title, 256);
  EXPECT_EQ(os::narrow(title), "Mise à jour des données QUELIS");

  const std::vector<ChildWindow> children = EnumerateChildren(hwnd);
  std::set<std::string> texts;
  for (const ChildWindow& c : children) texts.insert(c.text);
  for (const std::string& caption : kCaptions) EXPECT_TRUE(texts.count(caption)) << caption;
  EXPECT_TRUE(texts.count(GetParam().label));

  // Every control of the model has exactly one window holding its state; combos are told
  // apart by their place, top to bottom.
  ASSERT_EQ(children.size(), form().controls().size());
  std::vector<const ChildWindow*> combos;
  for (const ChildWindow& c : children) {
    if (c.cls == "combobox") combos.push_back(&c);
  }
  ASSERT_EQ(combos.size(), 2u);
  if (combos[0]->place.top > combos[1]->place.top) std::swap(combos[0], combos[1]);
  for (const ui::Control* control : form().controls()) {
    SCOPED_TRACE(control->fullName());
    const ChildWindow* shown = nullptr;
    if (control->kind() == ui::ControlKind::ComboBox) {
      shown = control == &form().cboListeLecteurs ? combos[0] : combos[1];
      const auto& combo = static_cast<const ui::ComboBox&>(*control);
      EXPECT_EQ(shown->selected, combo.listIndex() < 0 ? CB_ERR : combo.listIndex());
      EXPECT_EQ(shown->lines, combo.listCount());
      EXPECT_EQ(shown->text, combo.text());
    } else {
      const std::string& caption = static_cast<const ui::CaptionedControl&>(*control).caption();
      for (const ChildWindow& c : children) {
        if (c.text == caption && c.cls != "combobox") {
          EXPECT_EQ(shown, nullptr) << "two windows show " << caption;
          shown = &c;
        }
      }
      ASSERT_NE(shown, nullptr);
      if (control->kind() == ui::ControlKind::CheckBox) {
        const int value = static_cast<const ui::CheckBox&>(*control).value();
        EXPECT_EQ(shown->check, value == ui::vbChecked ? BST_CHECKED : BST_UNCHECKED);
      }
      if (control->kind() == ui::ControlKind::OptionButton) {
        EXPECT_EQ(shown->check, static_cast<const ui::OptionButton&>(*control).value() ? BST_CHECKED : BST_UNCHECKED);
      }
    }
    EXPECT_EQ(shown->enabled, control->enabled());
    EXPECT_EQ(shown->visible, control->visible());
  }
  EXPECT_GT(CaptureTo(hwnd, std::string("frmParam-") + GetParam().name), 3000u);
}

INSTANTIATE_TEST_SUITE_P(Configurations, FrmParamWindowTest,
                         ::testing::Values(Configuration{"portable", "Configuration PORTABLE"},
                                           Configuration{"ecole", "Configuration ECOLE"},
                                           Configuration{"reseau", "Configuration NPX-CDIF"}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(WindowTest, TheWaitFormShowsEachProgressLineAsItComes) {
  ini("C/QUELIS", "C:\\Quelis\\Donnees\\");
  folder("C/QUELIS/Donnees/0590100/Bases");
  startWatched("C:\\QUELIS");
  std::unique_ptr<pipeline::FrmAttente> attente = form().CreeFrmAttente();
  attente->show();
  HWND hwnd = static_cast<HWND>(windows.windowOf(*attente));
  ASSERT_NE(hwnd, nullptr);
  wchar_t text[256] = {};
  GetWindowTextW(hwnd, text, 256);
  EXPECT_EQ(os::narrow(text), "Installation base QUELIS");
  for (const char* line : {"Copie de la base C:\\Quelis\\Donnees\\0590100\\Bases\\Quelis.mdb",
                           "Mise à jour de la base vers la version 4.4.0.3"}) {
    attente->Message(line);
    const std::vector<ChildWindow> children = EnumerateChildren(hwnd);
    ASSERT_EQ(children.size(), 1u);
    EXPECT_EQ(children[0].cls, "static");
    EXPECT_EQ(children[0].text, line);
  }
  EXPECT_GT(CaptureTo(hwnd, "frmAttente"), 1000u);
  attente->Unload();
  EXPECT_FALSE(IsWindow(hwnd));
}

}  // namespace
}  // namespace launcher_test
