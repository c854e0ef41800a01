#include "sample/sales_rows.h"

#include <utility>

#include "sample/sales_documents.h"
#include "sample/tables.h"

namespace ledgerwick::sample {
namespace {

constexpr TextView kRetailDepartment = u"0303";  // the only one without an account of its own

TextView VoucherType(NoteKind kind) { return NoteTypes()[static_cast<std::size_t>(kind)].code; }

// The department whose account it goes to: the sales department keeps that of the shop.
TextView AccountOf(TextView department) {
  return department == kRetailDepartment ? department.substr(0, 2) : department;
}

Value IdOrNull(std::int32_t id) { return id == 0 ? Value(Null{}) : Value(std::int64_t{id}); }

const Item& ItemOf(const SalesLine& line) { return Items()[static_cast<std::size_t>(line.item)]; }

Value Quantity(const SalesLine& line) {
  return line.returned ? -QuantityOf(line.amount) : QuantityOf(line.amount);
}

Value Pieces(const SalesLine& line) {
  const std::optional<double> pieces = PiecesOf(ItemOf(line), line.amount);
  if (!pieces) return Null{};
  return line.returned ? -*pieces : *pieces;
}

// Vouchers go in, documents come back, and what a table wants of them becomes rows.
class SalesRows : public VoucherRows, protected SalesSink {
 public:
  SalesRows(const Stock& stock, std::uint64_t seed, RowFunction row)
      : VoucherRows(stock, std::move(row)), stock_(stock), generator_(seed, stock, *this) {}

  void Head(const VoucherHead& head) override { generator_.Head(head); }
  void Line(const VoucherHead& head, const VoucherLine& line) override {
    generator_.Line(head, line);
  }
  void Finish() override { generator_.Finish(); }

 protected:
  // Customer, department, person and sale type.
  void AppendPartner(const SalesHead& head, bool with_account) {
    const Employee& employee = Employees()[static_cast<std::size_t>(head.employee)];
    row_.emplace_back(Customers()[static_cast<std::size_t>(head.customer)].code);
    row_.emplace_back(employee.department);
    if (with_account) row_.emplace_back(AccountOf(employee.department));
    row_.emplace_back(employee.code);
    row_.emplace_back(SaleTypes()[static_cast<std::size_t>(head.sale_type)].code);
  }

  Value MakerOf(const SalesHead& head) const {
    return Employees()[static_cast<std::size_t>(head.employee)].name;
  }

  Value WarehouseOf(const SalesLine& line) const {
    if (line.slot == kNone) return Null{};
    return Warehouses()[static_cast<std::size_t>(stock_.slot(line.slot).warehouse)].code;
  }

  const Stock& stock_;

 private:
  SalesGenerator generator_;
};

class NoteRows : public SalesRows {
 public:
  using SalesRows::SalesRows;

  TextView table() const override { return u"SaleNote"; }

  std::span<const Text> columns() const override {
    static const std::vector<Text> columns = {
        u"ID",       u"cVouchType",  u"cDLCode", u"dDate",     u"cCusCode",
        u"cDepCode", u"cPersonCode", u"cSTCode", u"cVerifier", u"cMaker",
    };
    return columns;
  }

 private:
  void Note(const SalesHead& head) override {
    const TextView prefix = head.kind == NoteKind::Settlement ? u"JS" : u"FH";
    row_ = {std::int64_t{head.id}, VoucherType(head.kind), DocumentCode(prefix, head.document),
            DayValue(head.day)};
    AppendPartner(head, false);
    row_.push_back(head.approved ? Value(AuditorOf(head.id)) : Value(Null{}));
    row_.push_back(MakerOf(head));
    Emit();
  }
};

class NoteLineRows : public SalesRows {
 public:
  using SalesRows::SalesRows;

  TextView table() const override { return u"SaleNoteLine"; }

  std::span<const Text> columns() const override {
    static const std::vector<Text> columns = {
        u"AutoID", u"ID",     u"SourceID",  u"RdsID", u"cWhCode",    u"cInvCode",
        u"cFree1", u"cFree2", u"iQuantity", u"iNum",  u"iUnitPrice", u"iMoney",
    };
    return columns;
  }

 private:
  void NoteLine(const SalesHead& head, const SalesLine& line) override {
    const FreeAttributes& variant = VariantOf(stock_.slot(line.slot));
    row_ = {std::int64_t{line.id},
            std::int64_t{head.id},
            IdOrNull(line.source),
            IdOrNull(line.voucher_line),
            WarehouseOf(line),
            ItemOf(line).code,
            TextOrNull(variant.first),
            TextOrNull(variant.second),
            Quantity(line),
            Pieces(line),
            Yuan(line.price),
            Yuan(MoneyOf(line))};
    Emit();
  }
};

class InvoiceRows : public SalesRows {
 public:
  using SalesRows::SalesRows;

  TextView table() const override { return u"SaleInvoice"; }

  std::span<const Text> columns() const override {
    static const std::vector<Text> columns = {
        u"ID",      u"cInvoiceCode", u"dDate",   u"dKeepDate", u"cCusCode", u"cDepCode",
        u"cAccDep", u"cPersonCode",  u"cSTCode", u"cChecker",  u"cMaker",
    };
    return columns;
  }

 private:
  void Invoice(const SalesHead& head) override {
    row_ = {std::int64_t{head.id}, DocumentCode(u"FP", head.document), DayValue(head.day),
            DayValue(head.booked_day)};
    AppendPartner(head, true);
    row_.push_back(head.approved ? Value(AuditorOf(head.id)) : Unreviewed(head));
    row_.push_back(MakerOf(head));
    Emit();
  }

  // A review that was taken back leaves an empty name.
  static Value Unreviewed(const SalesHead& head) {
    return head.id % 2 == 0 ? Value(Null{}) : Value(u"");
  }
};

class InvoiceLineRows : public SalesRows {
 public:
  using SalesRows::SalesRows;

  TextView table() const override { return u"SaleInvoiceLine"; }

  std::span<const Text> columns() const override {
    static const std::vector<Text> columns = {
        u"AutoID", u"ID",         u"NoteLineID", u"cWhCode", u"cInvCode", u"iQuantity",
        u"iNum",   u"iUnitPrice", u"iMoney",     u"iTax",    u"iCost",
    };
    return columns;
  }

 private:
  void InvoiceLine(const SalesHead& head, const SalesLine& line) override {
    row_ = {std::int64_t{line.id},
            std::int64_t{head.id},
            IdOrNull(line.source),
            WarehouseOf(line),
            ItemOf(line).code,
            Quantity(line),
            Pieces(line),
            Yuan(line.price),
            Yuan(MoneyOf(line)),
            Yuan(TaxOf(line)),
            line.cost == 0 ? Value(Null{}) : Value(Yuan(CostOf(line)))};
    Emit();
  }
};

class PaymentRows : public SalesRows {
 public:
  using SalesRows::SalesRows;

  TextView table() const override { return u"SalePayment"; }

  std::span<const Text> columns() const override {
    static const std::vector<Text> columns = {u"AutoID", u"InvoiceLineID", u"dPayDate", u"iMoney"};
    return columns;
  }

 private:
  void Payment(const SalesPayment& payment) override {
    row_ = {std::int64_t{payment.id}, std::int64_t{payment.invoice_line}, DayValue(payment.day),
            Yuan(payment.fen)};
    Emit();
  }
};

}  // namespace

std::unique_ptr<VoucherRows> NewSalesRows(std::size_t index, const Stock& stock, std::uint64_t seed,
                                          RowFunction row) {
  switch (index) {
    case 0:
      return std::make_unique<NoteRows>(stock, seed, std::move(row));
    case 1:
      return std::make_unique<NoteLineRows>(stock, seed, std::move(row));
    case 2:
      return std::make_unique<InvoiceRows>(stock, seed, std::move(row));
    case 3:
      return std::make_unique<InvoiceLineRows>(stock, seed, std::move(row));
    default:
      return std::make_unique<PaymentRows>(stock, seed, std::move(row));
  }
}

}  // namespace ledgerwick::sample
