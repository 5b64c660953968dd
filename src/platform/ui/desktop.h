// The desktop the forms live on: the observers that display them and the one message-box
// service. Forms and controls report every change here; front ends subscribe here, so a form
// created later (the wait form) is displayed without further wiring.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/ui/message_box.h"
#include "platform/ui/observer.h"

namespace platform::ui {

class Desktop {
 public:
  explicit Desktop(MessageBoxService& boxes) : boxes_(&boxes) {}
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;

  void addObserver(FormObserver& observer);
  void removeObserver(FormObserver& observer);

  // VB's MsgBox(prompt, buttons, title): asks the service, tells the observers, returns the answer.
  int msgBox(const std::string& text, int style, const std::string& title);

  // Calls `event` on every observer, in subscription order.
  void notify(const std::function<void(FormObserver&)>& event) const;

 private:
  MessageBoxService* boxes_;
  std::vector<FormObserver*> observers_;
};

}  // namespace platform::ui
