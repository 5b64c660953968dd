#include "platform/ui/message_box.h"

#include <algorithm>
#include <stdexcept>

namespace platform::ui {

std::vector<int> buttonsOf(int style) {
  switch (style & 0x0F) {
    case vbOKCancel: return {vbOK, vbCancel};
    case vbAbortRetryIgnore: return {vbAbort, vbRetry, vbIgnore};
    case vbYesNoCancel: return {vbYes, vbNo, vbCancel};
    case vbYesNo: return {vbYes, vbNo};
    case vbRetryCancel: return {vbRetry, vbCancel};
    default: return {vbOK};
  }
}

int DefaultButtonAnswers::show(int style, const std::string&, const std::string&) {
  return buttonsOf(style).front();
}

int ScriptedMessageBoxes::show(int style, const std::string& title, const std::string& text) {
  const std::vector<int> buttons = buttonsOf(style);
  int answer = vbOK;
  if (buttons.size() > 1) {
    if (script_.empty()) {
      throw std::logic_error("unscripted question: " + title + " / " + text);
    }
    answer = script_.front();
    script_.pop_front();
    if (std::find(buttons.begin(), buttons.end(), answer) == buttons.end()) {
      throw std::logic_error("scripted answer is not a button of the box: " + text);
    }
  }
  shown_.push_back({style, title, text, answer});
  return answer;
}

}  // namespace platform::ui
