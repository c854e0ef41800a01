// Cursors on the server, and what they share with prepared statements: how a statement's columns
// are found without running it.
#include <algorithm>
#include <cstdlib>
#include <utility>

#include "frame/null_sink.h"
#include "tds/conversation.h"
#include "tds/server_error.h"
#include "tds/statement_facts.h"

namespace ledgerwick::tds {
namespace {

// Bits of the options that clients ask for and are told.
constexpr std::int64_t kForwardOnly = 0x04;
constexpr std::int64_t kStatic = 0x08;
constexpr std::int64_t kFastForward = 0x10;
constexpr std::int64_t kWithParameters = 0x1000;
constexpr std::int64_t kAutoFetch = 0x2000;
constexpr std::int64_t kReadOnly = 0x01;

Text FromAscii(std::string_view text) { return Text(text.begin(), text.end()); }

// The integer that parameter `i` has, or `otherwise` where it is null or missing.
std::int64_t IntegerAt(const Call& call, std::size_t i, std::int64_t otherwise) {
  if (i >= call.parameters.size()) return otherwise;
  const Text& literal = call.parameters[i].literal;
  const std::string digits(literal.begin(), literal.end());
  char* end = nullptr;
  const std::int64_t number = std::strtoll(digits.c_str(), &end, 10);
  return end == digits.c_str() ? otherwise : number;
}

Text TextAt(const Call& call, std::size_t i) {
  return i < call.parameters.size() ? call.parameters[i].text : Text();
}

// Keeps the rows of the one result that a cursor has; the rest goes on.
class CursorRows final : public ResultSink {
 public:
  CursorRows(ResultStream& results, Version version) : results_(results), version_(version) {}

  void Columns(std::span<const ResultColumn> columns) override {
    if (cursor_) throw NotOne();
    cursor_ = std::make_unique<StaticCursor>(columns, version_);
  }
  void Row(std::span<const Value> values) override { cursor_->Add(values); }
  void EndRows(std::int64_t) override {}
  void RowsAffected(std::int64_t) override {}
  void Message(const Text& text) override { results_.Message(text); }
  void Information(const DatabaseError& message) override { results_.Information(message); }
  void FirstError(const DatabaseError& error) override { results_.FirstError(error); }
  void Error(const DatabaseError& error) override { results_.Error(error); }

  std::unique_ptr<StaticCursor> Take() {
    if (!cursor_) throw NotOne();
    return std::move(cursor_);
  }

  static DatabaseError NotOne() {
    return ServerError(
        16937, 16,
        u"A server cursor cannot be opened on the given statement or statements. Use "
        u"a default result set or client cursor.");
  }

 private:
  ResultStream& results_;
  Version version_;
  std::unique_ptr<StaticCursor> cursor_;
};

// Keeps the first result's columns.
class FirstColumns final : public NullSink {
 public:
  void Columns(std::span<const ResultColumn> columns) override {
    if (columns_.empty()) columns_.assign(columns.begin(), columns.end());
  }
  const std::vector<ResultColumn>& columns() const { return columns_; }

 private:
  std::vector<ResultColumn> columns_;
};

}  // namespace

// Gives the columns of a prepared query. What is wrong with it is told when it runs: until then a
// table may come to be that it reads.
void Conversation::DescribePrepared(const Prepared& prepared, ResultStream& results) {
  FirstColumns found;
  try {
    const StatementFacts facts = FactsOf(prepared.statement, prepared.declarations);
    if (!facts.is_query) return;
    Parameter nothing;
    nothing.type = u"int";
    nothing.literal = u"NULL";
    std::vector<Parameter> parameters = TextsOf(prepared);
    parameters.insert(parameters.end(), facts.parameters, nothing);
    NullSink sink;
    database_->Run(u"SET FMTONLY ON", sink);
    try {
      database_->Run(ComposeCall(u"sp_executesql", parameters, false), found);
    } catch (const DatabaseError&) {
      // Told when it runs.
    }
    database_->Run(u"SET FMTONLY OFF", sink);
  } catch (const DatabaseError&) {
    return;
  }
  if (found.columns().empty()) return;
  results.Columns(found.columns());
  results.EndRows(0);
}

void Conversation::ExecuteCursorCall(const Call& call, ResultStream& results) {
  switch (call.system) {
    case SystemCall::Cursor:
      FindCursor(call);
      throw ServerError(16929, 16,
                        u"The cursor is READ ONLY. Change rows with UPDATE, INSERT or DELETE.");
    case SystemCall::CursorOpen: {
      Prepared prepared;
      prepared.statement = Required(call, 1, u"@stmt").text;
      const bool bound =
          (IntegerAt(call, 2, 0) & kWithParameters) != 0 || call.parameters.size() > 5;
      if (bound) prepared.declarations = TranslateDeclarations(TextAt(call, 5));
      OpenCursor(call, prepared, {0, 2, 3, 4, 6}, results);
      return;
    }
    case SystemCall::CursorPrepare: {
      const std::int32_t handle = Prepare(call);
      results.Tokens().ReturnStatus(0);
      GiveInteger(call, 0, handle, results);
      GiveInteger(call, 4, kStatic, results);
      GiveInteger(call, 5, kReadOnly, results);
      return;
    }
    case SystemCall::CursorExecute:
      OpenCursor(call, FindPrepared(call)->second, {1, 2, 3, 4, 5}, results);
      return;
    case SystemCall::CursorPrepareExecute: {
      Prepared prepared;
      prepared.declarations = TranslateDeclarations(Required(call, 2, u"@params").text);
      prepared.statement = Required(call, 3, u"@stmt").text;
      const std::int32_t handle = Keep(prepared);
      OpenCursor(call, prepared, {1, 4, 5, 6, 7}, results);
      GiveInteger(call, 0, handle, results);
      return;
    }
    case SystemCall::CursorUnprepare:
      prepared_.erase(FindPrepared(call));
      results.Tokens().ReturnStatus(0);
      return;
    case SystemCall::CursorFetch:
      FetchFromCursor(call, results);
      return;
    case SystemCall::CursorOption:
      SetCursorOption(call, results);
      return;
    default:
      CloseCursor(call, results);
  }
}

// `places` tells where the call has the cursor, its kind, its concurrency, the number of rows, and
// where the values of the statement's parameters begin.
void Conversation::OpenCursor(const Call& call, const Prepared& prepared,
                              const CursorPlaces& places, ResultStream& results) {
  constexpr std::size_t kMostCursors = 1000;
  const StatementFacts facts = FactsOf(prepared.statement, prepared.declarations);
  if (!facts.is_query && !facts.is_call) throw CursorRows::NotOne();
  if (cursors_.size() >= kMostCursors) {
    throw ServerError(701, 17, u"This connection has 1000 cursors open; close some of them.");
  }
  const std::int64_t wanted = IntegerAt(call, places.kind, kStatic);
  std::vector<Parameter> parameters = TextsOf(prepared);
  const std::size_t first = std::min(places.values, call.parameters.size());
  parameters.insert(parameters.end(), call.parameters.begin() + static_cast<std::ptrdiff_t>(first),
                    call.parameters.end());
  CursorRows rows(results, version_);
  Run(ComposeCall(u"sp_executesql", parameters, false), rows, results);
  if (results.failed()) {
    results.Tokens().ReturnStatus(1);
    return;
  }
  std::unique_ptr<StaticCursor> cursor = rows.Take();
  cursor->forward_only = (wanted & (kForwardOnly | kFastForward)) != 0;
  if ((wanted & kAutoFetch) != 0) {
    cursor->Fetch(FetchType::Next, 0, std::max<std::int64_t>(IntegerAt(call, places.rows, 1), 1));
  }
  cursor->Give(results);
  const std::int64_t size = cursor->size();
  const std::int64_t kind = cursor->forward_only ? wanted & (kForwardOnly | kFastForward) : kStatic;
  const std::int32_t handle = next_cursor_++;
  cursors_.emplace(handle, std::move(cursor));
  results.Tokens().ReturnStatus(0);
  GiveInteger(call, places.cursor, handle, results);
  GiveInteger(call, places.kind, kind | (wanted & (kWithParameters | kAutoFetch)), results);
  GiveInteger(call, places.concurrency, kReadOnly, results);
  GiveInteger(call, places.rows, size, results);
}

void Conversation::FetchFromCursor(const Call& call, ResultStream& results) {
  constexpr std::int64_t kSkipsCheck = 0x400;  // of what nobody can have changed
  enum { kHandle, kType, kRow, kCount };
  StaticCursor& cursor = *FindCursor(call)->second;
  const std::int64_t type =
      IntegerAt(call, kType, static_cast<int>(FetchType::Next)) & ~kSkipsCheck;
  constexpr std::int64_t kKnown = 0x3BF;
  if (type <= 0 || (type & (type - 1)) != 0 || (type & kKnown) == 0) {
    throw ServerError(16902, 16,
                      u"sp_cursorfetch: The value of the parameter fetchtype is invalid.");
  }
  const std::int64_t count = std::clamp<std::int64_t>(IntegerAt(call, kCount, 1), 0, INT32_MAX);
  const auto fetch = static_cast<FetchType>(type);
  cursor.Fetch(fetch, IntegerAt(call, kRow, 0), count);
  if (fetch == FetchType::Info) {
    results.Tokens().ReturnStatus(0);
    constexpr std::int64_t kBehindLast = -1;
    const bool behind = cursor.position() > cursor.size();
    GiveInteger(call, kRow, behind ? kBehindLast : cursor.position(), results);
    GiveInteger(call, kCount, cursor.size(), results);
    return;
  }
  cursor.Give(results);
  results.Tokens().ReturnStatus(0);
}

// The cursor's name is taken note of by nobody, since nothing can be said of it by its name. How
// long texts are handed over is settled.
void Conversation::SetCursorOption(const Call& call, ResultStream& results) {
  enum : std::int64_t {
    kTextPointer = 1,
    kName = 2,
    kTextData = 3,
    kKind = 4,
    kConcurrency = 5,
    kRows = 6
  };
  const StaticCursor& cursor = *FindCursor(call)->second;
  const std::int64_t code = IntegerAt(call, 1, 0);
  if (code < kTextPointer || code > kRows) {
    throw ServerError(16902, 16, u"sp_cursoroption: The value of the parameter code is invalid.");
  }
  results.Tokens().ReturnStatus(0);
  if (code == kKind) GiveInteger(call, 2, cursor.forward_only ? kForwardOnly : kStatic, results);
  if (code == kConcurrency) GiveInteger(call, 2, kReadOnly, results);
  if (code == kRows) GiveInteger(call, 2, cursor.size(), results);
}

void Conversation::CloseCursor(const Call& call, ResultStream& results) {
  constexpr std::int64_t kAll = -1;
  if (IntegerAt(call, 0, 0) == kAll) {
    cursors_.clear();
  } else {
    cursors_.erase(FindCursor(call));
  }
  results.Tokens().ReturnStatus(0);
}

Conversation::Cursors::iterator Conversation::FindCursor(const Call& call) {
  const std::int64_t handle = IntegerAt(call, 0, 0);
  const auto found =
      cursors_.find(static_cast<std::int32_t>(std::clamp<std::int64_t>(handle, 0, INT32_MAX)));
  if (found != cursors_.end()) return found;
  throw ServerError(16909, 16,
                    call.procedure + u": The cursor identifier value provided (" +
                        FromAscii(std::to_string(handle)) + u") is not valid.");
}

// Hands an integer back in parameter `i`, where the call wants to have it back.
void Conversation::GiveInteger(const Call& call, std::size_t i, std::int64_t value,
                               ResultStream& results) {
  if (i >= call.parameters.size() || !call.parameters[i].output) return;
  ResultColumn column;
  column.type = u"int";
  results.Tokens().ReturnValue(i, call.parameters[i].name, WireTypeOf(column, version_),
                               Value(value));
}

}  // namespace ledgerwick::tds
