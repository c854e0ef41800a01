#include "frame/error.h"

#include <utility>

namespace ledgerwick {
namespace {

constexpr const char16_t* kSource = u"Ledgerwick";

}  // namespace

DatabaseError::DatabaseError(std::int32_t error_number, Text error_source, Text error_description)
    : number(error_number),
      source(std::move(error_source)),
      description(std::move(error_description)),
      what_(ToUtf8(description)) {}

DatabaseError ObjectNotSet() {
  return {91, kSource, u"Object variable or With block variable not set"};
}

DatabaseError InvalidCall() { return {5, kSource, u"Invalid procedure call or argument"}; }

DatabaseError OutOfMemory() { return {7, kSource, u"Out of memory"}; }

DatabaseError TypeMismatch() { return {13, kSource, u"Type mismatch"}; }

DatabaseError MemberNotFound() {
  return {438, kSource, u"Object doesn't support this property or method"};
}

}  // namespace ledgerwick
