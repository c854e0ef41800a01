// Late binding: members of another object called by name.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "com/com_types.h"

namespace ledgerwick::com {

// An object reached through its dispatch interface. A member's number is looked up once. Every call
// throws DatabaseError with what the object raised; a name that it lacks is error 438. A call may
// end the DispatchObject that it was made through: it holds what it needs.
class DispatchObject {
 public:
  // Shares `object`, which may be null: then every call throws error 91.
  explicit DispatchObject(ComPtr<IDispatch> object);

  // The object itself; null where there is none.
  IDispatch* Get() const noexcept { return bound_->object.Get(); }
  const ComPtr<IDispatch>& Shared() const noexcept { return bound_->object; }

  // Calls a method or reads a property, with the arguments in their order.
  Variant Call(const wchar_t* name, std::vector<Variant> arguments = {});

  // Writes a property; the object gets `value` as it stands, not a copy.
  void Put(const wchar_t* name, const Variant& value);

  // Sets a property to an object, by reference.
  void PutReference(const wchar_t* name, IDispatch* value);

 private:
  struct Bound {
    ComPtr<IDispatch> object;
    std::unordered_map<std::wstring, DISPID> numbers;
  };

  static DISPID Find(Bound& bound, const wchar_t* name);
  Variant Invoke(const wchar_t* name, WORD flags, DISPPARAMS& parameters);
  void PutWith(const wchar_t* name, WORD flags, const Variant& value);

  std::shared_ptr<Bound> bound_;
};

// A new object of the class `prog_id`. Throws error 429 when there is no such class.
DispatchObject CreateByProgId(const wchar_t* prog_id);

}  // namespace ledgerwick::com
