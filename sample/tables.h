// The rows of the small tables, complete: master data, and the stock that the vouchers left.
#pragma once

#include <cstdint>
#include <vector>

#include "frame/text.h"
#include "frame/value.h"
#include "sample/stock.h"

namespace ledgerwick::sample {

struct Table {
  Text name;
  std::vector<Text> columns;
  std::vector<std::vector<Value>> rows;  // a value for each column
};

// The day as a value of the database; kNone is null.
Value DayValue(std::int32_t day);

// The text, or null for an empty one.
Value TextOrNull(TextView text);

// The name of the batch made on `day`, or null for kNone.
Value BatchValue(std::int32_t day);

// The last day of a batch of `item` that was made on `day`, or null when it keeps forever.
Value ExpiryValue(const Item& item, std::int32_t made_day);

// The days that `item` keeps, or null when it keeps forever.
Value ShelfDaysValue(const Item& item);

// The pieces of `amount`, or null for an item without pieces.
Value PiecesValue(const Item& item, Amount amount);

// Everything that the vouchers refer to. Of `stock` the places count, not the goods.
std::vector<Table> MasterTables(const Stock& stock);

// CurrentStock: a row for each batch of each slot, and a row of zero for goods without batches that
// have run out. `seed` chooses what is on its way in and out.
Table StockTable(const Stock& stock, std::uint64_t seed);

}  // namespace ledgerwick::sample
