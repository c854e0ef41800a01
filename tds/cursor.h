// Cursors on the server: the rows of a query, kept as they were when it ran, for a client that goes
// back and forth among them.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "frame/result_sink.h"
#include "tds/login.h"
#include "tds/result_stream.h"
#include "tds/wire_type.h"

namespace ledgerwick::tds {

// Where a fetch begins. INFO fetches nothing.
enum class FetchType : std::int32_t {
  First = 0x01,
  Next = 0x02,
  Previous = 0x04,
  Last = 0x08,
  Absolute = 0x10,
  Relative = 0x20,
  Refresh = 0x80,
  Info = 0x100,
  PreviousAsIs = 0x200,  // fewer rows where there are fewer before
};

class StaticCursor {
 public:
  StaticCursor(std::span<const ResultColumn> columns, Version version);

  // Appends a row. Throws DatabaseError 701 once the cursor takes too much memory.
  void Add(std::span<const Value> values);

  std::int64_t size() const noexcept { return static_cast<std::int64_t>(ends_.size()); }

  // The number of the first row that was fetched last, counted from 1: 0 before the first row,
  // size() + 1 behind the last.
  std::int64_t position() const noexcept { return position_; }

  bool forward_only = false;

  // Fetches `count` rows from where `type` and `row` say. Throws DatabaseError 16911 for a way that
  // a cursor which only goes forward does not go.
  void Fetch(FetchType type, std::int64_t row, std::int64_t count);

  // Gives the columns and the rows that were fetched last; of a cursor that was just opened none.
  void Give(ResultStream& results) const;

 private:
  std::int64_t StartOf(FetchType type, std::int64_t row, std::int64_t count) const;

  Version version_;
  std::vector<ResultColumn> columns_;
  std::vector<WireType> types_;
  std::string bytes_;
  std::vector<std::size_t> ends_;  // of the rows in the bytes
  std::int64_t position_ = 0;
  std::int64_t fetched_ = 0;
};

}  // namespace ledgerwick::tds
