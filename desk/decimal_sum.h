// Sums without rounding.
#pragma once

#include <boost/multiprecision/cpp_int.hpp>
#include <cstdint>
#include <string>
#include <string_view>

#include "tsql/values/exact.h"

namespace ledgerwick::desk {

using Wide = tsql::Int128;

// Adds up decimals as people write them, to the last digit, however many there are.
class DecimalSum {
 public:
  // `digits` is a decimal such as "-12.50". What is none is left out.
  void Add(std::string_view digits);
  void Add(std::int64_t number);

  // The sum with as many digits behind the point as the longest of what was added.
  std::string Text() const;

 private:
  void AddUnits(Wide units, int scale);
  void Widen(int scale);

  boost::multiprecision::cpp_int high_ = 0;  // what `low_` had no room for, in its units
  Wide low_ = 0;
  int scale_ = 0;  // digits behind the point of a unit
};

// Adds up floats. The digits that binary fractions cannot be trusted with are rounded away.
class FloatSum {
 public:
  void Add(double number);
  std::string Text() const;

 private:
  double sum_ = 0;
  double lost_ = 0;  // in rounding, so far
};

// Negative, zero or positive, by value; "1.50" equals "1.5". A text that is no decimal comes first.
int CompareDecimals(std::string_view a, std::string_view b) noexcept;

// True for a decimal such as "-12.50", without an exponent.
bool IsDecimal(std::string_view text) noexcept;

}  // namespace ledgerwick::desk
