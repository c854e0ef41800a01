// What the host knows of the sales reports' dialogues and results. Part of filters.cpp. The report
// words a filter also where it takes its value, or makes one condition of several values.
#pragma once

#include <array>

#include "host/filters.h"

namespace ledgerwick::sales_rows {

using enum FilterKind;
using enum WordedBy;

inline constexpr TextView kReviewed[] = {u"复核", u"未复核"};
inline constexpr TextView kAudited[] = {u"审核", u"未审核"};
inline constexpr TextView kServices[] = {u"劳务", u"非劳务"};

// newclsReportDataSaleTotal and newclsReportDataSaleDetail. The report hands the department's
// condition on without the first eight characters, which "cDepCode" are.
inline constexpr auto kSalesFilters =
    std::to_array<FilterInfo>({{u"dDate", u"日期", DateRange, Host},
                               {u"dKeepDate", u"记账日期", DateRange, Host},
                               {u"cDepCode", u"部门编码", PlainText, Host},
                               {u"cWhCode", u"仓库编码", PlainText, Report},
                               {u"cChecker", u"复核", Option, Report, kReviewed},
                               {u"Inventory.bService", u"劳务", Option, Report, kServices},
                               {u"cCusCode", u"客户编码", Range, Host},
                               {u"Inventory.cInvCode", u"存货编码", Range, Host},
                               {u"Inventory.cInvCCode", u"存货分类", Range, Host},
                               {u"cPersonCode", u"业务员", PlainText, Host},
                               {u"cSTCode", u"销售类型", PlainText, Host},
                               {u"iQuantity", u"数量", NumberRange, Host}});
inline constexpr TextView kSummaryColumns = u"made by the procedure Sa_MoveSaleDetail";
inline constexpr TextView kDetailColumns = u"made by the procedure Sa_MoveSaleDetailCost";

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
inline constexpr TextView kCostColumns = u"made by the procedure Sa_MoveSaleCostDetail";

// newClsReportDaoSaleInCome
inline constexpr auto kIncomeFilters =
    std::to_array<FilterInfo>({{u"dDate", u"日期", DateRange, Host},
                               {u"cChecker", u"复核", Option, Report, kReviewed},
                               {u"Inventory.bService", u"劳务", Option, Report, kServices},
                               {u"cCusCode", u"客户编码", Range, Host},
                               {u"Inventory.cInvCode", u"存货编码", Range, Host},
                               {u"cDepCode", u"部门编码", Range, Host}});
inline constexpr TextView kIncomeColumns = u"made by the procedure Sa_MoveSaleInCome";

// newClsReportDaoConsignment
inline constexpr auto kConsignmentFilters =
    std::to_array<FilterInfo>({{u"dDate", u"发货日期", DateRange, Host},
                               {u"dInvoiceDate", u"开票日期", DateRange, Host},
                               {u"dPayDate", u"收款日期", DateRange, Host},
                               {u"cWhCode", u"仓库", Range, Host},
                               {u"cCusCode", u"客户编码", Range, Host},
                               {u"Inventory.cInvCode", u"存货编码", Range, Host},
                               {u"cDepCode", u"部门编码", Range, Host},
                               {u"cPersonCode", u"业务员", PlainText, Host}});
inline constexpr TextView kConsignmentColumns = u"made by the procedure Sa_MoveConsignment";

// newclsReportDaoOut
inline constexpr TextView kDispatchTypes[] = {u"发货单", u"委托结算"};
inline constexpr auto kDispatchFilters =
    std::to_array<FilterInfo>({{u"dDate", u"日期", DateRange, Report},
                               {u"cVerifier", u"审核", Option, Report, kAudited},
                               {u"cVouchType", u"单据类型", Option, Report, kDispatchTypes},
                               {u"cCusCode", u"客户编码", Range, Host},
                               {u"Inventory.cInvCode", u"存货编码", Range, Host},
                               {u"cWhCode", u"仓库编码", Range, Host},
                               {u"cDepCode", u"部门编码", Range, Host}});
inline constexpr TextView kDispatchColumns = u"made by the procedure Sa_MoveSaleOut";

// newClsReportDaoOutIncome
inline constexpr TextView kDispatchIncomeTypes[] = {u"发货单", u"委托结算单"};
inline constexpr auto kDispatchIncomeFilters =
    std::to_array<FilterInfo>({{u"dDate", u"发货日期", DateRange, Host},
                               {u"dInvoiceDate", u"开票日期", DateRange, Host},
                               {u"cVerifier", u"审核", Option, Report, kAudited},
                               {u"cVouchType", u"单据类型", Option, Report, kDispatchIncomeTypes},
                               {u"cCusCode", u"客户编码", Range, Host},
                               {u"Inventory.cInvCode", u"存货编码", Range, Host},
                               {u"cDepCode", u"部门编码", Range, Host}});
inline constexpr TextView kDispatchIncomeColumns = u"made by the procedure Sa_MoveOutIncome";

// newclsReportDAOSRM
inline constexpr auto kSrmFilters =
    std::to_array<FilterInfo>({{u"dDate", u"日期", DateRange, Report},
                               {u"cChecker", u"复核", Option, Report, kReviewed},
                               {u"cAccDep", u"核算部门", PlainText, Host},
                               {u"cWhCode", u"仓库", PlainText, Report},
                               {u"cCusCode", u"客户编码", Range, Host},
                               {u"Inventory.cInvCode", u"存货编码", Range, Host},
                               {u"cPersonCode", u"业务员", PlainText, Host}});
inline constexpr TextView kSrmColumns = u"made by the procedure Sa_MoveSRMDetail";

// newclsReportDaotrust
inline constexpr auto kEntrustedFilters =
    std::to_array<FilterInfo>({{u"dDate", u"日期", DateRange, Report},
                               {u"cCusCode", u"客户编码", Range, Host},
                               {u"Inventory.cInvCode", u"存货编码", Range, Host},
                               {u"cDepCode", u"部门编码", Range, Host},
                               {u"cWhCode", u"仓库编码", Range, Host}});
inline constexpr TextView kEntrustedColumns = u"made by the procedure Sa_MoveTrustDetail";

// newClsReportDaoSaleProfit has a subtitle and no table.
inline constexpr auto kProfitFilters =
    std::to_array<FilterInfo>({{u"dDate", u"日期", DateRange, Host}});
inline constexpr TextView kProfitColumns = u"none: the report is not implemented";

}  // namespace ledgerwick::sales_rows
