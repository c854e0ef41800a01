#include "host/json_document.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

namespace ledgerwick {
namespace {

using Json = nlohmann::json;

constexpr std::size_t kMostNesting = 64;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// Walks over the text and tells how far the parser has read, whichever copy of it the parser holds.
class CountingIterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  CountingIterator(const char* at, const char** read) : at_(at), read_(read) {}

  reference operator*() const { return *at_; }
  CountingIterator& operator++() {
    *read_ = ++at_;
    return *this;
  }
  CountingIterator operator++(int) {
    CountingIterator old = *this;
    ++*this;
    return old;
  }
  friend bool operator==(const CountingIterator& a, const CountingIterator& b) {
    return a.at_ == b.at_;
  }
  friend bool operator!=(const CountingIterator& a, const CountingIterator& b) { return !(a == b); }

 private:
  const char* at_;
  const char** read_;
};

void Advance(FilePosition& position, std::string_view passed) noexcept {
  for (const char c : passed) {
    if (c == '\n') {
      ++position.line;
      position.column = 1;
    } else if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) {
      ++position.column;
    }
  }
}

// The parser's own words without the prefix that names its library and its count of bytes.
std::string PlainMessage(std::string_view what) {
  if (const std::size_t end = what.find("] "); end != what.npos) what.remove_prefix(end + 2);
  if (what.starts_with("parse error at line")) {
    if (const std::size_t colon = what.find(": "); colon != what.npos)
      what.remove_prefix(colon + 2);
  }
  return std::string(what.substr(0, what.find("; last read:")));
}

// How many bytes before the end of what was read the offending token begins.
std::size_t TokenLength(std::string_view message, const std::string& last_token) {
  if (message.find("unexpected string literal") != message.npos ||
      message.find("unexpected number literal") != message.npos) {
    return last_token.size();
  }
  if (message.find("unexpected false literal") != message.npos) return 5;
  if (message.find("unexpected true literal") != message.npos ||
      message.find("unexpected null literal") != message.npos) {
    return 4;
  }
  return 1;
}

// Builds the document from the parser's events and works out where each token began: behind the
// token before it and the blanks, commas and colons that follow.
class DocumentBuilder : public nlohmann::json_sax<Json> {
 public:
  DocumentBuilder(std::string_view text, std::string_view file_name)
      : text_(text), file_name_(file_name), read_(text.data()) {}

  const char** read() { return &read_; }
  JsonNode TakeRoot() { return std::move(root_); }

  bool null() override { return Scalar(Null{}); }
  bool boolean(bool b) override { return Scalar(b); }
  bool number_integer(std::int64_t i) override { return Number(i); }
  bool number_unsigned(std::uint64_t u) override {
    if (u <= static_cast<std::uint64_t>(INT64_MAX)) return Number(static_cast<std::int64_t>(u));
    return Number(static_cast<double>(u));
  }
  bool number_float(double d, const std::string&) override { return Number(d); }
  bool string(std::string& s) override { return Scalar(FromUtf8(s)); }
  bool binary(binary_t&) override { return false; }  // JSON text has none

  bool start_object(std::size_t) override { return Open(JsonNode::Kind::Object); }
  bool start_array(std::size_t) override { return Open(JsonNode::Kind::List); }
  bool end_object() override { return Close(); }
  bool end_array() override { return Close(); }

  bool key(std::string& name) override {
    const FilePosition at = BeginToken();
    std::vector<JsonMember>& members = open_.back()->members;
    const bool twice = std::any_of(members.begin(), members.end(),
                                   [&](const JsonMember& m) { return m.key == name; });
    if (twice) throw FileError(file_name_, at, "\"" + name + "\" stands twice in this object");
    JsonMember& member = members.emplace_back();
    member.key = name;
    member.at = at;
    EndToken();
    return true;
  }

  bool parse_error(std::size_t read, const std::string& last_token,
                   const Json::exception& error) override {
    const std::string message = PlainMessage(error.what());
    const std::size_t length = TokenLength(message, last_token);
    const std::size_t start = std::min(read - std::min(read, length), text_.size());
    throw FileError(file_name_, PositionAt(text_, start), message);
  }

 private:
  // The position of the token whose event has just come.
  FilePosition BeginToken() {
    const std::size_t start = std::min(text_.find_first_not_of(" \t\r\n,:", end_), text_.size());
    Advance(position_, text_.substr(end_, start - end_));
    end_ = start;
    return position_;
  }
  void EndTokenAt(std::size_t end) {
    Advance(position_, text_.substr(end_, end - end_));
    end_ = end;
  }
  void EndToken() { EndTokenAt(static_cast<std::size_t>(read_ - text_.data())); }

  // Where the next value belongs.
  JsonNode& Slot() {
    if (open_.empty()) return root_;
    JsonNode& parent = *open_.back();
    if (parent.kind == JsonNode::Kind::List) return parent.items.emplace_back();
    return parent.members.back().node;
  }
  JsonNode& Place(JsonNode::Kind kind) {
    JsonNode& node = Slot();
    node.kind = kind;
    node.at = BeginToken();
    return node;
  }
  bool Scalar(Value value) {
    Place(JsonNode::Kind::Scalar).value = std::move(value);
    EndToken();
    return true;
  }
  // The parser has read one character beyond a number to see its end.
  bool Number(Value value) {
    Place(JsonNode::Kind::Scalar).value = std::move(value);
    EndTokenAt(std::min(text_.find_first_not_of("+-.0123456789eE", end_), text_.size()));
    return true;
  }
  bool Open(JsonNode::Kind kind) {
    JsonNode& node = Place(kind);
    EndToken();
    if (open_.size() == kMostNesting) throw FileError(file_name_, node.at, "nested too deeply");
    open_.push_back(&node);
    return true;
  }
  bool Close() {
    open_.pop_back();
    EndToken();
    return true;
  }

  std::string_view text_;
  std::string_view file_name_;
  const char* read_;         // how far the parser has read
  std::size_t end_ = 0;      // behind the last token
  FilePosition position_{};  // of end_
  JsonNode root_;
  std::vector<JsonNode*> open_;  // the lists and objects around the next value
};

}  // namespace

FilePosition PositionAt(std::string_view utf8, std::size_t offset) noexcept {
  FilePosition position;
  Advance(position, utf8.substr(0, offset));
  return position;
}

FileError::FileError(std::string_view file_name, FilePosition at, std::string_view message)
    : std::runtime_error(std::string(file_name) + ':' + std::to_string(at.line) + ':' +
                         std::to_string(at.column) + ": " + std::string(message)) {}

JsonNode ParseJson(std::string_view utf8, std::string_view file_name) {
  if (utf8.starts_with(kByteOrderMark)) utf8.remove_prefix(kByteOrderMark.size());
  if (const std::size_t bad = FindInvalidUtf8(utf8); bad != std::string_view::npos) {
    throw FileError(file_name, PositionAt(utf8, bad),
                    "invalid UTF-8 at byte " + std::to_string(bad));
  }
  DocumentBuilder builder(utf8, file_name);
  const char* end = utf8.data() + utf8.size();
  Json::sax_parse(CountingIterator(utf8.data(), builder.read()),
                  CountingIterator(end, builder.read()), &builder);
  return builder.TakeRoot();
}

}  // namespace ledgerwick
