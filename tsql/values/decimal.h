// Decimal digits of numbers: rounding as people round who see the digits, not the binary value.
#pragma once

#include <string>

namespace ledgerwick::tsql {

// A number without sign: 0.DIGITS times a power of ten.
class Digits {
 public:
  // The shortest digits that give the absolute value of `number` back. `number` is finite.
  explicit Digits(double number);

  // Drops all but `scale` digits behind the point (before it, when negative). With `round`, half a
  // unit of the last place kept counts as a whole one.
  void Cut(int scale, bool round);

  // The double nearest to the digits.
  double ToDouble(bool negative) const;

 private:
  void DropLeadingZeros();
  void AddOne();

  std::string digits_;  // does not begin with 0; empty for zero
  int point_ = 0;       // the power of ten
};

}  // namespace ledgerwick::tsql
