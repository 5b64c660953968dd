// operateur.exe: plays the operator of a windowed program, from the outside, as a person
// would: waits for windows by their title, clicks controls by their caption, picks lines of
// drop-down lists, answers message boxes. Each argument is one step, run in order:
//   fenetre:TITRE                  waits for a top-level window titled TITRE
//   clic:TITRE:TEXTE               clicks the control captioned TEXTE in the window TITRE
//   liste:TITRE:N:L                picks line L (from 1) of the N-th drop-down list (top first)
//   boite:TITRE:EXTRAIT:BOUTON     waits for a message box titled TITRE whose text holds
//                                  EXTRAIT (no colon), and presses BOUTON (oui, non, ok, annuler)
//   fin:TITRE                      waits until no window is titled TITRE any more
// Every message box answered is printed ("[TITRE] text -> BOUTON"). Each wait gives up after
// 60 seconds; the program then exits 1 saying which step failed. Clicks are posted, never
// sent: the program may show a box while handling one, and the operator must stay free to
// answer it.
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace {

std::wstring field(const std::wstring& step, std::size_t n) {
  std::size_t start = 0;
  for (std::size_t i = 0; i < n; ++i) {
    start = step.find(L':', start);
    if (start == std::wstring::npos) return L"";
    ++start;
  }
  // The last field takes the rest, colons included (paths, "Un dossier :").
  return step.substr(start);
}

std::wstring fieldUpTo(const std::wstring& step, std::size_t n) {
  std::wstring rest = field(step, n);
  return rest.substr(0, rest.find(L':'));
}

std::wstring textOf(HWND hwnd) {
  wchar_t buffer[2048] = {};
  GetWindowTextW(hwnd, buffer, 2048);
  return buffer;
}

void print(const std::wstring& text) {
  const int size = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, utf8.data(), size, nullptr, nullptr);
  std::fputs(utf8.c_str(), stdout);
  std::fputs("\n", stdout);
  std::fflush(stdout);
}

template <class Find>
HWND waitFor(Find find) {
  for (int i = 0; i < 600; ++i) {
    if (HWND found = find()) return found;
    Sleep(100);
  }
  return nullptr;
}

HWND topLevel(const std::wstring& title, const wchar_t* cls = nullptr) {
  return FindWindowW(cls, title.c_str());
}

std::vector<HWND> children(HWND parent) {
  std::vector<HWND> out;
  for (HWND c = GetWindow(parent, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT)) out.push_back(c);
  return out;
}

// The message text of a box: its static text, whatever its control id.
std::wstring boxText(HWND box) {
  std::wstring text;
  for (HWND c : children(box)) {
    wchar_t cls[32] = {};
    GetClassNameW(c, cls, 32);
    if (_wcsicmp(cls, L"Static") == 0 && !textOf(c).empty()) text += textOf(c);
  }
  return text;
}

bool run(const std::wstring& step) {
  const std::wstring verb = step.substr(0, step.find(L':'));
  if (verb == L"fenetre") {
    return waitFor([&] { return topLevel(field(step, 1)); }) != nullptr;
  }
  if (verb == L"fin") {
    return waitFor([&]() -> HWND { return topLevel(field(step, 1)) ? nullptr : GetDesktopWindow(); }) != nullptr;
  }
  if (verb == L"clic") {
    const std::wstring title = fieldUpTo(step, 1), caption = field(step, 2);
    HWND target = waitFor([&]() -> HWND {
      HWND form = topLevel(title);
      if (!form) return nullptr;
      for (HWND c : children(form)) {
        if (textOf(c) == caption && IsWindowEnabled(c) && IsWindowVisible(c)) return c;
      }
      return nullptr;
    });
    if (!target) return false;
    PostMessageW(target, BM_CLICK, 0, 0);
    Sleep(300);  // the program takes the click before the next step looks at the window
    return true;
  }
  if (verb == L"liste") {
    const std::wstring title = fieldUpTo(step, 1);
    const int n = _wtoi(fieldUpTo(step, 2).c_str()), line = _wtoi(field(step, 3).c_str());
    HWND form = waitFor([&] { return topLevel(title); });
    if (!form) return false;
    std::vector<HWND> combos;
    for (HWND c : children(form)) {
      wchar_t cls[32] = {};
      GetClassNameW(c, cls, 32);
      if (_wcsicmp(cls, L"ComboBox") == 0) combos.push_back(c);
    }
    std::sort(combos.begin(), combos.end(), [](HWND a, HWND b) {
      RECT ra, rb;
      GetWindowRect(a, &ra);
      GetWindowRect(b, &rb);
      return ra.top < rb.top;
    });
    if (n < 1 || n > static_cast<int>(combos.size())) return false;
    HWND combo = combos[n - 1];
    SendMessageW(combo, CB_SETCURSEL, static_cast<WPARAM>(line - 1), 0);
    // A person's choice: the list tells its form, as after a click on the line.
    PostMessageW(form, WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(combo), CBN_SELCHANGE), reinterpret_cast<LPARAM>(combo));
    Sleep(300);
    return true;
  }
  if (verb == L"boite") {
    const std::wstring title = fieldUpTo(step, 1), extract = fieldUpTo(step, 2), button = field(step, 3);
    const int id = button == L"oui" ? IDYES : button == L"non" ? IDNO : button == L"annuler" ? IDCANCEL : IDOK;
    HWND box = waitFor([&]() -> HWND {
      HWND found = topLevel(title, L"#32770");
      return found && boxText(found).find(extract) != std::wstring::npos ? found : nullptr;
    });
    if (!box) return false;
    std::wstring text = boxText(box);
    // One line in the transcript: each line break becomes a blank.
    for (std::size_t at; (at = text.find(L"\r\n")) != std::wstring::npos;) text.replace(at, 2, L" ");
    std::replace(text.begin(), text.end(), L'\n', L' ');
    print(L"[" + title + L"] " + text + L" -> " + button);
    HWND pressed = GetDlgItem(box, id);
    if (!pressed) return false;
    PostMessageW(pressed, BM_CLICK, 0, 0);
    // Gone before the next step, which may wait for a box of the same title.
    return waitFor([&]() -> HWND { return IsWindow(box) ? nullptr : GetDesktopWindow(); }) != nullptr;
  }
  return false;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  for (int i = 1; i < argc; ++i) {
    if (!run(argv[i])) {
      print(std::wstring(L"operateur: échec de l'étape ") + argv[i]);
      return 1;
    }
  }
  return 0;
}
