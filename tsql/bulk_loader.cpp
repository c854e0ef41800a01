#include "tsql/bulk_loader.h"
#include "tsql/storage/register_functions.h"

#include <vector>

#include "tsql/base/border.h"
#include "tsql/base/errors.h"
#include "tsql/values/any_value.h"
#include "tsql/values/convert.h"
#include "tsql/values/datetime.h"

namespace ledgerwick::tsql {
namespace {

class Loader final : public BulkLoader {
 public:
  Loader(Storage& storage, TextView table, std::vector<const TableColumn*> columns,
         const std::string& sql)
      : storage_(storage),
        table_(table),
        columns_(std::move(columns)),
        transaction_(storage),
        statement_(storage.Prepare(sql)) {}

  void Row(std::span<const Value> values) override {
    AtBorder([&] {
      for (std::size_t i = 0; i < columns_.size(); ++i) {
        Bind(static_cast<int>(i + 1), values[i], *columns_[i]);
      }
      storage_.Step(statement_.get());
    });
    sqlite3_reset(statement_.get());
  }

  void Finish() override {
    AtBorder([&] {
      statement_.reset();
      transaction_.Commit();
    });
  }

 private:
  void Bind(int index, const Value& value, const TableColumn& column) {
    const TypeKind kind = column.type.kind;
    sqlite3_stmt* statement = statement_.get();
    if (value.IsEmpty() || value.IsNull()) {
      if (!column.type.nullable) throw errors::NullNotAllowed(column.name, table_, true);
      sqlite3_bind_null(statement, index);
    } else if (IsConvertedAsAny(kind)) {
      BindAny(index, value, column.type);
    } else if (IsText(kind)) {
      BindText(index, value, column);
    } else if (IsDate(kind)) {
      const auto* date = value.If<Date>();
      sqlite3_bind_int64(statement, index,
                         date != nullptr ? DateTimeFromDate(*date) : ParseDateTime(value.ToText()));
    } else if (IsInteger(kind)) {
      sqlite3_bind_int64(statement, index, Integer(value, kind));
    } else if (IsExactFraction(kind)) {
      BindUnits(index, Fraction(value, column.type).units, column.type);
    } else {
      const double number = Float(value);
      sqlite3_bind_double(statement, index, kind == TypeKind::Real ? ToReal(number) : number);
    }
  }

  void BindText(int index, const Value& value, const TableColumn& column) {
    Text text = value.ToText();
    const std::int32_t length = column.type.length;
    const std::size_t size = IsUnicode(column.type.kind) ? text.size() : AnsiLength(text);
    if (length != kMaxLength && size > static_cast<std::size_t>(length)) throw errors::Truncated();
    if (column.type.kind == TypeKind::Char || column.type.kind == TypeKind::NChar) {
      text.append(static_cast<std::size_t>(length) - size, u' ');
    }
    const std::string utf8 = ToUtf8(text);
    CheckBound(sqlite3_bind_text64(statement_.get(), index, utf8.data(), utf8.size(),
                                   SQLITE_TRANSIENT, SQLITE_UTF8));
  }

  // A date as one, anything else by its text; bytes are told by 0x and digits.
  void BindAny(int index, const Value& value, const Type& type) {
    Type source;
    source.kind = IsBinary(type.kind) ? TypeKind::VarBinary : TypeKind::VarChar;
    AnyValue read = ToUtf8(value.ToText());
    if (const auto* date = value.If<Date>(); date != nullptr && IsMoment(type.kind)) {
      source.kind = TypeKind::DateTime;
      read = DateTimeFromDate(*date);
    } else if (IsBinary(type.kind)) {
      std::string_view digits = std::get<std::string>(read);
      const bool prefixed = digits.starts_with("0x") || digits.starts_with("0X");
      if (!prefixed) throw errors::ConvertDataType(u"varchar", u"varbinary");
      read = BytesOfHex(digits.substr(2));
    } else if (type.kind == TypeKind::RowVersion) {
      throw errors::ExplicitRowVersion({});
    }
    read = ConvertAny(read, source, type, {-1, true, {}});
    if (const auto* number = std::get_if<std::int64_t>(&read)) {
      sqlite3_bind_int64(statement_.get(), index, *number);
      return;
    }
    const auto& bytes = std::get<std::string>(read);
    CheckBound(
        sqlite3_bind_blob64(statement_.get(), index, bytes.data(), bytes.size(), SQLITE_TRANSIENT));
  }

  static std::int64_t Integer(const Value& value, TypeKind kind) {
    if (const auto* b = value.If<bool>()) return *b ? 1 : 0;
    if (const auto* i = value.If<std::int64_t>()) return ToInteger(*i, kind);
    if (const auto* d = value.If<double>()) return ToInteger(*d, kind);
    if (kind == TypeKind::Bit) return ParseBit(value.ToText(), "varchar") ? 1 : 0;
    return ParseInteger(value.ToText(), kind, "varchar");
  }

  static double Float(const Value& value) {
    if (const auto* i = value.If<std::int64_t>()) return static_cast<double>(*i);
    if (const auto* d = value.If<double>()) return Finite(*d);
    return ParseFloat(value.ToText(), "varchar");
  }

  static Exact Fraction(const Value& value, const Type& type) {
    const ExactSize size = SizeOf(type);
    if (const auto* i = value.If<std::int64_t>()) return Convert({*i, 0}, size);
    if (const auto* d = value.If<double>()) return FromDouble(*d, size);
    if (IsMoney(type.kind)) return ParseMoney(value.ToText(), size.precision);
    return ParseDecimal(value.ToText(), size, "varchar");
  }

  void BindUnits(int index, Int128 units, const Type& type) {
    if (!IsLongDecimal(type)) {
      sqlite3_bind_int64(statement_.get(), index, static_cast<std::int64_t>(units));
      return;
    }
    const ExactBytes bytes = ToBytes(units);
    sqlite3_bind_blob(statement_.get(), index, bytes.data(), static_cast<int>(bytes.size()),
                      SQLITE_TRANSIENT);
  }

  Storage& storage_;
  Text table_;
  std::vector<const TableColumn*> columns_;
  Transaction transaction_;
  SqliteStatement statement_;
};

}  // namespace

std::unique_ptr<BulkLoader> NewBulkLoader(Storage& storage, Catalogue& catalogue, TextView table,
                                          std::span<const Text> columns) {
  catalogue.Refresh();
  const DatabaseId database = table.starts_with(u'#') ? DatabaseId::Session : DatabaseId::Main;
  const Table* target = catalogue.Find(database, {}, table);
  if (target == nullptr || target->kind != TableKind::Table) throw errors::InvalidObject(table, {});
  std::string names;
  std::string marks;
  std::vector<const TableColumn*> targets;
  for (const Text& column : columns) {
    const std::int32_t index = target->FindColumn(column);
    if (index < 0) throw errors::InvalidColumn(column, {});
    targets.push_back(&target->columns[static_cast<std::size_t>(index)]);
    names += (names.empty() ? "" : ", ") + targets.back()->sql;
    marks += marks.empty() ? "?" : ", ?";
  }
  const std::string sql = "INSERT INTO " + target->sql + " (" + names + ") VALUES (" + marks + ")";
  return std::make_unique<Loader>(storage, target->name, std::move(targets), sql);
}

}  // namespace ledgerwick::tsql
