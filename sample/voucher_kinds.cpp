#include "sample/voucher_kinds.h"

#include <array>

namespace ledgerwick::sample {
namespace {

constexpr unsigned kGoods = MaskOf(Role::Goods);
constexpr unsigned kMaterials = MaskOf(Role::Material);
constexpr unsigned kProducts = MaskOf(Role::Product);
constexpr unsigned kAll = kGoods | kMaterials | kProducts;

// clang-format off

// A voucher that moves goods between locations takes as much as it puts: it leaves the stock of
// the warehouse as it was.
constexpr std::array<VoucherKind, 17> kKinds = {{
    {u"01", u"普通采购",   u"11", u"CR", u"02", true,  PartnerKind::Vendor,   kGoods | kMaterials, 20},
    {u"09", u"调拨出库",   u"24", u"QC", u"04", false, PartnerKind::None,     kAll,                 6},
    {u"08", u"调拨入库",   u"14", u"QR", u"04", true,  PartnerKind::None,     kAll,                 0},
    {u"33", u"货位调整",   u"24", u"HT", u"04", false, PartnerKind::None,     kAll,                 3},
    {u"33", u"货位调整",   u"14", u"HT", u"04", true,  PartnerKind::None,     kAll,                 0},
    {u"34", u"期初结存",   u"13", u"QS", u"04", true,  PartnerKind::None,     kAll,                 0},
    {u"08", u"销售退货",   u"16", u"QR", u"03", true,  PartnerKind::Customer, kGoods | kProducts,   2},
    {u"32", u"普通销售",   u"21", u"XC", u"03", false, PartnerKind::Customer, kGoods | kProducts,  38},
    {u"09", u"报损出库",   u"26", u"QC", u"04", false, PartnerKind::None,     kAll,                 6},
    {u"10", u"成品入库",   u"12", u"CP", u"05", true,  PartnerKind::None,     kProducts,            6},
    {u"11", u"领料",       u"22", u"LL", u"05", false, PartnerKind::None,     kMaterials,           9},
    {u"08", u"盘盈入库",   u"15", u"QR", u"04", true,  PartnerKind::None,     kAll,                 2},
    {u"08", u"其他入库",   u"13", u"QR", u"04", true,  PartnerKind::Vendor,   kGoods,               2},
    {u"08", u"样品归还",   u"3",  u"QR", u"03", true,  PartnerKind::Customer, kGoods,               1},
    {u"09", u"样品借出",   u"3",  u"QC", u"03", false, PartnerKind::Customer, kGoods,               2},
    {u"09", u"其他出库",   u"23", u"QC", u"04", false, PartnerKind::None,     kAll,                 3},
    {u"09", u"盘亏出库",   u"25", u"QC", u"04", false, PartnerKind::None,     kAll,                 3},
}};

// clang-format on

}  // namespace

std::span<const VoucherKind> VoucherKinds() { return kKinds; }

}  // namespace ledgerwick::sample
