// Memory stays flat over many objects, many runs and many loads of the module.
#include <doctest/doctest.h>
#include <windows.h>
// psapi.h needs windows.h before it.
#include <psapi.h>

#include "com/errors.h"
#include "component.h"
#include "fake_world.h"
#include "requests.h"

namespace ledgerwick::com::testing {
namespace {

constexpr int kObjects = 1'000'000;
constexpr int kRuns = 10'000;
// What the allocator may keep for itself; one leaked byte for each object would be a million.
constexpr std::size_t kSlack = 512 * 1024;

std::size_t MemoryInUse() {
  PROCESS_MEMORY_COUNTERS counters = {};
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return counters.PagefileUsage;
}

TEST_SUITE("soak") {
  TEST_CASE("a million objects leave no memory behind") {
    CLSID id;
    REQUIRE(CLSIDFromProgID(ProgIdOf(*FindClass(u"clsRepAQKCYJ")).c_str(), &id) == S_OK);
    ComPtr<IClassFactory> factory;
    REQUIRE(CoGetClassObject(id, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                             reinterpret_cast<void**>(factory.Receive())) == S_OK);
    const auto create = [&](int count) {
      int created = 0;
      for (int i = 0; i < count; ++i) {
        ComPtr<IDispatch> object;
        created += factory->CreateInstance(nullptr, IID_IDispatch,
                                           reinterpret_cast<void**>(object.Receive())) == S_OK;
      }
      return created;
    };
    create(kObjects / 100);
    const std::size_t before = MemoryInUse();
    CHECK(create(kObjects) == kObjects);
    CHECK(MemoryInUse() < before + kSlack);
  }

  TEST_CASE("ten thousand runs leave no memory behind") {
    const ClassInfo& info = *FindClass(u"clsRepAQKCYJ");
    FakeWorld world(RequestFor(info));
    const ComPtr<IDispatch> report = world.NewReport(info);
    const auto run = [&](int count) {
      int succeeded = 0;
      for (int i = 0; i < count; ++i) {
        succeeded += Invoke(report.Get(), L"MoveDataDetail", DISPATCH_METHOD).code == S_OK;
        world.statements.clear();
        world.script.log.clear();
      }
      return succeeded;
    };
    run(kRuns / 100);
    const std::size_t before = MemoryInUse();
    CHECK(run(kRuns) == kRuns);
    CHECK(MemoryInUse() < before + kSlack);
  }

  TEST_CASE("loading, using and unloading the module leaves no memory behind") {
    // A copy, which nobody else keeps loaded.
    const std::wstring copy = ProgramFolder() + L"Ledgerwick.copy.dll";
    REQUIRE(CopyFileW((ProgramFolder() + L"Ledgerwick.dll").c_str(), copy.c_str(), FALSE));
    const ClassInfo& info = *FindClass(u"clsRepAQKCYJ");
    const FakeWorld has_ado;
    const CLSID id = IdentifiersOf(info).class_id;
    const auto use = [&](int times) {
      for (int i = 0; i < times; ++i) {
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
      }
    };
    use(20);
    const std::size_t before = MemoryInUse();
    use(200);
    CHECK(MemoryInUse() < before + 200 * 1024);  // a kilobyte each time
    DeleteFileW(copy.c_str());
  }
}

}  // namespace
}  // namespace ledgerwick::com::testing
