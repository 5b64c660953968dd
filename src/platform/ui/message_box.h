// Message boxes: one service answers every box the program shows, so that a console run, a
// windowed run and a test can each decide how answers come. Styles and answers keep the
// values of Visual Basic's MsgBox, which the program combines and compares numerically.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

namespace platform::ui {

// Buttons (low nibble) and icons, combined by addition.
inline constexpr int vbOKOnly = 0;
inline constexpr int vbOKCancel = 1;
inline constexpr int vbAbortRetryIgnore = 2;
inline constexpr int vbYesNoCancel = 3;
inline constexpr int vbYesNo = 4;
inline constexpr int vbRetryCancel = 5;
inline constexpr int vbCritical = 16;
inline constexpr int vbQuestion = 32;
inline constexpr int vbExclamation = 48;
inline constexpr int vbInformation = 64;

// Answers.
inline constexpr int vbOK = 1;
inline constexpr int vbCancel = 2;
inline constexpr int vbAbort = 3;
inline constexpr int vbRetry = 4;
inline constexpr int vbIgnore = 5;
inline constexpr int vbYes = 6;
inline constexpr int vbNo = 7;

// The answers a box of `style` can give, first button first.
std::vector<int> buttonsOf(int style);

class MessageBoxService {
 public:
  virtual ~MessageBoxService() = default;
  // Shows one box and returns the button pressed.
  virtual int show(int style, const std::string& title, const std::string& text) = 0;
};

// Presses the first button of every box (OK, or Yes): what pressing Enter does.
class DefaultButtonAnswers : public MessageBoxService {
 public:
  int show(int style, const std::string& title, const std::string& text) override;
};

// For tests: records every box and answers from a script. A box with only an OK button is
// answered OK without a script entry; any other box takes the next scripted answer, and
// having none (or one that is not a button of the box) is a test failure raised as
// std::logic_error, so an unexpected question never goes unnoticed.
class ScriptedMessageBoxes : public MessageBoxService {
 public:
  struct Shown {
    int style;
    std::string title;
    std::string text;
    int answer;
  };

  void script(int answer) { script_.push_back(answer); }
  int show(int style, const std::string& title, const std::string& text) override;

  const std::vector<Shown>& shown() const { return shown_; }
  std::size_t unusedAnswers() const { return script_.size(); }

 private:
  std::deque<int> script_;
  std::vector<Shown> shown_;
};

}  // namespace platform::ui
