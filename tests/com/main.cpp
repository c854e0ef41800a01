// The tests run in an apartment of their own, with the component registered, or bound by the
// manifest that LEDGERWICK_MANIFEST names.
#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest/doctest.h>

#include <cstdio>
#include <cstdlib>

#include "component.h"

int main(int argc, char** argv) {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  const wchar_t* const manifest = _wgetenv(L"LEDGERWICK_MANIFEST");
  if (manifest != nullptr && !ledgerwick::com::testing::UseManifest(manifest)) {
    std::printf("the manifest cannot be used: error %lu\n", GetLastError());
    return 1;
  }
  const int result = doctest::Context(argc, argv).run();
  CoUninitialize();
  return result;
}
