// Message boxes answered by an operator at the console (interactive runs on a terminal). The
// console front end prints the box; this asks for one of its buttons and reads the answer: the
// button's name or its initial, in any case ("o", "Non"). A box with only OK waits for Enter.
// At the end of the input every box takes its first button, as pressing Enter would.
#pragma once

#include <istream>
#include <ostream>

#include "platform/ui/message_box.h"

namespace platform::ui {

class ConsoleMessageBoxes : public MessageBoxService {
 public:
  ConsoleMessageBoxes(std::istream& in, std::ostream& out) : in_(&in), out_(&out) {}
  int show(int style, const std::string& title, const std::string& text) override;

 private:
  std::istream* in_;
  std::ostream* out_;
};

}  // namespace platform::ui
