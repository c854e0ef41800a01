#include "com/windows_system.h"

#include "com/ado.h"
#include "com/com_types.h"

namespace ledgerwick::com {
namespace {

constexpr DWORD kLongestPath = 32768;

// The caption of the window that the user works in, where this thread has one.
Text ActiveWindowTitle() {
  const HWND window = GetAncestor(GetActiveWindow(), GA_ROOTOWNER);
  wchar_t title[512];
  const int length = window == nullptr ? 0 : GetWindowTextW(window, title, 512);
  return {title, title + length};
}

// The host's program without folder and extension.
Text ProgramName() {
  Text path(kLongestPath, u'\0');
  path.resize(GetModuleFileNameW(nullptr, reinterpret_cast<wchar_t*>(path.data()), kLongestPath));
  path.erase(0, path.find_last_of(u"\\/") + 1);
  return path.substr(0, path.rfind(u'.'));
}

// What the host application calls itself.
Text HostTitle() {
  Text title = ActiveWindowTitle();
  return title.empty() ? ProgramName() : title;
}

}  // namespace

std::shared_ptr<Connection> WindowsSystem::NewConnection() { return AdoConnection::New(); }

Text WindowsSystem::ComputerName() {
  char name[128];
  DWORD size = sizeof name;
  if (!GetComputerNameA(name, &size)) return {};
  wchar_t wide[128];
  const int length = MultiByteToWideChar(CP_ACP, 0, name, static_cast<int>(size), wide, 128);
  return {wide, wide + length};
}

std::size_t WindowsSystem::AnsiLength(TextView text) { return ledgerwick::AnsiLength(text); }

void WindowsSystem::MessageBox(const Text& text, const Text& title, std::int32_t style) {
  const Text caption = title.empty() ? HostTitle() : title;
  MessageBoxW(nullptr, ToWide(text), ToWide(caption), static_cast<UINT>(style));
}

void WindowsSystem::Beep() { MessageBeep(MB_OK); }

}  // namespace ledgerwick::com
