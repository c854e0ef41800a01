#include "desk/decimal_sum.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "output/value_text.h"

namespace ledgerwick::desk {
namespace {

// So many digits always fit beside a sum of the same size.
constexpr std::size_t kMostDigits = 37;
constexpr int kTrustedDigits = 15;  // of a double

// A decimal taken apart.
struct Parts {
  bool negative = false;
  std::string_view whole;     // without zeros in front
  std::string_view fraction;  // without zeros behind
};

Parts Split(std::string_view text) noexcept {
  Parts parts;
  parts.negative = text.starts_with('-');
  if (parts.negative) text.remove_prefix(1);
  const std::size_t point = text.find('.');
  parts.whole = text.substr(0, point);
  if (point != std::string_view::npos) parts.fraction = text.substr(point + 1);
  while (parts.whole.starts_with('0')) parts.whole.remove_prefix(1);
  while (parts.fraction.ends_with('0')) parts.fraction.remove_suffix(1);
  if (parts.whole.empty() && parts.fraction.empty()) parts.negative = false;
  return parts;
}

int CompareSizes(const Parts& a, const Parts& b) noexcept {
  if (a.whole.size() != b.whole.size()) return a.whole.size() < b.whole.size() ? -1 : 1;
  if (const int order = a.whole.compare(b.whole); order != 0) return order;
  return a.fraction.compare(b.fraction);
}

}  // namespace

bool IsDecimal(std::string_view text) noexcept {
  if (text.starts_with('-')) text.remove_prefix(1);
  int points = 0;
  int digits = 0;
  for (const char c : text) {
    if (c == '.') {
      ++points;
    } else if (c >= '0' && c <= '9') {
      ++digits;
    } else {
      return false;
    }
  }
  return points <= 1 && digits > 0;
}

int CompareDecimals(std::string_view a, std::string_view b) noexcept {
  if (!IsDecimal(a) || !IsDecimal(b)) {
    return static_cast<int>(IsDecimal(a)) - static_cast<int>(IsDecimal(b));
  }
  const Parts x = Split(a);
  const Parts y = Split(b);
  if (x.negative != y.negative) return x.negative ? -1 : 1;
  return x.negative ? CompareSizes(y, x) : CompareSizes(x, y);
}

void DecimalSum::Widen(int scale) {
  for (; scale_ < scale; ++scale_) {
    Wide wider = 0;
    if (__builtin_mul_overflow(low_, Wide{10}, &wider)) {
      high_ += low_;
      wider = 0;
    }
    low_ = wider;
    high_ *= 10;
  }
}

void DecimalSum::AddUnits(Wide units, int scale) {
  Widen(scale);
  for (int i = scale; i < scale_; ++i) {
    Wide wider = 0;
    if (__builtin_mul_overflow(units, Wide{10}, &wider)) {
      boost::multiprecision::cpp_int large = units;
      for (; i < scale_; ++i) large *= 10;
      high_ += large;
      return;
    }
    units = wider;
  }
  Wide sum = 0;
  if (__builtin_add_overflow(low_, units, &sum)) {
    high_ += low_;
    sum = units;
  }
  low_ = sum;
}

void DecimalSum::Add(std::int64_t number) { AddUnits(number, 0); }

void DecimalSum::Add(std::string_view digits) {
  if (!IsDecimal(digits)) return;
  const bool negative = digits.starts_with('-');
  const std::size_t point = digits.find('.');
  const int scale =
      point == std::string_view::npos ? 0 : static_cast<int>(digits.size() - point - 1);
  if (digits.size() <= kMostDigits) {
    Wide units = 0;
    for (const char c : digits) {
      if (c >= '0') units = units * 10 + (c - '0');
    }
    AddUnits(negative ? -units : units, scale);
    return;
  }
  boost::multiprecision::cpp_int units = 0;
  for (const char c : digits) {
    if (c >= '0') units = units * 10 + (c - '0');
  }
  Widen(scale);
  for (int i = scale; i < scale_; ++i) units *= 10;
  high_ += negative ? boost::multiprecision::cpp_int(-units) : units;
}

std::string DecimalSum::Text() const {
  boost::multiprecision::cpp_int total = high_ + low_;
  const bool negative = total < 0;
  if (negative) total = -total;
  std::string digits = total.str();
  const auto scale = static_cast<std::size_t>(scale_);
  if (digits.size() <= scale) digits.insert(0, scale + 1 - digits.size(), '0');
  if (scale > 0) digits.insert(digits.size() - scale, 1, '.');
  return negative ? "-" + digits : digits;
}

void FloatSum::Add(double number) {
  const double sum = sum_ + number;
  lost_ += std::fabs(sum_) >= std::fabs(number) ? (sum_ - sum) + number : (number - sum) + sum_;
  sum_ = sum;
}

std::string FloatSum::Text() const {
  const double exact = std::isfinite(sum_) ? sum_ + lost_ : sum_;
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%.*g", kTrustedDigits, exact);
  double rounded = exact;
  std::from_chars(buffer, buffer + sizeof buffer, rounded);
  return ShortestNumber(rounded);
}

}  // namespace ledgerwick::desk
