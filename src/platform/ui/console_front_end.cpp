#include "platform/ui/console_front_end.h"

#include "platform/ui/control.h"
#include "platform/ui/form.h"
#include "platform/ui/message_box.h"

namespace platform::ui {

const char* answerName(int answer) {
  switch (answer) {
    case vbOK: return "OK";
    case vbCancel: return "Annuler";
    case vbAbort: return "Abandonner";
    case vbRetry: return "Réessayer";
    case vbIgnore: return "Ignorer";
    case vbYes: return "Oui";
    case vbNo: return "Non";
    default: return "?";
  }
}

void ConsoleFrontEnd::printCaption(const Form& form) {
  *out_ << "== " << form.caption() << " ==\n";
}

// Forms' texts break lines with CR LF; the terminal gets one indented line per line.
void ConsoleFrontEnd::printText(const std::string& text, const char* indent) {
  std::string line;
  for (std::size_t i = 0; i <= text.size(); ++i) {
    if (i == text.size() || text[i] == '\n') {
      if (!line.empty() && line.back() == '\r') line.pop_back();
      *out_ << indent << line << '\n';
      line.clear();
    } else {
      line += text[i];
    }
  }
}

void ConsoleFrontEnd::formShown(const Form& form) {
  printCaption(form);
  for (const Control* control : form.controls()) {
    if (control->kind() != ControlKind::Label || !control->visible()) continue;
    const auto& caption = static_cast<const Label*>(control)->caption();
    if (!caption.empty()) printText(caption, "   ");
  }
  out_->flush();
}

void ConsoleFrontEnd::formChanged(const Form& form, Property property) {
  if (property == Property::Caption && form.isShown()) {
    printCaption(form);
    out_->flush();
  }
}

void ConsoleFrontEnd::controlChanged(const Control& control, Property property) {
  if (control.kind() != ControlKind::Label || property != Property::Caption) return;
  if (!control.form().isShown() || !control.visible()) return;
  const auto& caption = static_cast<const Label&>(control).caption();
  if (caption.empty()) return;
  printText(caption, "   ");
  out_->flush();
}

// The box is printed before it is answered, so that an operator at the console reads the
// question before typing the answer.
void ConsoleFrontEnd::messageBoxOpening(int, const std::string& title, const std::string& text) {
  *out_ << "[" << title << "]\n";
  printText(text, " | ");
  out_->flush();
}

void ConsoleFrontEnd::messageBoxShown(int, const std::string&, const std::string&, int answer) {
  *out_ << " -> " << answerName(answer) << '\n';
  out_->flush();
}

}  // namespace platform::ui
