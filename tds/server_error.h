// Errors that the service itself has for clients, numbered as the server numbers them.
#pragma once

#include <cstdint>
#include <utility>

#include "frame/error.h"
#include "frame/text.h"

namespace ledgerwick::tds {

inline DatabaseError ServerError(std::int32_t number, std::int32_t severity, Text text) {
  DatabaseError error(kErrorFailed, u"Ledgerwick", std::move(text));
  error.native = number;
  error.severity = severity;
  return error;
}

}  // namespace ledgerwick::tds
