#include "cli/console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include "output/display_text.h"

namespace ledgerwick {
namespace {

constexpr const char* kRed = "\033[1;31m";
constexpr const char* kGreen = "\033[1;32m";
constexpr const char* kPlain = "\033[0m";

// How much of a statement's line is shown on each side of the caret.
constexpr std::size_t kBefore = 60;
constexpr std::size_t kAfter = 40;

// Of a terminal that does not tell.
constexpr std::size_t kUsualWidth = 80;
constexpr std::size_t kUsualHeight = 24;

bool IsTerminal(const std::ostream& stream) {
  if (&stream == &std::cout) return isatty(STDOUT_FILENO) == 1;
  if (&stream == &std::cerr) return isatty(STDERR_FILENO) == 1;
  return false;
}

bool ShowColours(bool is_terminal, ColourChoice choice) {
  if (choice != ColourChoice::Auto) return choice == ColourChoice::Always;
  const char* no_color = std::getenv("NO_COLOR");
  return is_terminal && (no_color == nullptr || *no_color == '\0');
}

// Line `number` of `text`, counted from 1, without its end; nothing where there is no such line.
std::optional<Text> LineOf(const Text& text, int number) {
  std::size_t start = 0;
  for (int line = 1; line < number; ++line) {
    start = text.find(u'\n', start);
    if (start == Text::npos) return std::nullopt;
    ++start;
  }
  Text line = text.substr(start, text.find(u'\n', start) - start);
  if (line.ends_with(u'\r')) line.pop_back();
  return line;
}

// The position in UTF-16 units of character `column`, counted from 1.
std::size_t UnitOfColumn(const Text& line, int column) {
  std::size_t unit = 0;
  for (int c = 1; c < column && unit < line.size(); ++c) {
    const bool pair = line[unit] >= 0xD800 && line[unit] < 0xDC00 && unit + 1 < line.size();
    unit += pair ? 2U : 1U;
  }
  return unit;
}

void PrintCaret(Console& console, const Text& line, int column) {
  const std::size_t at = UnitOfColumn(line, column);
  const std::size_t from = at > kBefore ? at - kBefore : 0;
  const bool cut_short = line.size() > at + kAfter;
  const std::string before =
      (from > 0 ? "…" : "") + EscapeControls(ToUtf8(line.substr(from, at - from)));
  const std::string after = EscapeControls(ToUtf8(line.substr(at, kAfter)));
  console.err << "  " << before << after << (cut_short ? "…" : "") << "\n  "
              << std::string(DisplayWidth(before), ' ') << (console.err_colour ? kGreen : "") << '^'
              << (console.err_colour ? kPlain : "") << '\n';
}

// What the error goes by: the server's number, the language's, or the platform's.
std::string ErrorName(const DatabaseError& error) {
  if (error.native != 0) return "Msg " + std::to_string(error.native);
  if (error.number > 0) return "error " + std::to_string(error.number);
  std::array<char, 24> buffer;
  std::snprintf(buffer.data(), buffer.size(), "error 0x%08X", static_cast<unsigned>(error.number));
  return buffer.data();
}

void PrintPrefixed(Console& console, const char* prefix, const std::string& message) {
  if (console.err_colour) console.err << kRed;
  console.err << prefix;
  if (console.err_colour) console.err << kPlain;
  console.err << ' ' << SafeLines(message) << '\n';
}

}  // namespace

Console MakeConsole(std::istream& in, std::ostream& out, std::ostream& err, ColourChoice choice) {
  Console console{in, out, err};
  console.out_is_terminal = IsTerminal(out);
  console.err_is_terminal = IsTerminal(err);
  console.out_colour = ShowColours(console.out_is_terminal, choice);
  console.err_colour = ShowColours(console.err_is_terminal, choice);
  MeasureTerminal(console);
  return console;
}

void MeasureTerminal(Console& console) {
  if (!console.out_is_terminal) return;
  winsize size{};
  const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0;
  console.width = known && size.ws_col > 0 ? size.ws_col : kUsualWidth;
  console.height = known && size.ws_row > 0 ? size.ws_row : kUsualHeight;
}

std::string SafeLines(const std::string& text) {
  std::string safe;
  for (std::size_t from = 0;;) {
    const std::size_t to = text.find('\n', from);
    std::string_view line = std::string_view(text).substr(from, to - from);
    if (line.ends_with('\r')) line.remove_suffix(1);
    safe += EscapeControls(line);
    if (to == std::string::npos) return safe;
    safe += '\n';
    from = to + 1;
  }
}

void PrintError(Console& console, const std::string& message) {
  PrintPrefixed(console, "ledgerwick:", message);
}

void PrintNote(Console& console, const std::string& message) {
  console.err << "ledgerwick: note: " << SafeLines(message) << '\n';
}

void PrintDatabaseError(Console& console, const DatabaseError& error,
                        const StatementSource& source) {
  std::string message;
  if (!source.file_name.empty()) message = source.file_name + ": ";
  message += ErrorName(error);
  // A line of a procedure or of an executed text is not one of the statement.
  const bool elsewhere = error.in_text || !error.procedure.empty();
  if (!error.procedure.empty()) message += ", procedure " + ToUtf8(error.procedure);
  if (error.line > 0) {
    const int line = elsewhere ? error.line : error.line + source.first_line - 1;
    message += ", line " + std::to_string(line) + (error.in_text ? " of the executed text" : "");
  }
  PrintError(console, message + ": " + ToUtf8(error.description));
  if (elsewhere || error.line <= 0 || error.column <= 0) return;
  if (const std::optional<Text> line = LineOf(source.sql, error.line)) {
    PrintCaret(console, *line, error.column);
  }
}

std::string ReadInput(Console& console, const std::string& path) {
  if (path == "-") {
    return {std::istreambuf_iterator<char>(console.in), std::istreambuf_iterator<char>()};
  }
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  if (file && file.peek() != std::ifstream::traits_type::eof()) text << file.rdbuf();
  if (!file.is_open() || file.bad()) {
    const int reason = errno;
    throw UsageError("cannot read " + path + ": " + std::strerror(reason));
  }
  return text.str();
}

}  // namespace ledgerwick
