// Memory stays flat over many objects, many runs and many loads of the module.
#include <doctest/doctest.h>
#include <windows.h>
// psapi.h needs windows.h before it.
#include <psapi.h>

#include <functional>

#include "com/errors.h"
#include "component.h"
#include "fake_world.h"
#include "requests.h"

namespace ledgerwick::com::testing {
namespace {

// What the allocator may keep for itself; one leaked byte for each object would be a million.
constexpr std::size_t kSlack = 512 * 1024;

std::size_t MemoryInUse() {
  PROCESS_MEMORY_COUNTERS counters = {};
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return counters.PagefileUsage;
}

// Performs `action` so many times, after some that fill what is kept for good: memory stays as it
// was, give or take `slack` bytes.
void CheckFlat(int times, std::size_t slack, const std::function<void()>& action) {
  for (int i = 0; i < times / 100 + 20; ++i) action();
  const std::size_t before = MemoryInUse();
  for (int i = 0; i < times; ++i) action();
  CHECK(MemoryInUse() < before + slack);
}

TEST_SUITE("soak") {
  TEST_CASE("a million objects leave no memory behind") {
    CLSID id;
    REQUIRE(CLSIDFromProgID(ProgIdOf(*FindClass(u"clsRepAQKCYJ")).c_str(), &id) == S_OK);
    ComPtr<IClassFactory> factory;
    REQUIRE(CoGetClassObject(id, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                             reinterpret_cast<void**>(factory.Receive())) == S_OK);
    CheckFlat(1'000'000, kSlack, [&] {
      ComPtr<IDispatch> object;
      factory->CreateInstance(nullptr, IID_IDispatch, reinterpret_cast<void**>(object.Receive()));
      if (!object) FAIL("no object");
    });
  }

  TEST_CASE("ten thousand runs leave no memory behind") {
    const ClassInfo& info = *FindClass(u"clsRepAQKCYJ");
    FakeWorld world(RequestFor(info.name));
    const ComPtr<IDispatch> report = world.NewReport(info);
    CheckFlat(10'000, kSlack, [&] {
      if (Invoke(report.Get(), L"MoveDataDetail", DISPATCH_METHOD).code != S_OK) FAIL("an error");
      world.script.log.clear();
    });
  }

  TEST_CASE("loading, using and unloading the module leaves no memory behind") {
    // A copy, which nobody else keeps loaded.
    const std::wstring copy = ProgramFolder() + L"Ledgerwick.copy.dll";
    REQUIRE(CopyFileW((ProgramFolder() + L"Ledgerwick.dll").c_str(), copy.c_str(), FALSE));
    const ClassInfo& info = *FindClass(u"clsRepAQKCYJ");
    const FakeWorld has_ado;
    const CLSID id = IdentifiersOf(info).class_id;
    CheckFlat(200, 200 * 1024, [&] {
      const HMODULE module = LoadLibraryW(copy.c_str());
      ComPtr<IClassFactory> factory;
      ComPtr<IDispatch> report;
      REQUIRE(Exported<REFCLSID, REFIID, void**>(module, "DllGetClassObject")(
                  id, IID_IClassFactory, reinterpret_cast<void**>(factory.Receive())) == S_OK);
      factory->CreateInstance(nullptr, IID_IDispatch, reinterpret_cast<void**>(report.Receive()));
      Outcome outcome = Invoke(report.Get(), L"MoveDataDetail", DISPATCH_METHOD);
      CHECK(FromException(outcome.exception).number == 91);
      report.Reset();
      factory.Reset();
      CHECK(Exported<>(module, "DllCanUnloadNow")() == S_OK);
      CHECK(FreeLibrary(module));
      CHECK(GetModuleHandleW(copy.c_str()) == nullptr);
    });
    DeleteFileW(copy.c_str());
  }
}

}  // namespace
}  // namespace ledgerwick::com::testing
