#include "com/host_objects.h"

#include <optional>

#include "com/variant_value.h"
#include "frame/error.h"

namespace ledgerwick::com {
namespace {

// The members whose names the host chooses. A host that publishes others changes them here.
constexpr const wchar_t* kFilters = L"Filters";
constexpr const wchar_t* kConditionText = L"ConditionText";
constexpr const wchar_t* kGroupConditionText = L"GroupConditionText";
constexpr const wchar_t* kValueByName = L"ValueByName";

class HostFilter final : public ReportFilter {
 public:
  explicit HostFilter(ComPtr<IDispatch> object) : object_(std::move(object)) {}

  Text Name() override { return ToText(object_.Call(L"Name")); }
  Text strcaption() override { return ToText(object_.Call(L"strcaption")); }

  Value varValue() override {
    read_ = std::make_shared<const HostVariant>(object_.Call(L"varValue"));
    read_value_ = ToValue(read_);
    return read_value_;
  }

  // A value that is put back goes as the host gave it: a byte stays a byte.
  void set_varValue(const Value& value) override {
    const std::shared_ptr<const HostVariant> given = read_;
    if (given && value == read_value_) {
      object_.Put(L"varValue", given->Held());
    } else {
      object_.Put(L"varValue", ToVariant(value));
    }
  }

  Value varValue2() override { return ToValue(object_.Call(L"varValue2")); }
  Text strSqlString() override { return ToText(object_.Call(L"strSqlString")); }
  void set_strSqlString(const Text& sql) override {
    object_.Put(L"strSqlString", Variant::OfText(sql));
  }
  std::int32_t LngGrouptoken() override { return ToInteger(object_.Call(L"LngGrouptoken")); }
  void set_LngGrouptoken(std::int32_t group) override {
    object_.Put(L"LngGrouptoken", Variant::OfInteger(group));
  }

 private:
  DispatchObject object_;
  std::shared_ptr<const HostVariant> read_;
  Value read_value_;
};

class HostFilterSet final : public ReportFilterSet {
 public:
  explicit HostFilterSet(ComPtr<IDispatch> object) : object_(std::move(object)) {}

  std::int32_t Count() override { return ToInteger(Items().Call(L"Count")); }

  std::shared_ptr<ReportFilter> Item(std::int32_t index) override {
    ComPtr<IDispatch> item = ToObject(Items().Call(L"Item", {Variant::OfInteger(index)}));
    if (!item) return nullptr;
    return std::make_shared<HostFilter>(std::move(item));
  }

  Text ConditionText() override { return ToText(object_.Call(kConditionText)); }

  Text GroupConditionText(std::int32_t group) override {
    return ToText(object_.Call(kGroupConditionText, {Variant::OfInteger(group)}));
  }

  Value ValueByName(const Text& name, std::int32_t which) override {
    return ToValue(object_.Call(kValueByName, {Variant::OfText(name), Variant::OfInteger(which)}));
  }

 private:
  DispatchObject& Items() {
    if (!items_) items_.emplace(ToObject(object_.Call(kFilters)));
    return *items_;
  }

  DispatchObject object_;
  std::optional<DispatchObject> items_;
};

}  // namespace

std::shared_ptr<ReportFilterSet> HostReportManager::ReportFilterByName(Text& title) {
  const Text passed = title;
  BString name(passed);
  const Variant answer =
      object_.Call(L"ReportFilterByName", {Variant::ByReference(name.Address())});
  // Only what the host has written here: it may have set the title itself meanwhile.
  if (Text written = ToText(name.Get()); written != passed) title = std::move(written);
  ComPtr<IDispatch> set = ToObject(answer);
  if (!set) return nullptr;
  return std::make_shared<HostFilterSet>(std::move(set));
}

Value HostLogin::CurDate() { return ToValue(object_.Call(L"CurDate")); }

Value HostLogin::cAcc_Id() { return ToValue(object_.Call(L"cAcc_Id")); }

}  // namespace ledgerwick::com
