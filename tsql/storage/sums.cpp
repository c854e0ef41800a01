#include <array>
#include <cstring>

#include "tsql/storage/aggregates.h"

namespace ledgerwick::tsql {
namespace {

constexpr int kMostIntegerDigits = 18;

// A sum in the making. SQLite aligns it to 8 bytes, which is too little for 128 bits.
struct Sum {
  std::array<std::uint64_t, 2> units;
  std::int64_t count;
  bool overflow;
};

void AddToSum(sqlite3_context* context, int, sqlite3_value** arguments) {
  if (sqlite3_value_type(arguments[0]) == SQLITE_NULL) return;
  auto* sum = static_cast<Sum*>(sqlite3_aggregate_context(context, sizeof(Sum)));
  if (sum == nullptr) return sqlite3_result_error_nomem(context);
  Int128 units = 0;
  std::memcpy(&units, sum->units.data(), sizeof units);
  sum->overflow = __builtin_add_overflow(units, UnitsOf(arguments[0]), &units) || sum->overflow;
  std::memcpy(sum->units.data(), &units, sizeof units);
  ++sum->count;
}

// t_sum_dec(x): of decimals, or of money on its way to a sum of sums; t_sum_money(x)
template <int kPrecision>
void FinishSum(sqlite3_context* context) {
  const auto* sum = static_cast<const Sum*>(sqlite3_aggregate_context(context, 0));
  if (sum == nullptr || sum->count == 0) return;
  Int128 units = 0;
  std::memcpy(&units, sum->units.data(), sizeof units);
  RaiseInStatement(context, [&] {
    if (sum->overflow)
      throw errors::Overflow(kPrecision == kMoneyPrecision ? u"money" : u"numeric");
    ReturnUnits(context, Convert({units, 0}, {kPrecision, 0}, Rest::Round, "expression").units,
                kPrecision);
  });
}

// t_sum_bigint(x): as SQLite's own sum, whose overflow has no code of its own.
void FinishBigIntSum(sqlite3_context* context) {
  const auto* sum = static_cast<const Sum*>(sqlite3_aggregate_context(context, 0));
  if (sum == nullptr || sum->count == 0) return;
  Int128 whole = 0;
  std::memcpy(&whole, sum->units.data(), sizeof whole);
  RaiseInStatement(context, [&] {
    const auto narrow = static_cast<std::int64_t>(whole);
    if (sum->overflow || narrow != whole) throw errors::Overflow(u"bigint");
    sqlite3_result_int64(context, narrow);
  });
}

}  // namespace

Int128 UnitsOf(sqlite3_value* value) noexcept {
  if (sqlite3_value_type(value) != SQLITE_BLOB) return sqlite3_value_int64(value);
  const auto* bytes = static_cast<const unsigned char*>(sqlite3_value_blob(value));
  const bool whole = sqlite3_value_bytes(value) == static_cast<int>(ExactBytes{}.size());
  const Int128 units = whole && bytes != nullptr ? FromBytes(bytes) : 0;
  // What a foreign hand has written may have more digits than any number.
  const Int128 limit = PowerOfTen(kMostDigits);
  return units < limit && units > -limit ? units : 0;
}

void ReturnUnits(sqlite3_context* context, Int128 units, int precision) noexcept {
  if (precision <= kMostIntegerDigits || precision > kMostDigits) {
    return sqlite3_result_int64(context, static_cast<std::int64_t>(units));
  }
  const ExactBytes bytes = ToBytes(units);
  sqlite3_result_blob(context, bytes.data(), static_cast<int>(bytes.size()), SQLITE_TRANSIENT);
}

int RegisterSums(sqlite3* db, FunctionState& state) {
  const auto add = [&](const char* name, auto* finish) {
    return sqlite3_create_function_v2(db, name, 1, SQLITE_UTF8, &state, nullptr, AddToSum, finish,
                                      nullptr);
  };
  int result = add("t_sum_dec", FinishSum<kMostDigits>);
  if (result == SQLITE_OK) result = add("t_sum_money", FinishSum<kMoneyPrecision>);
  return result == SQLITE_OK ? add("t_sum_bigint", FinishBigIntSum) : result;
}

}  // namespace ledgerwick::tsql
