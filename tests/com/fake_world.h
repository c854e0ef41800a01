// A host and ADO, scripted.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "fake_object.h"
#include "host/request.h"

namespace ledgerwick::com::testing {

// A filter item of the scripted host.
struct FakeFilter {
  Text name;
  Variant value;
  Variant value2;
  Text sql;
  int group = 0;
  Text caption;
};

// What a command's CreateParameter was given.
struct FakeParameter {
  Text name;
  int type = 0;
  int size = 0;
};

// A scripted host and ADO. Unless told otherwise, ADO's classes are those of this double while it
// lives.
class FakeWorld {
 public:
  enum class Ado { OfThisDouble, OfThePlatform };

  FakeWorld() : FakeWorld(Request()) {}

  // The host has the request's title, filters and login; a query gives the request's recordsets.
  explicit FakeWorld(const Request& request, Ado ado = Ado::OfThisDouble);
  ~FakeWorld();
  FakeWorld(const FakeWorld&) = delete;
  FakeWorld& operator=(const FakeWorld&) = delete;

  // A new object of the class with all its properties set, the connection string to `connection`.
  // Throws std::runtime_error when it cannot be created.
  ComPtr<IDispatch> NewReport(const ClassInfo& info, const Text& connection = {});

  ComPtr<IDispatch> NewManager();
  ComPtr<IDispatch> NewLogin();
  ComPtr<IDispatch> NewConnection();
  ComPtr<IDispatch> NewCommand();
  ComPtr<IDispatch> NewRecordset();

  Script script;
  std::vector<FakeFilter> filters;
  std::vector<Text> statements;           // what the connections executed
  std::vector<FakeParameter> parameters;  // what was appended
  bool refuses_size_zero = false;         // Append raises 3708 for a size of 0
  Variant last_value;                     // written to a filter's varValue last

 private:
  class Factory;

  ComPtr<IDispatch> NewFilterSet();
  ComPtr<IDispatch> NewItems();
  ComPtr<IDispatch> NewFilter(std::size_t index);
  ComPtr<IDispatch> NewParameter(const FakeCall& call);
  Variant Condition(const std::function<bool(const FakeFilter&)>& takes) const;
  void Replace(const wchar_t* prog_id, std::function<ComPtr<IDispatch>()> make);

  Request request_;
  Ado ado_;
  std::vector<DWORD> registrations_;
  std::map<IDispatch*, FakeParameter> created_;  // by CreateParameter
};

}  // namespace ledgerwick::com::testing
