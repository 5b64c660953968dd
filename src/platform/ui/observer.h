// What a front end (console now, windows later) learns about the forms: one observer
// interface, notified after every visible change of a form or one of its controls.
#pragma once

#include <string>

namespace platform::ui {

class Control;
class Form;

// The properties whose changes are reported.
enum class Property {
  Caption,
  Value,
  Enabled,
  Visible,
  Text,
  ListIndex,
  Items,
  MousePointer,
};

// Default implementations do nothing, so an observer overrides only what it shows.
class FormObserver {
 public:
  virtual ~FormObserver() = default;

  virtual void formShown(const Form&) {}
  virtual void formUnloaded(const Form&) {}
  // The program asks for an immediate repaint while it keeps working (VB's Refresh).
  virtual void formRefreshed(const Form&) {}
  virtual void formChanged(const Form&, Property) {}
  virtual void controlChanged(const Control&, Property) {}
  // A message box is about to be shown (style, title, text)...
  virtual void messageBoxOpening(int /*style*/, const std::string& /*title*/, const std::string& /*text*/) {}
  // ...and `answer` came back.
  virtual void messageBoxShown(int /*style*/, const std::string& /*title*/,
                               const std::string& /*text*/, int /*answer*/) {}
};

}  // namespace platform::ui
