#include "platform/ui/control.h"

#include "jet/api/values.h"
#include "platform/error.h"

namespace platform::ui {
namespace {

[[noreturn]] void invalidPropertyValue() {
  throw platform::Error(380, platform::describe(380));
}

}  // namespace

void missingArrayElement(const std::string& name, int index) {
  throw platform::Error(340, jet::error_message(340, name + "(" + std::to_string(index) + ")"));
}

Control::Control(Form& form, std::string name, int index, Frame* container)
    : form_(&form), name_(std::move(name)), index_(index), container_(container) {
  form_->attach(*this);
}

Control::~Control() { form_->detach(*this); }

std::string Control::fullName() const {
  return index_ < 0 ? name_ : name_ + "(" + std::to_string(index_) + ")";
}

Bounds Control::boundsOnForm() const {
  Bounds b = bounds_;
  for (const Frame* frame = container_; frame; frame = frame->container()) {
    b.left += frame->bounds().left;
    b.top += frame->bounds().top;
  }
  return b;
}

void Control::setEnabled(bool enabled) {
  if (enabled == enabled_) return;
  enabled_ = enabled;
  changed(Property::Enabled);
}

void Control::setVisible(bool visible) {
  if (visible == visible_) return;
  visible_ = visible;
  changed(Property::Visible);
}

void Control::changed(Property property) {
  form_->desktop().notify([&](FormObserver& o) { o.controlChanged(*this, property); });
}

CaptionedControl::CaptionedControl(Form& form, std::string name, int index, std::string caption,
                                   Frame* container)
    : Control(form, std::move(name), index, container), caption_(std::move(caption)) {}

void CaptionedControl::setCaption(std::string caption) {
  if (caption == caption_) return;
  caption_ = std::move(caption);
  changed(Property::Caption);
}

void CheckBox::setValue(int value) {
  if (value < vbUnchecked || value > vbGrayed) invalidPropertyValue();
  if (value == value_) return;
  value_ = value;
  changed(Property::Value);
  raiseClick();
}

void CheckBox::click() {
  if (!reachable()) return;
  setValue(value_ == vbChecked ? vbUnchecked : vbChecked);
}

void OptionButton::setValue(bool value) {
  if (value == value_) return;
  if (value) {
    // The options sharing this container form one group: only one of them is selected.
    for (Control* other : form().controls()) {
      if (other == this || other->kind() != ControlKind::OptionButton) continue;
      if (other->container() != container()) continue;
      auto* option = static_cast<OptionButton*>(other);
      if (option->value_) {
        option->value_ = false;
        option->changed(Property::Value);
      }
    }
  }
  value_ = value;
  changed(Property::Value);
  if (value) raiseClick();
}

void OptionButton::click() {
  if (!reachable()) return;
  setValue(true);
}

void CommandButton::click() {
  if (!reachable()) return;
  raiseClick();
}

void ComboBox::addItem(std::string item) {
  items_.push_back(std::move(item));
  changed(Property::Items);
}

void ComboBox::clear() {
  items_.clear();
  changed(Property::Items);
  if (listIndex_ != -1) {
    listIndex_ = -1;
    changed(Property::ListIndex);
  }
  setText("");
}

std::string ComboBox::list(int index) const {
  if (index < 0 || index >= listCount()) return {};
  return items_[static_cast<std::size_t>(index)];
}

void ComboBox::setListIndex(int index) {
  if (index < -1 || index >= listCount()) invalidPropertyValue();
  if (index == -1) {
    if (listIndex_ != -1) {
      listIndex_ = -1;
      changed(Property::ListIndex);
    }
    setText("");
    return;
  }
  listIndex_ = index;
  changed(Property::ListIndex);
  setText(items_[static_cast<std::size_t>(index)]);
  raiseClick();
}

void ComboBox::setText(std::string text) {
  if (text == text_) return;
  text_ = std::move(text);
  changed(Property::Text);
}

void ComboBox::choose(int index) {
  if (!reachable()) return;
  setListIndex(index);
}

}  // namespace platform::ui
