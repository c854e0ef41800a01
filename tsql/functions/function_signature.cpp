#include "tsql/functions/function_signature.h"

#include <algorithm>

namespace ledgerwick::tsql {
namespace {

using Id = FunctionId;
using Result = FunctionResult;

constexpr int kMany = 1000;

constexpr FunctionSignature kFunctions[] = {
    {u"count", Id::Count, 1, 1},
    {u"sum", Id::Sum, 1, 1},
    {u"min", Id::Min, 1, 1},
    {u"max", Id::Max, 1, 1},
    {u"avg", Id::Avg, 1, 1},
    {u"isnull", Id::IsNull, 2, 2},
    {u"coalesce", Id::Coalesce, 2, kMany},
    {u"nullif", Id::NullIf, 2, 2},
    {u"datediff", Id::DateDiff, 3, 3},
    {u"dateadd", Id::DateAdd, 3, 3},
    {u"datepart", Id::DatePart, 2, 2},
    {u"left", Id::Left, 2, 2, "ti"},
    {u"right", Id::Left, 2, 2, "ti"},
    {u"str", Id::Str, 1, 3, "fii"},
    {u"abs", Id::Abs, 1, 1},
    {u"power", Id::Power, 2, 2, "nf"},
    {u"datalength", Id::DataLength, 1, 1},
    {u"quotename", Id::QuoteName, 1, 2, "tt"},
    {u"getdate", Id::GetDate, 0, 0},
    {u"year", Id::Year, 1, 1, "d", Result::Int},
    {u"month", Id::Year, 1, 1, "d", Result::Int},
    {u"day", Id::Year, 1, 1, "d", Result::Int},
    {u"len", Id::Scalar, 1, 1, "t", Result::Int},
    {u"charindex", Id::Scalar, 2, 3, "tti", Result::Int},
    {u"ascii", Id::Scalar, 1, 1, "t", Result::Int},
    {u"unicode", Id::Scalar, 1, 1, "t", Result::Int},
    {u"isnumeric", Id::Scalar, 1, 1, "t", Result::Int},
    {u"isdate", Id::Scalar, 1, 1, "t", Result::Int},
    {u"object_id", Id::Scalar, 1, 2, "tt", Result::Int},
    {u"substring", Id::Scalar, 3, 3, "tii", Result::Text},
    {u"ltrim", Id::Scalar, 1, 1, "t", Result::Text},
    {u"rtrim", Id::Scalar, 1, 1, "t", Result::Text},
    {u"upper", Id::Scalar, 1, 1, "t", Result::Text},
    {u"lower", Id::Scalar, 1, 1, "t", Result::Text},
    {u"reverse", Id::Scalar, 1, 1, "t", Result::Text},
    {u"replace", Id::Scalar, 3, 3, "ttt", Result::LongText},
    {u"stuff", Id::Scalar, 4, 4, "tiit", Result::LongText},
    {u"replicate", Id::Scalar, 2, 2, "ti", Result::LongText},
    {u"space", Id::Scalar, 1, 1, "i", Result::LongText},
    {u"char", Id::Scalar, 1, 1, "i", Result::Character},
    {u"nchar", Id::Scalar, 1, 1, "i", Result::WideCharacter},
    {u"round", Id::Scalar, 2, 3, "nii", Result::Number},
    {u"sign", Id::Scalar, 1, 1, "n", Result::Sign},
    {u"ceiling", Id::Scalar, 1, 1, "n", Result::WholeNumber},
    {u"floor", Id::Scalar, 1, 1, "n", Result::WholeNumber},
    {u"sqrt", Id::Scalar, 1, 1, "f", Result::Float},
};

}  // namespace

const FunctionSignature* FindFunction(TextView name) noexcept {
  const auto* const found = std::find_if(
      std::begin(kFunctions), std::end(kFunctions),
      [&](const FunctionSignature& signature) { return EqualText(signature.name, name); });
  return found == std::end(kFunctions) ? nullptr : found;
}

}  // namespace ledgerwick::tsql
