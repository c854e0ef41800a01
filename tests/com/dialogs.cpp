#include "dialogs.h"

namespace ledgerwick::com::testing {
namespace {

Shown last;

Text CaptionOf(HWND window) {
  wchar_t text[512];
  return {text, text + GetWindowTextW(window, text, 512)};
}

BOOL CALLBACK NoteChild(HWND child, LPARAM) {
  wchar_t kind[32];
  GetClassNameW(child, kind, 32);
  const LONG_PTR style = GetWindowLongPtrW(child, GWL_STYLE);
  if (lstrcmpiW(kind, L"Button") == 0 && (style & WS_VISIBLE) != 0) ++last.buttons;
  if (lstrcmpiW(kind, L"Static") == 0) {
    if ((style & SS_TYPEMASK) == SS_ICON) last.has_icon = (style & WS_VISIBLE) != 0;
    if (!CaptionOf(child).empty()) last.text = CaptionOf(child);
  }
  return TRUE;
}

// Notes what a message box shows when it comes up, and presses its button.
LRESULT CALLBACK WatchDialogs(int code, WPARAM window, LPARAM data) {
  wchar_t kind[32];
  const HWND dialog = reinterpret_cast<HWND>(window);
  if (code == HCBT_ACTIVATE && GetClassNameW(dialog, kind, 32) > 0 &&
      lstrcmpW(kind, L"#32770") == 0) {
    last = {};
    last.title = CaptionOf(dialog);
    last.has_owner = GetWindow(dialog, GW_OWNER) != nullptr;
    EnumChildWindows(dialog, NoteChild, 0);
    PostMessageW(dialog, WM_COMMAND, IDOK, 0);
  }
  return CallNextHookEx(nullptr, code, window, data);
}

}  // namespace

DialogWatch::DialogWatch()
    : hook_(SetWindowsHookExW(WH_CBT, WatchDialogs, nullptr, GetCurrentThreadId())) {}

DialogWatch::~DialogWatch() { UnhookWindowsHookEx(hook_); }

const Shown& DialogWatch::shown() const noexcept { return last; }

}  // namespace ledgerwick::com::testing
