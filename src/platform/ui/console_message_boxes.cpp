#include "platform/ui/console_message_boxes.h"

#include <string>

#include "platform/ui/console_front_end.h"

namespace platform::ui {
namespace {

// Blanks trimmed, ASCII letters in lower case (an accented letter must be typed as shown).
std::string folded(std::string text) {
  while (!text.empty() && (text.back() == ' ' || text.back() == '\r' || text.back() == '\t')) text.pop_back();
  const std::size_t start = text.find_first_not_of(" \t");
  text.erase(0, start == std::string::npos ? text.size() : start);
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

}  // namespace

int ConsoleMessageBoxes::show(int style, const std::string&, const std::string&) {
  const std::vector<int> buttons = buttonsOf(style);
  std::string prompt;
  for (int button : buttons) prompt += std::string(prompt.empty() ? "" : " / ") + answerName(button);
  while (true) {
    if (buttons.size() == 1) {
      *out_ << " (Entrée pour " << answerName(buttons.front()) << ") ";
    } else {
      *out_ << " Réponse (" << prompt << ") ? ";
    }
    out_->flush();
    std::string line;
    if (!std::getline(*in_, line)) {
      *out_ << '\n';
      return buttons.front();
    }
    if (buttons.size() == 1) return buttons.front();
    const std::string typed = folded(line);
    if (typed.empty()) continue;
    for (int button : buttons) {
      const std::string name = folded(answerName(button));
      if (typed == name || name.compare(0, typed.size(), typed) == 0) return button;
    }
  }
}

}  // namespace platform::ui
