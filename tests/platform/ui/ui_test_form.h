// A small form for the user-interface tests: a frame of three options, two lone options on
// the form itself, a check-box array, a combo, a label and a button, each click counted.
#pragma once

#include <string>
#include <vector>

#include "platform/ui/control.h"
#include "platform/ui/form.h"

namespace ui_test {

using namespace platform::ui;
// The DAO tests compiled alongside have a Property of their own.
using platform::ui::Property;

struct RecordingObserver : FormObserver {
  std::vector<std::string> events;
  void formShown(const Form& f) override { events.push_back("shown " + f.name()); }
  void formUnloaded(const Form& f) override { events.push_back("unloaded " + f.name()); }
  void formRefreshed(const Form& f) override { events.push_back("refreshed " + f.name()); }
  void formChanged(const Form& f, Property p) override {
    events.push_back("form " + f.name() + " " + std::to_string(static_cast<int>(p)));
  }
  void controlChanged(const Control& c, Property p) override {
    events.push_back(c.fullName() + " " + std::to_string(static_cast<int>(p)));
  }
  void messageBoxShown(int style, const std::string& title, const std::string& text,
                       int answer) override {
    events.push_back("box " + std::to_string(style) + " " + title + " " + text + " " +
                     std::to_string(answer));
  }
};

class SampleForm : public Form {
 public:
  explicit SampleForm(Desktop& desktop) : Form(desktop, "frmEssai", "Essai") {
    chk.add(0, "zéro");
    chk.add(1, "un");
    chk.add(2, "deux");
    chk.setOnClick([this](int i) { clicks.push_back("chk" + std::to_string(i)); });
    opt.add(0, "a", &fra);
    opt.add(1, "b", &fra);
    opt.add(2, "c", &fra);
    opt.setOnClick([this](int i) { clicks.push_back("opt" + std::to_string(i)); });
    loneA.setOnClick([this] { clicks.push_back("loneA"); });
    loneB.setOnClick([this] { clicks.push_back("loneB"); });
    cbo.setOnClick([this] { clicks.push_back("cbo " + cbo.text()); });
    cmd.setOnClick([this] { clicks.push_back("cmd"); });
  }

  Frame fra{*this, "fraGroupe", "Groupe"};
  ControlArray<CheckBox> chk{*this, "chk"};
  ControlArray<OptionButton> opt{*this, "opt"};
  OptionButton loneA{*this, "optSeulA", "seul A"};
  OptionButton loneB{*this, "optSeulB", "seul B"};
  ComboBox cbo{*this, "cboListe"};
  Label lbl{*this, "lblInfo", "Info"};
  CommandButton cmd{*this, "cmdOK", "OK"};
  std::vector<std::string> clicks;
};

}  // namespace ui_test
