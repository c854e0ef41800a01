#include "tds/tokens.h"

#include <algorithm>

#include "tds/code_page.h"

namespace ledgerwick::tds {
namespace {

enum class Token : std::uint8_t {
  ReturnStatus = 0x79,
  Columns = 0x81,
  Error = 0xAA,
  Information = 0xAB,
  ReturnValue = 0xAC,
  LoginAccepted = 0xAD,
  Row = 0xD1,
  RowWithNulls = 0xD2,
  Change = 0xE3,
};

constexpr std::int32_t kLeastError = 11;
constexpr TextView kServer = u"ledgerwick";
constexpr unsigned kNullable = 0x01;
constexpr unsigned kIdentity = 0x10;
constexpr unsigned kHidden = 0x2000;
constexpr unsigned kSelect = 0xC1;

}  // namespace

void TokenWriter::Message(const DatabaseError& error, std::int32_t severity) {
  constexpr std::size_t kMostText = 8000;  // of what a token has room for
  const Token token = severity >= kLeastError ? Token::Error : Token::Information;
  Out().U8(static_cast<unsigned>(token)).Measured([&] {
    Out()
        .Put(error.native)
        .U8(static_cast<unsigned>(error.state))
        .U8(static_cast<unsigned>(severity))
        .LongText(TextView(error.description).substr(0, kMostText))
        .ShortText(kServer)
        .ShortText(error.procedure);
    const auto line = static_cast<std::uint32_t>(std::max(error.line, 1));
    if (version_ >= Version::V72) {
      Out().U32(line);
    } else {
      Out().U16(line);
    }
  });
}

void TokenWriter::LoginAccepted() {
  constexpr unsigned kTransactSql = 1;
  Out().U8(static_cast<unsigned>(Token::LoginAccepted)).Measured([&] {
    const std::uint32_t version = VersionNumber(version_);
    Out().U8(kTransactSql);
    for (int shift = 24; shift >= 0; shift -= 8) Out().U8(version >> shift & 0xFF);
    Out().ShortText(kProgramName).U8(kProgramMajor).U8(kProgramMinor);
    Out().U8(kProgramBuild >> 8).U8(kProgramBuild & 0xFF);
  });
}

void TokenWriter::TextChange(Change change, TextView now, TextView before) {
  Out().U8(static_cast<unsigned>(Token::Change)).Measured([&] {
    Out().U8(static_cast<unsigned>(change)).ShortText(now).ShortText(before);
  });
}

void TokenWriter::BytesChange(Change change, std::string_view now, std::string_view before) {
  Out().U8(static_cast<unsigned>(Token::Change)).Measured([&] {
    Out()
        .U8(static_cast<unsigned>(change))
        .U8(static_cast<unsigned>(now.size()))
        .Raw(now)
        .U8(static_cast<unsigned>(before.size()))
        .Raw(before);
  });
}

void TokenWriter::UserType() {
  if (version_ >= Version::V72) {
    Out().U32(0);
  } else {
    Out().U16(0);
  }
}

void TokenWriter::Columns(std::span<const ResultColumn> columns, std::span<const WireType> types,
                          std::size_t hidden) {
  Out().U8(static_cast<unsigned>(Token::Columns)).U16(columns.size());
  for (std::size_t i = 0; i < columns.size(); ++i) {
    UserType();
    const bool is_hidden = i + hidden >= columns.size();
    Out().U16((columns[i].nullable ? kNullable : 0) | (columns[i].identity ? kIdentity : 0) |
              (is_hidden ? kHidden : 0));
    ByteWriter out = Out();
    PutType(out, types[i], version_);
    Out().ShortText(columns[i].name);
  }
}

void TokenWriter::WrittenRow(std::string_view values) {
  Out().U8(static_cast<unsigned>(Token::Row)).Raw(values);
}

void TokenWriter::Row(std::span<const Value> values, std::span<const WireType> types) {
  const auto nulls = static_cast<std::size_t>(std::count_if(
      values.begin(), values.end(), [](const Value& value) { return value.IsNull(); }));
  // The map of nulls takes a bit for each column, a null elsewhere takes a byte at least.
  const std::size_t map_size = (values.size() + 7) / 8;
  const bool with_map = version_ >= Version::V73B && nulls > map_size;
  Out().U8(static_cast<unsigned>(with_map ? Token::RowWithNulls : Token::Row));
  if (with_map) {
    const std::size_t at = bytes_.size();
    bytes_.append(map_size, '\0');
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (values[i].IsNull()) bytes_[at + i / 8] |= static_cast<char>(1U << (i % 8));
    }
  }
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (with_map && values[i].IsNull()) continue;
    PutValue(bytes_, types[i], values[i], version_);
  }
}

void TokenWriter::ReturnStatus(std::int32_t status) {
  Out().U8(static_cast<unsigned>(Token::ReturnStatus)).Put(status);
}

void TokenWriter::ReturnValue(std::size_t ordinal, TextView name, const WireType& type,
                              const Value& value) {
  constexpr unsigned kOutput = 1;
  Out().U8(static_cast<unsigned>(Token::ReturnValue)).U16(ordinal).ShortText(name).U8(kOutput);
  UserType();
  Out().U16(0);
  ByteWriter out = Out();
  PutType(out, type, version_);
  PutValue(bytes_, type, value, version_);
}

void TokenWriter::PutDone(const Done& done) {
  Out().U8(static_cast<unsigned>(done.kind)).U16(done.state).U16(done.selects ? kSelect : 0);
  if (version_ >= Version::V72) {
    Out().Put(done.count);
  } else {
    Out().U32(done.count & 0xFFFFFFFF);
  }
}

}  // namespace ledgerwick::tds
