// The functions of decimals and money: arithmetic, conversions, sums. Where a number is an
// argument, its scale is the next one; where the result is a number, its precision and scale are
// told.
#include <array>

#include "tsql/base/errors.h"
#include "tsql/functions/function_table.h"
#include "tsql/values/convert.h"

namespace ledgerwick::tsql {
namespace {

int IntArgument(const Call& call, std::size_t i) { return static_cast<int>(call.Integer(i)); }

Exact Number(const Call& call, std::size_t i) { return {call.Units(i), IntArgument(call, i + 1)}; }

ExactSize Size(const Call& call, std::size_t i) {
  return {IntArgument(call, i), IntArgument(call, i + 1)};
}

void Return(Call& call, const Exact& number, const ExactSize& size) {
  call.ReturnUnits(number.units, size.precision);
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
  Return(call, Subtract({0, size.scale}, {call.Units(0), size.scale}, size), size);
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
  const Int128 units = call.Units(0);
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
  call.Return(FormatMoney({call.Units(0), kMoneyScale}, IntArgument(call, 1)));
}

// t_wide(x, scale, wider scale): comparable with every digit
void Widen(Call& call) {
  const WideBytes bytes = ToWideBytes(Number(call, 0), IntArgument(call, 2));
  call.ReturnBytes(bytes);
}

constexpr auto kHelpers = std::to_array<FunctionRow>({
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

}  // namespace

std::span<const FunctionRow> ExactHelpers() { return kHelpers; }

}  // namespace ledgerwick::tsql
