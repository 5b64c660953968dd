#include <gtest/gtest.h>

#include "platform/error.h"
#include "ui_test_form.h"

namespace ui_test {
namespace {

class ControlsTest : public ::testing::Test {
 protected:
  ScriptedMessageBoxes boxes;
  Desktop desktop{boxes};
  SampleForm form{desktop};
};

int errorNumber(const std::function<void()>& action) {
  try {
    action();
  } catch (const platform::Error& e) {
    return e.number();
  }
  return 0;
}

TEST_F(ControlsTest, CheckBoxValueFromCodeRaisesClickOnlyWhenItChanges) {
  form.chk(1).setValue(vbChecked);
  form.chk(1).setValue(vbChecked);
  form.chk(1).setValue(vbUnchecked);
  form.chk(2).setEnabled(false);
  form.chk(2).setValue(vbChecked);  // code reaches a disabled box
  EXPECT_EQ(form.clicks, (std::vector<std::string>{"chk1", "chk1", "chk2"}));
  EXPECT_EQ(form.chk(1).value(), vbUnchecked);
  EXPECT_EQ(form.chk(2).value(), vbChecked);
}

TEST_F(ControlsTest, OperatorClicksToggleOnlyReachableBoxes) {
  form.chk(0).click();
  EXPECT_EQ(form.chk(0).value(), vbChecked);
  form.chk(0).click();
  EXPECT_EQ(form.chk(0).value(), vbUnchecked);
  form.chk(0).setValue(vbGrayed);
  form.chk(0).click();
  EXPECT_EQ(form.chk(0).value(), vbChecked);

  form.chk(1).setEnabled(false);
  form.chk(1).click();
  form.chk(2).setVisible(false);
  form.chk(2).click();
  EXPECT_EQ(form.chk(1).value(), vbUnchecked);
  EXPECT_EQ(form.chk(2).value(), vbUnchecked);
  EXPECT_EQ(form.clicks, (std::vector<std::string>{"chk0", "chk0", "chk0", "chk0"}));
}

TEST_F(ControlsTest, BadPropertyValuesRaiseVbErrorsAndChangeNothing) {
  EXPECT_EQ(errorNumber([&] { form.chk(0).setValue(3); }), 380);
  EXPECT_EQ(errorNumber([&] { form.chk(0).setValue(-1); }), 380);
  EXPECT_EQ(form.chk(0).value(), vbUnchecked);
  EXPECT_EQ(errorNumber([&] { form.chk(3); }), 340);
  EXPECT_EQ(errorNumber([&] { form.opt(-1); }), 340);
  form.cbo.addItem("C:\\");
  EXPECT_EQ(errorNumber([&] { form.cbo.setListIndex(1); }), 380);
  EXPECT_EQ(errorNumber([&] { form.cbo.setListIndex(-2); }), 380);
  EXPECT_EQ(form.cbo.listIndex(), -1);
  EXPECT_TRUE(form.clicks.empty());
}

TEST_F(ControlsTest, HandlersMayChangeOtherControlsAndCascadeInOrder) {
  // As in the program: one box's handler sets the others, whose own handlers run at once.
  form.chk.setOnClick([this](int i) {
    form.clicks.push_back("in" + std::to_string(i));
    if (i == 2) {
      form.chk(0).setValue(form.chk(2).value());
      form.chk(1).setValue(vbUnchecked);
    }
    form.clicks.push_back("out" + std::to_string(i));
  });
  form.chk(1).setValue(vbChecked);
  form.clicks.clear();
  form.chk(2).setValue(vbChecked);
  EXPECT_EQ(form.clicks,
            (std::vector<std::string>{"in2", "in0", "out0", "in1", "out1", "out2"}));
  EXPECT_EQ(form.chk(0).value(), vbChecked);
  EXPECT_EQ(form.chk(1).value(), vbUnchecked);
}

TEST_F(ControlsTest, HandlerMayReplaceItselfWhileRunning) {
  form.cmd.setOnClick([this] {
    form.clicks.push_back("first");
    form.cmd.setOnClick([this] { form.clicks.push_back("second"); });
    form.clicks.push_back("still first");
  });
  form.cmd.click();
  form.cmd.click();
  EXPECT_EQ(form.clicks, (std::vector<std::string>{"first", "still first", "second"}));
}

TEST_F(ControlsTest, SelectingAnOptionClearsItsGroupAndRaisesOnlyItsOwnClick) {
  form.opt(0).setValue(true);
  form.loneA.setValue(true);
  EXPECT_TRUE(form.opt(0).value());  // the lone options are another group (the form's)
  form.opt(2).setValue(true);
  EXPECT_FALSE(form.opt(0).value());
  EXPECT_TRUE(form.opt(2).value());
  EXPECT_TRUE(form.loneA.value());
  form.loneB.setValue(true);
  EXPECT_FALSE(form.loneA.value());
  EXPECT_TRUE(form.opt(2).value());
  EXPECT_EQ(form.clicks, (std::vector<std::string>{"opt0", "loneA", "opt2", "loneB"}));
}

TEST_F(ControlsTest, OptionEventsFollowValueChangesToTrueOnly) {
  form.opt(1).setValue(true);
  form.opt(1).setValue(true);   // already selected: no event
  form.opt(1).setValue(false);  // deselected from code: no event, nothing else selected
  EXPECT_FALSE(form.opt(0).value());
  EXPECT_FALSE(form.opt(1).value());
  EXPECT_FALSE(form.opt(2).value());
  form.opt(0).setEnabled(false);
  form.opt(0).click();  // the operator cannot reach a disabled option
  form.opt(0).setValue(true);
  EXPECT_EQ(form.clicks, (std::vector<std::string>{"opt1", "opt0"}));
}

TEST_F(ControlsTest, ComboSelectionSetsTextBeforeClickAndRepeats) {
  form.cbo.addItem("C:\\Quelis\\Donnees\\");
  form.cbo.addItem("D:\\Quelis\\Donnees\\");
  EXPECT_EQ(form.cbo.listCount(), 2);
  EXPECT_EQ(form.cbo.text(), "");
  form.cbo.setListIndex(form.cbo.listCount() - 1);
  form.cbo.setListIndex(1);  // same line again: VB raises Click again
  form.cbo.setListIndex(0);
  EXPECT_EQ(form.clicks,
            (std::vector<std::string>{"cbo D:\\Quelis\\Donnees\\", "cbo D:\\Quelis\\Donnees\\",
                                      "cbo C:\\Quelis\\Donnees\\"}));
  EXPECT_EQ(form.cbo.list(1), "D:\\Quelis\\Donnees\\");
  EXPECT_EQ(form.cbo.list(2), "");

  form.cbo.setListIndex(-1);
  EXPECT_EQ(form.cbo.listIndex(), -1);
  EXPECT_EQ(form.cbo.text(), "");
  EXPECT_EQ(form.clicks.size(), 3u);

  form.cbo.setListIndex(0);
  form.cbo.clear();
  EXPECT_EQ(form.cbo.listCount(), 0);
  EXPECT_EQ(form.cbo.listIndex(), -1);
  EXPECT_EQ(form.cbo.text(), "");
}

TEST_F(ControlsTest, ButtonsAndCombosIgnoreTheOperatorWhenDisabled) {
  form.cbo.addItem("x");
  form.cbo.setEnabled(false);
  form.cbo.choose(0);
  form.cmd.setEnabled(false);
  form.cmd.click();
  EXPECT_TRUE(form.clicks.empty());
  form.cbo.setEnabled(true);
  form.cbo.choose(0);
  form.cmd.setEnabled(true);
  form.cmd.setVisible(false);
  form.cmd.click();
  form.cmd.setVisible(true);
  form.cmd.click();
  EXPECT_EQ(form.clicks, (std::vector<std::string>{"cbo x", "cmd"}));
}

TEST_F(ControlsTest, FormListsItsControlsWithArrayNames) {
  std::vector<std::string> names;
  for (const Control* c : form.controls()) names.push_back(c->fullName());
  // Creation order: members first, then the array elements the constructor adds.
  EXPECT_EQ(names, (std::vector<std::string>{"fraGroupe", "optSeulA", "optSeulB", "cboListe",
                                             "lblInfo", "cmdOK", "chk(0)", "chk(1)", "chk(2)",
                                             "opt(0)", "opt(1)", "opt(2)"}));
  EXPECT_EQ(form.opt(1).container(), &form.fra);
  EXPECT_EQ(form.loneA.container(), nullptr);
  EXPECT_EQ(form.chk.count(), 3);
}

TEST_F(ControlsTest, ObserversHearEveryRealChangeOnce) {
  RecordingObserver seen;
  desktop.addObserver(seen);
  form.lbl.setCaption("Info");  // unchanged: silent
  form.lbl.setCaption("Version 4.4.0");
  form.cmd.setEnabled(false);
  form.cmd.setEnabled(false);
  form.setMousePointer(vbHourglass);
  form.setMousePointer(vbHourglass);
  form.show();
  form.show();
  form.opt(0).setValue(true);
  form.opt(1).setValue(true);
  form.refresh();
  form.unloaded();
  desktop.removeObserver(seen);
  form.lbl.setCaption("après");

  const auto caption = std::to_string(static_cast<int>(Property::Caption));
  const auto enabled = std::to_string(static_cast<int>(Property::Enabled));
  const auto value = std::to_string(static_cast<int>(Property::Value));
  const auto pointer = std::to_string(static_cast<int>(Property::MousePointer));
  EXPECT_EQ(seen.events,
            (std::vector<std::string>{"lblInfo " + caption, "cmdOK " + enabled,
                                      "form frmEssai " + pointer, "shown frmEssai",
                                      "opt(0) " + value, "opt(0) " + value, "opt(1) " + value,
                                      "refreshed frmEssai", "unloaded frmEssai"}));
  EXPECT_EQ(form.mousePointer(), vbHourglass);
  EXPECT_FALSE(form.isShown());
}

}  // namespace
}  // namespace ui_test
