// Numbers and texts as the protocol lays them out: little-endian, texts in UTF-16.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "frame/text.h"

namespace ledgerwick::tds {

// Holds every decimal; an extension of the compilers that build this.
__extension__ using UInt128 = unsigned __int128;

// What came from the client is not what the protocol allows there: the connection ends.
class ProtocolError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A message ends before what it holds does.
class MessageEnded : public ProtocolError {
 public:
  MessageEnded() : ProtocolError("a message ends too early") {}
};

// Where further bytes come from when a message is read while it comes.
class ByteSource {
 public:
  virtual ~ByteSource() = default;

  // `rest` and as much as follows it until there are `count` bytes or the message ends. They stay
  // until the next call.
  virtual std::string_view Extend(std::string_view rest, std::size_t count) = 0;
};

// Reads a message from its beginning. Every member throws ProtocolError at the message's end.
class ByteReader {
 public:
  // `bytes` and `source`, where there is one, outlive it.
  explicit ByteReader(std::string_view bytes, ByteSource* source = nullptr)
      : bytes_(bytes), source_(source) {}

  std::size_t left() const noexcept { return bytes_.size() - at_; }
  bool AtEnd() const noexcept { return left() == 0; }

  // The same, once the source has nothing more either.
  bool IsOver() {
    if (AtEnd() && source_ != nullptr) {
      bytes_ = source_->Extend({}, 1);
      at_ = 0;
    }
    return AtEnd();
  }

  // The next `count` bytes, which stay where they are; with a source until more is read.
  std::string_view Take(std::size_t count) {
    if (count > left() && source_ != nullptr) {
      bytes_ = source_->Extend(bytes_.substr(at_), count);
      at_ = 0;
    }
    if (count > left()) throw MessageEnded();
    at_ += count;
    return bytes_.substr(at_ - count, count);
  }

  template <std::integral Number>
  Number Read() {
    std::uint64_t number = 0;
    const std::string_view bytes = Take(sizeof(Number));
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
      number |= std::uint64_t{static_cast<unsigned char>(bytes[i])} << (8 * i);
    }
    return static_cast<Number>(number);
  }
  std::uint8_t U8() { return Read<std::uint8_t>(); }
  std::uint16_t U16() { return Read<std::uint16_t>(); }
  std::uint32_t U32() { return Read<std::uint32_t>(); }

  // A text of `count` UTF-16 units.
  Text Units(std::size_t count) {
    ByteReader units(Take(count * 2));
    Text text(count, u'\0');
    for (char16_t& unit : text) unit = static_cast<char16_t>(units.U16());
    return text;
  }

  // Texts behind their length in units, of one byte or of two.
  Text ShortText() { return Units(U8()); }
  Text LongText() { return Units(U16()); }

 private:
  std::string_view bytes_;
  ByteSource* source_;
  std::size_t at_ = 0;
};

// Appends to `bytes`, which outlives it.
class ByteWriter {
 public:
  explicit ByteWriter(std::string& bytes) : bytes_(bytes) {}

  template <std::integral Number>
  ByteWriter& Put(Number number) {
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
      bytes_ += static_cast<char>(static_cast<std::uint64_t>(number) >> (8 * i));
    }
    return *this;
  }
  ByteWriter& U8(unsigned number) { return Put(static_cast<std::uint8_t>(number)); }
  ByteWriter& U16(std::size_t number) { return Put(static_cast<std::uint16_t>(number)); }
  ByteWriter& U32(std::size_t number) { return Put(static_cast<std::uint32_t>(number)); }

  ByteWriter& Raw(std::string_view bytes) {
    bytes_ += bytes;
    return *this;
  }
  ByteWriter& Units(TextView text) {
    for (const char16_t unit : text) Put(static_cast<std::uint16_t>(unit));
    return *this;
  }

  // Texts behind their length in units; what the length cannot tell is cut off.
  ByteWriter& ShortText(TextView text) {
    text = text.substr(0, UINT8_MAX);
    return U8(static_cast<unsigned>(text.size())).Units(text);
  }
  ByteWriter& LongText(TextView text) {
    text = text.substr(0, UINT16_MAX);
    return U16(text.size()).Units(text);
  }

  // Writes what `content` writes behind its length in bytes, which takes two bytes.
  template <typename Content>
  ByteWriter& Measured(Content content) {
    const std::size_t at = bytes_.size();
    U16(0);
    content();
    const std::size_t length = bytes_.size() - at - 2;
    if (length > UINT16_MAX) throw std::length_error("a token is too long");
    bytes_[at] = static_cast<char>(length);
    bytes_[at + 1] = static_cast<char>(length >> 8);
    return *this;
  }

 private:
  std::string& bytes_;
};

}  // namespace ledgerwick::tds
