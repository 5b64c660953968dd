// An operator at the console acting on a form that waits for one (interactive runs on a
// terminal). The form is listed in reading order (top to bottom, left to right), each control
// an operator can act on numbered:
//   N       clicks check box, option or button N;
//   N L     chooses line L (from 1) of list N;
//   fermer  closes the form, as the window's close box does (so does the end of the input).
// Disabled or hidden controls are listed as such and refuse the action, as a window would.
#pragma once

#include <functional>
#include <istream>
#include <ostream>
#include <vector>

#include "platform/ui/form.h"

namespace platform::ui {

class ConsoleOperator {
 public:
  ConsoleOperator(std::istream& in, std::ostream& out) : in_(&in), out_(&out) {}

  // Serves `form` until `ended()` is true. Every action runs through `act` (the program's
  // way of running an operator's action); closing runs `close` through it too.
  void serve(Form& form, const std::function<void(const std::function<void()>&)>& act,
             const std::function<bool()>& ended, const std::function<void()>& close);

  // The form as listed to the operator, and the controls that the numbers designate
  // (element N - 1 is control N).
  std::vector<Control*> list(const Form& form);

 private:
  std::istream* in_;
  std::ostream* out_;
};

}  // namespace platform::ui
