#include "platform/ui/desktop.h"

#include <algorithm>

namespace platform::ui {

void Desktop::addObserver(FormObserver& observer) {
  if (std::find(observers_.begin(), observers_.end(), &observer) == observers_.end()) {
    observers_.push_back(&observer);
  }
}

void Desktop::removeObserver(FormObserver& observer) {
  observers_.erase(std::remove(observers_.begin(), observers_.end(), &observer), observers_.end());
}

int Desktop::msgBox(const std::string& text, int style, const std::string& title) {
  notify([&](FormObserver& o) { o.messageBoxOpening(style, title, text); });
  const int answer = boxes_->show(style, title, text);
  notify([&](FormObserver& o) { o.messageBoxShown(style, title, text, answer); });
  return answer;
}

void Desktop::notify(const std::function<void(FormObserver&)>& event) const {
  // A copy: an observer may unsubscribe while being notified.
  const std::vector<FormObserver*> observers = observers_;
  for (FormObserver* observer : observers) event(*observer);
}

}  // namespace platform::ui
