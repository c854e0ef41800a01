// Between the host's variants and the component's values.
#pragma once

#include "com/com_types.h"
#include "frame/value.h"

namespace ledgerwick::com {

// What `variant` holds, by reference or itself. Whole numbers, floats, dates, booleans and texts
// keep their kind; currencies, decimals and the rest become the text that the platform's own
// conversion gives, an object the text of its default property. Throws error 13 for what has no
// such text (an array, an error, a missing argument).
Value ToValue(const Variant& variant);

// `value` as a variant.
Variant ToVariant(const Value& value);

// The variant's text: as ToValue, in the value's own wording.
Text ToText(const Variant& variant);

// The variant as a whole number. Throws error 94 for null, 13 for what is no number, 6 for one that
// is too large.
std::int32_t ToInteger(const Variant& variant);

// The variant as a truth value; throws as ToInteger.
bool ToBoolean(const Variant& variant);

// The object in `variant`, or none for a null object, empty and null. Throws error 424 when it
// holds something else.
ComPtr<IDispatch> ToObject(const Variant& variant);

}  // namespace ledgerwick::com
