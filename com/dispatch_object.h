// Late binding: members of another object called by name.
#pragma once

#include <initializer_list>
#include <string>
#include <unordered_map>
#include <vector>

#include "com/com_types.h"

namespace ledgerwick::com {

// An object reached through its dispatch interface. A member's number is looked up once. Every call
// throws DatabaseError with what the object raised; a name that it lacks is error 438.
class DispatchObject {
 public:
  // Shares `object`, which may be null: then every call throws error 91.
  explicit DispatchObject(ComPtr<IDispatch> object) : object_(std::move(object)) {}

  // The object itself; null where there is none.
  IDispatch* Get() const noexcept { return object_.Get(); }
  const ComPtr<IDispatch>& Shared() const noexcept { return object_; }

  // Calls a method or reads a property, with the arguments in their order.
  Variant Call(const wchar_t* name, std::vector<Variant> arguments = {});

  // Writes a property.
  void Put(const wchar_t* name, Variant value);

  // Sets a property to an object, by reference.
  void PutReference(const wchar_t* name, IDispatch* value);

 private:
  DISPID Find(const wchar_t* name);
  Variant Invoke(const wchar_t* name, WORD flags, DISPPARAMS& parameters);
  void PutWith(const wchar_t* name, WORD flags, Variant value);

  ComPtr<IDispatch> object_;
  std::unordered_map<std::wstring, DISPID> numbers_;
};

// A new object of the class `prog_id`. Throws error 429 when there is no such class.
DispatchObject CreateByProgId(const wchar_t* prog_id);

}  // namespace ledgerwick::com
