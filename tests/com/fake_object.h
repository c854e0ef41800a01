// Objects that the tests script: names with handlers, and a count of the calls.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "com/com_types.h"
#include "frame/error.h"

namespace ledgerwick::com::testing {

// An array, which has no text and is no object.
Variant AnArray();

// One call of a scripted object's member.
struct FakeCall {
  std::vector<Variant> arguments;  // in their order, without references
  bool writes = false;
  BSTR* title = nullptr;  // the first argument, where it is a text by reference
};

// Does a call's work. A DatabaseError that it throws is raised to the caller.
using Handler = std::function<Variant(const FakeCall&)>;

// What a scripted call does instead of its work.
enum class Mishap { None, Error, Null, WrongType, NoMember };

// The error that a Mishap::Error raises, with everything that an error can say.
inline constexpr HRESULT kRaised = static_cast<HRESULT>(0x80040E14);
DatabaseError RaisedError();

// Counts the calls of all scripted objects and lets one of them go wrong.
struct Script {
  int calls = 0;
  int mishap_at = -1;  // counted from 0
  Mishap mishap = Mishap::None;
  HRESULT raised = kRaised;
  WORD raised_code = 0;           // instead of `raised`, where not 0
  std::vector<std::wstring> log;  // the calls: "Name", "Put varValue 1", "Execute drop …"

  // Looking a member up and calling it are a step each. `at_step` runs at the beginning of each and
  // gets its number, counted from 0; it may do whatever a host does.
  int steps = 0;
  std::function<void(int)> at_step;
  void Step();
};

// An object with dispatch interface alone. Counts how many of its kind live.
class FakeObject final : public IDispatch {
 public:
  explicit FakeObject(Script& script) : script_(script) { ++live; }
  ~FakeObject() { --live; }

  static ComPtr<IDispatch> Make(Script& script, std::map<std::wstring, Handler> members);

  static inline int live = 0;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** result) override;
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override;
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID,
                                          DISPID* ids) override;
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* parameters,
                                   VARIANT* result, EXCEPINFO* info, UINT*) override;

 private:
  ULONG references_ = 1;
  Script& script_;
  std::vector<std::pair<std::wstring, Handler>> members_;
};

}  // namespace ledgerwick::com::testing
