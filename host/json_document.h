// JSON with the position of every value, so that a message can point at what it is about.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "frame/value.h"

namespace ledgerwick {

// A place in a text file. Both count from 1; the column counts characters.
struct FilePosition {
  int line = 1;
  int column = 1;
};

// The position of the byte at `offset` of `utf8`, or behind its end.
FilePosition PositionAt(std::string_view utf8, std::size_t offset) noexcept;

// A file that does not say what it should. The text is "NAME:LINE:COLUMN: MESSAGE".
class FileError : public std::runtime_error {
 public:
  FileError(std::string_view file_name, FilePosition at, std::string_view message);
};

struct JsonMember;

// A value of a JSON document.
struct JsonNode {
  enum class Kind { Scalar, List, Object };

  Kind kind = Kind::Scalar;
  FilePosition at;
  Value value;                      // of a Scalar: null, boolean, integer, float or text
  std::vector<JsonNode> items;      // of a List
  std::vector<JsonMember> members;  // of an Object, in the order of the file

  bool IsNull() const noexcept { return kind == Kind::Scalar && value.IsNull(); }
};

// A key and its value.
struct JsonMember {
  std::string key;
  FilePosition at;  // of the key
  JsonNode node;
};

// Reads one JSON document. `file_name` stands in messages. Throws FileError for invalid UTF-8,
// wrong syntax, a key that an object has twice, and nesting beyond any use.
JsonNode ParseJson(std::string_view utf8, std::string_view file_name);

}  // namespace ledgerwick
