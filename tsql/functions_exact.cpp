// The functions of decimals and money: arithmetic, conversions, sums. Where a number is an
// argument, its scale is the next one; where the result is a number, its precision and scale are
// told.
#include <array>
#include <cstring>

#include "tsql/convert.h"
#include "tsql/errors.h"
#include "tsql/function_table.h"

namespace ledgerwick::tsql {
namespace {

constexpr int kMostIntegerDigits = 18;

int IntArgument(const Call& call, std::size_t i) { return static_cast<int>(call.Integer(i)); }

Exact Number(const Call& call, std::size_t i) {
  return {UnitsOf(call.Argument(i)), IntArgument(call, i + 1)};
}

ExactSize Size(const Call& call, std::size_t i) {
  return {IntArgument(call, i), IntArgument(call, i + 1)};
}

void Return(Call& call, const Exact& number, const ExactSize& size) {
  ReturnUnits(call.context(), number.units, size.precision);
}

// t_dec_add(a, scale, b, scale, precision, scale) and its like
template <Exact Operation(const Exact&, const Exact&, ExactSize)>
void Arithmetic(Call& call) {
  const ExactSize size = Size(call, 4);
  Return(call, Operation(Number(call, 0), Number(call, 2), size), size);
}

// t_dec_neg(x, precision, scale)
void Negative(Call& call) {
  const ExactSize size = Size(call, 1);
  Return(call, Subtract({0, size.scale}, {UnitsOf(call.Argument(0)), size.scale}, size), size);
}

// t_dec_abs(x, scale, precision, scale)
void Absolute(Call& call) {
  const ExactSize size = Size(call, 2);
  const Exact number = Number(call, 0);
  const Exact negative{-number.units, number.scale};
  Return(call, Convert(number.units < 0 ? negative : number, size, Rest::Round, "expression"),
         size);
}

// t_dec_sign(x, scale, precision, scale)
void Sign(Call& call) {
  const ExactSize size = Size(call, 2);
  const Int128 units = UnitsOf(call.Argument(0));
  Return(call, Convert({(units > 0) - (units < 0), 0}, size), size);
}

// t_dec_ceiling(x, scale, precision, scale), t_dec_floor(…): the whole number towards one side
template <int kSide>
void Whole(Call& call) {
  const ExactSize size = Size(call, 2);
  const Exact number = Number(call, 0);
  const Int128 unit = PowerOfTen(number.scale);
  const bool towards = number.units % unit != 0 && (number.units > 0) == (kSide > 0);
  Return(call,
         Convert({number.units / unit + (towards ? kSide : 0), 0}, size, Rest::Round, "expression"),
         size);
}

// t_dec_round(x, scale, precision, scale, digits[, truncate])
void Round(Call& call) {
  const ExactSize size = Size(call, 2);
  const bool cut = call.size() > 5 && call.Integer(5) != 0;
  Return(call, RoundTo(Number(call, 0), call.Integer(4), cut ? Rest::Cut : Rest::Round, size),
         size);
}

// t_to_dec(x, scale, precision, scale, source)
void NumberToDecimal(Call& call) {
  const ExactSize size = Size(call, 2);
  Return(call, Convert(Number(call, 0), size, Rest::Round, call.Name(4)), size);
}

// t_float_to_dec(x, precision, scale)
void FloatToDecimal(Call& call) {
  const ExactSize size = Size(call, 1);
  Return(call, FromDouble(call.Real(0), size), size);
}

// t_str_to_dec(text, precision, scale, source), t_str_to_money(…)
void TextToDecimal(Call& call) {
  const ExactSize size = Size(call, 1);
  Return(call, ParseDecimal(call.Utf8(0), size, call.Name(3)), size);
}
void TextToMoney(Call& call) {
  const ExactSize size = Size(call, 1);
  Return(call, ParseMoney(call.Utf8(0), size.precision), size);
}

// t_dec_to_float(x, scale)
void DecimalToFloat(Call& call) { call.Return(ToDouble(Number(call, 0))); }

// t_dec_to_int(x, scale, target, round)
void DecimalToInteger(Call& call) {
  Exact number = Number(call, 0);
  if (call.Integer(3) != 0) number = Convert(number, {kMostDigits, 0});
  call.Return(ToInteger(number, TypeOfInteger(call.Name(2))));
}

// t_dec_to_str(x, scale)
void DecimalToText(Call& call) { call.Return(FormatExact(Number(call, 0))); }

// t_money_to_str(x, style)
void MoneyToText(Call& call) {
  call.Return(FormatMoney({UnitsOf(call.Argument(0)), kMoneyScale}, IntArgument(call, 1)));
}

// t_wide(x, scale, wider scale): comparable with every digit
void Widen(Call& call) {
  const WideBytes bytes = ToWideBytes(Number(call, 0), IntArgument(call, 2));
  sqlite3_result_blob(call.context(), bytes.data(), static_cast<int>(bytes.size()),
                      SQLITE_TRANSIENT);
}

constexpr auto kFunctions = std::to_array<FunctionRow>({
    {"t_dec_add", 6, 6, 3, Arithmetic<Add>, Purity::kStaysInPlace},
    {"t_dec_sub", 6, 6, 3, Arithmetic<Subtract>, Purity::kStaysInPlace},
    {"t_dec_mul", 6, 6, 3, Arithmetic<Multiply>, Purity::kStaysInPlace},
    {"t_dec_div", 6, 6, 3, Arithmetic<Divide>, Purity::kStaysInPlace},
    {"t_dec_mod", 6, 6, 3, Arithmetic<Remainder>, Purity::kStaysInPlace},
    {"t_dec_neg", 3, 3, 1, Negative},
    {"t_dec_abs", 4, 4, 1, Absolute},
    {"t_dec_sign", 4, 4, 1, Sign},
    {"t_dec_ceiling", 4, 4, 1, Whole<1>},
    {"t_dec_floor", 4, 4, 1, Whole<-1>},
    {"t_dec_round", 5, 6, 6, Round},
    {"t_to_dec", 5, 5, 1, NumberToDecimal},
    {"t_float_to_dec", 3, 3, 1, FloatToDecimal},
    {"t_str_to_dec", 4, 4, 1, TextToDecimal},
    {"t_str_to_money", 4, 4, 1, TextToMoney},
    {"t_dec_to_float", 2, 2, 1, DecimalToFloat},
    {"t_dec_to_int", 4, 4, 1, DecimalToInteger},
    {"t_dec_to_str", 2, 2, 1, DecimalToText},
    {"t_money_to_str", 2, 2, 1, MoneyToText},
    {"t_wide", 3, 3, 1, Widen},
});

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

std::span<const FunctionRow> ExactFunctions() { return kFunctions; }

int RegisterSums(sqlite3* db, FunctionState& state) {
  const int result = sqlite3_create_function_v2(db, "t_sum_dec", 1, SQLITE_UTF8, &state, nullptr,
                                                AddToSum, FinishSum<kMostDigits>, nullptr);
  if (result != SQLITE_OK) return result;
  return sqlite3_create_function_v2(db, "t_sum_money", 1, SQLITE_UTF8, &state, nullptr, AddToSum,
                                    FinishSum<kMoneyPrecision>, nullptr);
}

}  // namespace ledgerwick::tsql
