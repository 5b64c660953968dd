#include "launcher/program.h"

#include <stdexcept>

#include "platform/program.h"

namespace launcher {

Program::Program(platform::Environment& env, ui::Desktop& desktop, ModeLancement mode)
    : form_(std::make_unique<FrmParam>(env, desktop, state_, mode)) {}

void Program::run(const std::function<void()>& code) {
  if (ended_) return;
  try {
    code();
  } catch (const platform::ProgramEnd&) {
    ended_ = true;
  } catch (const ErreurNonInterceptee& e) {
    unhandled_ = e.error();
    ended_ = true;
  } catch (const std::logic_error&) {
    throw;
  } catch (...) {
    // A run-time error outside every trap stops the program, as in VB.
    unhandled_ = platform::currentError();
    ended_ = true;
  }
}

void Program::Start() {
  run([this] {
    form_->Form_Load();
    form_->show();
    form_->Form_Activate();
  });
}

void Program::Act(const std::function<void()>& action) { run(action); }

}  // namespace launcher
