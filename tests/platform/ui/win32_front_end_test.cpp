// The forms as real windows: the child windows follow the control model, the operator's
// clicks and choices on them reach the model only while the program waits for the operator,
// closing and unloading behave as VB's, message boxes are real ones.
#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>

#include "os/win32_text.h"
#include "support/win32_windows_needed.h"
#include "ui_test_form.h"

namespace ui_test {
namespace {

std::string textOf(HWND hwnd) {
  wchar_t buffer[512] = {};
  GetWindowTextW(hwnd, buffer, 512);
  return os::narrow(buffer);
}

// Puts every control of the sample form on its own row, inside the frame for its options.
void placeAll(SampleForm& form) {
  form.setScaleSize(4800, 6000);
  form.fra.move(120, 120, 4500, 1300);
  int row = 0;
  for (int i = 0; i < 3; ++i) form.opt(i).move(120, 240 + 300 * i, 4000, 270);
  for (Control* c : form.controls()) {
    if (c->container() || c == &form.fra) continue;
    c->move(120, 1600 + 330 * row++, 4000, c->kind() == ControlKind::ComboBox ? 1500 : 300);
  }
}

class Win32FrontEndTest : public ::testing::Test {
 protected:
  void SetUp() override {
    QUELIS_NEEDS_WINDOWS();
    desktop.addObserver(front);
    placeAll(form);
  }
  HWND window() { return static_cast<HWND>(front.windowOf(form)); }
  HWND child(const Control& c) { return static_cast<HWND>(front.windowOf(c)); }
  // Posts `message` to `target` and serves the operator until the form has seen `clicks` clicks.
  void operatorDoes(HWND target, UINT message, WPARAM w, LPARAM l, std::size_t clicks) {
    PostMessageW(target, message, w, l);
    front.runUntil([&] { return form.clicks.size() >= clicks; });
  }

  Win32FrontEnd front;
  Desktop desktop{front};
  SampleForm form{desktop};
};

TEST_F(Win32FrontEndTest, TheWindowShowsEveryControlAsTheModelHoldsIt) {
  form.cbo.addItem("C:\\");
  form.cbo.addItem("D:\\Données\\");
  form.chk(1).setValue(vbChecked);
  form.chk(2).setValue(vbGrayed);
  form.opt(1).setValue(true);
  form.loneB.setEnabled(false);
  form.lbl.setVisible(false);
  form.show();
  ASSERT_NE(window(), nullptr);
  EXPECT_EQ(textOf(window()), "Essai");
  EXPECT_TRUE(IsWindowVisible(window()));
  EXPECT_EQ(GetParent(child(form.chk(0))), window());
  EXPECT_EQ(textOf(child(form.chk(0))), "zéro");
  EXPECT_EQ(textOf(child(form.fra)), "Groupe");
  EXPECT_EQ(SendMessageW(child(form.chk(0)), BM_GETCHECK, 0, 0), BST_UNCHECKED);
  EXPECT_EQ(SendMessageW(child(form.chk(1)), BM_GETCHECK, 0, 0), BST_CHECKED);
  EXPECT_EQ(SendMessageW(child(form.chk(2)), BM_GETCHECK, 0, 0), BST_INDETERMINATE);
  EXPECT_EQ(SendMessageW(child(form.opt(1)), BM_GETCHECK, 0, 0), BST_CHECKED);
  EXPECT_FALSE(IsWindowEnabled(child(form.loneB)));
  EXPECT_TRUE(IsWindowEnabled(child(form.loneA)));
  EXPECT_FALSE(IsWindowVisible(child(form.lbl)));
  EXPECT_EQ(SendMessageW(child(form.cbo), CB_GETCOUNT, 0, 0), 2);
  EXPECT_EQ(SendMessageW(child(form.cbo), CB_GETCURSEL, 0, 0), CB_ERR);

  // Later changes of the model reach the window at once.
  form.cbo.setListIndex(1);
  EXPECT_EQ(SendMessageW(child(form.cbo), CB_GETCURSEL, 0, 0), 1);
  EXPECT_EQ(textOf(child(form.cbo)), "D:\\Données\\");
  form.opt(2).setValue(true);
  EXPECT_EQ(SendMessageW(child(form.opt(1)), BM_GETCHECK, 0, 0), BST_UNCHECKED);
  EXPECT_EQ(SendMessageW(child(form.opt(2)), BM_GETCHECK, 0, 0), BST_CHECKED);
  form.cmd.setCaption("Mettre à jour");
  EXPECT_EQ(textOf(child(form.cmd)), "Mettre à jour");
  form.lbl.setVisible(true);
  EXPECT_TRUE(IsWindowVisible(child(form.lbl)));
  form.loneB.setEnabled(true);
  EXPECT_TRUE(IsWindowEnabled(child(form.loneB)));
  form.setCaption("Autre titre");
  EXPECT_EQ(textOf(window()), "Autre titre");
  form.cbo.clear();
  EXPECT_EQ(SendMessageW(child(form.cbo), CB_GETCOUNT, 0, 0), 0);
}

TEST_F(Win32FrontEndTest, ControlsSitWhereTheFormPlacesThemInsideTheirFrames) {
  form.show();
  RECT frame, option;
  GetWindowRect(child(form.fra), &frame);
  GetWindowRect(child(form.opt(2)), &option);
  // 120 twips in the frame and 240 + 600 down: 8 and 56 pixels at 96 dots per inch.
  const int dpi = GetDeviceCaps(GetDC(nullptr), LOGPIXELSX);
  EXPECT_EQ(option.left - frame.left, MulDiv(120, dpi, 1440));
  EXPECT_EQ(option.top - frame.top, MulDiv(840, dpi, 1440));
  RECT client;
  GetClientRect(window(), &client);
  EXPECT_EQ(client.right, MulDiv(4800, dpi, 1440));
  EXPECT_EQ(client.bottom, MulDiv(6000, dpi, 1440));
}

TEST_F(Win32FrontEndTest, TheOperatorsClicksReachTheModelOnlyWhileTheProgramWaits) {
  form.cbo.addItem("un");
  form.cbo.addItem("deux");
  form.show();
  // The program is working (no message loop waiting for the operator): a click is not taken.
  SendMessageW(child(form.chk(0)), BM_CLICK, 0, 0);
  EXPECT_TRUE(form.clicks.empty());
  EXPECT_EQ(form.chk(0).value(), vbUnchecked);

  operatorDoes(child(form.chk(0)), BM_CLICK, 0, 0, 1);
  EXPECT_EQ(form.clicks.back(), "chk0");
  EXPECT_EQ(form.chk(0).value(), vbChecked);
  EXPECT_EQ(SendMessageW(child(form.chk(0)), BM_GETCHECK, 0, 0), BST_CHECKED);

  operatorDoes(child(form.opt(2)), BM_CLICK, 0, 0, 2);
  EXPECT_EQ(form.clicks.back(), "opt2");
  EXPECT_TRUE(form.opt(2).value());

  operatorDoes(child(form.cmd), BM_CLICK, 0, 0, 3);
  EXPECT_EQ(form.clicks.back(), "cmd");

  // Choosing a line of the list: the list announces the change to the form.
  SendMessageW(child(form.cbo), CB_SETCURSEL, 1, 0);
  const int id = GetDlgCtrlID(child(form.cbo));
  operatorDoes(window(), WM_COMMAND, MAKEWPARAM(id, CBN_SELCHANGE), reinterpret_cast<LPARAM>(child(form.cbo)), 4);
  EXPECT_EQ(form.clicks.back(), "cbo deux");
  EXPECT_EQ(form.cbo.listIndex(), 1);

  // A disabled control takes no click, even when the window is made to send one.
  form.loneA.setEnabled(false);
  const int loneId = GetDlgCtrlID(child(form.loneA));
  PostMessageW(window(), WM_COMMAND, MAKEWPARAM(loneId, BN_CLICKED), reinterpret_cast<LPARAM>(child(form.loneA)));
  operatorDoes(child(form.cmd), BM_CLICK, 0, 0, 5);
  EXPECT_EQ(form.clicks, (std::vector<std::string>{"chk0", "opt2", "cmd", "cbo deux", "cmd"}));
  EXPECT_FALSE(form.loneA.value());
}

TEST_F(Win32FrontEndTest, ActionsGoThroughTheProgramsRunnerAndItsFailuresComeOut) {
  int ran = 0;
  front.setActionRunner([&](const std::function<void()>& action) {
    ++ran;
    action();
  });
  form.cmd.setOnClick([] { throw std::runtime_error("erreur de l'action"); });
  form.show();
  PostMessageW(child(form.cmd), BM_CLICK, 0, 0);
  EXPECT_THROW(front.runUntil([] { return false; }), std::runtime_error);
  EXPECT_EQ(ran, 1);
}

TEST_F(Win32FrontEndTest, ClosingTheWindowAsksTheProgramAndUnloadingDestroysIt) {
  bool closed = false;
  front.setCloseHandler([&](Form& f) {
    closed = &f == &form;
    f.unloaded();
  });
  form.show();
  HWND hwnd = window();
  // While the program works, the close box is not taken either.
  SendMessageW(hwnd, WM_CLOSE, 0, 0);
  EXPECT_FALSE(closed);
  EXPECT_TRUE(IsWindow(hwnd));
  PostMessageW(hwnd, WM_CLOSE, 0, 0);
  front.runUntil([&] { return closed; });
  EXPECT_TRUE(closed);
  EXPECT_FALSE(IsWindow(hwnd));
  EXPECT_EQ(front.windowOf(form), nullptr);
}

TEST_F(Win32FrontEndTest, AFormDestroyedWhileShownTakesItsWindowAway) {
  HWND hwnd;
  {
    SampleForm other(desktop);
    placeAll(other);
    other.show();
    hwnd = static_cast<HWND>(front.windowOf(other));
    ASSERT_TRUE(IsWindow(hwnd));
  }
  EXPECT_FALSE(IsWindow(hwnd));
}

TEST_F(Win32FrontEndTest, TheHourglassShowsOverTheFormWhileItIsSet) {
  form.show();
  auto cursorAsked = [&] {
    return SendMessageW(window(), WM_SETCURSOR, reinterpret_cast<WPARAM>(window()), MAKELPARAM(HTCLIENT, WM_MOUSEMOVE));
  };
  form.setMousePointer(vbHourglass);
  EXPECT_EQ(cursorAsked(), TRUE);
  EXPECT_EQ(GetCursor(), LoadCursorW(nullptr, MAKEINTRESOURCEW(32514)));
  form.setMousePointer(vbDefault);
  cursorAsked();
  EXPECT_NE(GetCursor(), LoadCursorW(nullptr, MAKEINTRESOURCEW(32514)));
}

TEST_F(Win32FrontEndTest, MessageBoxesAreRealOnesWithVisualBasicsStylesAndAnswers) {
  form.show();
  // A second thread plays the operator: finds the box by its title and presses "No".
  std::atomic<bool> seen{false};
  std::string text;
  std::thread operatorThread([&] {
    for (int i = 0; i < 500 && !seen; ++i) {
      if (HWND box = FindWindowW(L"#32770", L"Titre de la boîte")) {
        text = textOf(GetDlgItem(box, 0xFFFF));
        HWND no = GetDlgItem(box, IDNO);
        if (no) {
          PostMessageW(no, BM_CLICK, 0, 0);
          seen = true;
        }
      }
      Sleep(20);
    }
  });
  const int answer = desktop.msgBox("Remplacer ?", vbYesNo + vbExclamation, "Titre de la boîte");
  operatorThread.join();
  ASSERT_TRUE(seen);
  EXPECT_EQ(answer, vbNo);
  EXPECT_EQ(text, "Remplacer ?");
}

}  // namespace
}  // namespace ui_test
