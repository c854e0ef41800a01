// A host and ADO, scripted.
#pragma once

#include <functional>
#include <map>
#include <memory>
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
  Text value;
};

// What one connection of the scripted ADO leads to. A DatabaseError is raised to ADO's caller.
class Server {
 public:
  virtual ~Server() = default;
  virtual void Open(const Text& /*connection_string*/) {}
  virtual void Execute(const Text& /*batch*/) {}
  virtual std::vector<CannedRow> Query(const Text& sql) = 0;
  virtual void Close() {}
};

// A scripted host and ADO, whose classes are those of this double while it lives. What is asked of
// ADO otherwise than the component may is refused as ADO refuses arguments that it cannot use.
class FakeWorld {
 public:
  using MakeServer = std::function<std::shared_ptr<Server>()>;

  // The host has the request's title, filters and login. A query gives the request's recordsets,
  // unless there is a server to ask.
  explicit FakeWorld(const Request& request = {}, MakeServer make_server = {});
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
  std::vector<FakeParameter> parameters;  // what was appended
  bool refuses_size_zero = false;         // Append raises 3708 for a size of 0
  Variant last_value;                     // written to a filter's varValue last

 private:
  class Factory;
  using Maker = ComPtr<IDispatch> (FakeWorld::*)();

  ComPtr<IDispatch> Make(std::map<std::wstring, Handler> members);
  ComPtr<IDispatch> NewFilterSet();
  ComPtr<IDispatch> NewFilter(std::size_t index);
  ComPtr<IDispatch> NewParameter(const FakeCall& call);
  Variant Condition(const std::function<bool(const FakeFilter&)>& takes) const;
  void Replace(const wchar_t* prog_id, Maker make);

  Request request_;
  MakeServer make_server_;
  std::vector<std::unique_ptr<Factory>> factories_;
  std::vector<DWORD> registrations_;
  // What lies behind the objects that ADO's callers hand back.
  std::map<IDispatch*, std::weak_ptr<Server>> servers_;
  std::map<IDispatch*, FakeParameter> created_;
};

// Ledgerwick.dll, loaded.
HMODULE LoadModule();

// Performs `run` at each of the steps, from 0, whose number `count` gives. Where `thinning` is not
// 0, the later steps are ever fewer: of those behind N * thinning, each Nth. No object may be left
// after a step.
void AtEveryStep(TextView what, const std::function<int()>& count, int thinning,
                 const std::function<void(int)>& run);

}  // namespace ledgerwick::com::testing
