// The sales documents behind the stock vouchers: notes, invoices and payments.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "sample/random.h"
#include "sample/voucher_generator.h"

namespace ledgerwick::sample {

enum class NoteKind : std::uint8_t {
  Delivery,     // sold; negative when the customer returns goods
  Consignment,  // dispatched, and still the company's own
  Settlement,   // what the consignee has sold of it
};

// What both kinds of documents say of themselves.
struct SalesHead {
  std::int32_t id = 0;
  NoteKind kind = NoteKind::Delivery;  // of an invoice: of the notes behind it
  std::int32_t day = 0;
  std::int32_t customer = 0;   // index into Customers()
  std::int32_t employee = 0;   // index into Employees()
  std::int32_t sale_type = 0;  // index into SaleTypes()
  std::int32_t document = 0;   // number of the delivery and the invoice
  bool approved = false;       // a note is audited, an invoice reviewed
  std::int32_t booked_day = kNone;
};

struct SalesLine {
  std::int32_t id = 0;
  std::int32_t source = 0;        // an invoice's note line, a settlement's consignment line; or 0
  std::int32_t voucher_line = 0;  // what moved the goods; 0 for none
  std::int32_t item = 0;          // index into Items()
  std::int32_t slot = kNone;      // index into Stock::slots(); kNone for a service
  bool returned = false;          // the amount goes back to the company
  Amount amount;                  // never negative
  std::int64_t price = 0;         // of a main unit without tax, in fen
  std::int64_t cost = 0;          // of a main unit, in fen
};

struct SalesPayment {
  std::int32_t id = 0;
  std::int32_t invoice_line = 0;
  std::int32_t day = 0;
  std::int64_t fen = 0;  // negative when the company pays back
};

// Receives the documents; each kind is handed out in the order of its ids, a line behind its head.
class SalesSink {
 public:
  virtual ~SalesSink() = default;

  virtual void Note(const SalesHead&) {}
  virtual void NoteLine(const SalesHead&, const SalesLine&) {}
  virtual void Invoice(const SalesHead&) {}
  virtual void InvoiceLine(const SalesHead&, const SalesLine&) {}
  virtual void Payment(const SalesPayment&) {}
};

// The line's money without tax, its tax, and the cost of its goods, in fen; negative for what was
// returned.
std::int64_t MoneyOf(const SalesLine& line);
std::int64_t TaxOf(const SalesLine& line);
std::int64_t CostOf(const SalesLine& line);

// Makes the documents of every sale and every return among the vouchers. What follows from a
// voucher depends on the seed and the voucher alone. Nothing is dated behind kLastDay: what would
// be has not happened yet.
class SalesGenerator : public VoucherSink {
 public:
  // `stock` and `sink` outlive the object.
  SalesGenerator(std::uint64_t seed, const Stock& stock, SalesSink& sink);

  void Head(const VoucherHead& head) override;
  void Line(const VoucherHead& head, const VoucherLine& line) override;

  // Makes the documents of the last voucher. Called once, after it.
  void Finish();

 private:
  using Lines = std::vector<SalesLine>;

  void WriteDocuments();
  SalesHead HeadOf(NoteKind kind, std::int32_t day) const;
  Lines WriteNote(const SalesHead& note, const Lines& lines, Random& random);
  Lines Settled(const Lines& dispatched, Random& random) const;
  Lines Invoiced(const Lines& noted, Random& random) const;
  void WriteInvoice(const SalesHead& note, const Lines& noted, Random& random);
  void WritePayments(const SalesHead& invoice, const SalesLine& line, Random& random);

  std::uint64_t seed_;
  const Stock& stock_;
  SalesSink& sink_;
  std::vector<std::int32_t> services_;  // indexes into Items()
  VoucherHead voucher_;
  Lines lines_;  // of voucher_, when it is a sale or a return
  std::int32_t last_note_ = 0;
  std::int32_t last_note_line_ = 0;
  std::int32_t last_invoice_ = 0;
  std::int32_t last_invoice_line_ = 0;
  std::int32_t last_payment_ = 0;
};

}  // namespace ledgerwick::sample
