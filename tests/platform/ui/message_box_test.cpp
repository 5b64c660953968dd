#include <gtest/gtest.h>

#include <stdexcept>

#include "ui_test_form.h"

namespace ui_test {
namespace {

TEST(MessageBoxes, ButtonsFollowTheLowNibbleOfTheStyle) {
  EXPECT_EQ(buttonsOf(vbOKOnly), std::vector<int>{vbOK});
  EXPECT_EQ(buttonsOf(vbCritical), std::vector<int>{vbOK});
  EXPECT_EQ(buttonsOf(52), (std::vector<int>{vbYes, vbNo}));  // Yes/No + exclamation
  EXPECT_EQ(buttonsOf(vbYesNoCancel + vbQuestion), (std::vector<int>{vbYes, vbNo, vbCancel}));
  EXPECT_EQ(buttonsOf(vbRetryCancel), (std::vector<int>{vbRetry, vbCancel}));
  EXPECT_EQ(buttonsOf(vbAbortRetryIgnore), (std::vector<int>{vbAbort, vbRetry, vbIgnore}));
  DefaultButtonAnswers enter;
  EXPECT_EQ(enter.show(52, "t", "x"), vbYes);
  EXPECT_EQ(enter.show(vbCritical, "t", "x"), vbOK);
}

TEST(MessageBoxes, ScriptAnswersQuestionsAndRecordsEveryBox) {
  ScriptedMessageBoxes boxes;
  boxes.script(vbNo);
  Desktop desktop(boxes);
  RecordingObserver seen;
  desktop.addObserver(seen);

  EXPECT_EQ(desktop.msgBox("Fini.", vbOKOnly, "Titre"), vbOK);
  EXPECT_EQ(desktop.msgBox("Remplacer ?", 52, "Titre"), vbNo);

  ASSERT_EQ(boxes.shown().size(), 2u);
  EXPECT_EQ(boxes.shown()[0].text, "Fini.");
  EXPECT_EQ(boxes.shown()[0].answer, vbOK);
  EXPECT_EQ(boxes.shown()[1].style, 52);
  EXPECT_EQ(boxes.shown()[1].title, "Titre");
  EXPECT_EQ(boxes.shown()[1].answer, vbNo);
  EXPECT_EQ(boxes.unusedAnswers(), 0u);
  EXPECT_EQ(seen.events, (std::vector<std::string>{"box 0 Titre Fini. 1", "box 52 Titre Remplacer ? 7"}));
}

TEST(MessageBoxes, UnexpectedOrImpossibleAnswersFailLoudly) {
  ScriptedMessageBoxes boxes;
  EXPECT_THROW(boxes.show(vbYesNo, "t", "question imprévue"), std::logic_error);
  boxes.script(vbOK);
  EXPECT_THROW(boxes.show(vbYesNo, "t", "OK n'est pas un bouton"), std::logic_error);
  EXPECT_TRUE(boxes.shown().empty());
}

}  // namespace
}  // namespace ui_test
