// The type library read back, against the class table.
#include <doctest/doctest.h>

#include <map>

#include "component.h"

namespace ledgerwick::com::testing {
namespace {

const std::map<MemberType, VARTYPE> kTypes = {
    {MemberType::String, VT_BSTR},     {MemberType::Boolean, VT_BOOL},
    {MemberType::Integer, VT_I4},      {MemberType::Variant, VT_VARIANT},
    {MemberType::Object, VT_DISPATCH}, {MemberType::Connection, VT_DISPATCH},
};

struct Names {
  Text name;
  Text help;
};

template <typename Type>
Names NamesOf(Type* type, LONG id) {
  BString name;
  BString help;
  type->GetDocumentation(id, name.Address(), help.Address(), nullptr, nullptr);
  return {ToText(name.Get()), ToText(help.Get())};
}

// A function of an interface as the library describes it, compared with what it has to be.
void CheckFunction(ITypeInfo* type, UINT index, const MemberInfo& member, INVOKEKIND kind,
                   MEMBERID id) {
  CAPTURE(ToUtf8(member.name));
  FUNCDESC* function = nullptr;
  REQUIRE(type->GetFuncDesc(index, &function) == S_OK);
  CHECK(NamesOf(type, function->memid).name == member.name);
  CHECK(function->memid == id);
  CHECK(function->invkind == kind);
  CHECK(function->callconv == CC_STDCALL);
  CHECK(static_cast<std::size_t>(function->oVft) == index * sizeof(void*));
  const VARTYPE wanted = kTypes.at(member.type);
  if (kind == INVOKE_PROPERTYPUT || kind == INVOKE_PROPERTYPUTREF) {
    REQUIRE(function->cParams == 1);
    CHECK(function->lprgelemdescParam[0].tdesc.vt == wanted);
  } else {
    CHECK(function->elemdescFunc.tdesc.vt == wanted);
    REQUIRE(static_cast<std::size_t>(function->cParams) == member.arguments.size());
  }
  for (std::size_t i = 0; i < member.arguments.size(); ++i) {
    const ELEMDESC& argument = function->lprgelemdescParam[i];
    REQUIRE(argument.tdesc.vt == VT_PTR);
    CHECK(argument.tdesc.lptdesc->vt == kTypes.at(member.arguments[i].type));
    CHECK(argument.paramdesc.wParamFlags == (PARAMFLAG_FIN | PARAMFLAG_FOUT));
  }
  BSTR names[8] = {};
  UINT count = 0;
  type->GetNames(function->memid, names, 8, &count);
  for (UINT i = 0; i < count; ++i) {
    if (i > 0 && kind == INVOKE_FUNC) CHECK(ToText(names[i]) == member.arguments[i - 1].name);
    SysFreeString(names[i]);
  }
  type->ReleaseFuncDesc(function);
}

// The attributes of an interface; `flags` beyond those of every interface here.
void CheckAttributes(ITypeInfo* type, TYPEKIND kind, WORD flags) {
  TYPEATTR* attributes = nullptr;
  REQUIRE(type->GetTypeAttr(&attributes) == S_OK);
  CHECK(attributes->typekind == kind);
  const WORD wanted =
      TYPEFLAG_FHIDDEN | TYPEFLAG_FDUAL | TYPEFLAG_FNONEXTENSIBLE | TYPEFLAG_FDISPATCHABLE | flags;
  CHECK((attributes->wTypeFlags & wanted) == wanted);
  type->ReleaseTypeAttr(attributes);
}

void CheckInterface(ITypeInfo* type, const ClassInfo& info) {
  CheckAttributes(type, TKIND_DISPATCH, 0);
  HREFTYPE reference = 0;
  ComPtr<ITypeInfo> table;  // the same interface as its function table describes it
  REQUIRE(type->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference) == S_OK);
  REQUIRE(type->GetRefTypeInfo(reference, table.Receive()) == S_OK);
  CheckAttributes(table.Get(), TKIND_INTERFACE, TYPEFLAG_FOLEAUTOMATION);
  // The library lists the functions of IUnknown and IDispatch first.
  UINT index = 7;
  MEMBERID id = 0;
  for (const Member which : info.members) {
    const MemberInfo& member = Describe(which);
    ++id;
    if (!member.is_property) {
      CheckFunction(type, index++, member, INVOKE_FUNC, id);
      continue;
    }
    const bool is_text = member.type == MemberType::String;
    CheckFunction(type, index++, member, INVOKE_PROPERTYGET, id);
    CheckFunction(type, index++, member, is_text ? INVOKE_PROPERTYPUT : INVOKE_PROPERTYPUTREF, id);
  }
  FUNCDESC* more = nullptr;
  CHECK(type->GetFuncDesc(index, &more) == TYPE_E_ELEMENTNOTFOUND);
}

TEST_CASE("the type library says what the class table says") {
  const ComPtr<ITypeLib> library = LoadLibraryOfTypes();
  const Names names = NamesOf(library.Get(), -1);
  CHECK(names.name == u"Ledgerwick");
  CHECK(names.help == u"Ledgerwick For Report");
  TLIBATTR* attributes = nullptr;
  REQUIRE(library->GetLibAttr(&attributes) == S_OK);
  CHECK(attributes->wMajorVerNum == 2);
  CHECK(attributes->wMinorVerNum == 2);
  CHECK(attributes->lcid == 0x409);
  CHECK(attributes->syskind == (sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32));
  library->ReleaseTLibAttr(attributes);
  REQUIRE(library->GetTypeInfoCount() == 2 * Classes().size());

  UINT next = 0;
  for (const ClassInfo& info : Classes()) {
    CAPTURE(ToUtf8(info.name));
    const UINT interface_index = next++;
    const UINT class_index = next++;
    ComPtr<ITypeInfo> coclass;
    REQUIRE(library->GetTypeInfo(class_index, coclass.Receive()) == S_OK);
    const Names class_names = NamesOf(coclass.Get(), MEMBERID_NIL);
    CHECK(class_names.name == info.name);
    CHECK(class_names.help == info.help);
    INT flags = 0;
    REQUIRE(coclass->GetImplTypeFlags(0, &flags) == S_OK);
    CHECK(flags == IMPLTYPEFLAG_FDEFAULT);
    ComPtr<ITypeInfo> type;
    REQUIRE(library->GetTypeInfo(interface_index, type.Receive()) == S_OK);
    CHECK(NamesOf(type.Get(), MEMBERID_NIL).name == u"_" + Text(info.name));
    CheckInterface(type.Get(), info);
  }
}

}  // namespace
}  // namespace ledgerwick::com::testing
