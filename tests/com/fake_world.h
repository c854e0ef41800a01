// A host and ADO, scripted.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "fake_object.h"

namespace ledgerwick::com::testing {

// A filter item of the scripted host.
struct FakeFilter {
  std::u16string name;
  Variant value;
  Variant value2;
  std::u16string sql;
  int group = 0;
};

// A scripted host and ADO. Unless told otherwise, ADO's classes are those of this double while it
// lives.
class FakeWorld {
 public:
  explicit FakeWorld(bool replaces_ado = true);
  ~FakeWorld();
  FakeWorld(const FakeWorld&) = delete;
  FakeWorld& operator=(const FakeWorld&) = delete;

  ComPtr<IDispatch> NewManager();
  ComPtr<IDispatch> NewLogin();
  ComPtr<IDispatch> NewConnection();
  ComPtr<IDispatch> NewCommand();
  ComPtr<IDispatch> NewRecordset();  // without rows

  Script script;
  std::vector<FakeFilter> filters;
  std::u16string condition;                // ConditionText and GroupConditionText
  std::vector<std::u16string> statements;  // what the connections executed
  std::vector<std::wstring> parameters;    // "name/type/size" of what was appended
  bool refuses_size_zero = false;          // Append raises 3708 for a size of 0
  Variant last_value;                      // written to a filter's varValue last

 private:
  class Factory;

  ComPtr<IDispatch> NewFilterSet();
  ComPtr<IDispatch> NewItems();
  ComPtr<IDispatch> NewFilter(std::size_t index);
  ComPtr<IDispatch> NewParameter(const FakeCall& call);
  void Replace(const wchar_t* prog_id, std::function<ComPtr<IDispatch>()> make);

  std::vector<DWORD> registrations_;
};

}  // namespace ledgerwick::com::testing
