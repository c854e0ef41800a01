// What the stand-in and its helper say to each other: messages of a length in 4 bytes, the lowest
// first, and UTF-8 text. A request is a letter and a text: O opens the database at a path, X
// executes a batch, Q executes one and wants its rows, C closes. An answer begins with "+", or with
// "!" and an error's number, source and description.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ledgerwick::com::testing {

inline constexpr char kFieldEnd = '\x1F';
inline constexpr char kRowEnd = '\x1E';

inline std::string Frame(const std::string& text) {
  const auto length = static_cast<std::uint32_t>(text.size());
  std::string frame;
  for (int shift = 0; shift < 32; shift += 8) frame += static_cast<char>(length >> shift & 0xFF);
  return frame + text;
}

// Reads one message through read(buffer, size), which gives false at the end.
template <typename Read>
bool ReadFrame(Read read, std::string& text) {
  unsigned char length[4];
  if (!read(reinterpret_cast<char*>(length), sizeof length)) return false;
  std::uint32_t size = 0;
  for (int i = 3; i >= 0; --i) size = size << 8 | length[i];
  text.resize(size);
  return size == 0 || read(text.data(), size);
}

// The parts of `text`, each of which ends with `end`.
inline std::vector<std::string> Parts(const std::string& text, char end) {
  std::vector<std::string> parts;
  std::size_t from = 0;
  for (std::size_t at = text.find(end); at != std::string::npos; at = text.find(end, from)) {
    parts.push_back(text.substr(from, at - from));
    from = at + 1;
  }
  return parts;
}

}  // namespace ledgerwick::com::testing
