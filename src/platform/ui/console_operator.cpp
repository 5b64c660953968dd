#include "platform/ui/console_operator.h"

#include <algorithm>
#include <sstream>
#include <string>

#include "platform/ui/control.h"

namespace platform::ui {
namespace {

bool actionable(const Control& c) {
  return c.kind() != ControlKind::Label && c.kind() != ControlKind::Frame;
}

// Reachable as an operator would see it: the control and every frame around it enabled and visible.
bool reachable(const Control& c) {
  for (const Control* at = &c; at; at = at->container()) {
    if (!at->enabled() || !at->visible()) return false;
  }
  return true;
}

std::string state(const Control& c) {
  switch (c.kind()) {
    case ControlKind::CheckBox: {
      const int v = static_cast<const CheckBox&>(c).value();
      return v == vbChecked ? "[x] " : v == vbGrayed ? "[-] " : "[ ] ";
    }
    case ControlKind::OptionButton:
      return static_cast<const OptionButton&>(c).value() ? "(o) " : "( ) ";
    default:
      return "";
  }
}

}  // namespace

std::vector<Control*> ConsoleOperator::list(const Form& form) {
  const std::vector<Control*> controls = form.controlsInReadingOrder();
  *out_ << "== " << form.caption() << " ==\n";
  std::vector<Control*> numbered;
  for (Control* c : controls) {
    if (!c->visible() && !actionable(*c)) continue;
    const char* off = reachable(*c) ? "" : " (inactif)";
    switch (c->kind()) {
      case ControlKind::Frame:
        *out_ << "  -- " << static_cast<Frame*>(c)->caption() << off << " --\n";
        continue;
      case ControlKind::Label: {
        const std::string& text = static_cast<Label*>(c)->caption();
        if (!text.empty()) *out_ << "     " << text << '\n';
        continue;
      }
      default:
        break;
    }
    numbered.push_back(c);
    *out_ << "  " << numbered.size() << ". ";
    if (c->kind() == ControlKind::ComboBox) {
      const auto& combo = static_cast<const ComboBox&>(*c);
      *out_ << "liste : " << (combo.text().empty() ? "(vide)" : combo.text()) << off << '\n';
      for (int i = 0; i < combo.listCount(); ++i) {
        *out_ << "       " << (i == combo.listIndex() ? '>' : ' ') << ' ' << (i + 1) << ") " << combo.list(i) << '\n';
      }
    } else if (c->kind() == ControlKind::CommandButton) {
      *out_ << "< " << static_cast<const CommandButton&>(*c).caption() << " >" << (c->visible() ? off : " (caché)") << '\n';
    } else {
      *out_ << state(*c) << static_cast<const CaptionedControl&>(*c).caption() << off << '\n';
    }
  }
  *out_ << "Numéro pour cliquer, numéro et ligne pour choisir dans une liste, « fermer » pour fermer : ";
  out_->flush();
  return numbered;
}

void ConsoleOperator::serve(Form& form, const std::function<void(const std::function<void()>&)>& act,
                            const std::function<bool()>& ended, const std::function<void()>& close) {
  while (!ended()) {
    const std::vector<Control*> numbered = list(form);
    std::string line;
    if (!std::getline(*in_, line)) {
      *out_ << '\n';
      act(close);
      return;
    }
    std::istringstream words(line);
    std::string first;
    if (!(words >> first)) continue;
    if (first == "fermer") {
      act(close);
      continue;
    }
    int number = 0, row = 0;
    std::istringstream(first) >> number;
    if (number < 1 || number > static_cast<int>(numbered.size())) {
      *out_ << "Pas de commande " << first << ".\n";
      continue;
    }
    Control* c = numbered[number - 1];
    if (!reachable(*c)) {
      *out_ << "Inactif.\n";
      continue;
    }
    switch (c->kind()) {
      case ControlKind::ComboBox: {
        auto* combo = static_cast<ComboBox*>(c);
        if (!(words >> row) || row < 1 || row > combo->listCount()) {
          *out_ << "Ligne de 1 à " << combo->listCount() << ", après le numéro de la liste.\n";
          continue;
        }
        act([combo, row] { combo->choose(row - 1); });
        break;
      }
      case ControlKind::CheckBox: act([c] { static_cast<CheckBox*>(c)->click(); }); break;
      case ControlKind::OptionButton: act([c] { static_cast<OptionButton*>(c)->click(); }); break;
      case ControlKind::CommandButton: act([c] { static_cast<CommandButton*>(c)->click(); }); break;
      default: break;
    }
  }
}

}  // namespace platform::ui
