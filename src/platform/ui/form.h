// A form of the headless user interface: caption, mouse pointer, the controls it holds, and
// whether it is shown. It runs no code of its own: the program's form classes derive from
// it, declare their controls as members and write their event handlers.
#pragma once

#include <string>
#include <vector>

#include "platform/ui/desktop.h"

namespace platform::ui {

class Control;

// Values of the form's MousePointer.
inline constexpr int vbDefault = 0;
inline constexpr int vbHourglass = 11;

// The desktop must outlive its forms: destroying a form still shown tells the desktop's observers.
class Form {
 public:
  Form(Desktop& desktop, std::string name, std::string caption);
  virtual ~Form();
  Form(const Form&) = delete;
  Form& operator=(const Form&) = delete;

  Desktop& desktop() const { return *desktop_; }
  const std::string& name() const { return name_; }

  const std::string& caption() const { return caption_; }
  void setCaption(std::string caption);

  // The client area's size in twips (VB's ScaleWidth and ScaleHeight), set while the form is
  // built; front ends that draw windows size the window to hold it.
  int scaleWidth() const { return scaleWidth_; }
  int scaleHeight() const { return scaleHeight_; }
  void setScaleSize(int width, int height) {
    scaleWidth_ = width;
    scaleHeight_ = height;
  }

  int mousePointer() const { return mousePointer_; }
  void setMousePointer(int pointer);

  // Shown on screen (VB's Show); `unloaded` tells the front ends the window is gone, and so
  // does destroying a form still shown (the program ended without unloading it).
  bool isShown() const { return shown_; }
  void show();
  void unloaded();
  // VB's Refresh: front ends that paint lazily repaint the form now.
  void refresh();

  // Every control of the form, in creation order (front ends lay them out from this).
  const std::vector<Control*>& controls() const { return controls_; }
  // The same in reading order, by place on the form: top to bottom, then left to right
  // (the order of listing and of the tab key).
  std::vector<Control*> controlsInReadingOrder() const;

 private:
  friend class Control;
  void attach(Control& control);
  void detach(Control& control);

  Desktop* desktop_;
  std::string name_;
  std::string caption_;
  int mousePointer_ = vbDefault;
  int scaleWidth_ = 4800;
  int scaleHeight_ = 3600;
  bool shown_ = false;
  std::vector<Control*> controls_;
};

}  // namespace platform::ui
