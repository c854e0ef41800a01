#include "tsql/values/decimal.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>

#include "tsql/values/convert.h"

namespace ledgerwick::tsql {
namespace {

// Powers of ten that a double holds exactly.
constexpr std::array<double, 23> kPowersOfTen = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                 1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// More than the error of a product of two doubles together with what a factor's shortest form
// differs from the factor.
constexpr double kProductError = 4e-16;

double CutDigits(double number, int scale, bool round) {
  if (!std::isfinite(number) || number == 0) return number;
  Digits digits(number);
  digits.Cut(scale, round);
  return digits.ToDouble(number < 0);
}

}  // namespace

Digits::Digits(double number) {
  std::array<char, 40> buffer;
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), std::fabs(number),
                                    std::chars_format::scientific);
  const std::string_view text(buffer.data(), static_cast<std::size_t>(result.ptr - buffer.data()));
  const std::size_t e = text.find('e');
  digits_ = text.substr(0, 1);
  if (e > 1) digits_ += text.substr(2, e - 2);
  const bool negative = text[e + 1] == '-';
  std::from_chars(text.data() + e + 2, text.data() + text.size(), point_);
  point_ = (negative ? -point_ : point_) + 1;
  DropLeadingZeros();
}

void Digits::DropLeadingZeros() {
  const std::size_t zeros = std::min(digits_.find_first_not_of('0'), digits_.size());
  digits_.erase(0, zeros);
  point_ -= static_cast<int>(zeros);
}

void Digits::Cut(int scale, bool round) {
  const int keep = point_ + scale;
  if (keep >= static_cast<int>(digits_.size())) return;
  if (keep < 0) {
    digits_.clear();
    return;
  }
  const bool up = round && digits_[static_cast<std::size_t>(keep)] >= '5';
  digits_.resize(static_cast<std::size_t>(keep));
  if (up) AddOne();
}

void Digits::AddOne() {
  const auto below_nine =
      std::find_if(digits_.rbegin(), digits_.rend(), [](char c) { return c != '9'; });
  std::fill(digits_.rbegin(), below_nine, '0');
  if (below_nine != digits_.rend()) {
    ++*below_nine;
  } else {
    digits_.insert(digits_.begin(), '1');
    ++point_;
  }
}

double Digits::ToDouble(bool negative) const {
  if (digits_.empty()) return 0;
  const int exponent = point_ - static_cast<int>(digits_.size());
  std::string text = digits_;
  text += 'e';
  text += std::to_string(exponent);
  double value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec == std::errc::result_out_of_range) {
    value = point_ > 0 ? std::numeric_limits<double>::infinity() : 0;
  }
  return negative ? 0 - value : value;
}

double RoundDecimal(double number, int scale) {
  constexpr double kNoFraction = 1e17;  // where a double is a whole number
  if (scale >= 0 && std::fabs(number) > kNoFraction) return number;
  if (scale >= 0 && scale < static_cast<int>(kPowersOfTen.size())) {
    // Where the product lies clear of a half, its nearest whole number is certain; below 2^51 that
    // number and the power are exact, so their quotient is the double nearest to the decimal.
    const double power = kPowersOfTen[static_cast<std::size_t>(scale)];
    const double scaled = std::fabs(number) * power;
    const double whole = std::floor(scaled);
    const double fraction = scaled - whole;
    if (std::fabs(fraction - 0.5) > scaled * kProductError) {
      const double rounded = (fraction > 0.5 ? whole + 1 : whole) / power;
      return number < 0 ? 0 - rounded : rounded;  // never a negative zero
    }
  }
  return CutDigits(number, scale, true);
}

double TruncateDecimal(double number, int scale) { return CutDigits(number, scale, false); }

}  // namespace ledgerwick::tsql
