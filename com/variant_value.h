// Between the host's variants and the component's values.
#pragma once

#include <memory>

#include "com/com_types.h"
#include "frame/value.h"

namespace ledgerwick::com {

// A variant as the host gave it, which nobody has looked into.
class HostVariant final : public OpaqueValue {
 public:
  explicit HostVariant(Variant variant) : variant_(std::move(variant)) {}

  const Variant& Held() const noexcept { return variant_; }

  // The text of what the variant holds or refers to, as the platform's own conversion gives it; of
  // an object, that of its default property. Throws error 13 for what has no such text (an array,
  // an error, a missing argument, a type that the platform does not know).
  Text ToText() const override;

 private:
  Variant variant_;
};

// What `variant` is as a value: whole numbers, floats, dates, booleans and texts of their kind,
// everything else, and what refers to something, `variant` itself as an opaque one.
Value ToValue(std::shared_ptr<const HostVariant> variant);
Value ToValue(Variant variant);

// `value` as a variant; of an opaque value the one that the host gave.
Variant ToVariant(const Value& value);

// The variant's text: the value's own wording. Throws as HostVariant::ToText does.
Text ToText(Variant variant);

// The variant as a whole number. Throws error 94 for null, 13 for what is no number, 6 for one that
// is too large.
std::int32_t ToInteger(const Variant& variant);

// The variant as a truth value; throws as ToInteger.
bool ToBoolean(const Variant& variant);

// The object in `variant`, or none for a null object, empty and null. Throws error 424 when it
// holds something else.
ComPtr<IDispatch> ToObject(const Variant& variant);

}  // namespace ledgerwick::com
