#include "platform/ui/win32_front_end.h"

#include <windows.h>

#include <algorithm>
#include <exception>
#include <map>
#include <utility>
#include <vector>

#include "os/win32_text.h"
#include "platform/ui/control.h"
#include "platform/ui/form.h"

namespace platform::ui {
namespace {

constexpr wchar_t kFormClass[] = L"QuelisForm";
constexpr int kFirstControlId = 100;
// A fixed dialog with its close box only, as a VB form of fixed single border.
constexpr DWORD kFormStyle = WS_CAPTION | WS_SYSMENU | WS_CLIPCHILDREN;

int pixels(int twips, int dpi) { return MulDiv(twips, dpi, 1440); }

int screenDpi() {
  HDC screen = GetDC(nullptr);
  const int dpi = screen ? GetDeviceCaps(screen, LOGPIXELSX) : 96;
  if (screen) ReleaseDC(nullptr, screen);
  return dpi > 0 ? dpi : 96;
}

const std::string& captionOf(const Control& c) { return static_cast<const CaptionedControl&>(c).caption(); }

WPARAM checkState(const Control& c) {
  if (c.kind() == ControlKind::OptionButton) {
    return static_cast<const OptionButton&>(c).value() ? BST_CHECKED : BST_UNCHECKED;
  }
  switch (static_cast<const CheckBox&>(c).value()) {
    case vbChecked: return BST_CHECKED;
    case vbGrayed: return BST_INDETERMINATE;
    default: return BST_UNCHECKED;
  }
}

}  // namespace

struct Win32FrontEnd::Impl {
  struct Window {
    HWND hwnd = nullptr;
    Form* form = nullptr;
    std::map<const Control*, HWND> children;
    std::map<int, Control*> byId;
  };

  std::map<const Form*, Window> windows;
  std::vector<const Form*> shownOrder;  // the last one is the active form
  ActionRunner runner = [](const std::function<void()>& action) { action(); };
  std::function<void(Form&)> close;
  bool waiting = false;  // inside runUntil, between actions: the operator's input is taken
  std::exception_ptr escaped;
  int dpi = screenDpi();

  static void registerClass() {
    static const bool registered = [] {
      WNDCLASSEXW wc{};
      wc.cbSize = sizeof wc;
      wc.lpfnWndProc = &Impl::proc;
      wc.hInstance = GetModuleHandleW(nullptr);
      wc.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512));  // IDC_ARROW
      wc.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
      wc.lpszClassName = kFormClass;
      return RegisterClassExW(&wc) != 0;
    }();
    (void)registered;
  }

  Window* find(const Form& form) {
    auto it = windows.find(&form);
    return it == windows.end() ? nullptr : &it->second;
  }
  Window* findByHandle(HWND hwnd) {
    for (auto& [form, window] : windows) {
      if (window.hwnd == hwnd) return &window;
    }
    return nullptr;
  }
  HWND childOf(const Control& control) {
    Window* w = find(control.form());
    if (!w) return nullptr;
    auto it = w->children.find(&control);
    return it == w->children.end() ? nullptr : it->second;
  }

  // Runs an operator's action through the program; nothing escapes into Windows' frames.
  void act(const std::function<void()>& action) {
    waiting = false;
    try {
      runner(action);
    } catch (...) {
      escaped = std::current_exception();
    }
    waiting = true;
  }

  void create(const Form& form);
  void destroy(const Form& form);
  void apply(const Control& control, Property property);
  void command(Window& window, int id, int code, HWND from);
  static LRESULT CALLBACK proc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
};

void Win32FrontEnd::Impl::create(const Form& form) {
  registerClass();
  RECT frame{0, 0, pixels(form.scaleWidth(), dpi), pixels(form.scaleHeight(), dpi)};
  AdjustWindowRectEx(&frame, kFormStyle, FALSE, WS_EX_DLGMODALFRAME);
  const int width = frame.right - frame.left, height = frame.bottom - frame.top;
  RECT work{0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
  // Centred on the screen, as the program's dialogs open.
  const int x = work.left + std::max(0, (int(work.right - work.left) - width) / 2);
  const int y = work.top + std::max(0, (int(work.bottom - work.top) - height) / 2);
  HWND hwnd = CreateWindowExW(WS_EX_DLGMODALFRAME, kFormClass, os::widen(form.caption()).c_str(), kFormStyle,
                              x, y, width, height, nullptr, nullptr, GetModuleHandleW(nullptr), this);
  if (!hwnd) return;  // no desktop to draw on: the run goes on without windows
  Window& window = windows[&form];
  window.hwnd = hwnd;
  window.form = const_cast<Form*>(&form);

  // Created in reading order, each below the previous one: tab order and stacking follow the
  // layout; the frames then go under everything so that their contents show above them.
  const std::vector<Control*> controls = form.controlsInReadingOrder();
  const auto font = reinterpret_cast<WPARAM>(GetStockObject(DEFAULT_GUI_FONT));
  int id = kFirstControlId;
  std::vector<HWND> frames;
  for (Control* control : controls) {
    const wchar_t* cls = L"BUTTON";
    DWORD style = WS_CHILD | WS_CLIPSIBLINGS;
    DWORD exStyle = 0;
    const std::string text = control->kind() == ControlKind::ComboBox ? std::string() : captionOf(*control);
    switch (control->kind()) {
      case ControlKind::Label:
        cls = L"STATIC";
        style |= SS_LEFT | SS_NOPREFIX;
        break;
      case ControlKind::Frame:
        style |= BS_GROUPBOX;
        exStyle |= WS_EX_TRANSPARENT;
        break;
      case ControlKind::CheckBox:
        style |= BS_3STATE | WS_TABSTOP;
        break;
      case ControlKind::OptionButton:
        style |= BS_RADIOBUTTON | WS_TABSTOP;
        break;
      case ControlKind::CommandButton:
        style |= BS_PUSHBUTTON | WS_TABSTOP;
        break;
      case ControlKind::ComboBox:
        cls = L"COMBOBOX";
        style |= CBS_DROPDOWNLIST | WS_VSCROLL | WS_TABSTOP;
        break;
    }
    if (control->visible()) style |= WS_VISIBLE;
    if (!control->enabled()) style |= WS_DISABLED;
    const Bounds b = control->boundsOnForm();
    HWND child = CreateWindowExW(exStyle, cls, os::widen(text).c_str(), style, pixels(b.left, dpi),
                                 pixels(b.top, dpi), pixels(b.width, dpi), pixels(b.height, dpi), hwnd,
                                 reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), GetModuleHandleW(nullptr),
                                 nullptr);
    if (!child) continue;
    SendMessageW(child, WM_SETFONT, font, FALSE);
    SetWindowPos(child, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    if (control->kind() == ControlKind::Frame) frames.push_back(child);
    window.children[control] = child;
    window.byId[id++] = control;
    if (control->kind() == ControlKind::CheckBox || control->kind() == ControlKind::OptionButton) {
      apply(*control, Property::Value);
    } else if (control->kind() == ControlKind::ComboBox) {
      apply(*control, Property::Items);
    }
  }
  for (HWND f : frames) SetWindowPos(f, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
  shownOrder.push_back(&form);
  ShowWindow(hwnd, SW_SHOWNORMAL);
  SetForegroundWindow(hwnd);
  UpdateWindow(hwnd);
}

void Win32FrontEnd::Impl::destroy(const Form& form) {
  auto it = windows.find(&form);
  shownOrder.erase(std::remove(shownOrder.begin(), shownOrder.end(), &form), shownOrder.end());
  if (it == windows.end()) return;
  HWND hwnd = it->second.hwnd;
  windows.erase(it);  // first: the messages of the destruction find no form behind the window
  DestroyWindow(hwnd);
}

void Win32FrontEnd::Impl::apply(const Control& control, Property property) {
  HWND child = childOf(control);
  if (!child) return;
  switch (property) {
    case Property::Caption:
      if (control.kind() != ControlKind::ComboBox) SetWindowTextW(child, os::widen(captionOf(control)).c_str());
      break;
    case Property::Value:
      SendMessageW(child, BM_SETCHECK, checkState(control), 0);
      break;
    case Property::Enabled:
      EnableWindow(child, control.enabled());
      break;
    case Property::Visible:
      ShowWindow(child, control.visible() ? SW_SHOWNA : SW_HIDE);
      break;
    case Property::Items: {
      const auto& combo = static_cast<const ComboBox&>(control);
      SendMessageW(child, CB_RESETCONTENT, 0, 0);
      for (const std::string& item : combo.items()) {
        SendMessageW(child, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(os::widen(item).c_str()));
      }
      SendMessageW(child, CB_SETCURSEL, static_cast<WPARAM>(combo.listIndex()), 0);
      break;
    }
    case Property::ListIndex:
    case Property::Text:
      if (control.kind() == ControlKind::ComboBox) {
        SendMessageW(child, CB_SETCURSEL, static_cast<WPARAM>(static_cast<const ComboBox&>(control).listIndex()), 0);
      }
      break;
    case Property::MousePointer:
      break;
  }
}

void Win32FrontEnd::Impl::command(Window& window, int id, int code, HWND from) {
  auto it = window.byId.find(id);
  if (it == window.byId.end()) return;
  Control* control = it->second;
  const Form* form = window.form;
  if (control->kind() == ControlKind::ComboBox) {
    if (code != CBN_SELCHANGE) return;
    const int line = static_cast<int>(SendMessageW(from, CB_GETCURSEL, 0, 0));
    if (waiting && line >= 0) act([control, line] { static_cast<ComboBox*>(control)->choose(line); });
    // The list shows what the model holds, whatever the action made of the choice.
    if (find(*form)) apply(*control, Property::ListIndex);
    return;
  }
  if (code != BN_CLICKED || !waiting) return;
  switch (control->kind()) {
    case ControlKind::CheckBox: act([control] { static_cast<CheckBox*>(control)->click(); }); break;
    case ControlKind::OptionButton: act([control] { static_cast<OptionButton*>(control)->click(); }); break;
    case ControlKind::CommandButton: act([control] { static_cast<CommandButton*>(control)->click(); }); break;
    default: break;
  }
}

LRESULT CALLBACK Win32FrontEnd::Impl::proc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_NCCREATE) {
    auto* create = reinterpret_cast<CREATESTRUCTW*>(lParam);
    SetWindowLongPtrW(hwnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
  }
  auto* self = reinterpret_cast<Impl*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
  Window* window = self ? self->findByHandle(hwnd) : nullptr;
  if (window) {
    switch (message) {
      case WM_COMMAND:
        self->command(*window, LOWORD(wParam), HIWORD(wParam), reinterpret_cast<HWND>(lParam));
        return 0;
      case WM_CLOSE:
        if (self->waiting && self->close) {
          Form* form = window->form;
          self->act([self, form] { self->close(*form); });
        }
        return 0;
      case WM_SETCURSOR:
        if (window->form->mousePointer() == vbHourglass) {
          SetCursor(LoadCursorW(nullptr, MAKEINTRESOURCEW(32514)));  // IDC_WAIT
          return TRUE;
        }
        break;
      default:
        break;
    }
  }
  return DefWindowProcW(hwnd, message, wParam, lParam);
}

Win32FrontEnd::Win32FrontEnd() : impl_(std::make_unique<Impl>()) {}

Win32FrontEnd::~Win32FrontEnd() {
  while (!impl_->windows.empty()) impl_->destroy(*impl_->windows.begin()->first);
}

bool Win32FrontEnd::windowsAvailable() {
  HWND probe = CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr,
                               GetModuleHandleW(nullptr), nullptr);
  if (!probe) return false;
  DestroyWindow(probe);
  return true;
}

void Win32FrontEnd::setActionRunner(ActionRunner runner) { impl_->runner = std::move(runner); }
void Win32FrontEnd::setCloseHandler(std::function<void(Form&)> close) { impl_->close = std::move(close); }

void Win32FrontEnd::runUntil(const std::function<bool()>& done) {
  impl_->waiting = true;
  MSG msg;
  while (!done() && !impl_->windows.empty()) {
    if (GetMessageW(&msg, nullptr, 0, 0) <= 0) break;
    // Tab and arrow keys move between the controls of the form, as in a dialog.
    HWND root = GetAncestor(msg.hwnd, GA_ROOT);
    if (!(root && impl_->findByHandle(root) && IsDialogMessageW(root, &msg))) {
      TranslateMessage(&msg);
      DispatchMessageW(&msg);
    }
    if (impl_->escaped) {
      impl_->waiting = false;
      std::rethrow_exception(std::exchange(impl_->escaped, nullptr));
    }
  }
  impl_->waiting = false;
}

// Repaints only: the operator's input and posted messages stay queued until the message
// loop waits for the operator, as VB's Refresh leaves them (a click made while the program
// works is taken afterwards, not lost).
void Win32FrontEnd::pump() {
  MSG msg;
  while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE | PM_QS_PAINT | PM_QS_SENDMESSAGE)) {
    DispatchMessageW(&msg);
  }
}

void* Win32FrontEnd::windowOf(const Form& form) const {
  const Impl::Window* w = impl_->find(form);
  return w ? w->hwnd : nullptr;
}

void* Win32FrontEnd::windowOf(const Control& control) const { return impl_->childOf(control); }

void Win32FrontEnd::formShown(const Form& form) {
  if (!impl_->find(form)) impl_->create(form);
  pump();
}

void Win32FrontEnd::formUnloaded(const Form& form) { impl_->destroy(form); }

void Win32FrontEnd::formRefreshed(const Form& form) {
  if (Impl::Window* w = impl_->find(form)) {
    RedrawWindow(w->hwnd, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW | RDW_ALLCHILDREN);
  }
  pump();
}

void Win32FrontEnd::formChanged(const Form& form, Property property) {
  Impl::Window* w = impl_->find(form);
  if (!w) return;
  if (property == Property::Caption) {
    SetWindowTextW(w->hwnd, os::widen(form.caption()).c_str());
  } else if (property == Property::MousePointer) {
    // The pointer changes at once when it is over the form, not at the next mouse move.
    POINT at;
    if (GetCursorPos(&at)) {
      HWND under = WindowFromPoint(at);
      if (under && GetAncestor(under, GA_ROOT) == w->hwnd) {
        SetCursor(LoadCursorW(nullptr, MAKEINTRESOURCEW(form.mousePointer() == vbHourglass ? 32514 : 32512)));
      }
    }
  }
}

void Win32FrontEnd::controlChanged(const Control& control, Property property) { impl_->apply(control, property); }

int Win32FrontEnd::show(int style, const std::string& title, const std::string& text) {
  HWND owner = nullptr;
  if (!impl_->shownOrder.empty()) {
    if (Impl::Window* w = impl_->find(*impl_->shownOrder.back())) owner = w->hwnd;
  }
  const int answer = MessageBoxW(owner, os::widen(text).c_str(), os::widen(title).c_str(), static_cast<UINT>(style));
  // No desktop to show it on: the box takes its first button, as pressing Enter would.
  return answer != 0 ? answer : buttonsOf(style).front();
}

}  // namespace platform::ui
