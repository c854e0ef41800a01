// What the host knows of the inventory reports' dialogues and results. Part of filters.cpp.
#pragma once

#include <array>
#include <cstddef>

#include "host/filters.h"

namespace ledgerwick::inventory_rows {

using enum FilterKind;
using enum FilterTrait;
using enum WordedBy;

// One array of several, as reports share their free fields.
template <typename T, std::size_t... Sizes>
constexpr auto Joined(const std::array<T, Sizes>&... parts) {
  std::array<T, (Sizes + ...)> joined{};
  std::size_t next = 0;
  const auto append = [&](const auto& part) {
    for (const T& element : part) joined[next++] = element;
  };
  (append(parts), ...);
  return joined;
}

// Shared by several reports.
inline constexpr auto kFreeColumns =
    std::to_array<ResultColumnInfo>({{u"cFree1", u"free attribute 1"},
                                     {u"cFree2", u"free attribute 2"},
                                     {u"cFree3", u"free attribute 3"},
                                     {u"cFree4", u"free attribute 4"},
                                     {u"cFree5", u"free attribute 5"},
                                     {u"cFree6", u"free attribute 6"},
                                     {u"cFree7", u"free attribute 7"},
                                     {u"cFree8", u"free attribute 8"},
                                     {u"cFree9", u"free attribute 9"},
                                     {u"cFree10", u"free attribute 10"}});
inline constexpr auto kDefineColumns =
    std::to_array<ResultColumnInfo>({{u"cInvDefine1", u"item's free field 1"},
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
                                     {u"cInvDefine16", u"item's free field 16"}});
inline constexpr auto kFreeFilters =
    std::to_array<FilterInfo>({{u"cFree1", u"自由项1", PlainText, Host},
                               {u"cFree2", u"自由项2", PlainText, Host},
                               {u"cFree3", u"自由项3", PlainText, Host},
                               {u"cFree4", u"自由项4", PlainText, Host},
                               {u"cFree5", u"自由项5", PlainText, Host},
                               {u"cFree6", u"自由项6", PlainText, Host},
                               {u"cFree7", u"自由项7", PlainText, Host},
                               {u"cFree8", u"自由项8", PlainText, Host},
                               {u"cFree9", u"自由项9", PlainText, Host},
                               {u"cFree10", u"自由项10", PlainText, Host}});
inline constexpr TextView kYesNo[] = {u"是", u"否"};

// clsInventroy has neither filters nor columns of its own.
inline constexpr TextView kSnapshotColumns = u"every column of the table inventory";

// clsRepAQKCYJ
inline constexpr TextView kStockTypes[] = {u"全部", u"高于安全库存量存货", u"不高于安全库存量存货"};
inline constexpr auto kSafetyStockFilters =
    std::to_array<FilterInfo>({{u"def_queryType", u"查询类型", Option, Report, kStockTypes},
                               {u"W.cWhCode", u"仓库编码", Range, Host},
                               {u"W.cWhName", u"仓库名称", PlainText, Host},
                               {u"I.cInvCode", u"存货编码", Range, Host},
                               {u"I.cInvName", u"存货名称", PlainText, Host},
                               {u"I.cInvCCode", u"存货大类", Range, Host},
                               {u"I.cInvStd", u"规格型号", PlainText, Host},
                               {u"I.iSafeNum", u"安全库存量", NumberRange, Host},
                               {u"STPQ.iQuantity", u"现存数量", NumberRange, Host}});
inline constexpr auto kSafetyStockColumns =
    Joined(std::to_array<ResultColumnInfo>({{u"cWhName", u"warehouse name"},
                                            {u"cInvCode", u"item code"},
                                            {u"cInvAddCode", u"item's additional code"},
                                            {u"CHMC", u"item name"},
                                            {u"GGXH", u"specification"},
                                            {u"产地", u"origin"},
                                            {u"JLDW", u"unit name"}}),
           kDefineColumns,
           std::to_array<ResultColumnInfo>({{u"AQKCL", u"safety stock"},
                                            {u"DQKCL", u"stock on hand; null without a stock row"},
                                            {u"CL", u"stock on hand less safety stock"}}));

// clsRepSFC
inline constexpr TextView kBusinessStates[] = {u"所有存货", u"发生业务", u"未发生业务",
                                               u"入库未出库", u"出库未入库"};
inline constexpr TextView kItemTypes[] = {u"所有存货", u"一般存货", u"呆滞积压存货",
                                          u"受托代销商品"};
inline constexpr auto kBalanceFilters = Joined(
    std::to_array<FilterInfo>({{u"dDate", u"日期", DateRange, Report, {}, AnyOrder},
                               {u"dVeriDate", u"审核日期", DateRange, Report, {}, AnyOrder},
                               {u"RdRecord.cWhCode", u"仓库编码", List, Report},
                               {u"RdRecords.cInvCode", u"存货编码", Range, Host},
                               {u"Inventory.cInvCCode", u"存货大类", Range, Host},
                               {u"Inventory.cInvStd", u"规格型号", PlainText, Host},
                               {u"cInvType", u"存货类型", Option, Report, kItemTypes, None, true},
                               {u"cRdCode", u"收发类别", PlainText, Report},
                               {u"iAssUnitGrade", u"收发类别级次", PlainText, Report},
                               {u"BusCond", u"业务状态", Option, Report, kBusinessStates},
                               {u"JCQuantity", u"结存数量", NumberRange, Report, {}, AnyOrder},
                               {u"DispZeroInv", u"显示零结存", Option, Report, kYesNo},
                               {u"ExtAcc", u"展开成套件", Option, Report, kYesNo},
                               {u"VeriType", u"已审核单据", Option, Report, kYesNo}}),
    kFreeFilters);
inline constexpr auto kBalanceColumns =
    std::to_array<ResultColumnInfo>({{u"仓库编码", u"warehouse code"},
                                     {u"仓库名称", u"warehouse name"},
                                     {u"存货编码", u"item code"},
                                     {u"存货名称", u"item name"},
                                     {u"存货代码", u"item's additional code"},
                                     {u"规格型号", u"specification"},
                                     {u"产地", u"origin"},
                                     {u"计量单位", u"unit name"},
                                     {u"辅计量单位", u"unit of the pieces"},
                                     {u"cInvCCode", u"item class code"},
                                     {u"存货大类名称", u"item class name"},
                                     {u"iQCJCSL", u"opening quantity"},
                                     {u"iQCJCJS", u"opening pieces"},
                                     {u"总计_入库数量", u"quantity received"},
                                     {u"总计_入库件数", u"pieces received"},
                                     {u"总计_出库数量", u"quantity issued"},
                                     {u"总计_出库件数", u"pieces issued"},
                                     {u"期末结存数量", u"closing quantity"},
                                     {u"期末结存件数", u"closing pieces"}});
inline constexpr TextView kBalanceNote =
    u"before the totals, quantity and pieces of each receive/issue type in use";

// clsRepHwhz
inline constexpr auto kLocationFilters =
    Joined(std::to_array<FilterInfo>({{u"dDate", u"日期", DateRange, Report, {}, AnyOrder},
                                      {u"Warehouse.cWhCode", u"仓库编码", List, Report},
                                      {u"InvPosition.cPosCode", u"货位编码", Range, Host},
                                      {u"InvPosition.cInvCode", u"存货编码", Range, Host},
                                      {u"I.cInvCCode", u"存货大类", Range, Host},
                                      {u"I.cInvStd", u"规格型号", PlainText, Host},
                                      {u"InvPosition.cBatch", u"批号", Range, Host},
                                      {u"JCQuantity", u"结存数量", NumberRange, Report},
                                      {u"iAssUnitGrade", u"辅计量单位级次", PlainText, Host}}),
           kFreeFilters);
inline constexpr auto kLocationColumns = Joined(
    std::to_array<ResultColumnInfo>({{u"仓库编码", u"warehouse code"},
                                     {u"仓库名称", u"warehouse name"},
                                     {u"货位编码", u"location code"},
                                     {u"货位名称", u"location name"},
                                     {u"存货编码", u"item code"},
                                     {u"批号", u"batch"},
                                     {u"存货名称", u"item name"},
                                     {u"存货大类", u"item class code"},
                                     {u"存货代码", u"item's additional code"},
                                     {u"规格型号", u"specification"},
                                     {u"主计量单位", u"unit name"},
                                     {u"辅计量单位", u"unit of the pieces"}}),
    kFreeColumns, kDefineColumns,
    std::to_array<ResultColumnInfo>({{u"期初结存件数", u"opening pieces, before 2001-10-01"},
                                     {u"期初结存数量", u"opening quantity, before 2001-10-01"},
                                     {u"本期入库件数", u"pieces received"},
                                     {u"本期入库数量", u"quantity received"},
                                     {u"本期出库件数", u"pieces issued"},
                                     {u"本期出库数量", u"quantity issued"},
                                     {u"期末结存件数", u"closing pieces"},
                                     {u"期末结存数量", u"closing quantity"}}));

// clsRepLsz
inline constexpr TextView kVoucherStates[] = {u"全部单据", u"已审核单据", u"未审核单据"};
inline constexpr auto kJournalFilters =
    std::to_array<FilterInfo>({{u"R.dDate", u"日期", DateRange, Host},
                               {u"R.dVeriDate", u"审核日期", DateRange, Host},
                               {u"VeriType", u"单据状态", Option, Report, kVoucherStates},
                               {u"R.cWhCode", u"仓库编码", List, Report},
                               {u"R.cRdCode", u"收发类别", PlainText, Report},
                               {u"iAssUnitGrade", u"收发类别级次", PlainText, Report},
                               {u"Rs.cInvCode", u"存货编码", Range, Host},
                               {u"I.cInvCCode", u"存货大类", Range, Host},
                               {u"I.cInvStd", u"规格型号", PlainText, Host},
                               {u"Rs.cBatch", u"批号", Range, Host},
                               {u"R.cVouchType", u"单据类型", PlainText, Host},
                               {u"R.cCode", u"单据号", Range, Host},
                               {u"R.cVenCode", u"供应商编码", Range, Host},
                               {u"R.cCusCode", u"客户编码", Range, Host},
                               {u"R.cDepCode", u"部门编码", Range, Host},
                               {u"R.cPersonCode", u"业务员编码", Range, Host}});
inline constexpr auto kJournalColumns =
    Joined(std::to_array<ResultColumnInfo>({{u"dDate", u"date"},
                                            {u"SFBZ", u"receipt (入库) or issue (出库)"},
                                            {u"SXRQ", u"expiry date, yyyy.mm.dd"},
                                            {u"DJLX", u"voucher type"},
                                            {u"YWLX", u"kind of business"},
                                            {u"BZ", u"memo"},
                                            {u"YWH", u"business number"},
                                            {u"WN", u"warehouse name"},
                                            {u"DJH", u"voucher number"},
                                            {u"SFLB", u"receive/issue type"},
                                            {u"BM", u"department"},
                                            {u"YWY", u"person"},
                                            {u"CGLX", u"purchase type"},
                                            {u"GHDW", u"vendor"},
                                            {u"DDH", u"order number"},
                                            {u"DHDH", u"arrival number"},
                                            {u"XSLX", u"sale type"},
                                            {u"FPH", u"invoice number"},
                                            {u"KH", u"customer"},
                                            {u"FHDH", u"delivery number"},
                                            {u"SCPH", u"production batch"},
                                            {u"JSR", u"audited by"},
                                            {u"ZDY1", u"voucher's free field 1"},
                                            {u"ZDY2", u"voucher's free field 2"},
                                            {u"ZDY3", u"voucher's free field 3"},
                                            {u"ZDY4", u"voucher's free field 4"},
                                            {u"ZDY5", u"voucher's free field 5"},
                                            {u"ZDY6", u"voucher's free field 6"},
                                            {u"ZDY7", u"voucher's free field 7"},
                                            {u"ZDY8", u"voucher's free field 8"},
                                            {u"ZDY9", u"voucher's free field 9"},
                                            {u"ZDY10", u"voucher's free field 10"},
                                            {u"ZDY11", u"voucher's free field 11"},
                                            {u"ZDY12", u"voucher's free field 12"},
                                            {u"ZDY13", u"voucher's free field 13"},
                                            {u"ZDY14", u"voucher's free field 14"},
                                            {u"ZDY15", u"voucher's free field 15"},
                                            {u"ZDY16", u"voucher's free field 16"},
                                            {u"ZDY22", u"line's free field 22"},
                                            {u"ZDY23", u"line's free field 23"},
                                            {u"ZDY24", u"line's free field 24"},
                                            {u"ZDY25", u"line's free field 25"},
                                            {u"ZDY26", u"line's free field 26"},
                                            {u"ZDY27", u"line's free field 27"},
                                            {u"ZDY28", u"line's free field 28"},
                                            {u"ZDY29", u"line's free field 29"},
                                            {u"ZDY30", u"line's free field 30"},
                                            {u"ZDY31", u"line's free field 31"},
                                            {u"ZDY32", u"line's free field 32"},
                                            {u"ZDY33", u"line's free field 33"},
                                            {u"ZDY34", u"line's free field 34"},
                                            {u"ZDY35", u"line's free field 35"},
                                            {u"ZDY36", u"line's free field 36"},
                                            {u"ZDY37", u"line's free field 37"},
                                            {u"CHBM", u"item code"},
                                            {u"CHDM", u"item's additional code"},
                                            {u"CHMC", u"item name"},
                                            {u"GGXH", u"specification"},
                                            {u"RKJS", u"pieces received"},
                                            {u"CKJS", u"pieces issued"},
                                            {u"HSL", u"rate of the pieces"},
                                            {u"JLDW", u"unit name"}}),
           kFreeColumns, kDefineColumns,
           std::to_array<ResultColumnInfo>({{u"RKSL", u"quantity received"},
                                            {u"CKSL", u"quantity issued"},
                                            {u"RKDJ", u"unit cost of the receipt"},
                                            {u"CKDJ", u"unit cost of the issue"},
                                            {u"RKJE", u"amount received"},
                                            {u"CKJE", u"amount issued"},
                                            {u"JHJ", u"plan price"},
                                            {u"JHJE", u"plan amount"},
                                            {u"PH", u"batch"},
                                            {u"XMMC", u"project"},
                                            {u"XMDL", u"project class"},
                                            {u"JZR", u"booked by"},
                                            {u"ZDR", u"made by"}}));

// clsRepPcch
inline constexpr auto kBatchFilters =
    std::to_array<FilterInfo>({{u"dDate", u"日期", DateRange, Report, {}, AnyOrder},
                               {u"dVeriDate", u"审核日期", DateRange, Report, {}, AnyOrder}});
inline constexpr auto kBatchColumns =
    Joined(std::to_array<ResultColumnInfo>({{u"仓库", u"warehouse name"},
                                            {u"仓库编码", u"warehouse code"},
                                            {u"存货编码", u"item code"},
                                            {u"存货代码", u"item's additional code"},
                                            {u"规格型号", u"specification"},
                                            {u"存货名称", u"item name"},
                                            {u"计量单位", u"unit name"},
                                            {u"辅计量单位", u"unit of the pieces"},
                                            {u"批号", u"batch"},
                                            {u"产地", u"origin"},
                                            {u"生产日期", u"production date"},
                                            {u"保质期", u"shelf life in days"},
                                            {u"失效日期", u"expiry date"}}),
           kFreeColumns, kDefineColumns,
           std::to_array<ResultColumnInfo>({{u"期初结存数量", u"opening quantity"},
                                            {u"期初结存件数", u"opening pieces"},
                                            {u"收入数量", u"quantity received"},
                                            {u"收入件数", u"pieces received"},
                                            {u"发出数量", u"quantity issued"},
                                            {u"发出件数", u"pieces issued"},
                                            {u"期末结存数量", u"closing quantity"},
                                            {u"期末结存件数", u"closing pieces"}}));

// clsRepXCL
inline constexpr TextView kStopStates[] = {u"全部", u"冻结", u"未冻结"};
inline constexpr auto kCurrentStockFilters =
    Joined(std::to_array<FilterInfo>(
               {{u"I.cInvCode", u"存货编码", Range, Host},
                {u"I.cInvCCode", u"存货大类", Range, Host},
                {u"WH.cWhCode", u"仓库编码", Range, Host},
                {u"I.cInvStd", u"规格型号", PlainText, Host},
                {u"I.cBarCode", u"条形码", PlainText, Report},
                {u"CS.cBatch", u"批号", PlainText, Report},
                {u"CS.dMDate", u"生产日期", DateRange, Host},
                {u"CS.dVDate", u"失效日期", DateRange, Host},
                {u"iQuantity", u"现存数量", NumberRange, Host},
                {u"iNum", u"现存件数", NumberRange, Report, {}, AnyOrder},
                {u"I.cPosition", u"货位编码", Range, Host},
                {u"def_iInvCGrade", u"存货大类级次", PlainText, Report},
                {u"def_iPosCGrade", u"货位级次", PlainText, Report},
                {u"def_bStop", u"冻结状态", Option, Report, kStopStates, None, true}}),
           kFreeFilters,
           std::to_array<FilterInfo>({{u"cInvDefine1", u"存货自定义项1", PlainText, Host},
                                      {u"cInvDefine2", u"存货自定义项2", PlainText, Host},
                                      {u"cInvDefine3", u"存货自定义项3", PlainText, Host},
                                      {u"cInvDefine4", u"存货自定义项4", PlainText, Host},
                                      {u"cInvDefine5", u"存货自定义项5", PlainText, Host},
                                      {u"cInvDefine6", u"存货自定义项6", PlainText, Host},
                                      {u"cInvDefine7", u"存货自定义项7", PlainText, Host},
                                      {u"cInvDefine8", u"存货自定义项8", PlainText, Host},
                                      {u"cInvDefine9", u"存货自定义项9", PlainText, Host},
                                      {u"cInvDefine10", u"存货自定义项10", PlainText, Host},
                                      {u"cInvDefine11", u"存货自定义项11", PlainText, Host},
                                      {u"cInvDefine12", u"存货自定义项12", PlainText, Host},
                                      {u"cInvDefine13", u"存货自定义项13", PlainText, Host},
                                      {u"cInvDefine14", u"存货自定义项14", PlainText, Host},
                                      {u"cInvDefine15", u"存货自定义项15", PlainText, Host},
                                      {u"cInvDefine16", u"存货自定义项16", PlainText, Host}}));
inline constexpr auto kCurrentStockColumns = Joined(
    std::to_array<ResultColumnInfo>({{u"cInvCode", u"item code"},
                                     {u"cInvName", u"item name"},
                                     {u"cInvStd", u"specification"},
                                     {u"cInvCCode", u"item class code"},
                                     {u"cInvAddCode", u"item's additional code"},
                                     {u"cInvM_Unit", u"unit name"},
                                     {u"cInvA_Unit", u"unit of the pieces"},
                                     {u"cWhCode", u"warehouse code"},
                                     {u"cWhName", u"warehouse name"},
                                     {u"cBatch", u"batch"},
                                     {u"cInvCName", u"item class name"}}),
    kFreeColumns, kDefineColumns,
    std::to_array<ResultColumnInfo>({{u"cBarCode", u"bar code"},
                                     {u"dMdate", u"production date"},
                                     {u"dVDate", u"expiry date"},
                                     {u"iMassDate", u"shelf life in days"},
                                     {u"iQuantity", u"quantity on hand"},
                                     {u"iNum", u"pieces on hand"},
                                     {u"cPosName", u"location name"},
                                     {u"cPosCode", u"location code"},
                                     {u"bStopFlag", u"1 when stopped"},
                                     {u"fInQuantity", u"quantity on the way in"},
                                     {u"fInNum", u"pieces on the way in"},
                                     {u"fOutQuantity", u"quantity on the way out"},
                                     {u"fOutNum", u"pieces on the way out"},
                                     {u"fTransInQuantity", u"quantity being transferred in"},
                                     {u"fTransInNum", u"pieces being transferred in"},
                                     {u"fTransOutQuantity", u"quantity being transferred out"},
                                     {u"fTransOutNum", u"pieces being transferred out"},
                                     {u"fPlanQuantity", u"quantity planned"},
                                     {u"fPlanNum", u"pieces planned"},
                                     {u"fDisableQuantity", u"quantity disabled"},
                                     {u"fDisableNum", u"pieces disabled"},
                                     {u"fAvaQuantity", u"quantity available"},
                                     {u"fAvaNum", u"pieces available"}}));

// clsRepBzqyj
inline constexpr TextView kShelfLifeStates[] = {u"所有保质期存货", u"过期存货", u"未过期存货",
                                                u"到期存货"};
inline constexpr auto kShelfLifeFilters =
    std::to_array<FilterInfo>({{u"InvType", u"存货状态", Option, Report, kShelfLifeStates},
                               {u"PassDays", u"过期天数", NumberRange, Report, {}, AnyOrder},
                               {u"CloserDays", u"距失效天数", NumberRange, Report, {}, AnyOrder},
                               {u"iAssUnitGrade", u"辅计量单位级次", PlainText, Report},
                               {u"Warehouse.cWhCode", u"仓库编码", Range, Host},
                               {u"CurrentStock.cInvCode", u"存货编码", Range, Host},
                               {u"Inventory.cInvCCode", u"存货大类", Range, Host},
                               {u"Inventory.cInvStd", u"规格型号", PlainText, Host},
                               {u"CurrentStock.cBatch", u"批号", Range, Host},
                               {u"CurrentStock.dVDate", u"失效日期", DateRange, Host}});
inline constexpr auto kShelfLifeColumns =
    Joined(std::to_array<ResultColumnInfo>({{u"仓库", u"warehouse name"},
                                            {u"存货编码", u"item code"},
                                            {u"存货名称", u"item name"},
                                            {u"存货代码", u"item's additional code"},
                                            {u"规格型号", u"specification"},
                                            {u"产地", u"origin"},
                                            {u"主计量单位", u"unit name"},
                                            {u"辅计量单位", u"unit of the pieces"}}),
           kFreeColumns,
           std::to_array<ResultColumnInfo>({{u"结存数量", u"quantity on hand"},
                                            {u"结存件数", u"pieces on hand"},
                                            {u"批号", u"batch"},
                                            {u"生产日期", u"production date"},
                                            {u"保质期", u"shelf life in days"},
                                            {u"失效日期", u"expiry date"}}));

}  // namespace ledgerwick::inventory_rows
