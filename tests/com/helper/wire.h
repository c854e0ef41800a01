// What the ADO double and the helper say to each other, in turns: UTF-8 text that ends with a null
// character. A request is a letter and a text: O opens the database at a path, X executes a batch,
// Q executes one for its rows, C closes. An answer begins with "+", or with "!" and an
// error's number, source and description.
#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace ledgerwick::com::testing {

inline constexpr char kFieldEnd = '\x1F';
inline constexpr char kRowEnd = '\x1E';

// Reads one message through receive(buffer, size), which gives the number of bytes; empty when the
// other side is gone.
template <typename Receive>
std::string ReadMessage(Receive receive) {
  std::string message;
  char buffer[65536];
  while (message.empty() || message.back() != '\0') {
    const auto size = receive(buffer, sizeof buffer);
    if (size <= 0) return {};
    message.append(buffer, static_cast<std::size_t>(size));
  }
  message.pop_back();
  return message;
}

// The parts of `text`, each of which ends with `end`.
inline std::vector<std::string> Parts(const std::string& text, char end) {
  std::vector<std::string> parts;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, end);) parts.push_back(part);
  return parts;
}

}  // namespace ledgerwick::com::testing
