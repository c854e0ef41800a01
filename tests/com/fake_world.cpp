#include "fake_world.h"

#include <memory>

#include "com/variant_value.h"
#include "frame/error.h"

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

FakeWorld::FakeWorld(bool replaces_ado) {
  if (!replaces_ado) return;
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

ComPtr<IDispatch> FakeWorld::NewManager() {
  return FakeObject::Make(script, {{L"ReportFilterByName", [this](const FakeCall&) {
                                      return Variant::OfObject(NewFilterSet().Get());
                                    }}});
}

ComPtr<IDispatch> FakeWorld::NewLogin() {
  return FakeObject::Make(
      script, {{L"CurDate", [](const FakeCall&) { return Variant::OfText(u"2002-03-31"); }},
               {L"cAcc_Id", [](const FakeCall&) { return Variant::OfText(u"001"); }}});
}

ComPtr<IDispatch> FakeWorld::NewFilterSet() {
  const Handler text = [this](const FakeCall&) { return Variant::OfText(condition); };
  return FakeObject::Make(
      script,
      {{L"Filters", [this](const FakeCall&) { return Variant::OfObject(NewItems().Get()); }},
       {L"ConditionText", text},
       {L"GroupConditionText", text},
       {L"ValueByName", [](const FakeCall&) { return Variant(); }}});
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
               {L"strcaption", [=](const FakeCall&) { return Variant::OfText(filter().name); }},
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
  return FakeObject::Make(
      script, {{L"Open", nothing}, {L"Close", nothing}, {L"Execute", [this](const FakeCall& call) {
                                                           statements.push_back(
                                                               ToText(call.arguments.at(0)));
                                                           return Variant();
                                                         }}});
}

ComPtr<IDispatch> FakeWorld::NewRecordset() {
  const Handler nothing = [](const FakeCall&) { return Variant(); };
  return FakeObject::Make(script,
                          {{L"CursorLocation", nothing},
                           {L"Open", nothing},
                           {L"Filter", nothing},
                           {L"Close", nothing},
                           {L"RecordCount", [](const FakeCall&) { return Variant::OfInteger(0); }},
                           {L"EOF", [](const FakeCall&) { return ToVariant(true); }}});
}

ComPtr<IDispatch> FakeWorld::NewParameter(const FakeCall& call) {
  const std::u16string name = ToText(call.arguments.at(0));
  const int type = ToInteger(call.arguments.at(1));
  auto size = std::make_shared<int>(ToInteger(call.arguments.at(3)));
  const std::wstring prefix =
      std::wstring(name.begin(), name.end()) + L"/" + std::to_wstring(type) + L"/";
  return FakeObject::Make(script, {{L"Size",
                                    [size](const FakeCall& c) {
                                      if (c.writes) *size = ToInteger(c.arguments.at(0));
                                      return Variant::OfInteger(*size);
                                    }},
                                   {L"Label", [=](const FakeCall&) {
                                      const std::wstring text = prefix + std::to_wstring(*size);
                                      return Variant::OfText(FromWide(text.c_str()));
                                    }}});
}

ComPtr<IDispatch> FakeWorld::NewCommand() {
  const Handler nothing = [](const FakeCall&) { return Variant(); };
  const Handler append = [this](const FakeCall& call) {
    DISPPARAMS none = {};
    Variant label;
    V_DISPATCH(call.arguments.at(0).Get())
        ->Invoke(1, GUID{}, 0, DISPATCH_METHOD, &none, label.Get(), nullptr, nullptr);
    const std::u16string text = ToText(label);
    if (refuses_size_zero && text.ends_with(u"/0")) {
      throw DatabaseError(3708, u"ADODB.Parameters", u"Parameter object is improperly defined.");
    }
    parameters.emplace_back(text.begin(), text.end());
    return Variant();
  };
  return FakeObject::Make(
      script,
      {{L"ActiveConnection", nothing},
       {L"CommandText", nothing},
       {L"CommandType", nothing},
       {L"CommandTimeout", nothing},
       {L"Execute", nothing},
       {L"CreateParameter",
        [this](const FakeCall& call) { return Variant::OfObject(NewParameter(call).Get()); }},
       {L"Parameters", [this, append](const FakeCall&) {
          return Variant::OfObject(FakeObject::Make(script, {{L"Append", append}}).Get());
        }}});
}

}  // namespace ledgerwick::com::testing
