#include "host/filters.h"

#include <algorithm>
#include <iterator>

namespace ledgerwick {
namespace {

using enum FilterKind;
using enum WordedBy;

// clsInventroy has neither filters nor columns of its own.
constexpr TextView kSnapshotColumns = u"every column of the table inventory";

// clsRepAQKCYJ
constexpr TextView kStockTypes[] = {u"全部", u"高于安全库存量存货", u"不高于安全库存量存货"};
constexpr FilterInfo kSafetyStockFilters[] = {
    {u"def_queryType", u"查询类型", Option, Report, kStockTypes},
    {u"W.cWhCode", u"仓库编码", Range, Host},
    {u"W.cWhName", u"仓库名称", PlainText, Host},
    {u"I.cInvCode", u"存货编码", Range, Host},
    {u"I.cInvName", u"存货名称", PlainText, Host},
    {u"I.cInvCCode", u"存货大类", Range, Host},
    {u"I.cInvStd", u"规格型号", PlainText, Host},
    {u"I.iSafeNum", u"安全库存量", NumberRange, Host},
    {u"STPQ.iQuantity", u"现存数量", NumberRange, Host},
};
constexpr ResultColumnInfo kSafetyStockColumns[] = {
    {u"cWhName", u"warehouse name"},
    {u"cInvCode", u"item code"},
    {u"cInvAddCode", u"item's additional code"},
    {u"CHMC", u"item name"},
    {u"GGXH", u"specification"},
    {u"产地", u"origin"},
    {u"JLDW", u"unit name"},
    {u"cInvDefine1", u"item's free field 1"},
    {u"cInvDefine2", u"item's free field 2"},
    {u"cInvDefine3", u"item's free field 3"},
    {u"cInvDefine4", u"item's free field 4"},
    {u"cInvDefine5", u"item's free field 5"},
    {u"cInvDefine6", u"item's free field 6"},
    {u"cInvDefine7", u"item's free field 7"},
    {u"cInvDefine8", u"item's free field 8"},
    {u"cInvDefine9", u"item's free field 9"},
    {u"cInvDefine10", u"item's free field 10"},
    {u"cInvDefine11", u"item's free field 11"},
    {u"cInvDefine12", u"item's free field 12"},
    {u"cInvDefine13", u"item's free field 13"},
    {u"cInvDefine14", u"item's free field 14"},
    {u"cInvDefine15", u"item's free field 15"},
    {u"cInvDefine16", u"item's free field 16"},
    {u"AQKCL", u"safety stock"},
    {u"DQKCL", u"stock on hand; null without a stock row"},
    {u"CL", u"stock on hand less safety stock"},
};

// class, filters, columns, note on the columns
constexpr ReportInfo kReports[] = {
    {u"clsInventroy", {}, {}, kSnapshotColumns},
    {u"clsRepAQKCYJ", kSafetyStockFilters, kSafetyStockColumns, u""},
};

}  // namespace

std::span<const ReportInfo> ReportInfos() noexcept { return kReports; }

const ReportInfo* FindReportInfo(TextView class_name) noexcept {
  const auto* found = std::find_if(std::begin(kReports), std::end(kReports), [&](const auto& r) {
    return EqualText(r.class_name, class_name);
  });
  return found == std::end(kReports) ? nullptr : found;
}

const FilterInfo* FindFilterInfo(const ReportInfo& report, TextView name_or_caption) noexcept {
  const TextView wanted = Trim(name_or_caption);
  for (const FilterInfo& filter : report.filters) {
    if (EqualText(filter.name, wanted) || EqualText(filter.caption, wanted)) return &filter;
  }
  return nullptr;
}

TextView KindName(FilterKind kind) noexcept {
  switch (kind) {
    case PlainText:
      return u"text";
    case List:
      return u"list";
    case Range:
      return u"range";
    case DateRange:
      return u"date range";
    case NumberRange:
      return u"number range";
    case Option:
      break;
  }
  return u"option";
}

}  // namespace ledgerwick
