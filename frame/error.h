// The one error type of the component.
#pragma once

#include <cstdint>
#include <exception>
#include <new>
#include <string>
#include <type_traits>

#include "frame/text.h"

namespace ledgerwick {

// An error as the host's platform describes it. A number of 1 to 65535 is an error of the language
// (91, 1000, …); a negative one is the platform's result code (ADO's 0x80040E14 and the like).
class DatabaseError : public std::exception {
 public:
  DatabaseError(std::int32_t number, Text source, Text description);

  std::int32_t number;  // what the caller of a member sees
  Text source;          // who raised it
  Text description;     // the text, unchanged from whoever raised it
  Text help_file;       // empty where there is none
  std::uint32_t help_context = 0;
  std::int32_t native = 0;    // the database server's own number, 0 where there is none
  std::int32_t severity = 0;  // as the database server rates it, 0 where it does not
  std::int32_t state = 1;     // where in the server it arose
  int line = 0;               // in the statement, counted from 1; 0 where unknown
  int column = 0;             // in characters, counted from 1; 0 where unknown
  Text procedure;             // the stored procedure that the line is in; empty for none
  bool in_text = false;       // the line is in a text that the statement had executed

  // The description in UTF-8; valid as long as the error.
  const char* what() const noexcept override { return what_.c_str(); }

 private:
  std::string what_;
};

// What ADO answers for the server's error classes.
inline constexpr std::int32_t kErrorSyntaxOrAccess = static_cast<std::int32_t>(0x80040E14);
inline constexpr std::int32_t kErrorNoTable = static_cast<std::int32_t>(0x80040E37);
inline constexpr std::int32_t kErrorArithmetic = static_cast<std::int32_t>(0x80040E57);
inline constexpr std::int32_t kErrorConversion = static_cast<std::int32_t>(0x80040E07);
inline constexpr std::int32_t kErrorIntegrity = static_cast<std::int32_t>(0x80040E2F);
inline constexpr std::int32_t kErrorFailed = static_cast<std::int32_t>(0x80004005);
inline constexpr std::int32_t kErrorNotImplemented = static_cast<std::int32_t>(0x80004001);

// Error 91: a member was called on an object that is not there (no report manager, no filter set).
DatabaseError ObjectNotSet();

// Error 5: a value that the platform's own functions refuse (a date outside its calendar).
DatabaseError InvalidCall();

// Error 7: memory ran out.
DatabaseError OutOfMemory();

// Error 13: a text that should be a date or a number and is not.
DatabaseError TypeMismatch();

// Error 438: the object lacks the member.
DatabaseError MemberNotFound();

// What `body` returns. An error in it, memory that ran out included, ends in `trap`, which takes
// the error, or nothing where it does not care, and returns in its place.
template <typename Body, typename Trap>
auto Trapped(Body body, Trap trap) -> decltype(body()) {
  constexpr bool wants_error = std::is_invocable_v<Trap, const DatabaseError&>;
  try {
    return body();
  } catch (const DatabaseError& error) {
    if constexpr (wants_error) return trap(error);
  } catch (const std::bad_alloc&) {
    if constexpr (wants_error) return trap(OutOfMemory());
  }
  if constexpr (!wants_error) return trap();
}

}  // namespace ledgerwick
