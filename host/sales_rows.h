// What the host knows of the sales reports' dialogues and results. Part of filters.cpp. The report
// words a filter also where it takes its value, or makes one condition of several values.
#pragma once

#include <array>

#include "host/filters.h"

namespace ledgerwick::sales_rows {

using enum FilterKind;
using enum FilterTrait;
using enum WordedBy;

// The columns are the procedures' affair: these are what those of the sample make.
inline constexpr TextView kProcedureNote = u"as the sample's procedure makes them";

inline constexpr TextView kReviewed[] = {u"复核", u"未复核"};
inline constexpr TextView kAudited[] = {u"审核", u"未审核"};
inline constexpr TextView kServices[] = {u"劳务", u"非劳务"};

// newclsReportDataSaleTotal and newclsReportDataSaleDetail. The report hands the department's
// condition on without the first eight characters, which "cDepCode" are.
inline constexpr auto kSalesFilters = std::to_array<FilterInfo>(
    {{u"dDate", u"日期", DateRange, Host},
     {u"dKeepDate", u"记账日期", DateRange, Host},
     {u"cDepCode", u"部门编码", PlainText, Host},
     {u"cWhCode", u"仓库编码", PlainText, Report},
     {u"cChecker", u"复核", Option, Report, kReviewed, None, true},
     {u"Inventory.bService", u"劳务", Option, Report, kServices, None, true},
     {u"cCusCode", u"客户编码", Range, Host},
     {u"Inventory.cInvCode", u"存货编码", Range, Host},
     {u"Inventory.cInvCCode", u"存货分类", Range, Host},
     {u"cPersonCode", u"业务员", PlainText, Host},
     {u"cSTCode", u"销售类型", PlainText, Host},
     {u"iQuantity", u"数量", NumberRange, Host}});
inline constexpr auto kSummaryColumns =
    std::to_array<ResultColumnInfo>({{u"部门编码", u"department code"},
                                     {u"部门名称", u"department name"},
                                     {u"客户编码", u"customer code"},
                                     {u"客户名称", u"customer's short name"},
                                     {u"存货编码", u"item code"},
                                     {u"存货名称", u"item name"},
                                     {u"规格型号", u"specification"},
                                     {u"数量", u"quantity"},
                                     {u"件数", u"pieces"},
                                     {u"金额", u"amount without tax"},
                                     {u"税额", u"tax"},
                                     {u"价税合计", u"amount with tax"}});
inline constexpr auto kDetailColumns =
    std::to_array<ResultColumnInfo>({{u"开票日期", u"invoice date"},
                                     {u"发票号", u"invoice number"},
                                     {u"部门名称", u"department name"},
                                     {u"客户名称", u"customer's short name"},
                                     {u"仓库编码", u"warehouse code"},
                                     {u"存货编码", u"item code"},
                                     {u"存货名称", u"item name"},
                                     {u"规格型号", u"specification"},
                                     {u"数量", u"quantity"},
                                     {u"单价", u"unit price without tax"},
                                     {u"金额", u"amount without tax"},
                                     {u"税额", u"tax"},
                                     {u"成本", u"cost"},
                                     {u"毛利", u"margin"}});

// newClsReportDaoSaleCost
inline constexpr auto kCostFilters =
    std::to_array<FilterInfo>({{u"dDate", u"日期", DateRange, Host},
                               {u"dKeepDate", u"记账日期", DateRange, Host},
                               {u"cDepCode", u"部门编码", Range, Host},
                               {u"cWhCode", u"仓库编码", Range, Host},
                               {u"cChecker", u"复核人", PlainText, Host},
                               {u"Inventory.bService", u"劳务标志", PlainText, Host},
                               {u"cCusCode", u"客户编码", Range, Host},
                               {u"Inventory.cInvCode", u"存货编码", Range, Host},
                               {u"Inventory.cInvCCode", u"存货分类", Range, Host},
                               {u"cPersonCode", u"业务员", PlainText, Host},
                               {u"cSTCode", u"销售类型", PlainText, Host},
                               {u"iQuantity", u"数量", NumberRange, Host}});
inline constexpr auto kCostColumns =
    std::to_array<ResultColumnInfo>({{u"存货分类编码", u"item class code"},
                                     {u"存货编码", u"item code"},
                                     {u"存货名称", u"item name"},
                                     {u"数量", u"quantity"},
                                     {u"收入", u"income without tax"},
                                     {u"成本", u"cost"},
                                     {u"毛利", u"margin"},
                                     {u"毛利率", u"margin in percent of the income"}});

// newClsReportDaoSaleInCome
inline constexpr auto kIncomeFilters = std::to_array<FilterInfo>(
    {{u"dDate", u"日期", DateRange, Host},
     {u"cChecker", u"复核", Option, Report, kReviewed, ByCaption, true},
     {u"Inventory.bService", u"劳务", Option, Report, kServices, ByCaption, true},
     {u"cCusCode", u"客户编码", Range, Host},
     {u"Inventory.cInvCode", u"存货编码", Range, Host},
     {u"cDepCode", u"部门编码", Range, Host}});
inline constexpr auto kIncomeColumns =
    std::to_array<ResultColumnInfo>({{u"账套号", u"account"},
                                     {u"客户编码", u"customer code"},
                                     {u"客户名称", u"customer's short name"},
                                     {u"存货编码", u"item code"},
                                     {u"存货名称", u"item name"},
                                     {u"数量", u"quantity"},
                                     {u"收入", u"income without tax"},
                                     {u"税额", u"tax"},
                                     {u"已收款", u"paid, with tax"},
                                     {u"未收款", u"not paid yet, with tax"}});

// newClsReportDaoConsignment
inline constexpr auto kConsignmentFilters =
    std::to_array<FilterInfo>({{u"dDate", u"发货日期", DateRange, Host, {}, ByCaption},
                               {u"dInvoiceDate", u"开票日期", DateRange, Host, {}, ByCaption},
                               {u"dPayDate", u"收款日期", DateRange, Host, {}, ByCaption},
                               {u"cWhCode", u"仓库", Range, Host, {}, ByCaption},
                               {u"cCusCode", u"客户编码", Range, Host},
                               {u"Inventory.cInvCode", u"存货编码", Range, Host},
                               {u"cDepCode", u"部门编码", Range, Host},
                               {u"cPersonCode", u"业务员", PlainText, Host}});
inline constexpr auto kConsignmentColumns =
    std::to_array<ResultColumnInfo>({{u"发货日期", u"dispatch date"},
                                     {u"发货单号", u"dispatch number"},
                                     {u"客户名称", u"customer's short name"},
                                     {u"仓库编码", u"warehouse code"},
                                     {u"存货编码", u"item code"},
                                     {u"存货名称", u"item name"},
                                     {u"发货数量", u"quantity dispatched"},
                                     {u"发货金额", u"amount dispatched"},
                                     {u"开票数量", u"quantity invoiced"},
                                     {u"开票金额", u"amount invoiced, with tax"},
                                     {u"收款金额", u"amount paid, with tax"},
                                     {u"未结数量", u"quantity not invoiced yet"}});

// newclsReportDaoOut
inline constexpr TextView kDispatchTypes[] = {u"发货单", u"委托结算"};
inline constexpr auto kDispatchFilters =
    std::to_array<FilterInfo>({{u"dDate", u"日期", DateRange, Report},
                               {u"cVerifier", u"审核", Option, Report, kAudited, None, true},
                               {u"cVouchType", u"单据类型", Option, Report, kDispatchTypes},
                               {u"cCusCode", u"客户编码", Range, Host},
                               {u"Inventory.cInvCode", u"存货编码", Range, Host},
                               {u"cWhCode", u"仓库编码", Range, Host},
                               {u"cDepCode", u"部门编码", Range, Host}});
inline constexpr auto kDispatchColumns =
    std::to_array<ResultColumnInfo>({{u"日期", u"date"},
                                     {u"单据类型", u"kind of note"},
                                     {u"单据号", u"note number"},
                                     {u"客户名称", u"customer's short name"},
                                     {u"仓库编码", u"warehouse code"},
                                     {u"存货编码", u"item code"},
                                     {u"存货名称", u"item name"},
                                     {u"规格型号", u"specification"},
                                     {u"数量", u"quantity"},
                                     {u"件数", u"pieces"},
                                     {u"单价", u"unit price without tax"},
                                     {u"金额", u"amount without tax"},
                                     {u"审核人", u"audited by"}});

// newClsReportDaoOutIncome
inline constexpr TextView kDispatchIncomeTypes[] = {u"发货单", u"委托结算单"};
inline constexpr auto kDispatchIncomeFilters = std::to_array<FilterInfo>(
    {{u"dDate", u"发货日期", DateRange, Host, {}, ByCaption},
     {u"dInvoiceDate", u"开票日期", DateRange, Host, {}, ByCaption},
     {u"cVerifier", u"审核", Option, Report, kAudited, ByCaption, true},
     {u"cVouchType", u"单据类型", Option, Report, kDispatchIncomeTypes, ByCaption},
     {u"cCusCode", u"客户编码", Range, Host},
     {u"Inventory.cInvCode", u"存货编码", Range, Host},
     {u"cDepCode", u"部门编码", Range, Host}});
inline constexpr auto kDispatchIncomeColumns =
    std::to_array<ResultColumnInfo>({{u"发货日期", u"dispatch date"},
                                     {u"单据类型", u"kind of note"},
                                     {u"单据号", u"note number"},
                                     {u"客户名称", u"customer's short name"},
                                     {u"存货编码", u"item code"},
                                     {u"存货名称", u"item name"},
                                     {u"发货数量", u"quantity dispatched"},
                                     {u"发货金额", u"amount dispatched"},
                                     {u"开票数量", u"quantity invoiced"},
                                     {u"开票金额", u"amount invoiced"},
                                     {u"未开票数量", u"quantity not invoiced yet"},
                                     {u"未开票金额", u"amount not invoiced yet"}});

// newclsReportDAOSRM
inline constexpr auto kSrmFilters =
    std::to_array<FilterInfo>({{u"dDate", u"日期", DateRange, Report},
                               {u"cChecker", u"复核", Option, Report, kReviewed},
                               {u"cAccDep", u"核算部门", PlainText, Host},
                               {u"cWhCode", u"仓库", PlainText, Report},
                               {u"cCusCode", u"客户编码", Range, Host},
                               {u"Inventory.cInvCode", u"存货编码", Range, Host},
                               {u"cPersonCode", u"业务员", PlainText, Host}});
inline constexpr auto kSrmColumns =
    std::to_array<ResultColumnInfo>({{u"日期", u"date"},
                                     {u"发票号", u"invoice number"},
                                     {u"核算部门", u"department of the account"},
                                     {u"客户名称", u"customer's short name"},
                                     {u"存货编码", u"item code"},
                                     {u"存货名称", u"item name"},
                                     {u"销售数量", u"quantity sold"},
                                     {u"退货数量", u"quantity returned"},
                                     {u"净额", u"amount without tax, returns negative"},
                                     {u"毛利", u"margin"}});

// newclsReportDaotrust
inline constexpr auto kEntrustedFilters =
    std::to_array<FilterInfo>({{u"dDate", u"日期", DateRange, Report},
                               {u"cCusCode", u"客户编码", Range, Host},
                               {u"Inventory.cInvCode", u"存货编码", Range, Host},
                               {u"cDepCode", u"部门编码", Range, Host},
                               {u"cWhCode", u"仓库编码", Range, Host}});
inline constexpr auto kEntrustedColumns =
    std::to_array<ResultColumnInfo>({{u"结算日期", u"settlement date"},
                                     {u"结算单号", u"settlement number"},
                                     {u"客户名称", u"customer's short name"},
                                     {u"仓库编码", u"warehouse code"},
                                     {u"存货编码", u"item code"},
                                     {u"存货名称", u"item name"},
                                     {u"规格型号", u"specification"},
                                     {u"结算数量", u"quantity settled"},
                                     {u"单价", u"unit price without tax"},
                                     {u"结算金额", u"amount settled"}});

// newClsReportDaoSaleProfit has a subtitle and no table.
inline constexpr auto kProfitFilters =
    std::to_array<FilterInfo>({{u"dDate", u"日期", DateRange, Host}});
inline constexpr TextView kProfitColumns = u"none: the report is not implemented";

}  // namespace ledgerwick::sales_rows
