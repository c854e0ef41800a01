// The tests run in an apartment of their own, with the component registered, or bound by the
// manifest that LEDGERWICK_MANIFEST names.
#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest/doctest.h>
#include <windows.h>
// objbase.h needs windows.h before it.
#include <objbase.h>

#include <cstdio>
#include <cstdlib>

namespace {

bool Activate(const wchar_t* manifest) {
  ACTCTXW description = {};
  description.cbSize = sizeof description;
  description.lpSource = manifest;
  const HANDLE context = CreateActCtxW(&description);
  ULONG_PTR cookie = 0;
  return context != INVALID_HANDLE_VALUE && ActivateActCtx(context, &cookie);
}

}  // namespace

int main(int argc, char** argv) {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  const wchar_t* const manifest = _wgetenv(L"LEDGERWICK_MANIFEST");
  if (manifest != nullptr && !Activate(manifest)) {
    std::printf("the manifest cannot be used: error %lu\n", GetLastError());
    return 1;
  }
  const int result = doctest::Context(argc, argv).run();
  CoUninitialize();
  return result;
}
