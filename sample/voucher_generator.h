// Two years of stock vouchers in the order of their dates, handed out one by one.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "sample/random.h"
#include "sample/stock.h"
#include "sample/voucher_kinds.h"

namespace ledgerwick::sample {

// Days count from 1899-12-30, as in Date.
inline constexpr std::int32_t kFirstDay = 36892;  // 2001-01-01: the opening stock
inline constexpr std::int32_t kLastDay = 37621;   // 2002-12-31: the last vouchers

struct VoucherHead {
  std::int32_t id = 0;
  std::size_t kind = 0;  // index into VoucherKinds()
  std::int32_t warehouse = 0;
  std::int32_t day = 0;
  std::int32_t number = 0;         // within the month and the voucher type
  std::int32_t partner = kNone;    // index into Customers() or Vendors(), as the kind says
  std::int32_t employee = 0;       // index into Employees()
  std::int32_t trade_type = 0;     // index into SaleTypes() or PurchaseTypes()
  std::int32_t document = 0;       // number of the order, delivery and invoice behind it
  std::int32_t pair = 0;           // the other voucher of a transfer, by id; 0 for none
  std::int32_t audited_after = 0;  // days from its date to its audit; kNone while it is open
  bool booked = false;
};

struct VoucherLine {
  std::int32_t id = 0;
  std::int32_t slot = 0;  // index into Stock::slots()
  Lot lot;                // what is moved: batch, location and amount
  std::int64_t cost = 0;  // of a main unit, in fen
  std::int32_t project = kNone;
};

// Receives the vouchers. The objects live until the call returns.
class VoucherSink {
 public:
  virtual ~VoucherSink() = default;

  virtual void Head(const VoucherHead& head) = 0;

  // A line of the head that came last.
  virtual void Line(const VoucherHead& head, const VoucherLine& line) = 0;
};

// One history. Equal seeds and line counts give equal histories, so whoever wants to see it twice
// makes it twice. Stock is never negative, neither in all nor in a location.
class VoucherGenerator {
 public:
  // `lines`, which is at least 1, is the number of lines that Run hands out.
  VoucherGenerator(std::uint64_t seed, std::int64_t lines);

  // May be called once.
  void Run(VoucherSink& sink);

  // Before Run: the slots without goods. After it: what is left at the end.
  const Stock& stock() const { return stock_; }

 private:
  struct Movement {
    std::int32_t slot;
    Lot lot;
  };
  using Movements = std::vector<Movement>;
  using IndexList = std::vector<std::int32_t>;

  void ListSlots();
  std::int32_t Today() const;
  std::int64_t LinesLeft() const;

  void WriteOpening();
  void WriteOrdinary();
  bool WriteSingle(std::size_t kind);
  bool WritePair(std::size_t out, std::size_t in);
  void WriteClosing();
  void ReturnShelfLifeGoods();
  void ClearStock();

  std::size_t PickKind();
  std::int32_t Pick(const IndexList& list);
  bool TryReceive(std::int32_t slot, bool even_if_full, Movements& movements);
  bool TryIssue(std::int32_t slot, Movements& movements);
  bool TryScrap(std::int32_t slot, Movements& movements);

  // Whether one vendor supplies both slots' goods.
  bool SameTrade(std::int32_t one, std::int32_t other) const;
  Amount ReceiptAmount(const Item& item);
  Amount IssueAmount(const Item& item, const Lot& lot);
  std::int32_t MadeDay(const Slot& slot) const;
  Movement Counterpart(const Movement& movement, bool transfer) const;

  std::int32_t WriteVoucher(std::size_t kind, std::int32_t warehouse, const Movements& movements,
                            std::int32_t pair = 0);
  VoucherHead MakeHead(std::size_t kind, std::int32_t warehouse, const Item& item);
  std::int32_t NextNumber(std::size_t kind);
  std::int32_t PickVendor(const Item& item);
  std::int32_t PickEmployee(TextView department);

  Random random_;
  Stock stock_;
  std::int64_t lines_;
  std::int64_t closing_lines_;  // kept back for the last day
  std::int64_t written_ = 0;
  std::int32_t day_ = kFirstDay;
  std::int32_t last_id_ = 0;
  std::vector<IndexList> slots_of_kind_;                    // by kind
  std::vector<std::vector<IndexList>> slots_in_warehouse_;  // by kind and warehouse
  std::vector<std::int32_t> numbers_;                       // last number of the month, by type
  std::int32_t numbers_month_ = 0;
  VoucherSink* sink_ = nullptr;
};

}  // namespace ledgerwick::sample
