// The conversions between types.
#include <array>
#include <string>

#include "tsql/base/errors.h"
#include "tsql/functions/function_table.h"
#include "tsql/values/convert.h"
#include "tsql/values/datetime.h"

namespace ledgerwick::tsql {
namespace {

int IntArgument(const Call& call, std::size_t i) { return static_cast<int>(call.Integer(i)); }

// t_to_int(number, target)
void NumberToInteger(Call& call) {
  const TypeKind target = TypeOfInteger(call.Name(1));
  call.Return(call.IsInteger(0) ? ToInteger(call.Integer(0), target)
                                : ToInteger(call.Real(0), target));
}

// t_str_to_int(text, target, source)
void TextToIntegerType(Call& call) {
  call.Return(ParseInteger(call.Utf8(0), TypeOfInteger(call.Name(1)), call.Name(2)));
}

// t_str_to_bit(text, source)
void TextToBit(Call& call) { call.Return(std::int64_t{ParseBit(call.Utf8(0), call.Name(1))}); }

// t_str_to_float(text, source)
void TextToFloat(Call& call) { call.Return(ParseFloat(call.Utf8(0), call.Name(1))); }

// t_to_real(number)
void NumberToReal(Call& call) { call.Return(ToReal(call.Real(0))); }

// t_str_to_dt(text[, style]), t_str_to_sdt(text[, style])
void TextToDateTime(Call& call) {
  const int style = call.size() > 1 ? IntArgument(call, 1) : 0;
  call.Return(ParseDateTime(call.Utf8(0), call.state().dates, style));
}
void TextToSmallDateTime(Call& call) {
  const int style = call.size() > 1 ? IntArgument(call, 1) : 0;
  call.Return(ParseSmallDateTime(call.Utf8(0), call.state().dates, style));
}

// t_dt_to_sdt(ms), t_num_to_dt(days), t_dt_to_num(ms)
void DateTimeToSmall(Call& call) { call.Return(ToSmallDateTime(call.Integer(0))); }
void NumberToDateTime(Call& call) { call.Return(DateTimeFromDays(call.Real(0))); }
void DateTimeToNumber(Call& call) { call.Return(DaysFromDateTime(call.Integer(0))); }

// t_int_to_str(number, length, target): what does not fit is a star, and an error for n-types.
void IntegerToText(Call& call) {
  const std::string digits = std::to_string(call.Integer(0));
  const std::int64_t length = call.Integer(1);
  if (length < 0 || digits.size() <= static_cast<std::size_t>(length)) return call.Return(digits);
  const std::string_view target = call.Name(2);
  if (target.starts_with('n')) throw errors::Overflow(Text(target.begin(), target.end()));
  call.Return("*");
}

// t_float_to_str(number, style)
void FloatToText(Call& call) { call.Return(FormatFloat(call.Real(0), IntArgument(call, 1))); }

SqlError NoRoomFor(std::string_view number, std::string_view source, const std::string& target) {
  if (source.ends_with("money")) return errors::NoRoomForMoney(target);
  if (source == "numeric") return errors::OverflowFrom("numeric", target.c_str());
  return errors::FloatAsTextOverflow(target, FormatDecimal(ParseFloat(number, "varchar"), 6));
}

// t_fit(number as text, length, source, target): the text of a number with a fraction, which is
// never cut.
void FitNumber(Call& call) {
  const std::string_view number = call.Utf8(0);
  const std::int64_t length = call.Integer(1);
  if (length < 0 || number.size() <= static_cast<std::size_t>(length)) {
    return call.ReturnArgument(0);
  }
  throw NoRoomFor(number, call.Name(2), call.Name(3));
}

// t_dt_to_str(ms, style, is_small)
void DateTimeToText(Call& call) {
  call.Return(FormatDateTime(call.Integer(0), IntArgument(call, 1), call.Integer(2) != 0,
                             call.state().dates));
}

// True when `read` takes the text.
template <typename Read>
std::int64_t Reads(Read read) {
  try {
    read();
    return 1;
  } catch (const SqlError&) {
    return 0;
  }
}

// t_isnumeric(text), t_isdate(text)
void IsNumeric(Call& call) {
  const std::string_view text = call.IsNull(0) ? std::string_view() : call.Utf8(0);
  const bool blank = text.find_first_not_of(' ') == std::string_view::npos;
  call.Return(blank ? 0 : Reads([&] { ParseFloat(text, ""); }) | Reads([&] { ParseMoney(text); }));
}
void IsDateText(Call& call) {
  const std::string_view text = call.IsNull(0) ? std::string_view() : call.Utf8(0);
  const bool blank = text.find_first_not_of(' ') == std::string_view::npos;
  call.Return(blank ? 0 : Reads([&] { ParseDateTime(text, call.state().dates); }));
}

// The types that a t_convert names, read once for a statement.
struct NamedTypes : KeptBetweenCalls {
  NamedTypes(const char* source_name, const char* target_name)
      : source(ParseTypeName(source_name)), target(ParseTypeName(target_name)) {}

  Type source;
  Type target;
};

// t_convert(value, source, target, style, stores): any_value.h's, where the types are declarations
void ConvertToAny(Call& call) {
  constexpr int kTypesArgument = 2;
  const auto* types = static_cast<const NamedTypes*>(call.Kept(kTypesArgument));
  std::unique_ptr<NamedTypes> read;
  if (types == nullptr) {
    read = std::make_unique<NamedTypes>(call.Name(1), call.Name(2));
    types = read.get();
  }
  const Manners manners{IntArgument(call, 3), call.Integer(4) != 0, call.state().dates};
  const AnyValue value = ConvertAny(call.Any(0), types->source, types->target, manners);
  if (const auto* number = std::get_if<std::int64_t>(&value)) {
    call.Return(*number);
  } else if (IsText(types->target.kind)) {
    call.Return(std::get<std::string>(value));
  } else {
    call.ReturnBytes(std::get<std::string>(value));
  }
  if (read) call.Keep(kTypesArgument, std::move(read));
}

constexpr FunctionSignature kFunctions[] = {
    {u"isnumeric", FunctionId::Scalar, 1, 1, "t", FunctionResult::Int, IsNumeric},
    {u"isdate", FunctionId::Scalar, 1, 1, "s", FunctionResult::Int, IsDateText},
};

constexpr auto kHelpers = std::to_array<FunctionRow>({
    {"t_convert", 5, 5, 1, ConvertToAny},
    {"t_to_int", 2, 2, 1, NumberToInteger},
    {"t_str_to_int", 3, 3, 1, TextToIntegerType},
    {"t_str_to_bit", 2, 2, 1, TextToBit},
    {"t_str_to_float", 2, 2, 1, TextToFloat},
    {"t_to_real", 1, 1, 1, NumberToReal},
    {"t_str_to_dt", 1, 2, 1, TextToDateTime},
    {"t_str_to_sdt", 1, 2, 1, TextToSmallDateTime},
    {"t_dt_to_sdt", 1, 1, 1, DateTimeToSmall},
    {"t_num_to_dt", 1, 1, 1, NumberToDateTime},
    {"t_dt_to_num", 1, 1, 1, DateTimeToNumber},
    {"t_int_to_str", 3, 3, 1, IntegerToText},
    {"t_float_to_str", 2, 2, 1, FloatToText},
    {"t_fit", 4, 4, 1, FitNumber},
    {"t_dt_to_str", 3, 3, 2, DateTimeToText},
});

}  // namespace

TypeKind TypeOfInteger(const char* name) {
  switch (*name) {
    case 't':
      return TypeKind::TinyInt;
    case 's':
      return TypeKind::SmallInt;
    case 'b':
      return name[1] == 'i' && name[2] == 't' ? TypeKind::Bit : TypeKind::BigInt;
    default:
      return TypeKind::Int;
  }
}

std::span<const FunctionSignature> ConversionFunctions() { return kFunctions; }
std::span<const FunctionRow> ConversionHelpers() { return kHelpers; }

}  // namespace ledgerwick::tsql
