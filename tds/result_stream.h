// The results of a batch as an answer's tokens.
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "frame/result_sink.h"
#include "tds/packets.h"
#include "tds/tokens.h"

namespace ledgerwick::tds {

class ResultStream final : public ResultSink {
 public:
  // Everything outlives it. `kind` is what ends each statement. `look` is called every so often
  // between rows; what it throws ends the batch.
  ResultStream(PacketStream& packets, Version version, DoneKind kind, std::function<void()> look)
      : packets_(packets),
        tokens_(packets.answer(), version),
        version_(version),
        kind_(kind),
        look_(std::move(look)) {}

  void Columns(std::span<const ResultColumn> columns) override;
  void Row(std::span<const Value> values) override;
  void EndRows(std::int64_t count) override;
  void BreakRows(std::int64_t count) override;
  void RowsAffected(std::int64_t count) override;
  void Message(const Text& text) override;
  void Information(const DatabaseError& message) override;
  void FirstError(const DatabaseError& error) override;
  void Error(const DatabaseError& error) override;

  // A result whose rows were written before, with a last column that is not shown.
  void Written(std::span<const ResultColumn> columns, std::span<const WireType> types,
               std::span<const std::string_view> rows);

  // The error that Run threw; passed over when it has been told already.
  void Thrown(const DatabaseError& error);

  // The outcome of a call that a composed batch hands back (call.h).
  struct Outcome {
    std::vector<WireType> types;
    std::vector<Value> values;
  };
  const std::optional<Outcome>& outcome() const noexcept { return outcome_; }

  bool failed() const noexcept { return failed_; }

  // The writer of further tokens; what is held back goes first.
  TokenWriter& Tokens();

  // Ends the answer to a batch, or to one of several calls. `more` when further results follow.
  void EndBatch(bool more);
  void EndCall(bool more);

 private:
  void Hold(const Done& done);
  void Release();

  PacketStream& packets_;
  TokenWriter tokens_;
  Version version_;
  DoneKind kind_;
  std::function<void()> look_;
  std::vector<WireType> types_;
  std::optional<Done> held_;  // the last statement's end, until it is known whether more follows
  std::optional<Outcome> outcome_;
  bool in_outcome_ = false;
  bool in_rows_ = false;
  bool told_first_ = false;
  bool failed_ = false;
  unsigned rows_ = 0;
};

}  // namespace ledgerwick::tds
