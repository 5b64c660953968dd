// An operator at the console: answers to message boxes typed by name or initial, and the
// parameter form driven by numbers, with the reach rules of a window (disabled controls and
// the contents of a disabled frame refuse the action).
#include <gtest/gtest.h>

#include <sstream>

#include "platform/ui/console_front_end.h"
#include "platform/ui/console_message_boxes.h"
#include "platform/ui/console_operator.h"
#include "platform/ui/desktop.h"
#include "ui_test_form.h"

namespace ui_test {
namespace {

TEST(ConsoleMessageBoxesTest, AnswersAreTakenByNameOrInitialInAnyCase) {
  std::istringstream in("non\nO\n  Annuler \nr\n");
  std::ostringstream out;
  ConsoleMessageBoxes boxes(in, out);
  EXPECT_EQ(boxes.show(vbYesNo + vbExclamation, "t", "?"), vbNo);
  EXPECT_EQ(boxes.show(vbYesNo, "t", "?"), vbYes);
  EXPECT_EQ(boxes.show(vbYesNoCancel, "t", "?"), vbCancel);
  EXPECT_EQ(boxes.show(vbRetryCancel, "t", "?"), vbRetry);
  EXPECT_NE(out.str().find("Réponse (Oui / Non) ?"), std::string::npos) << out.str();
  EXPECT_NE(out.str().find("Réponse (Oui / Non / Annuler) ?"), std::string::npos);
}

TEST(ConsoleMessageBoxesTest, AnUnknownAnswerAsksAgainAndTheEndOfInputPressesTheFirstButton) {
  std::istringstream in("peut-être\n\nnon\n");
  std::ostringstream out;
  ConsoleMessageBoxes boxes(in, out);
  EXPECT_EQ(boxes.show(vbYesNo, "t", "?"), vbNo);
  EXPECT_EQ(boxes.show(vbYesNo, "t", "?"), vbYes);  // nothing left to read
  std::istringstream ok("n'importe quoi\n");
  ConsoleMessageBoxes okBoxes(ok, out);
  // A box with OK alone only waits for the line.
  EXPECT_EQ(okBoxes.show(vbOKOnly, "t", "Fini."), vbOK);
  EXPECT_EQ(ok.tellg(), std::streampos(15));
}

TEST(ConsoleMessageBoxesTest, TheBoxIsPrintedBeforeTheQuestionAndTheAnswerAfter) {
  std::istringstream in("oui\n");
  std::ostringstream out;
  ConsoleMessageBoxes boxes(in, out);
  Desktop desktop(boxes);
  ConsoleFrontEnd console(out);
  desktop.addObserver(console);
  EXPECT_EQ(desktop.msgBox("Remplacer ?\r\nVraiment ?", vbYesNo, "Titre"), vbYes);
  EXPECT_EQ(out.str(), "[Titre]\n | Remplacer ?\n | Vraiment ?\n Réponse (Oui / Non) ?  -> Oui\n");
}

class ConsoleOperatorTest : public ::testing::Test {
 protected:
  ConsoleOperatorTest() {
    // Reading order: the frame and its options, then the lone controls top to bottom.
    form.fra.move(0, 0, 1000, 1000);
    for (int i = 0; i < 3; ++i) form.opt(i).move(100, 100 + 200 * (2 - i), 800, 200);
    int top = 1100;
    for (Control* c : {static_cast<Control*>(&form.chk(0)), static_cast<Control*>(&form.chk(1)),
                       static_cast<Control*>(&form.chk(2)), static_cast<Control*>(&form.loneA),
                       static_cast<Control*>(&form.loneB), static_cast<Control*>(&form.cbo),
                       static_cast<Control*>(&form.lbl), static_cast<Control*>(&form.cmd)}) {
      c->move(0, top, 1000, 200);
      top += 200;
    }
    form.cbo.addItem("C:\\");
    form.cbo.addItem("D:\\");
  }
  // Serves the form on `input`; the run ends when the button is pressed or the form closed.
  std::string serve(const std::string& input) {
    std::istringstream in(input);
    std::ostringstream out;
    ConsoleOperator op(in, out);
    form.cmd.setOnClick([this] {
      form.clicks.push_back("cmd");
      ended = true;
    });
    op.serve(
        form, [this](const std::function<void()>& action) { ++actions; action(); },
        [this] { return ended; },
        [this] {
          closed = true;
          ended = true;
        });
    return out.str();
  }

  DefaultButtonAnswers enter;
  Desktop desktop{enter};
  SampleForm form{desktop};
  bool ended = false, closed = false;
  int actions = 0;
};

TEST_F(ConsoleOperatorTest, NumbersFollowTheLayoutAndClickOrChoose) {
  // 1-3: options c, b, a (placed bottom-up in the frame); 4-6 check boxes; 7-8 lone options;
  // 9 the list; 10 the button.
  const std::string shown = serve("1\n5\n9 2\n10\n");
  EXPECT_NE(shown.find("  -- Groupe --\n  1. ( ) c\n  2. ( ) b\n  3. ( ) a\n  4. [ ] zéro\n"), std::string::npos)
      << shown;
  EXPECT_NE(shown.find("  9. liste : (vide)\n         1) C:\\\n         2) D:\\\n     Info\n  10. < OK >\n"),
            std::string::npos)
      << shown;
  EXPECT_EQ(form.clicks, (std::vector<std::string>{"opt2", "chk1", "cbo D:\\", "cmd"}));
  EXPECT_TRUE(form.opt(2).value());
  EXPECT_EQ(form.chk(1).value(), vbChecked);
  EXPECT_EQ(form.cbo.listIndex(), 1);
  EXPECT_NE(shown.find("  9. liste : D:\\\n         1) C:\\\n       > 2) D:\\\n"), std::string::npos) << shown;
  EXPECT_EQ(actions, 4);
  EXPECT_FALSE(closed);
}

TEST_F(ConsoleOperatorTest, DisabledControlsAndTheContentsOfADisabledFrameRefuse) {
  form.fra.setEnabled(false);
  form.chk(0).setEnabled(false);
  form.cmd.setVisible(false);
  const std::string shown = serve("1\n4\n10\n9 3\n99\nfermer\n");
  EXPECT_TRUE(form.clicks.empty());
  EXPECT_EQ(actions, 1);  // only the closing
  EXPECT_TRUE(closed);
  EXPECT_NE(shown.find("  -- Groupe (inactif) --\n  1. ( ) c (inactif)\n"), std::string::npos) << shown;
  EXPECT_NE(shown.find("  10. < OK > (caché)\n"), std::string::npos) << shown;
  EXPECT_NE(shown.find("Ligne de 1 à 2"), std::string::npos);
  EXPECT_NE(shown.find("Pas de commande 99."), std::string::npos);
}

TEST_F(ConsoleOperatorTest, TheEndOfInputClosesTheForm) {
  serve("4\n");
  EXPECT_EQ(form.clicks, std::vector<std::string>{"chk0"});
  EXPECT_TRUE(closed);
}

}  // namespace
}  // namespace ui_test
