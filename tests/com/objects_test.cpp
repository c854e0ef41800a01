// Creating every class, and calling members by name, by number and through the function table.
#include <doctest/doctest.h>

#include <cstdlib>
#include <vector>

#include "com/variant_value.h"
#include "component.h"
#include "fake_object.h"

namespace ledgerwick::com::testing {
namespace {

constexpr WORD kGet = DISPATCH_PROPERTYGET;
constexpr WORD kPut = DISPATCH_PROPERTYPUT;
constexpr WORD kPutReference = DISPATCH_PROPERTYPUTREF;
constexpr WORD kMethod = DISPATCH_METHOD;

std::wstring Wide(TextView text) { return {text.begin(), text.end()}; }

using ReadText = HRESULT(STDMETHODCALLTYPE*)(IDispatch*, BSTR*);
using WriteText = HRESULT(STDMETHODCALLTYPE*)(IDispatch*, BSTR);
using ReadObject = HRESULT(STDMETHODCALLTYPE*)(IDispatch*, IDispatch**);
using WriteObject = HRESULT(STDMETHODCALLTYPE*)(IDispatch*, IDispatch*);

void CheckTextProperty(IDispatch* object, const std::wstring& name, std::size_t entry) {
  const Text written = u"值 " + Text(name.begin(), name.end());
  CHECK(Invoke(object, name, kPut, {Variant::OfText(written)}).code == S_OK);
  BString read;
  CHECK(EntryOf<ReadText>(object, entry)(object, read.Address()) == S_OK);
  CHECK(ToText(read.Get()) == written);
  CHECK(EntryOf<WriteText>(object, entry + 1)(object, nullptr) == S_OK);
  CHECK(ToText(Invoke(object, NumberOf(object, name), kGet).result).empty());
  CHECK(EntryOf<ReadText>(object, entry)(object, nullptr) == E_POINTER);
}

void CheckObjectProperty(IDispatch* object, const std::wstring& name, std::size_t entry) {
  Script script;
  const ComPtr<IDispatch> host = FakeObject::Make(script, {});
  CHECK(Invoke(object, name, kPutReference, {Variant::OfObject(host.Get())}).code == S_OK);
  ComPtr<IDispatch> read;
  CHECK(EntryOf<ReadObject>(object, entry)(object, read.Receive()) == S_OK);
  CHECK(read.Get() == host.Get());
  CHECK(Invoke(object, name, kPut, {Variant::OfObject(host.Get())}).code == DISP_E_MEMBERNOTFOUND);
  CHECK(EntryOf<WriteObject>(object, entry + 1)(object, nullptr) == S_OK);
  const Outcome nothing = Invoke(object, name, kGet);
  CHECK(V_VT(nothing.result.Get()) == VT_DISPATCH);
  CHECK(V_DISPATCH(nothing.result.Get()) == nullptr);
  CHECK(script.calls == 0);  // the host's object is kept, not called
}

// What another apartment is handed, and what it got.
struct Neighbour {
  IStream* stream = nullptr;
  IID iid = {};
  HRESULT code = E_FAIL;
  Text table;
};

DWORD WINAPI CallFromElsewhere(void* neighbour) {
  auto& [stream, iid, code, table] = *static_cast<Neighbour*>(neighbour);
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  ComPtr<IDispatch> proxy;
  code = CoGetInterfaceAndReleaseStream(stream, iid, reinterpret_cast<void**>(proxy.Receive()));
  if (SUCCEEDED(code)) {
    BString name;
    // TempTablename stands behind 7 entries of IDispatch and 8 of four properties.
    code = EntryOf<ReadText>(proxy.Get(), 15)(proxy.Get(), name.Address());
    table = ToText(name.Get());
  }
  proxy.Reset();
  CoUninitialize();
  return 0;
}

// A look at every property of a fresh object, through every door.
void CheckProperties(IDispatch* object, const ClassInfo& info) {
  std::size_t entry = 7;
  for (const Member which : info.members) {
    const MemberInfo& member = Describe(which);
    CAPTURE(ToUtf8(member.name));
    const std::wstring name = Wide(member.name);
    CHECK(NumberOf(object, name) != DISPID_UNKNOWN);
    if (member.is_property) {
      const bool is_text = member.type == MemberType::String;
      (is_text ? CheckTextProperty : CheckObjectProperty)(object, name, entry);
    }
    entry += member.is_property ? 2 : 1;
  }
}

// Every interface leads to every other one, and to one identity.
void CheckInterfaces(IDispatch* object, const IID& own) {
  const auto query = [](IUnknown* from, REFIID iid, HRESULT wanted) {
    ComPtr<IUnknown> to;
    CHECK(from->QueryInterface(iid, reinterpret_cast<void**>(to.Receive())) == wanted);
    return to;
  };
  const ComPtr<IUnknown> identity = query(object, IID_IUnknown, S_OK);
  const ComPtr<IUnknown> errors = query(object, IID_ISupportErrorInfo, S_OK);
  const ComPtr<IUnknown> dual = query(errors.Get(), own, S_OK);
  CHECK(query(errors.Get(), IID_IUnknown, S_OK).Get() == identity.Get());
  CHECK(query(dual.Get(), IID_IUnknown, S_OK).Get() == identity.Get());
  CHECK(query(errors.Get(), IID_IDispatch, S_OK).Get() == object);
  CHECK_FALSE(query(object, IID_IClassFactory, E_NOINTERFACE));
  auto* const support = static_cast<ISupportErrorInfo*>(errors.Get());
  CHECK(support->InterfaceSupportsErrorInfo(own) == S_OK);
  CHECK(support->InterfaceSupportsErrorInfo(IID_IPersist) == S_FALSE);
}

TEST_SUITE("objects") {
  TEST_CASE("every class can be created, but that whose report is not built") {
    for (const ClassInfo& info : Classes()) {
      CAPTURE(ToUtf8(info.name));
      ComPtr<IDispatch> object;
      const HRESULT code = Create(info, object);
      CHECK(code == (info.factory == nullptr ? CLASS_E_CLASSNOTAVAILABLE : S_OK));
      if (FAILED(code)) continue;
      // A report's table has its name before any property is set.
      const Text name = ToText(Invoke(object.Get(), L"TempTablename", kMethod).result);
      const Text fixed = u"tempdb.." + Text(info.result_table);
      CHECK(name.starts_with(fixed));
      CHECK((name.size() > fixed.size()) == info.has_machine_suffix);
      CheckProperties(object.Get(), info);
      CheckInterfaces(object.Get(), IdentifiersOf(info).interface_id);
      CHECK_FALSE(MayUnload());
      object.Reset();
      CHECK(MayUnload());
      CHECK(FakeObject::live == 0);
    }
  }

  TEST_CASE("the class object refuses aggregation, locks and unlocks") {
    const ClassInfo& info = *FindClass(u"clsRepAQKCYJ");
    CLSID id;
    REQUIRE(CLSIDFromProgID(ProgIdOf(info).c_str(), &id) == S_OK);
    // A manifest's names lead to identifiers of their own.
    const bool registered = _wgetenv(L"LEDGERWICK_MANIFEST") == nullptr;
    CHECK((!registered || id == IdentifiersOf(info).class_id));
    ComPtr<IClassFactory> factory;
    REQUIRE(CoGetClassObject(id, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                             reinterpret_cast<void**>(factory.Receive())) == S_OK);
    ComPtr<IUnknown> object;
    const auto create = [&](IUnknown* outer, REFIID iid) {
      return factory->CreateInstance(outer, iid, reinterpret_cast<void**>(object.Receive()));
    };
    CHECK(create(factory.Get(), IID_IUnknown) == CLASS_E_NOAGGREGATION);
    CHECK(create(nullptr, IID_IClassFactory) == E_NOINTERFACE);
    CHECK_FALSE(object);
    factory->LockServer(TRUE);
    factory.Reset();
    CHECK_FALSE(MayUnload());
    CoGetClassObject(id, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                     reinterpret_cast<void**>(factory.Receive()));
    factory->LockServer(FALSE);
    factory.Reset();
    CHECK(MayUnload());
  }

  TEST_CASE("the module has no class object but for its classes") {
    const ClassInfo& info = *FindClass(u"clsRepAQKCYJ");
    ComPtr<IDispatch> loads_module;
    REQUIRE(Create(info, loads_module) == S_OK);
    const auto get = Exported<REFCLSID, REFIID, void**>(GetModuleHandleW(L"Ledgerwick.dll"),
                                                        "DllGetClassObject");
    const Identifiers ids = IdentifiersOf(info);
    const struct {
      GUID class_id;
      IID iid;
      HRESULT code;
    } cases[] = {{ids.class_id, IID_IClassFactory, S_OK},
                 {ids.class_id, IID_IUnknown, S_OK},
                 {ids.class_id, IID_IDispatch, E_NOINTERFACE},
                 {ids.interface_id, IID_IClassFactory, CLASS_E_CLASSNOTAVAILABLE},
                 {IID_IPersist, IID_IClassFactory, CLASS_E_CLASSNOTAVAILABLE}};
    for (const auto& c : cases) {
      CAPTURE(c.code);
      ComPtr<IUnknown> object;
      CHECK(get(c.class_id, c.iid, reinterpret_cast<void**>(object.Receive())) == c.code);
      CHECK(bool(object) == (c.code == S_OK));
    }
    CHECK(get(ids.class_id, IID_IUnknown, nullptr) == E_POINTER);
  }

  TEST_CASE("wrong calls give the platform's codes") {
    ComPtr<IDispatch> object;
    REQUIRE(Create(*FindClass(u"clsRepAQKCYJ"), object) == S_OK);
    const Variant text = Variant::OfText(u"x");
    const struct {
      const wchar_t* member;
      WORD flags;
      std::vector<Variant> arguments;
      HRESULT code;
    } cases[] = {
        {L"TempTablename", kMethod, {}, S_OK},
        {L"temptablename", kMethod | kGet, {}, S_OK},
        {L"TempTablename", kMethod, {text}, DISP_E_BADPARAMCOUNT},
        {L"TempTablename", kPut, {text}, DISP_E_MEMBERNOTFOUND},
        {L"ReportTitle", kPut, {AnArray()}, DISP_E_TYPEMISMATCH},
        {L"ReportTitle", kPutReference, {text}, DISP_E_MEMBERNOTFOUND},
        {L"ReportTitle", kPut, {Variant::OfInteger(5)}, S_OK},
        {L"mconn", kPutReference, {text}, DISP_E_TYPEMISMATCH},
        {L"strSubTitle", kMethod, {}, DISP_E_MEMBERNOTFOUND},
    };
    for (const auto& c : cases) {
      CAPTURE(Text(c.member, c.member + lstrlenW(c.member)).size());
      CAPTURE(c.flags);
      CHECK(Invoke(object.Get(), c.member, c.flags, c.arguments).code == c.code);
    }
    CHECK(ToText(Invoke(object.Get(), L"ReportTitle", kGet).result) == u"5");
    DISPID id = 7;
    wchar_t unknown[] = L"Nothing";
    wchar_t* names[] = {unknown};
    CHECK(object->GetIDsOfNames(GUID{}, names, 1, 0, &id) == DISP_E_UNKNOWNNAME);
    CHECK(id == DISPID_UNKNOWN);
    CHECK(object->GetIDsOfNames(IID_IDispatch, names, 1, 0, &id) == DISP_E_UNKNOWNINTERFACE);
    DISPPARAMS none = {};
    CHECK(object->Invoke(1, IID_IDispatch, 0, kGet, &none, nullptr, nullptr, nullptr) ==
          DISP_E_UNKNOWNINTERFACE);
  }
}

// The proxies of interfaces are looked up in the registry.
TEST_SUITE("apartments") {
  TEST_CASE("another apartment calls the own interface through a proxy") {
    const ClassInfo& info = *FindClass(u"clsRepAQKCYJ");
    ComPtr<IDispatch> object;
    REQUIRE(Create(info, object) == S_OK);
    Neighbour neighbour;
    neighbour.iid = IdentifiersOf(info).interface_id;
    REQUIRE(CoMarshalInterThreadInterfaceInStream(neighbour.iid, object.Get(), &neighbour.stream) ==
            S_OK);
    HANDLE thread = CreateThread(nullptr, 0, &CallFromElsewhere, &neighbour, 0, nullptr);
    // The calls arrive as messages of this thread.
    DWORD index = 0;
    CoWaitForMultipleHandles(0, INFINITE, 1, &thread, &index);
    CloseHandle(thread);
    CHECK(neighbour.code == S_OK);
    CHECK(neighbour.table == u"tempdb..tempAqkcyj");
  }
}

}  // namespace
}  // namespace ledgerwick::com::testing
