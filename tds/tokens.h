// The tokens that answers consist of.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "frame/error.h"
#include "tds/bytes.h"
#include "tds/login.h"
#include "tds/wire_type.h"

namespace ledgerwick::tds {

// What ends a statement: of a batch, of a called procedure, and the call itself.
enum class DoneKind : std::uint8_t { Statement = 0xFD, InProcedure = 0xFF, Procedure = 0xFE };

// Bits of its state.
inline constexpr unsigned kDoneMore = 0x01;
inline constexpr unsigned kDoneError = 0x02;
inline constexpr unsigned kDoneCount = 0x10;
inline constexpr unsigned kDoneAttention = 0x20;

struct Done {
  DoneKind kind = DoneKind::Statement;
  unsigned state = 0;
  bool selects = false;  // the count is of rows that were given
  std::uint64_t count = 0;
};

// What changed for the client.
enum class Change : std::uint8_t {
  Database = 1,
  Language = 2,
  PacketSize = 4,
  Collation = 7,
  BeginTransaction = 8,
  CommitTransaction = 9,
  RollbackTransaction = 10,
  Reset = 18,
};

// Writes tokens in a version's form.
class TokenWriter {
 public:
  // Appends to `bytes`, which outlives it.
  TokenWriter(std::string& bytes, Version version) : bytes_(bytes), version_(version) {}

  // `error` as an error, or as information when `severity` is below 11.
  void Message(const DatabaseError& error, std::int32_t severity);
  void LoginAccepted();
  void TextChange(Change change, TextView now, TextView before);
  void BytesChange(Change change, std::string_view now, std::string_view before);
  // The last `hidden` columns are not shown to who looks at the result.
  void Columns(std::span<const ResultColumn> columns, std::span<const WireType> types,
               std::size_t hidden = 0);
  // A row whose values were written before, one behind the other.
  void WrittenRow(std::string_view values);
  void Row(std::span<const Value> values, std::span<const WireType> types);
  void ReturnStatus(std::int32_t status);
  void ReturnValue(std::size_t ordinal, TextView name, const WireType& type, const Value& value);
  void PutDone(const Done& done);

 private:
  ByteWriter Out() { return ByteWriter(bytes_); }
  void UserType();

  std::string& bytes_;
  Version version_;
};

}  // namespace ledgerwick::tds
