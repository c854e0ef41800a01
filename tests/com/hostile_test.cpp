// A host that takes away, from inside its own members, what the component works with.
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

// Whoever uses what the component has freed falls over it.
void FillAndFree(void* block) {
  if (block != nullptr) std::memset(block, 0xDD, _msize(block));
  std::free(block);
}

enum class Deed { NoConnection, OtherConnection, NoManager, RunAgain, Release };

// Does it to `report`, whose only owner is `owner`.
void Do(Deed deed, FakeWorld& world, IDispatch* report, ComPtr<IDispatch>& owner) {
  const auto set = [&](const wchar_t* property, IDispatch* object) {
    CHECK(Invoke(report, property, DISPATCH_PROPERTYPUTREF, {Variant::OfObject(object)}).code ==
          S_OK);
  };
  switch (deed) {
    case Deed::NoConnection:
      return set(L"mconn", nullptr);
    case Deed::OtherConnection:
      return set(L"mconn", world.NewConnection().Get());
    case Deed::NoManager:
      return set(L"ObjReportManager", nullptr);
    case Deed::RunAgain:
      CHECK(Invoke(report, L"MoveDataDetail", DISPATCH_METHOD).code == S_OK);
      return;
    case Deed::Release:
      return owner.Reset();
  }
}

// Runs the request's report while the host does `deed` at the step `at`. Gives the number of steps.
int RunDisturbed(const Request& request, Deed deed, int at) {
  FakeWorld world(request);
  ComPtr<IDispatch> owner = world.NewReport(*request.report);
  IDispatch* const report = owner.Get();
  world.script.steps = 0;
  world.script.at_step = [&](int step) {
    if (step == at) Do(deed, world, report, owner);
  };
  Outcome outcome = Invoke(report, L"MoveDataDetail", DISPATCH_METHOD);
  if (outcome.code == DISP_E_EXCEPTION) {
    const std::int32_t number = FromException(outcome.exception).number;
    const bool tells_itself = request.report->name == u"newclsReportDataSaleDetail";
    CHECK(number == (tells_itself ? 1000 : 91));
    CHECK(deed <= Deed::NoManager);
  } else {
    CHECK(outcome.code == S_OK);
  }
  return world.script.steps;
}

TEST_SUITE("hostile hosts") {
  TEST_CASE("what the host takes away during a call is error 91 at most") {
    FakeWorld().NewReport(*FindClass(u"clsInventroy"));  // loads the module
    const HMODULE module = GetModuleHandleW(L"Ledgerwick.dll");
    const NoticeWatch watch(module);
    const ImportHook memory(module, "free", reinterpret_cast<void*>(&FillAndFree));
    for (const Request& request : Requests()) {
      if (request.report->factory == nullptr) continue;
      CAPTURE(ToUtf8(request.report->name));
      const int steps = RunDisturbed(request, Deed::NoManager, -1);
      CHECK(steps > 5);
      for (const Deed deed : {Deed::NoConnection, Deed::OtherConnection, Deed::NoManager,
                              Deed::RunAgain, Deed::Release}) {
        CAPTURE(static_cast<int>(deed));
        for (int at = 0; at < steps; ++at) {
          CAPTURE(at);
          RunDisturbed(request, deed, at);
          CHECK(FakeObject::live == 0);
          CHECK(MayUnload());
        }
      }
    }
  }
}

}  // namespace
}  // namespace ledgerwick::com::testing
