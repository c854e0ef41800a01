#include "sample/voucher_generator.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <deque>
#include <map>
#include <set>
#include <tuple>

#include "sample/locations.h"

namespace ledgerwick::sample {
namespace {

using LotKey = std::tuple<std::int32_t, std::int32_t, std::int32_t>;  // slot, made day, location

// Keeps its own books of what the vouchers say, and objects to impossible ones.
struct Bookkeeper : VoucherSink {
  void Head(const VoucherHead& head) override {
    CHECK(head.id == ++heads);
    CHECK(head.day >= last_day);
    CHECK(head.day <= kLastDay);
    last_day = head.day;
    types.insert(VoucherKinds()[head.kind].voucher_type);
  }

  void Line(const VoucherHead& head, const VoucherLine& line) override {
    CHECK(line.id == ++lines);
    CHECK(line.lot.amount.quarters > 0);
    const Slot& slot = stock->slot(line.slot);
    CHECK(slot.warehouse == head.warehouse);
    CHECK((line.lot.amount.pieces > 0) == (GroupOf(ItemOf(slot)).type == GroupType::Floating));
    if (line.lot.location != kNone) {
      const Location& location = Locations()[static_cast<std::size_t>(line.lot.location)];
      CHECK(location.leaf);
      CHECK(location.warehouse == slot.warehouse);
    }
    Book(head, line);
  }

  void Book(const VoucherHead& head, const VoucherLine& line) {
    const VoucherKind& kind = VoucherKinds()[head.kind];
    const std::int64_t sign = kind.receipt ? 1 : -1;
    Amount& held = books[{line.slot, line.lot.made_day, line.lot.location}];
    held.quarters += sign * line.lot.amount.quarters;
    held.pieces += sign * line.lot.amount.pieces;
    CHECK(held.quarters >= 0);
    CHECK(held.pieces >= 0);
    CHECK((held.quarters == 0 || GroupOf(ItemOf(stock->slot(line.slot))).type !=
                                     GroupType::Floating) == (held.pieces == 0));
    if (kind.voucher_type == u"33") {
      shifted[{line.slot, line.lot.made_day, 0}] += sign * line.lot.amount.quarters;
      if (!kind.receipt) {
        left.push_back(line.lot.location);
      } else {
        CHECK(line.lot.location != left.front());
        left.pop_front();
      }
    }
  }

  const Stock* stock = nullptr;
  std::map<LotKey, Amount> books;
  std::map<LotKey, std::int64_t> shifted;  // by location vouchers, over all locations
  std::deque<std::int32_t> left;           // the locations that wait for their other half
  std::set<TextView> types;
  std::int32_t heads = 0;
  std::int32_t lines = 0;
  std::int32_t last_day = kFirstDay;
};

struct History {
  History(std::uint64_t seed, std::int64_t lines) : generator(seed, lines) {
    book.stock = &generator.stock();
    generator.Run(book);
  }
  VoucherGenerator generator;
  Bookkeeper book;
};

std::map<LotKey, Amount> LotsOf(const Stock& stock) {
  std::map<LotKey, Amount> lots;
  for (std::size_t i = 0; i < stock.slots().size(); ++i) {
    for (const Lot& lot : stock.slots()[i].lots) {
      lots[{static_cast<std::int32_t>(i), lot.made_day, lot.location}] = lot.amount;
    }
  }
  return lots;
}

TEST_CASE("the stock at the end is what the vouchers add up to, and is negative at no time") {
  for (const std::int64_t lines : {1, 2, 7, 99, 100, 117, 1000, 8000}) {
    CAPTURE(lines);
    History history(static_cast<std::uint64_t>(lines), lines);
    CHECK(history.book.lines == lines);
    std::erase_if(history.book.books, [](const auto& entry) { return entry.second == Amount{}; });
    CHECK(history.book.books == LotsOf(history.generator.stock()));
    for (const auto& [key, quarters] : history.book.shifted) CHECK(quarters == 0);
  }
}

TEST_CASE("the default size shows every situation that the reports look for") {
  const History history(1, 5000);
  CHECK(history.book.books != History(2, 5000).book.books);
  CHECK(history.book.last_day == kLastDay);
  CHECK(history.book.types.size() == VoucherTypes().size());
  std::set<std::string> found;
  for (const Slot& slot : history.generator.stock().slots()) {
    const Item& item = ItemOf(slot);
    if (slot.used && slot.quarters == 0) found.insert("sold out");
    if (item.safety_stock > 0) {
      found.insert(slot.quarters > item.safety_stock * 4 ? "above safety" : "below safety");
    }
    for (const Lot& lot : slot.lots) {
      if (item.shelf_days <= 0) continue;
      const std::int32_t days_left = lot.made_day + item.shelf_days - kLastDay;
      found.insert(days_left < 0 ? "expired" : days_left == 0 ? "expires today" : "keeps");
    }
  }
  CHECK(found == std::set<std::string>{"sold out", "above safety", "below safety", "expired",
                                       "expires today", "keeps"});
}

}  // namespace
}  // namespace ledgerwick::sample
