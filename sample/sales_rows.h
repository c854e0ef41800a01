// Sales documents as rows of their five tables.
#pragma once

#include <memory>

#include "sample/voucher_rows.h"

namespace ledgerwick::sample {

// The rows of SaleNote, SaleNoteLine, SaleInvoice, SaleInvoiceLine or SalePayment, at `index` 0 to
// 4. `stock` outlives the object; `seed` is the one of the vouchers.
std::unique_ptr<VoucherRows> NewSalesRows(std::size_t index, const Stock& stock, std::uint64_t seed,
                                          RowFunction row);

}  // namespace ledgerwick::sample
