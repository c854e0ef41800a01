// The kinds of stock vouchers that the company writes.
#pragma once

#include <cstdint>
#include <span>

#include "frame/text.h"
#include "sample/reference_data.h"

namespace ledgerwick::sample {

enum class PartnerKind : std::uint8_t { None, Customer, Vendor };

constexpr unsigned MaskOf(Role role) { return 1U << static_cast<unsigned>(role); }

struct VoucherKind {
  TextView voucher_type;
  TextView business;
  TextView receive_issue_type;
  TextView prefix;      // of the voucher's number
  TextView department;  // whose people write it: a code, or the start of some
  bool receipt;
  PartnerKind partner;
  unsigned roles;       // the items that it may name
  std::int32_t weight;  // how often it is written; 0 for those that come about otherwise
};

inline constexpr std::size_t kPurchase = 0;
inline constexpr std::size_t kTransferOut = 1;
inline constexpr std::size_t kTransferIn = 2;
inline constexpr std::size_t kLocationOut = 3;
inline constexpr std::size_t kLocationIn = 4;
inline constexpr std::size_t kOpening = 5;
inline constexpr std::size_t kSalesReturn = 6;
inline constexpr std::size_t kSale = 7;
inline constexpr std::size_t kScrap = 8;

// All kinds; those that the generator treats apart stand at the places named above.
std::span<const VoucherKind> VoucherKinds();

}  // namespace ledgerwick::sample
