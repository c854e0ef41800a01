// What the component may ask of ADO, and how: the double and the stand-in refuse anything else as
// ADO refuses arguments that it cannot use.
#pragma once

#include "com/variant_value.h"
#include "fake_object.h"
#include "frame/database.h"
#include "frame/error.h"

namespace ledgerwick::com::testing {

inline void Demand(bool met, const char16_t* what) {
  if (met) return;
  throw DatabaseError(3001, u"ADODB",
                      u"Arguments are of the wrong type, are out of acceptable range, or are in "
                      u"conflict with one another: " +
                          Text(what));
}

inline bool IsText(const Variant& argument, TextView text) {
  return V_VT(argument.Get()) == VT_BSTR && ToText(argument) == text;
}

inline bool IsNumber(const Variant& argument, std::int32_t number) {
  return V_VT(argument.Get()) == VT_I4 && V_I4(argument.Get()) == number;
}

// Connection.Open: the connection string, no user, no password, unspecified options.
inline void CheckOpen(const FakeCall& call) {
  Demand(call.arguments.size() == 4, u"Open's count");
  Demand(IsText(call.arguments[1], u""), u"Open's user");
  Demand(IsText(call.arguments[2], u""), u"Open's password");
  Demand(IsNumber(call.arguments[3], kOptionUnspecified), u"Open's options");
}

// Connection.Execute and Command.Execute: unspecified options behind two other arguments.
inline void CheckExecute(const FakeCall& call) {
  Demand(call.arguments.size() == 3, u"Execute's count");
  Demand(IsNumber(call.arguments[2], kOptionUnspecified), u"Execute's options");
}

// Command.CreateParameter: name, type, direction, size, value.
inline void CheckParameter(const FakeCall& call) {
  Demand(call.arguments.size() == 5, u"CreateParameter's count");
  Demand(IsNumber(call.arguments[2], kParameterInput), u"CreateParameter's direction");
}

// Recordset.Open: the account's parameters are read with the server's cursor and a read-only lock,
// all else with the client's and a batch-optimistic one.
inline void CheckRecordset(const Variant& cursor_location, const FakeCall& call) {
  Demand(call.arguments.size() == 5, u"Open's count");
  const bool reads_account =
      FoldText(ToText(call.arguments[0])).find(FoldText(u"AccInformation")) != Text::npos;
  Demand(IsNumber(cursor_location, reads_account ? kUseServer : kUseClient), u"CursorLocation");
  Demand(IsNumber(call.arguments[2], kOpenStatic), u"Open's cursor type");
  Demand(IsNumber(call.arguments[3], reads_account ? kLockReadOnly : kLockBatchOptimistic),
         u"Open's lock type");
  Demand(IsNumber(call.arguments[4], reads_account ? kCommandText : kOptionUnspecified),
         u"Open's options");
}

// How a recordset is opened that CheckRecordset lets through.
inline constexpr RecordsetOptions kAnyRows{kUseClient, kOpenStatic, kLockBatchOptimistic,
                                           kOptionUnspecified};

}  // namespace ledgerwick::com::testing
