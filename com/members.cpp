// The members of the dual interfaces, once each.
#include <array>
#include <iterator>

#include "com/ado.h"
#include "com/host_objects.h"
#include "com/report_object.h"
#include "com/variant_value.h"

namespace ledgerwick::com {
namespace {

// Between what a member's caller passes and what the component takes and gives.

Argument ToArgument(BSTR* text) { return Value(ToText(*text)); }

Argument ToArgument(IDispatch** connection) {
  if (*connection == nullptr) return std::shared_ptr<Connection>();
  return std::make_shared<AdoConnection>(ComPtr<IDispatch>::Share(*connection));
}

void Give(const Value& value, BSTR* result) { *result = BString(value.ToText()).Detach(); }

void Give(const Value& value, VARIANT* result) { *result = ToVariant(value).Detach(); }

void Give(const Value& value, VARIANT_BOOL* result) {
  *result = ToBoolean(ToVariant(value)) ? VARIANT_TRUE : VARIANT_FALSE;
}

void Give(const Value& value, LONG* result) { *result = ToInteger(ToVariant(value)); }

// A text property.
template <Text ReportProvider::*Property>
struct TextProperty {
  static HRESULT STDMETHODCALLTYPE Get(Face* face, BSTR* value) {
    return Guarded(face, [&](ReportObject& object) {
      if (value == nullptr) return E_POINTER;
      Give(object.provider().*Property, value);
      return S_OK;
    });
  }
  static HRESULT STDMETHODCALLTYPE Put(Face* face, BSTR value) {
    return Guarded(face, [&](ReportObject& object) {
      object.provider().*Property = ToText(value);
      return S_OK;
    });
  }
};

// A property that refers to an object of the host, which `Adapter` speaks to. The very pointer that
// was set is read back.
template <auto Property, typename Adapter>
struct ObjectProperty {
  static HRESULT STDMETHODCALLTYPE Get(Face* face, IDispatch** value) {
    return Guarded(face, [&](ReportObject& object) {
      if (value == nullptr) return E_POINTER;
      *value = nullptr;
      // Only this file and WindowsSystem fill the property, both with an Adapter.
      const auto* held = static_cast<Adapter*>((object.provider().*Property).get());
      if (held != nullptr) *value = ComPtr<IDispatch>(held->Object()).Detach();
      return S_OK;
    });
  }
  static HRESULT STDMETHODCALLTYPE Set(Face* face, IDispatch* value) {
    return Guarded(face, [&](ReportObject& object) {
      std::shared_ptr<Adapter> adapter;
      if (value != nullptr) {
        adapter = std::make_shared<Adapter>(ComPtr<IDispatch>::Share(value));
      }
      // The old one may be the last reference to an object of the host, whose end may lead back
      // here.
      const auto old = std::exchange(object.provider().*Property, std::move(adapter));
      return S_OK;
    });
  }
};

// What a method of the contract does.
Value Perform(Member member, ReportProvider& provider, std::span<const Argument> arguments) {
  switch (member) {
    case Member::TempTablename:
      return provider.TempTablename();
    case Member::MoveDataDetail:
    case Member::MoveDataDetailAsVariant:
      return provider.MoveDataDetail();
    case Member::strSubTitle:
      return provider.strSubTitle();
    default:
      return provider.Call(member, arguments);
  }
}

// A method with by-reference arguments, which come back unchanged.
template <Member Which, typename Result, typename... Arguments>
struct Method {
  static HRESULT STDMETHODCALLTYPE Call(Face* face, Arguments*... arguments, Result* result) {
    return Guarded(face, [&](ReportObject& object) {
      if (result == nullptr || (false || ... || (arguments == nullptr))) return E_POINTER;
      *result = Result{};
      const std::array<Argument, sizeof...(Arguments)> converted = {ToArgument(arguments)...};
      Give(Perform(Which, object.provider(), converted), result);
      return S_OK;
    });
  }
};

struct MemberEntries {
  Member member;
  Entry read_or_call;
  Entry write;  // nullptr for a method
};

template <typename Property>
MemberEntries ForText(Member member) {
  return {member, reinterpret_cast<Entry>(&Property::Get), reinterpret_cast<Entry>(&Property::Put)};
}

template <auto Property, typename Adapter>
MemberEntries ForObject(Member member) {
  using Access = ObjectProperty<Property, Adapter>;
  return {member, reinterpret_cast<Entry>(&Access::Get), reinterpret_cast<Entry>(&Access::Set)};
}

template <Member Which, typename Result, typename... Arguments>
MemberEntries ForMethod() {
  return {Which, reinterpret_cast<Entry>(&Method<Which, Result, Arguments...>::Call), nullptr};
}

using enum Member;
using Provider = ReportProvider;

// In the order of the enumeration.
const MemberEntries kEntries[] = {
    ForObject<&Provider::ObjReportManager, HostReportManager>(ObjReportManager),
    ForText<TextProperty<&Provider::ReportTitle>>(ReportTitle),
    ForText<TextProperty<&Provider::mConnectionString>>(mConnectionString),
    ForObject<&Provider::mconn, AdoConnection>(mconn),
    ForObject<&Provider::objLogin, HostLogin>(objLogin),
    ForMethod<strSubTitle, BSTR>(),
    ForMethod<TempTablename, BSTR>(),
    ForMethod<MoveDataDetail, VARIANT_BOOL>(),
    ForMethod<MoveDataDetailAsVariant, VARIANT>(),
    ForMethod<GetSubTitle, BSTR>(),
    ForMethod<IsBlank, VARIANT, BSTR>(),
    ForMethod<SumString, LONG, BSTR>(),
    ForMethod<GetClassLength, LONG, BSTR>(),
    ForMethod<GetGoodClass, BSTR, IDispatch*>(),
    ForMethod<GetInformation, BSTR, BSTR, BSTR, IDispatch*>(),
    ForMethod<GetDigConditionString, BSTR, BSTR, BSTR, BSTR>(),
    ForMethod<ExistsFuzzyChar, VARIANT_BOOL, BSTR>(),
    ForMethod<RepForFuzzy, BSTR, BSTR>(),
    ForMethod<RepCharWithChar, BSTR, BSTR, BSTR, BSTR>(),
};

}  // namespace

void AppendEntries(Member member, std::vector<Entry>& table) {
  const MemberEntries& entries = kEntries[static_cast<std::size_t>(member)];
  table.push_back(entries.read_or_call);
  if (entries.write != nullptr) table.push_back(entries.write);
}

}  // namespace ledgerwick::com
