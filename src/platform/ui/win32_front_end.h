// The forms as real windows (Windows builds): each shown form becomes a fixed dialog-like
// window laid out from its controls' positions, with a child window per control (group box,
// check box, option, push button, drop-down list, static text) that follows every change the
// control model reports. Repaints happen when the program refreshes a form, as VB's Refresh.
// An operator's clicks and choices go back to the model's click() and choose(), through the
// program's action runner, and only while the message loop waits for the operator (runUntil):
// while the program works, input is not taken, as in the single-threaded original. Message
// boxes are MessageBoxW over the active form, with VB's styles and answers (the same values).
//
// No <windows.h> here: window handles are passed as void*.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/ui/message_box.h"
#include "platform/ui/observer.h"

namespace platform::ui {

class Control;
class Form;

class Win32FrontEnd : public FormObserver, public MessageBoxService {
 public:
  using ActionRunner = std::function<void(const std::function<void()>&)>;

  Win32FrontEnd();
  ~Win32FrontEnd() override;
  Win32FrontEnd(const Win32FrontEnd&) = delete;
  Win32FrontEnd& operator=(const Win32FrontEnd&) = delete;

  // Whether this process can draw windows (a desktop to draw on: not so under Wine without
  // a display, or in a service).
  static bool windowsAvailable();

  // How an operator's action reaches the program (its Act); by default the action just runs.
  void setActionRunner(ActionRunner runner);
  // What closing a form's window does (VB's Unload of that form); by default nothing.
  void setCloseHandler(std::function<void(Form&)> close);

  // The message loop: serves the operator until `done()` holds after an action (or no window
  // is left). An exception escaping an action comes out here.
  void runUntil(const std::function<bool()>& done);
  // Repaints the forms; the operator's input stays queued for the message loop.
  void pump();

  // The window of a shown form or of one of its controls, nullptr when it has none.
  void* windowOf(const Form& form) const;
  void* windowOf(const Control& control) const;

  void formShown(const Form& form) override;
  void formUnloaded(const Form& form) override;
  void formRefreshed(const Form& form) override;
  void formChanged(const Form& form, Property property) override;
  void controlChanged(const Control& control, Property property) override;

  int show(int style, const std::string& title, const std::string& text) override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace platform::ui
