// The update tool as one program: its state, its parameter form, and the sequence starting
// the executable runs (load the form, show it, activate it). Ending the program (End) is
// caught here, so a caller, the executable's main or a test, sees how the run ended and can
// still read the form and the state afterwards.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "launcher/frm_param.h"
#include "pipeline/program_state.h"
#include "platform/environment.h"
#include "platform/error.h"
#include "platform/ui/desktop.h"

namespace launcher {

class Program {
 public:
  Program(platform::Environment& env, ui::Desktop& desktop,
          ModeLancement mode = ModeLancement::Silencieux);

  // Loads frmParam (Form_Load), then shows and activates it (Form_Activate). In silent mode
  // the run happens inside and the program has ended on return; in interactive mode the form
  // waits for the operator (see Act).
  void Start();

  // An operator's action on the running program, such as a click; returns once handled.
  // Nothing happens once the program has ended.
  void Act(const std::function<void()>& action);

  bool ended() const { return ended_; }
  // The run-time error that stopped the program outside every trap (or inside the error
  // report itself), if any.
  const std::optional<platform::Error>& erreurNonInterceptee() const { return unhandled_; }

  pipeline::ProgramState& state() { return state_; }
  FrmParam& frmParam() { return *form_; }

 private:
  void run(const std::function<void()>& code);

  pipeline::ProgramState state_;
  std::unique_ptr<FrmParam> form_;
  bool ended_ = false;
  std::optional<platform::Error> unhandled_;
};

}  // namespace launcher
