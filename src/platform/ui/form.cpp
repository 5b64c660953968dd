#include "platform/ui/form.h"

#include <algorithm>

#include "platform/ui/control.h"

namespace platform::ui {

Form::Form(Desktop& desktop, std::string name, std::string caption)
    : desktop_(&desktop), name_(std::move(name)), caption_(std::move(caption)) {}

Form::~Form() {
  // The controls are gone already: front ends only forget the window.
  if (shown_) unloaded();
}

void Form::setCaption(std::string caption) {
  if (caption == caption_) return;
  caption_ = std::move(caption);
  desktop_->notify([&](FormObserver& o) { o.formChanged(*this, Property::Caption); });
}

void Form::setMousePointer(int pointer) {
  if (pointer == mousePointer_) return;
  mousePointer_ = pointer;
  desktop_->notify([&](FormObserver& o) { o.formChanged(*this, Property::MousePointer); });
}

void Form::show() {
  if (shown_) return;
  shown_ = true;
  desktop_->notify([&](FormObserver& o) { o.formShown(*this); });
}

void Form::unloaded() {
  shown_ = false;
  desktop_->notify([&](FormObserver& o) { o.formUnloaded(*this); });
}

void Form::refresh() {
  desktop_->notify([&](FormObserver& o) { o.formRefreshed(*this); });
}

std::vector<Control*> Form::controlsInReadingOrder() const {
  std::vector<Control*> ordered = controls_;
  std::stable_sort(ordered.begin(), ordered.end(), [](const Control* a, const Control* b) {
    const Bounds pa = a->boundsOnForm(), pb = b->boundsOnForm();
    return pa.top != pb.top ? pa.top < pb.top : pa.left < pb.left;
  });
  return ordered;
}

void Form::attach(Control& control) { controls_.push_back(&control); }

void Form::detach(Control& control) {
  controls_.erase(std::remove(controls_.begin(), controls_.end(), &control), controls_.end());
}

}  // namespace platform::ui
