// Values as the exports write them.
#pragma once

#include <cstdint>
#include <string>

#include "frame/value.h"

namespace ledgerwick {

// "yyyy-mm-dd", or "yyyy-mm-dd hh:mm:ss" with a time of day, and ".fff" with milliseconds.
std::string DateText(Date date);

// The shortest digits that read back as `number`; with an exponent only far from 1. Infinities are
// "Infinity" and "-Infinity".
std::string ShortestNumber(double number);

// A decimal's digits without the zeros at the end of its fraction: "12.50" is "12.5".
std::string ShortestDecimal(std::string digits);

// `number` with `scale` digits behind the point.
std::string FixedNumber(double number, std::int32_t scale);

}  // namespace ledgerwick
