#include "fake_world.h"

#include <doctest/doctest.h>

#include <optional>
#include <stdexcept>

#include "com/dispatch_object.h"
#include "com/variant_value.h"
#include "component.h"
#include "frame/error.h"
#include "host/canned_recordset.h"
#include "host/reference_host.h"

namespace ledgerwick::com::testing {
namespace {

// A member without a result.
template <typename Work>
Handler Does(Work work) {
  return [work](const FakeCall& call) {
    work(call);
    return Variant();
  };
}

// A member that gives a value, whatever it is called with.
template <typename Read>
Handler Gives(Read read) {
  return [read](const FakeCall&) { return ToVariant(Value(read())); };
}

// A member that gives an object.
template <typename Make>
Handler Leads(Make make) {
  return [make](const FakeCall&) { return Variant::OfObject(make().Get()); };
}

// A property that keeps what is written to it.
Handler Keeps(const std::shared_ptr<Variant>& value) {
  return Does([value](const FakeCall& call) { *value = call.arguments.at(0); });
}

[[noreturn]] void Refuse(const char16_t* member) {
  throw DatabaseError(3001, u"ADODB", u"Arguments are of the wrong type: " + Text(member));
}

// A call has to have these arguments, in their order; any where there is none.
void Demand(const FakeCall& call, const char16_t* member,
            const std::vector<std::optional<Value>>& wanted) {
  if (call.arguments.size() != wanted.size()) Refuse(member);
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    if (wanted[i] && ToValue(call.arguments[i]) != *wanted[i]) Refuse(member);
  }
}
constexpr std::nullopt_t kAny = std::nullopt;

// The account's parameters are read with the server's cursor and a read-only lock, all else with
// the client's and a batch-optimistic one.
void DemandRecordset(const Variant& cursor_location, const FakeCall& call) {
  const bool reads_account =
      FoldText(ToText(call.arguments.at(0))).find(FoldText(u"AccInformation")) != Text::npos;
  Demand(call, u"Open",
         {kAny, kAny, kOpenStatic, reads_account ? kLockReadOnly : kLockBatchOptimistic,
          reads_account ? kCommandText : kOptionUnspecified});
  if (ToInteger(cursor_location) != (reads_account ? kUseServer : kUseClient)) Refuse(u"Open");
}

class CannedServer final : public Server {
 public:
  explicit CannedServer(const Request& request) : request_(request) {}
  std::vector<CannedRow> Query(const Text& sql) override {
    for (const CannedRecordset& canned : request_.recordsets) {
      if (sql.find(canned.match) != Text::npos) return canned.rows;
    }
    return {};
  }

 private:
  const Request& request_;
};

// What `objects` has for the object that ADO's caller hands back. Throws error 91 without one.
template <typename Objects>
auto& Behind(Objects& objects, const Variant& object) {
  const auto found = objects.find(ToObject(object).Get());
  if (found == objects.end()) throw ObjectNotSet();
  return found->second;
}

// What a command is told.
struct CommandState {
  std::shared_ptr<Variant> connection = std::make_shared<Variant>();
  std::shared_ptr<Variant> text = std::make_shared<Variant>();
  std::shared_ptr<Variant> type = std::make_shared<Variant>();
  std::shared_ptr<Variant> timeout = std::make_shared<Variant>();
  Text arguments;

  // What the server is asked to run. ADO hands parameters over in their order, not by their names.
  Text Batch() const {
    if (ToInteger(*type) == kCommandText && arguments.empty()) return ToText(*text);
    if (ToInteger(*type) != kCommandStoredProcedure || ToInteger(*timeout) != 0) Refuse(u"Execute");
    return u"EXEC " + ToText(*text) + arguments;
  }

  void Append(const Text& value) {
    arguments += arguments.empty() ? u" '" : u", '";
    for (const char16_t c : value) arguments.append(c == u'\'' ? 2 : 1, c);
    arguments += u'\'';
  }
};

}  // namespace

// Hands out the double's objects under ADO's class identifiers. The world owns it.
class FakeWorld::Factory final : public IClassFactory {
 public:
  Factory(FakeWorld& world, Maker make) : world_(world), make_(make) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** result) override {
    const bool known = iid == IID_IUnknown || iid == IID_IClassFactory;
    *result = known ? this : nullptr;
    return known ? S_OK : E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** result) override {
    return (world_.*make_)()->QueryInterface(iid, result);
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

 private:
  FakeWorld& world_;
  Maker make_;
};

FakeWorld::FakeWorld(const Request& request, MakeServer make_server)
    : request_(request), make_server_(std::move(make_server)) {
  if (!make_server_) {
    make_server_ = [this] { return std::make_shared<CannedServer>(request_); };
  }
  for (const FilterItem& item : request.filters.value_or(std::vector<FilterItem>())) {
    filters.push_back({item.Name, ToVariant(item.varValue), ToVariant(item.varValue2),
                       ReferenceFilter(item).strSqlString(), 0, item.strcaption});
  }
  Replace(L"ADODB.Connection", &FakeWorld::NewConnection);
  Replace(L"ADODB.Command", &FakeWorld::NewCommand);
  Replace(L"ADODB.Recordset", &FakeWorld::NewRecordset);
}

FakeWorld::~FakeWorld() {
  for (const DWORD registration : registrations_) CoRevokeClassObject(registration);
}

void FakeWorld::Replace(const wchar_t* prog_id, Maker make) {
  CLSID id;
  if (FAILED(CLSIDFromProgID(prog_id, &id))) return;
  factories_.push_back(std::make_unique<Factory>(*this, make));
  CoRegisterClassObject(id, factories_.back().get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                        &registrations_.emplace_back());
}

ComPtr<IDispatch> FakeWorld::Make(std::map<std::wstring, Handler> members) {
  return FakeObject::Make(script, std::move(members));
}

ComPtr<IDispatch> FakeWorld::NewReport(const ClassInfo& info, const Text& connection) {
  ComPtr<IDispatch> object;
  if (FAILED(Create(info, object))) throw std::runtime_error("no " + ToUtf8(info.name));
  DispatchObject report(object);
  report.PutReference(L"ObjReportManager", NewManager().Get());
  report.PutReference(L"mconn", NewConnection().Get());
  if (info.Has(Member::objLogin)) report.PutReference(L"objLogin", NewLogin().Get());
  report.Put(L"ReportTitle", Variant::OfText(request_.ReportTitle));
  report.Put(L"mConnectionString", Variant::OfText(connection));
  return object;
}

ComPtr<IDispatch> FakeWorld::NewManager() {
  return Make({{L"ReportFilterByName", [this](const FakeCall& call) {
                  const bool ours =
                      request_.filters && ToText(call.arguments.at(0)) == request_.ReportTitle;
                  return Variant::OfObject(ours ? NewFilterSet().Get() : nullptr);
                }}});
}

ComPtr<IDispatch> FakeWorld::NewLogin() {
  std::map<std::wstring, Handler> members;
  const LoginMembers login = request_.login.value_or(LoginMembers());
  if (login.CurDate) members[L"CurDate"] = Gives([=] { return *login.CurDate; });
  if (login.cAcc_Id) members[L"cAcc_Id"] = Gives([=] { return *login.cAcc_Id; });
  return Make(members);
}

// The conditions of the items that `takes` lets through, as hosts word them.
Variant FakeWorld::Condition(const std::function<bool(const FakeFilter&)>& takes) const {
  Text joined;
  for (const FakeFilter& filter : filters) {
    if (!takes(filter) || Trim(filter.sql).empty()) continue;
    joined += (joined.empty() ? u"" : u" And ") + filter.sql;
  }
  return Variant::OfText(joined);
}

ComPtr<IDispatch> FakeWorld::NewFilterSet() {
  const auto holds_anything = [](const FakeFilter& filter) {
    return !ToText(filter.value).empty() || !ToText(filter.value2).empty();
  };
  const Handler item = [this](const FakeCall& call) {
    const auto index = static_cast<std::size_t>(ToInteger(call.arguments.at(0)));
    return Variant::OfObject(NewFilter(index - 1).Get());
  };
  const Handler by_name = [this](const FakeCall& call) {
    for (const FakeFilter& filter : filters) {
      if (!EqualText(Trim(filter.name), Trim(ToText(call.arguments.at(0))))) continue;
      return ToInteger(call.arguments.at(1)) == 2 ? filter.value2 : filter.value;
    }
    return Variant();
  };
  const Handler of_group = [this](const FakeCall& call) {
    const int group = ToInteger(call.arguments.at(0));
    return Condition([group](const FakeFilter& filter) { return filter.group == group; });
  };
  const Handler count = Gives([this] { return static_cast<std::int64_t>(filters.size()); });
  const Handler items = Leads([=, this] { return Make({{L"Count", count}, {L"Item", item}}); });
  return Make({{L"Filters", items},
               {L"ConditionText", [=, this](const FakeCall&) { return Condition(holds_anything); }},
               {L"GroupConditionText", of_group},
               {L"ValueByName", by_name}});
}

ComPtr<IDispatch> FakeWorld::NewFilter(std::size_t index) {
  const auto filter = [this, index]() -> FakeFilter& { return filters.at(index); };
  const Handler value = [=, this](const FakeCall& call) {
    if (call.writes) last_value = filter().value = call.arguments.at(0);
    return filter().value;
  };
  const Handler sql = [=](const FakeCall& call) {
    if (call.writes) filter().sql = ToText(call.arguments.at(0));
    return Variant::OfText(filter().sql);
  };
  const Handler group = [=](const FakeCall& call) {
    if (call.writes) filter().group = ToInteger(call.arguments.at(0));
    return Variant::OfInteger(filter().group);
  };
  return Make({{L"Name", Gives([=] { return filter().name; })},
               {L"strcaption", Gives([=] { return filter().caption; })},
               {L"varValue", value},
               {L"varValue2", [=](const FakeCall&) { return filter().value2; }},
               {L"strSqlString", sql},
               {L"LngGrouptoken", group}});
}

ComPtr<IDispatch> FakeWorld::NewConnection() {
  const std::shared_ptr<Server> server = make_server_();
  const Handler open = Does([server](const FakeCall& call) {
    Demand(call, u"Open", {kAny, u"", u"", kOptionUnspecified});
    server->Open(ToText(call.arguments[0]));
  });
  const Handler execute = Does([server](const FakeCall& call) {
    Demand(call, u"Execute", {kAny, kAny, kOptionUnspecified});
    server->Execute(ToText(call.arguments[0]));
  });
  const Handler close = Does([server](const FakeCall&) { server->Close(); });
  ComPtr<IDispatch> connection = Make({{L"Open", open}, {L"Execute", execute}, {L"Close", close}});
  std::erase_if(servers_, [](const auto& one) { return one.second.expired(); });
  servers_[connection.Get()] = server;
  return connection;
}

ComPtr<IDispatch> FakeWorld::NewRecordset() {
  const auto rows = std::make_shared<MemoryRecordset>(std::vector<CannedRow>());
  const auto location = std::make_shared<Variant>();
  const Handler open = Does([=, this](const FakeCall& call) {
    DemandRecordset(*location, call);
    const std::shared_ptr<Server> server = Behind(servers_, call.arguments[1]).lock();
    *rows = MemoryRecordset(server->Query(ToText(call.arguments[0])));
  });
  const Handler item = [=, this](const FakeCall& call) {
    const Text name = ToText(call.arguments.at(0));
    const Handler value = Gives([=] { return rows->Field(name); });
    return Variant::OfObject(Make({{L"Value", value}}).Get());
  };
  const auto filter = [rows](const FakeCall& call) {
    rows->SetFilter(ToText(call.arguments.at(0)));
  };
  return Make({{L"CursorLocation", Keeps(location)},
               {L"Open", open},
               {L"Filter", Does(filter)},
               {L"Close", Does([rows](const FakeCall&) { rows->Close(); })},
               {L"RecordCount", Gives([rows] { return rows->RecordCount(); })},
               {L"EOF", Gives([rows] { return rows->AtEnd(); })},
               {L"MoveNext", Does([rows](const FakeCall&) { rows->MoveNext(); })},
               {L"Fields", Leads([=, this] {
                  return Make({{L"Item", item}});
                })}});
}

ComPtr<IDispatch> FakeWorld::NewParameter(const FakeCall& call) {
  Demand(call, u"CreateParameter", {kAny, kAny, kParameterInput, kAny, kAny});
  const auto self = std::make_shared<IDispatch*>();
  ComPtr<IDispatch> parameter = Make({{L"Size", Does([this, self](const FakeCall& c) {
                                         created_[*self].size = ToInteger(c.arguments.at(0));
                                       })}});
  *self = parameter.Get();
  created_[*self] = {ToText(call.arguments[0]), ToInteger(call.arguments[1]),
                     ToInteger(call.arguments[3]), ToText(call.arguments[4])};
  return parameter;
}

ComPtr<IDispatch> FakeWorld::NewCommand() {
  const auto state = std::make_shared<CommandState>();
  const Handler append = Does([this, state](const FakeCall& call) {
    const FakeParameter& parameter = Behind(created_, call.arguments.at(0));
    if (refuses_size_zero && parameter.size == 0) {
      throw DatabaseError(3708, u"ADODB.Parameters", u"Parameter object is improperly defined.");
    }
    parameters.push_back(parameter);
    state->Append(parameter.value);
  });
  const Handler execute = Does([this, state](const FakeCall& call) {
    Demand(call, u"Execute", {kAny, kAny, kOptionUnspecified});
    Behind(servers_, *state->connection).lock()->Execute(state->Batch());
  });
  const Handler create = [this](const FakeCall& call) {
    return Variant::OfObject(NewParameter(call).Get());
  };
  return Make({{L"ActiveConnection", Keeps(state->connection)},
               {L"CommandText", Keeps(state->text)},
               {L"CommandType", Keeps(state->type)},
               {L"CommandTimeout", Keeps(state->timeout)},
               {L"Execute", execute},
               {L"CreateParameter", create},
               {L"Parameters", Leads([=, this] {
                  return Make({{L"Append", append}});
                })}});
}

HMODULE LoadModule() {
  FakeWorld().NewReport(*FindClass(u"clsInventroy"));
  return GetModuleHandleW(L"Ledgerwick.dll");
}

void AtEveryStep(TextView what, const std::function<int()>& count, int thinning,
                 const std::function<void(int)>& run) {
  CAPTURE(ToUtf8(what));
  const int steps = count();
  CHECK(steps > 3);
  for (int at = 0; at < steps; at += thinning == 0 ? 1 : 1 + at / thinning) {
    CAPTURE(at);
    run(at);
    CHECK(FakeObject::live == 0);
    CHECK(MayUnload());
  }
}

}  // namespace ledgerwick::com::testing
