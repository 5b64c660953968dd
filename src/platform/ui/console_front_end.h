// The console front end: prints what an operator would see of the forms, so a silent run
// shows its progress in the terminal. A shown form prints its caption and its labels; later
// changes of a shown form's caption or labels print the new text; every message box prints
// its title, text and the answer given.
#pragma once

#include <ostream>

#include "platform/ui/observer.h"

namespace platform::ui {

// The French name of a message-box answer ("Oui", "Non", "OK"...).
const char* answerName(int answer);

class ConsoleFrontEnd : public FormObserver {
 public:
  explicit ConsoleFrontEnd(std::ostream& out) : out_(&out) {}

  void formShown(const Form& form) override;
  void formChanged(const Form& form, Property property) override;
  void controlChanged(const Control& control, Property property) override;
  void messageBoxOpening(int style, const std::string& title, const std::string& text) override;
  void messageBoxShown(int style, const std::string& title, const std::string& text,
                       int answer) override;

 private:
  void printCaption(const Form& form);
  void printText(const std::string& text, const char* indent);

  std::ostream* out_;
};

}  // namespace platform::ui
