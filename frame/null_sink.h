// Results that nobody looks at.
#pragma once

#include "frame/result_sink.h"

namespace ledgerwick {

// Takes every row and passes everything over.
class NullSink : public ResultSink {
 public:
  void Columns(std::span<const ResultColumn>) override {}
  void Row(std::span<const Value>) override {}
  void EndRows(std::int64_t) override {}
  void RowsAffected(std::int64_t) override {}
  void Message(const Text&) override {}
};

}  // namespace ledgerwick
