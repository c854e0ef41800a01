#include "fake_world.h"

#include <memory>
#include <stdexcept>

#include "ado_contract.h"
#include "com/ado.h"
#include "com/variant_value.h"
#include "component.h"
#include "frame/error.h"
#include "host/canned_recordset.h"
#include "host/reference_host.h"

namespace ledgerwick::com::testing {

// Hands out the double's objects under ADO's class identifiers.
class FakeWorld::Factory final : public IClassFactory {
 public:
  explicit Factory(std::function<ComPtr<IDispatch>()> make) : make_(std::move(make)) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** result) override {
    const bool known = iid == IID_IUnknown || iid == IID_IClassFactory;
    *result = known ? this : nullptr;
    if (!known) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references_;
    if (left == 0) std::unique_ptr<Factory>(this).reset();
    return left;
  }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** result) override {
    return make_()->QueryInterface(iid, result);
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

 private:
  ULONG references_ = 1;
  std::function<ComPtr<IDispatch>()> make_;
};

FakeWorld::FakeWorld(const Request& request, Ado ado) : request_(request), ado_(ado) {
  for (const FilterItem& item : request.filters.value_or(std::vector<FilterItem>())) {
    filters.push_back({item.Name, ToVariant(item.varValue), ToVariant(item.varValue2),
                       ReferenceFilter(item).strSqlString(), 0, item.strcaption});
  }
  if (ado == Ado::OfThePlatform) return;
  Replace(L"ADODB.Connection", [this] { return NewConnection(); });
  Replace(L"ADODB.Command", [this] { return NewCommand(); });
  Replace(L"ADODB.Recordset", [this] { return NewRecordset(); });
}

FakeWorld::~FakeWorld() {
  for (const DWORD registration : registrations_) CoRevokeClassObject(registration);
}

void FakeWorld::Replace(const wchar_t* prog_id, std::function<ComPtr<IDispatch>()> make) {
  CLSID id;
  if (FAILED(CLSIDFromProgID(prog_id, &id))) return;
  ComPtr<IClassFactory> factory;
  *factory.Receive() = std::make_unique<Factory>(std::move(make)).release();
  DWORD registration = 0;
  CoRegisterClassObject(id, factory.Get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &registration);
  registrations_.push_back(registration);
}

ComPtr<IDispatch> FakeWorld::NewReport(const ClassInfo& info, const Text& connection) {
  ComPtr<IDispatch> object;
  if (FAILED(Create(info, object))) throw std::runtime_error("no " + ToUtf8(info.name));
  DispatchObject report(object);
  report.PutReference(L"ObjReportManager", NewManager().Get());
  report.PutReference(L"mconn", ado_ == Ado::OfThePlatform ? AdoConnection::New()->Object().Get()
                                                           : NewConnection().Get());
  if (info.Has(Member::objLogin)) report.PutReference(L"objLogin", NewLogin().Get());
  report.Put(L"ReportTitle", Variant::OfText(request_.ReportTitle));
  report.Put(L"mConnectionString", Variant::OfText(connection));
  return object;
}

ComPtr<IDispatch> FakeWorld::NewManager() {
  return FakeObject::Make(script, {{L"ReportFilterByName", [this](const FakeCall& call) {
                                      const bool ours =
                                          request_.filters &&
                                          ToText(call.arguments.at(0)) == request_.ReportTitle;
                                      return ours ? Variant::OfObject(NewFilterSet().Get())
                                                  : Variant::OfObject(nullptr);
                                    }}});
}

ComPtr<IDispatch> FakeWorld::NewLogin() {
  std::map<std::wstring, Handler> members;
  const auto add = [&](const wchar_t* name, const std::optional<Value>& value) {
    if (value) members[name] = [value](const FakeCall&) { return ToVariant(*value); };
  };
  const LoginMembers login = request_.login.value_or(LoginMembers());
  add(L"CurDate", login.CurDate);
  add(L"cAcc_Id", login.cAcc_Id);
  return FakeObject::Make(script, members);
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
  const Handler by_name = [this](const FakeCall& call) {
    for (const FakeFilter& filter : filters) {
      if (!EqualText(Trim(filter.name), Trim(ToText(call.arguments.at(0))))) continue;
      return ToInteger(call.arguments.at(1)) == 2 ? filter.value2 : filter.value;
    }
    return Variant();
  };
  return FakeObject::Make(
      script,
      {{L"Filters", [this](const FakeCall&) { return Variant::OfObject(NewItems().Get()); }},
       {L"ConditionText", [=, this](const FakeCall&) { return Condition(holds_anything); }},
       {L"GroupConditionText",
        [this](const FakeCall& call) {
          const int group = ToInteger(call.arguments.at(0));
          return Condition([group](const FakeFilter& filter) { return filter.group == group; });
        }},
       {L"ValueByName", by_name}});
}

ComPtr<IDispatch> FakeWorld::NewItems() {
  return FakeObject::Make(
      script, {{L"Count",
                [this](const FakeCall&) {
                  return Variant::OfInteger(static_cast<std::int32_t>(filters.size()));
                }},
               {L"Item", [this](const FakeCall& call) {
                  const auto index = static_cast<std::size_t>(ToInteger(call.arguments.at(0)));
                  return Variant::OfObject(NewFilter(index - 1).Get());
                }}});
}

ComPtr<IDispatch> FakeWorld::NewFilter(std::size_t index) {
  const auto filter = [this, index]() -> FakeFilter& { return filters.at(index); };
  return FakeObject::Make(
      script, {{L"Name", [=](const FakeCall&) { return Variant::OfText(filter().name); }},
               {L"strcaption", [=](const FakeCall&) { return Variant::OfText(filter().caption); }},
               {L"varValue",
                [=, this](const FakeCall& call) {
                  if (call.writes) last_value = filter().value = call.arguments.at(0);
                  return filter().value;
                }},
               {L"varValue2", [=](const FakeCall&) { return filter().value2; }},
               {L"strSqlString",
                [=](const FakeCall& call) {
                  if (call.writes) filter().sql = ToText(call.arguments.at(0));
                  return Variant::OfText(filter().sql);
                }},
               {L"LngGrouptoken", [=](const FakeCall& call) {
                  if (call.writes) filter().group = ToInteger(call.arguments.at(0));
                  return Variant::OfInteger(filter().group);
                }}});
}

ComPtr<IDispatch> FakeWorld::NewConnection() {
  const Handler nothing = [](const FakeCall&) { return Variant(); };
  return FakeObject::Make(script, {{L"Open",
                                    [](const FakeCall& call) {
                                      CheckOpen(call);
                                      return Variant();
                                    }},
                                   {L"Close", nothing},
                                   {L"Execute", [this](const FakeCall& call) {
                                      CheckExecute(call);
                                      statements.push_back(ToText(call.arguments.at(0)));
                                      return Variant();
                                    }}});
}

ComPtr<IDispatch> FakeWorld::NewRecordset() {
  const Handler nothing = [](const FakeCall&) { return Variant(); };
  const auto rows = std::make_shared<MemoryRecordset>(std::vector<CannedRow>());
  const auto location = std::make_shared<Variant>();
  const Handler open = [this, rows, location](const FakeCall& call) {
    CheckRecordset(*location, call);
    for (const CannedRecordset& canned : request_.recordsets) {
      if (ToText(call.arguments.at(0)).find(canned.match) == Text::npos) continue;
      *rows = MemoryRecordset(canned.rows);
      break;
    }
    return Variant();
  };
  const Handler item = [this, rows](const FakeCall& call) {
    const Text name = ToText(call.arguments.at(0));
    const Handler read = [=](const FakeCall&) { return ToVariant(rows->Field(name)); };
    return Variant::OfObject(FakeObject::Make(script, {{L"Value", read}}).Get());
  };
  return FakeObject::Make(
      script, {{L"CursorLocation",
                [location](const FakeCall& call) {
                  *location = call.arguments.at(0);
                  return Variant();
                }},
               {L"Open", open},
               {L"Filter",
                [rows](const FakeCall& call) {
                  rows->SetFilter(ToText(call.arguments.at(0)));
                  return Variant();
                }},
               {L"Close", nothing},
               {L"RecordCount", [rows](const FakeCall&) { return ToVariant(rows->RecordCount()); }},
               {L"EOF", [rows](const FakeCall&) { return ToVariant(rows->AtEnd()); }},
               {L"MoveNext",
                [rows](const FakeCall&) {
                  rows->MoveNext();
                  return Variant();
                }},
               {L"Fields", [this, item](const FakeCall&) {
                  return Variant::OfObject(FakeObject::Make(script, {{L"Item", item}}).Get());
                }}});
}

ComPtr<IDispatch> FakeWorld::NewParameter(const FakeCall& call) {
  CheckParameter(call);
  const auto self = std::make_shared<IDispatch*>();
  const Handler size = [this, self](const FakeCall& c) {
    if (c.writes) created_[*self].size = ToInteger(c.arguments.at(0));
    return Variant::OfInteger(created_[*self].size);
  };
  ComPtr<IDispatch> parameter = FakeObject::Make(script, {{L"Size", size}});
  *self = parameter.Get();
  created_[*self] = {ToText(call.arguments.at(0)), ToInteger(call.arguments.at(1)),
                     ToInteger(call.arguments.at(3))};
  return parameter;
}

ComPtr<IDispatch> FakeWorld::NewCommand() {
  const Handler nothing = [](const FakeCall&) { return Variant(); };
  const Handler append = [this](const FakeCall& call) {
    const ComPtr<IDispatch> object = ToObject(call.arguments.at(0));
    if (!object) throw ObjectNotSet();
    const FakeParameter& parameter = created_[object.Get()];
    if (refuses_size_zero && parameter.size == 0) {
      throw DatabaseError(3708, u"ADODB.Parameters", u"Parameter object is improperly defined.");
    }
    parameters.push_back(parameter);
    return Variant();
  };
  return FakeObject::Make(
      script,
      {{L"ActiveConnection", nothing},
       {L"CommandText", nothing},
       {L"CommandType", nothing},
       {L"CommandTimeout", nothing},
       {L"Execute",
        [](const FakeCall& call) {
          CheckExecute(call);
          return Variant();
        }},
       {L"CreateParameter",
        [this](const FakeCall& call) { return Variant::OfObject(NewParameter(call).Get()); }},
       {L"Parameters", [this, append](const FakeCall&) {
          return Variant::OfObject(FakeObject::Make(script, {{L"Append", append}}).Get());
        }}});
}

}  // namespace ledgerwick::com::testing
