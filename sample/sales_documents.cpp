#include "sample/sales_documents.h"

#include <algorithm>
#include <utility>

namespace ledgerwick::sample {
namespace {

constexpr std::int32_t kTaxPercent = 17;
constexpr TextView kOnConsignment = u"04";  // the sale type

// `amount` at `fen` a main unit, rounded to whole fen.
std::int64_t Fen(const SalesLine& line, std::int64_t fen) {
  const std::int64_t sum = (line.amount.quarters * fen + 2) / 4;
  return line.returned ? -sum : sum;
}

// About `percent` of `amount`, in whole pieces or whole steps, and at least one of them.
Amount PartOf(const Item& item, Amount amount, std::int32_t percent) {
  if (amount.pieces > 0) {
    const std::int64_t pieces = std::max(std::int64_t{1}, amount.pieces * percent / 100);
    return {amount.quarters * pieces / amount.pieces, pieces};
  }
  const std::int64_t quarters = WholeSteps(GroupOf(item), amount.quarters * percent / 100);
  return {std::min(quarters, amount.quarters), 0};
}

}  // namespace

std::int64_t MoneyOf(const SalesLine& line) { return Fen(line, line.price); }

std::int64_t TaxOf(const SalesLine& line) {
  const std::int64_t money = MoneyOf(line);
  return (money * kTaxPercent + (money < 0 ? -50 : 50)) / 100;
}

std::int64_t CostOf(const SalesLine& line) { return Fen(line, line.cost); }

SalesGenerator::SalesGenerator(std::uint64_t seed, const Stock& stock, SalesSink& sink)
    : seed_(seed), stock_(stock), sink_(sink) {
  for (std::size_t i = 0; i < Items().size(); ++i) {
    if (Items()[i].role == Role::Service) services_.push_back(static_cast<std::int32_t>(i));
  }
}

void SalesGenerator::Head(const VoucherHead& head) {
  WriteDocuments();
  voucher_ = head;
}

void SalesGenerator::Line(const VoucherHead& head, const VoucherLine& line) {
  if (head.kind != kSale && head.kind != kSalesReturn) return;
  SalesLine sold;
  sold.voucher_line = line.id;
  sold.slot = line.slot;
  sold.item = stock_.slot(line.slot).item;
  sold.returned = head.kind == kSalesReturn;
  sold.amount = line.lot.amount;
  sold.cost = line.cost;
  lines_.push_back(sold);
}

void SalesGenerator::Finish() { WriteDocuments(); }

void SalesGenerator::WriteDocuments() {
  const Lines lines = std::exchange(lines_, {});
  if (lines.empty()) return;
  Random random(seed_ ^ (static_cast<std::uint64_t>(voucher_.id) * 0x9E3779B97F4A7C15U));
  const bool consigned =
      !lines.front().returned &&
      SaleTypes()[static_cast<std::size_t>(voucher_.trade_type)].code == kOnConsignment;
  const SalesHead note =
      HeadOf(consigned ? NoteKind::Consignment : NoteKind::Delivery, voucher_.day);
  const Lines noted = WriteNote(note, lines, random);
  if (!consigned) {
    WriteInvoice(note, noted, random);
    return;
  }
  const SalesHead settlement = HeadOf(NoteKind::Settlement, voucher_.day + random.Between(10, 40));
  if (settlement.day > kLastDay) return;
  WriteInvoice(settlement, WriteNote(settlement, Settled(noted, random), random), random);
}

SalesHead SalesGenerator::HeadOf(NoteKind kind, std::int32_t day) const {
  SalesHead head;
  head.kind = kind;
  head.day = day;
  head.customer = voucher_.partner;
  head.employee = voucher_.employee;
  head.sale_type = voucher_.trade_type;
  head.document = voucher_.document;
  return head;
}

// Returns the lines with their ids and prices.
SalesGenerator::Lines SalesGenerator::WriteNote(const SalesHead& of, const Lines& lines,
                                                Random& random) {
  SalesHead note = of;
  note.id = ++last_note_;
  note.approved = !random.Chance(note.day > kLastDay - 20 ? 30 : 4);
  sink_.Note(note);
  Lines noted = lines;
  for (SalesLine& line : noted) {
    line.id = ++last_note_line_;
    // What the consignee has sold has its price from the dispatch.
    if (line.price == 0) {
      line.price = Items()[static_cast<std::size_t>(line.item)].cost *
                   std::int64_t{random.Between(115, 160)} / 100;
    }
    sink_.NoteLine(note, line);
  }
  return noted;
}

// Most of what was dispatched, and some lines not at all.
SalesGenerator::Lines SalesGenerator::Settled(const Lines& dispatched, Random& random) const {
  Lines settled;
  for (const SalesLine& line : dispatched) {
    if (!settled.empty() && random.Chance(20)) continue;
    SalesLine part = line;
    part.source = line.id;
    part.voucher_line = 0;
    part.amount =
        PartOf(Items()[static_cast<std::size_t>(line.item)], line.amount, random.Between(50, 100));
    settled.push_back(part);
  }
  return settled;
}

// Mostly all of the note; now and then a part, or a line is left for later.
SalesGenerator::Lines SalesGenerator::Invoiced(const Lines& noted, Random& random) const {
  Lines invoiced;
  for (const SalesLine& line : noted) {
    if (!invoiced.empty() && random.Chance(8)) continue;
    SalesLine part = line;
    part.source = line.id;
    if (random.Chance(10)) {
      part.amount = PartOf(Items()[static_cast<std::size_t>(line.item)], line.amount, 50);
    }
    invoiced.push_back(part);
  }
  return invoiced;
}

void SalesGenerator::WriteInvoice(const SalesHead& note, const Lines& noted, Random& random) {
  if (random.Chance(6)) return;  // goods on approval: no invoice yet
  SalesHead invoice = note;
  invoice.day = note.day + random.Below(15);
  if (invoice.day > kLastDay) return;
  invoice.id = ++last_invoice_;
  invoice.approved = !random.Chance(invoice.day > kLastDay - 20 ? 40 : 8);
  if (invoice.approved) {
    const std::int32_t booked = invoice.day + random.Below(10);
    if (booked <= kLastDay) invoice.booked_day = booked;
  }
  Lines invoiced = Invoiced(noted, random);
  if (!noted.front().returned && random.Chance(15)) {
    SalesLine service;
    service.item = services_[static_cast<std::size_t>(
        random.Below(static_cast<std::int32_t>(services_.size())))];
    service.amount.quarters = 4;
    service.price = Items()[static_cast<std::size_t>(service.item)].cost;
    invoiced.push_back(service);
  }
  sink_.Invoice(invoice);
  for (SalesLine& line : invoiced) {
    line.id = ++last_invoice_line_;
    sink_.InvoiceLine(invoice, line);
    WritePayments(invoice, line, random);
  }
}

// At once or in two instalments; some pay the first alone, and some have not paid yet.
void SalesGenerator::WritePayments(const SalesHead& invoice, const SalesLine& line,
                                   Random& random) {
  if (random.Chance(15)) return;
  const std::int64_t total = MoneyOf(line) + TaxOf(line);
  const std::int64_t first = random.Chance(40) ? total * random.Between(30, 70) / 100 : total;
  std::int32_t day = invoice.day + random.Between(1, 30);
  for (const std::int64_t fen : {first, total - first}) {
    if (fen == 0 || day > kLastDay) return;
    sink_.Payment({++last_payment_, line.id, day, fen});
    day += random.Between(10, 60);
  }
}

}  // namespace ledgerwick::sample
