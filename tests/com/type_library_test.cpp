// The type library read back: classes and members as the class table has them, whose order
// tests/component/class_table_test.cpp lays down, and signatures as hosts were built to them.
#include <doctest/doctest.h>

#include <map>
#include <sstream>

#include "component.h"

namespace ledgerwick::com::testing {
namespace {

// What a member takes and gives: its functions in the order of the function table.
const std::map<std::string, std::string> kSignatures = {
    {"ObjReportManager", "get():Object putref(Object)"},
    {"ReportTitle", "get():String put(String)"},
    {"mConnectionString", "get():String put(String)"},
    {"mconn", "get():Object putref(Object)"},
    {"objLogin", "get():Object putref(Object)"},
    {"strSubTitle", "call():String"},
    {"TempTablename", "call():String"},
    {"MoveDataDetail", "call():Boolean"},
    {"MoveDataDetail:Variant", "call():Variant"},
    {"GetSubTitle", "call():String"},
    {"IsBlank", "call(strString:String*):Variant"},
    {"SumString", "call(strX:String*):Long"},
    {"GetClassLength", "call(codingStr:String*):Long"},
    {"GetGoodClass", "call(con:Object*):String"},
    {"GetInformation", "call(cSysId:String*,cName:String*,con:Object*):String"},
    {"GetDigConditionString", "call(sFieldName:String*,text1:String*,text2:String*):String"},
    {"ExistsFuzzyChar", "call(sToken:String*):Boolean"},
    {"RepForFuzzy", "call(sToken:String*):String"},
    {"RepCharWithChar", "call(sToken:String*,cCh:String*,cCh2:String*):String"},
};

const std::map<VARTYPE, std::string> kTypeNames = {
    {VT_BSTR, "String"},     {VT_BOOL, "Boolean"},    {VT_I4, "Long"},
    {VT_VARIANT, "Variant"}, {VT_DISPATCH, "Object"}, {VT_VOID, ""},
};

std::string TypeName(const TYPEDESC& type) {
  return type.vt == VT_PTR ? TypeName(*type.lptdesc) + "*" : kTypeNames.at(type.vt);
}

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

// The function at `index` as a line: place in the function table, number, name, kind, arguments,
// result.
std::string FunctionOf(ITypeInfo* type, UINT index) {
  FUNCDESC* function = nullptr;
  if (FAILED(type->GetFuncDesc(index, &function))) return {};
  BSTR names[8] = {};
  UINT count = 0;
  type->GetNames(function->memid, names, 8, &count);
  const std::map<INVOKEKIND, const char*> kinds = {{INVOKE_FUNC, "call"},
                                                   {INVOKE_PROPERTYGET, "get"},
                                                   {INVOKE_PROPERTYPUT, "put"},
                                                   {INVOKE_PROPERTYPUTREF, "putref"}};
  std::ostringstream line;
  line << static_cast<std::size_t>(function->oVft) / sizeof(void*) << ' ' << function->memid << ' '
       << ToUtf8(ToText(names[0])) << ' ' << kinds.at(function->invkind) << '(';
  for (SHORT i = 0; i < function->cParams; ++i) {
    const ELEMDESC& argument = function->lprgelemdescParam[i];
    line << (i > 0 ? "," : "");
    if (function->invkind == INVOKE_FUNC) {
      line << ToUtf8(ToText(names[i + 1])) << ':';
      CHECK(argument.paramdesc.wParamFlags == (PARAMFLAG_FIN | PARAMFLAG_FOUT));
    }
    line << TypeName(argument.tdesc);
  }
  const std::string result = TypeName(function->elemdescFunc.tdesc);
  line << ')' << (result.empty() ? "" : ":") << result;
  CHECK(function->callconv == CC_STDCALL);
  for (BSTR name : names) SysFreeString(name);
  type->ReleaseFuncDesc(function);
  return line.str();
}

// The same lines for the members that a class has to have, behind IUnknown and IDispatch.
std::vector<std::string> WantedFunctions(const ClassInfo& info) {
  std::vector<std::string> lines;
  std::size_t place = 7;
  int number = 0;
  for (const Member which : info.members) {
    ++number;
    const std::string name = ToUtf8(Describe(which).name);
    const bool gives_variant =
        name == "MoveDataDetail" && Describe(which).type == MemberType::Variant;
    std::istringstream functions(kSignatures.at(gives_variant ? name + ":Variant" : name));
    for (std::string function; functions >> function;) {
      lines.push_back(std::to_string(place++) + ' ' + std::to_string(number) + ' ' + name + ' ' +
                      function);
    }
  }
  return lines;
}

void CheckAttributes(ITypeInfo* type, TYPEKIND kind, WORD flags) {
  TYPEATTR* attributes = nullptr;
  REQUIRE(type->GetTypeAttr(&attributes) == S_OK);
  CHECK(attributes->typekind == kind);
  CHECK((attributes->wTypeFlags & flags) == flags);
  type->ReleaseTypeAttr(attributes);
}

void CheckInterface(ITypeInfo* type, const ClassInfo& wanted) {
  constexpr WORD kFlags =
      TYPEFLAG_FHIDDEN | TYPEFLAG_FDUAL | TYPEFLAG_FNONEXTENSIBLE | TYPEFLAG_FDISPATCHABLE;
  CheckAttributes(type, TKIND_DISPATCH, kFlags);
  HREFTYPE reference = 0;
  ComPtr<ITypeInfo> table;  // the same interface as its function table describes it
  REQUIRE(type->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference) == S_OK);
  REQUIRE(type->GetRefTypeInfo(reference, table.Receive()) == S_OK);
  CheckAttributes(table.Get(), TKIND_INTERFACE, kFlags | TYPEFLAG_FOLEAUTOMATION);
  UINT index = 7;
  for (const std::string& function : WantedFunctions(wanted)) {
    CHECK(FunctionOf(type, index++) == function);
  }
  CHECK(FunctionOf(type, index).empty());
}

TEST_SUITE("type library") {
  TEST_CASE("the type library says what hosts were built to") {
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
    for (const ClassInfo& wanted : Classes()) {
      CAPTURE(ToUtf8(wanted.name));
      ComPtr<ITypeInfo> type;
      REQUIRE(library->GetTypeInfo(next++, type.Receive()) == S_OK);
      CHECK(NamesOf(type.Get(), MEMBERID_NIL).name == u"_" + Text(wanted.name));
      CheckInterface(type.Get(), wanted);
      ComPtr<ITypeInfo> coclass;
      REQUIRE(library->GetTypeInfo(next++, coclass.Receive()) == S_OK);
      const Names class_names = NamesOf(coclass.Get(), MEMBERID_NIL);
      CHECK(class_names.name == wanted.name);
      CHECK(class_names.help == wanted.help);
      INT flags = 0;
      REQUIRE(coclass->GetImplTypeFlags(0, &flags) == S_OK);
      CHECK(flags == IMPLTYPEFLAG_FDEFAULT);
    }
  }
}

}  // namespace
}  // namespace ledgerwick::com::testing
