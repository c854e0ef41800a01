// Memory that runs out, at any allocation of the component.
#include <doctest/doctest.h>

#include <cstdlib>

#include "com/errors.h"
#include "component.h"
#include "fake_world.h"
#include "notices.h"
#include "requests.h"

namespace ledgerwick::com::testing {
namespace {

// Which allocations of the component fail.
struct Shortage {
  int left = -1;  // so many succeed before the first that fails; negative: all do
  bool for_good = false;

  bool Strikes() {
    if (left < 0) return false;
    if (left > 0) return --left, false;
    if (!for_good) left = -1;
    return true;
  }
};
Shortage shortage;
int allocations = 0;

void* AllocateSome(std::size_t size) {
  ++allocations;
  return shortage.Strikes() ? nullptr : std::malloc(size);
}

BSTR WINAPI AllocateSomeString(const OLECHAR* text, UINT length) {
  ++allocations;
  return shortage.Strikes() ? nullptr : SysAllocStringLen(text, length);
}

// A run of the request's report with `now` as the shortage, and one with memory after it. Gives the
// number of allocations.
int RunShort(const Request& request, Shortage now) {
  FakeWorld world(request);
  const ComPtr<IDispatch> report = world.NewReport(*request.report);
  const DISPID move = NumberOf(report.Get(), L"MoveDataDetail");
  allocations = 0;
  shortage = now;
  Outcome outcome = Invoke(report.Get(), move, DISPATCH_METHOD);
  shortage = {};
  const int made = allocations;
  if (outcome.code == DISP_E_EXCEPTION) {
    const DatabaseError error = FromException(outcome.exception);
    // One report wraps what it meets.
    CHECK((error.number == E_OUTOFMEMORY || error.number == 1000));
    CHECK(error.description.starts_with(u"Out of memory"));
    CHECK(error.source == (error.number == 1000 ? u"" : u"Ledgerwick"));
  } else {
    CHECK((outcome.code == S_OK || outcome.code == E_OUTOFMEMORY));
  }
  CHECK(Invoke(report.Get(), move, DISPATCH_METHOD).code == S_OK);
  return made;
}

TEST_SUITE("memory") {
  TEST_CASE("memory that runs out is an error, and leaves nothing behind") {
    FakeWorld().NewReport(*FindClass(u"clsInventroy"));  // loads the module
    const HMODULE module = GetModuleHandleW(L"Ledgerwick.dll");
    const NoticeWatch watch(module);
    const ImportHook memory(module, "malloc", reinterpret_cast<void*>(&AllocateSome));
    const ImportHook strings(module, "SysAllocStringLen",
                             reinterpret_cast<void*>(&AllocateSomeString));
    for (const Request& request : Requests()) {
      if (request.report->factory == nullptr) continue;
      CAPTURE(ToUtf8(request.report->name));
      const int made = RunShort(request, {});
      CHECK(made > 10);
      for (const bool for_good : {false, true}) {
        // Each of the first, then ever fewer.
        for (int left = 0; left < made; left += 1 + left / 32) {
          CAPTURE(left);
          RunShort(request, {left, for_good});
          CHECK(FakeObject::live == 0);
          CHECK(MayUnload());
        }
      }
    }
  }
}

}  // namespace
}  // namespace ledgerwick::com::testing
