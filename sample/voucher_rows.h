// Vouchers, and the sales documents behind them, as rows of their tables.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "frame/text.h"
#include "frame/value.h"
#include "sample/voucher_generator.h"

namespace ledgerwick::sample {

// Takes a row; the values live until the call returns.
using RowFunction = std::function<void(std::span<const Value>)>;

// Turns the vouchers into rows of one table. `stock` is the generator's and outlives the object.
class VoucherRows : public VoucherSink {
 public:
  VoucherRows(const Stock& stock, RowFunction row) : stock_(stock), row_function_(std::move(row)) {}

  void Head(const VoucherHead&) override {}
  void Line(const VoucherHead&, const VoucherLine&) override {}

  virtual TextView table() const = 0;
  virtual std::span<const Text> columns() const = 0;

  // Called once behind the last voucher, for rows that wait for a voucher's last line.
  virtual void Finish() {}

 protected:
  const Slot& SlotOf(const VoucherLine& line) const { return stock_.slot(line.slot); }
  void Emit() const { row_function_(row_); }

  std::vector<Value> row_;

 private:
  const Stock& stock_;
  RowFunction row_function_;
};

// RdRecord, RdRecords, InvPosition, and the five tables of sales, in the order in which they are to
// be filled.
inline constexpr std::size_t kVoucherTables = 8;

// The rows of the table that stands at `index`, from 0 to kVoucherTables - 1, in that order. `seed`
// is the one of the generator whose vouchers the rows are made of.
std::unique_ptr<VoucherRows> NewVoucherRows(std::size_t index, const Stock& stock,
                                            std::uint64_t seed, RowFunction row);

// `number` with leading zeros up to `width` digits.
Text Digits(std::int64_t number, std::size_t width);

// A document's number: its kind and seven digits.
Text DocumentCode(TextView prefix, std::int32_t document);

// The name of the one who audits the document of that number.
TextView AuditorOf(std::int32_t document);

// `fen` in the unit of the columns.
double Yuan(std::int64_t fen);

}  // namespace ledgerwick::sample
