// Runs in which memory runs out, or the host takes away, from inside its own members, what the
// component works with.
#include <doctest/doctest.h>
#include <malloc.h>

#include <cstdlib>
#include <cstring>

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

// Whoever uses what the component has freed falls over it.
void FillAndFree(void* block) {
  if (block != nullptr) std::memset(block, 0xDD, _msize(block));
  std::free(block);
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

// What a host may take from a report. tests/reports looks what becomes of every step; here it
// counts that nobody uses what is gone.
enum class Deed { TakeConnection, TakeManager, Release };

// Runs the request's report while the host does `deed` at the step `at`. Gives the number of steps.
int RunDisturbed(const Request& request, Deed deed, int at) {
  FakeWorld world(request);
  ComPtr<IDispatch> owner = world.NewReport(*request.report);
  IDispatch* const report = owner.Get();
  world.script.steps = 0;
  world.script.at_step = [&](int step) {
    if (step != at) return;
    if (deed == Deed::Release) return owner.Reset();
    const wchar_t* const property = deed == Deed::TakeManager ? L"ObjReportManager" : L"mconn";
    CHECK(Invoke(report, property, DISPATCH_PROPERTYPUTREF, {Variant::OfObject(nullptr)}).code ==
          S_OK);
  };
  Outcome outcome = Invoke(report, L"MoveDataDetail", DISPATCH_METHOD);
  if (outcome.code == DISP_E_EXCEPTION) {
    const std::int32_t number = FromException(outcome.exception).number;
    const bool tells_itself = request.report->name == u"newclsReportDataSaleDetail";
    CHECK(number == (tells_itself ? 1000 : 91));
    CHECK(deed != Deed::Release);
  } else {
    CHECK(outcome.code == S_OK);
  }
  return world.script.steps;
}

TEST_SUITE("disturbed runs") {
  TEST_CASE("memory that runs out is an error, and leaves nothing behind") {
    const HMODULE module = LoadModule();
    const NoticeWatch watch(module);
    const ImportHook memory(module, "malloc", reinterpret_cast<void*>(&AllocateSome));
    const ImportHook strings(module, "SysAllocStringLen",
                             reinterpret_cast<void*>(&AllocateSomeString));
    for (const Request& request : Requests()) {
      // Each of the first, then ever fewer.
      AtEveryStep(
          request.report->name, [&] { return RunShort(request, {}); }, 32,
          [&](int left) {
            for (const bool for_good : {false, true}) RunShort(request, {left, for_good});
          });
    }
  }

  TEST_CASE("what the host takes away during a call is error 91 at most") {
    const HMODULE module = LoadModule();
    const NoticeWatch watch(module);
    const ImportHook memory(module, "free", reinterpret_cast<void*>(&FillAndFree));
    for (const Request& request : Requests()) {
      const auto undisturbed = [&] { return RunDisturbed(request, Deed::Release, -1); };
      AtEveryStep(request.report->name, undisturbed, 0, [&](int at) {
        for (const Deed deed : {Deed::TakeConnection, Deed::TakeManager, Deed::Release}) {
          CAPTURE(static_cast<int>(deed));
          RunDisturbed(request, deed, at);
        }
      });
    }
  }
}

}  // namespace
}  // namespace ledgerwick::com::testing
