// Controls of the headless user interface, with the semantics of their Visual Basic
// counterparts that the program relies on:
//  - setting a CheckBox's Value from code raises Click when the value changes, exactly as an
//    operator's click does (and whether or not the box is enabled);
//  - setting an OptionButton to true raises Click when it was false, and clears the other
//    options of its container (same frame, or the form itself) without raising theirs;
//  - setting a ComboBox's ListIndex to a line raises Click every time, even to the line
//    already selected; ListIndex -1 deselects and empties the text, without an event;
//  - an operator's click (`click()`) does nothing on a disabled or hidden control.
// Every change of a property is reported to the desktop's observers. Bad property values
// raise the run-time errors VB raises (380, 340), so the program's traps see them.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/ui/form.h"
#include "platform/ui/observer.h"

namespace platform::ui {

enum class ControlKind { Label, Frame, CheckBox, OptionButton, CommandButton, ComboBox };

// Where a control sits, in twips as VB measures (1/1440 inch, 15 to a pixel at 96 dots per
// inch): left and top relative to its container (the frame holding it, or the form's client
// area). Front ends that draw windows place the control there; the console ignores it.
struct Bounds {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
};

class Frame;

class Control {
 public:
  // `index` is the position in a control array, -1 for a lone control. `container` is the
  // frame holding the control, nullptr when it sits directly on the form.
  Control(Form& form, std::string name, int index, Frame* container);
  virtual ~Control();
  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;

  virtual ControlKind kind() const = 0;

  Form& form() const { return *form_; }
  const std::string& name() const { return name_; }
  int index() const { return index_; }
  // "chkActions(0)" for an array element, the bare name otherwise.
  std::string fullName() const;
  Frame* container() const { return container_; }

  bool enabled() const { return enabled_; }
  void setEnabled(bool enabled);
  bool visible() const { return visible_; }
  void setVisible(bool visible);

  const Bounds& bounds() const { return bounds_; }
  // Set while the form is built, before it is shown: no front end is told.
  void move(int left, int top, int width, int height) { bounds_ = {left, top, width, height}; }
  // Left and top relative to the form's client area, through every enclosing frame.
  Bounds boundsOnForm() const;

 protected:
  void changed(Property property);
  // Whether an operator can reach the control: enabled and visible.
  bool reachable() const { return enabled_ && visible_; }

 private:
  Form* form_;
  std::string name_;
  int index_;
  Frame* container_;
  bool enabled_ = true;
  bool visible_ = true;
  Bounds bounds_;
};

// Base of the controls that show a caption.
class CaptionedControl : public Control {
 public:
  CaptionedControl(Form& form, std::string name, int index, std::string caption, Frame* container);
  const std::string& caption() const { return caption_; }
  void setCaption(std::string caption);

 private:
  std::string caption_;
};

class Label : public CaptionedControl {
 public:
  Label(Form& form, std::string name, std::string caption, Frame* container = nullptr)
      : CaptionedControl(form, std::move(name), -1, std::move(caption), container) {}
  ControlKind kind() const override { return ControlKind::Label; }
};

class Frame : public CaptionedControl {
 public:
  Frame(Form& form, std::string name, std::string caption, Frame* container = nullptr)
      : CaptionedControl(form, std::move(name), -1, std::move(caption), container) {}
  ControlKind kind() const override { return ControlKind::Frame; }
};

// Shared by the controls that raise Click.
class Clickable {
 public:
  void setOnClick(std::function<void()> handler) { onClick_ = std::move(handler); }

 protected:
  // Runs a copy: a handler may replace itself while it runs.
  void raiseClick() const {
    if (!onClick_) return;
    const std::function<void()> handler = onClick_;
    handler();
  }

 private:
  std::function<void()> onClick_;
};

inline constexpr int vbUnchecked = 0;
inline constexpr int vbChecked = 1;
inline constexpr int vbGrayed = 2;

class CheckBox : public CaptionedControl, public Clickable {
 public:
  CheckBox(Form& form, std::string name, int index, std::string caption, Frame* container = nullptr)
      : CaptionedControl(form, std::move(name), index, std::move(caption), container) {}
  CheckBox(Form& form, std::string name, std::string caption, Frame* container = nullptr)
      : CheckBox(form, std::move(name), -1, std::move(caption), container) {}
  ControlKind kind() const override { return ControlKind::CheckBox; }

  int value() const { return value_; }
  // 0, 1 or 2; anything else is run-time error 380. Raises Click when the value changes.
  void setValue(int value);
  // The operator clicks: checked becomes unchecked, anything else checked.
  void click();

 private:
  int value_ = vbUnchecked;
};

class OptionButton : public CaptionedControl, public Clickable {
 public:
  OptionButton(Form& form, std::string name, int index, std::string caption, Frame* container = nullptr)
      : CaptionedControl(form, std::move(name), index, std::move(caption), container) {}
  OptionButton(Form& form, std::string name, std::string caption, Frame* container = nullptr)
      : OptionButton(form, std::move(name), -1, std::move(caption), container) {}
  ControlKind kind() const override { return ControlKind::OptionButton; }

  bool value() const { return value_; }
  void setValue(bool value);
  void click();

 private:
  bool value_ = false;
};

class CommandButton : public CaptionedControl, public Clickable {
 public:
  CommandButton(Form& form, std::string name, std::string caption, Frame* container = nullptr)
      : CaptionedControl(form, std::move(name), -1, std::move(caption), container) {}
  ControlKind kind() const override { return ControlKind::CommandButton; }

  // The operator presses the button: nothing happens when it is disabled or hidden.
  void click();
};

class ComboBox : public Control, public Clickable {
 public:
  ComboBox(Form& form, std::string name, Frame* container = nullptr)
      : Control(form, std::move(name), -1, container) {}
  ControlKind kind() const override { return ControlKind::ComboBox; }

  void addItem(std::string item);
  // Removes every line, deselects and empties the text (no event).
  void clear();
  int listCount() const { return static_cast<int>(items_.size()); }
  // Line `index` (VB's List(index)); outside the list, the empty text.
  std::string list(int index) const;
  const std::vector<std::string>& items() const { return items_; }

  int listIndex() const { return listIndex_; }
  // -1 deselects (Text becomes empty); 0..ListCount-1 selects that line, sets Text to it and raises Click;
  // anything else is run-time error 380.
  void setListIndex(int index);

  // The text shown: the selected line, or what was typed.
  const std::string& text() const { return text_; }
  void setText(std::string text);

  // The operator picks a line.
  void choose(int index);

 private:
  std::vector<std::string> items_;
  int listIndex_ = -1;
  std::string text_;
};

// A control array (VB's chkActions(0..2)): elements by index, one Click handler receiving the
// index, as VB's array event procedures do.
template <class T>
class ControlArray {
 public:
  ControlArray(Form& form, std::string name) : form_(&form), name_(std::move(name)) {}
  // Elements' handlers point back at the array: it stays where it was built.
  ControlArray(const ControlArray&) = delete;
  ControlArray& operator=(const ControlArray&) = delete;

  // Creates element `index` with the constructor arguments that follow the index.
  template <class... Args>
  T& add(int index, Args&&... args) {
    auto element = std::make_unique<T>(*form_, name_, index, std::forward<Args>(args)...);
    T& added = *element;
    elements_[index] = std::move(element);
    connect(index, added);
    return added;
  }

  // Element `index`; a missing one is run-time error 340, as in VB.
  T& operator()(int index) const;

  int count() const { return static_cast<int>(elements_.size()); }
  const std::string& name() const { return name_; }

  void setOnClick(std::function<void(int)> handler) {
    onClick_ = std::move(handler);
    for (auto& [index, element] : elements_) connect(index, *element);
  }

 private:
  void connect(int index, T& element) {
    element.setOnClick([this, index] {
      if (onClick_) onClick_(index);
    });
  }

  Form* form_;
  std::string name_;
  std::map<int, std::unique_ptr<T>> elements_;
  std::function<void(int)> onClick_;
};

// Raises run-time error 340 for `name`(`index`).
[[noreturn]] void missingArrayElement(const std::string& name, int index);

template <class T>
T& ControlArray<T>::operator()(int index) const {
  auto found = elements_.find(index);
  if (found == elements_.end()) missingArrayElement(name_, index);
  return *found->second;
}

}  // namespace platform::ui
