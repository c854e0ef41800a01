// How a function that SQLite calls sees its arguments, gives its result, and what all of them
// share. The storage makes the calls; a function knows nothing else of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "tsql/base/errors.h"
#include "tsql/values/any_value.h"
#include "tsql/values/datetime.h"
#include "tsql/values/exact.h"

struct sqlite3_context;
struct sqlite3_value;

namespace ledgerwick::tsql {

// The numbers that an IDENTITY column gives while a statement inserts.
struct IdentityValues {
  std::int64_t key = 0;  // of the table's identity; 0 before a statement has begun one
  std::int64_t seed = 1;
  std::int64_t step = 1;
  std::optional<std::int64_t> last;  // none before the first
  std::int64_t low = 0;              // what the column's type holds
  std::int64_t high = 0;
  int precision = 0;  // of a decimal; 0 for an integer
  std::string type;
  std::optional<std::int64_t> inserted;  // the last that this statement has inserted

  // The furthest number of each identity that this process has given: as on the server, what was
  // rolled back is not given again.
  std::unordered_map<std::int64_t, std::int64_t> furthest;

  // What `last` was before the statement; Restart has it begin again.
  std::optional<std::int64_t> before;
  void Restart();

  // The next number. Throws 8115 where the type does not hold it.
  std::int64_t Next();

  // Notes a number that a statement gives by itself.
  void Note(std::int64_t number);
};

// What the functions share with whoever runs the statement.
struct FunctionState {
  // The error that a function raised while a statement ran: SQLite carries the text alone.
  std::optional<SqlError> error;

  // What kept the collation from comparing two texts. The statement has run on as if they were
  // equal, so that its end must be this, and what it changed be taken back.
  std::exception_ptr order_failure;

  // GETDATE's answer for the whole statement that runs; none before it is asked.
  std::optional<Instant> now;

  IdentityValues identity;

  // True while rows are changed all at once whose constraints are looked at afterwards.
  bool settling = false;

  // How the session reads and writes dates.
  DateOptions dates;

  // Keeps `raised` for whoever runs the statement.
  void Keep(SqlError&& raised) noexcept { error.emplace(std::move(raised)); }

  // The number of the object of that name ("tempdb..x"), if there is one; empty until someone
  // knows.
  std::function<std::optional<std::int64_t>(TextView name)> object_id;

  // What the session and the server are ("@@SPID", "Collation", "DB_NAME"), as text; empty until
  // someone knows. `argument` belongs to the fact and is empty where it has none.
  std::function<std::optional<std::string>(std::string_view fact, std::string_view argument)> fact;
};

// What a function keeps between the calls of one statement.
struct KeptBetweenCalls {
  virtual ~KeptBetweenCalls() = default;
};

// The arguments and the result of one call. The result is NULL until one is given.
class Call {
 public:
  Call(sqlite3_context* context, std::span<sqlite3_value*> arguments, FunctionState& state)
      : context_(context), arguments_(arguments), state_(state) {}

  std::size_t size() const { return arguments_.size(); }
  bool IsNull(std::size_t i) const;
  bool IsInteger(std::size_t i) const;
  bool IsText(std::size_t i) const;
  bool IsBytes(std::size_t i) const;

  // The argument; a view lives until the call ends. Real throws SqlError 8115 for what SQLite
  // computes where a float overflows.
  std::int64_t Integer(std::size_t i) const;
  double Real(std::size_t i) const;
  std::string_view Utf8(std::size_t i) const;
  std::string_view Bytes(std::size_t i) const;
  AnyValue Any(std::size_t i) const;  // of an argument that is not NULL

  // The units of a decimal or of money.
  Int128 Units(std::size_t i) const noexcept;

  // The same as Utf8, zero-terminated: the names of types and date parts that the emitter writes.
  const char* Name(std::size_t i) const;

  // What the function kept with argument `i`, as long as the argument has not changed; nullptr for
  // nothing. Keep takes it over, and may destroy it at once.
  const KeptBetweenCalls* Kept(int i) const;
  void Keep(int i, std::unique_ptr<KeptBetweenCalls> kept);

  void Return(std::int64_t number);
  void Return(double number);  // throws as Real does
  void Return(std::string_view text);
  void ReturnNull();
  void ReturnArgument(std::size_t i);

  // What the variable that is bound as argument `i` holds just now.
  void ReturnVariable(std::size_t i);

  // The units as a type of that precision keeps them (exact.h).
  void ReturnUnits(Int128 units, int precision) noexcept;
  void ReturnBytes(std::span<const unsigned char> bytes);
  void ReturnBytes(std::string_view bytes);

  FunctionState& state() const { return state_; }

 private:
  sqlite3_context* context_;
  std::span<sqlite3_value*> arguments_;
  FunctionState& state_;
};

}  // namespace ledgerwick::tsql
