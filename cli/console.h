// Where a command reads, writes and complains.
#pragma once

#include <istream>
#include <ostream>
#include <stdexcept>
#include <string>

#include "frame/error.h"
#include "frame/text.h"

namespace ledgerwick {

// The arguments cannot be meant, or a file that they name cannot be read: exit code 2.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The user has asked to stop.
class Interrupted : public std::runtime_error {
 public:
  Interrupted() : std::runtime_error("interrupted") {}
};

enum class ColourChoice { Auto, Always, Never };

struct Console {
  std::istream& in;
  std::ostream& out;
  std::ostream& err;
  bool out_is_terminal = false;
  bool err_is_terminal = false;
  bool out_colour = false;
  bool err_colour = false;
  std::size_t width = 0;   // of the terminal that the output is, in columns; 0 where it is none
  std::size_t height = 0;  // in lines
};

// The console on these streams. Without a choice, colours show on a terminal unless NO_COLOR is
// set.
Console MakeConsole(std::istream& in, std::ostream& out, std::ostream& err, ColourChoice choice);

// Takes the terminal's width and height anew, which the user may have changed.
void MeasureTerminal(Console& console);

// `text` with control characters escaped, line breaks excepted.
std::string SafeLines(const std::string& text);

// "ledgerwick: MESSAGE" on the error stream.
void PrintError(Console& console, const std::string& message);

// "ledgerwick: note: MESSAGE" on the error stream.
void PrintNote(Console& console, const std::string& message);

// The statement that an error is about.
struct StatementSource {
  Text sql;
  std::string file_name;  // empty where it comes from no file
  int first_line = 1;     // where `sql` begins in that file
};

// The error with the server's number, the line, and the statement's line with a caret where the
// error knows its place in it; an error of a procedure or an executed text has its own lines.
void PrintDatabaseError(Console& console, const DatabaseError& error,
                        const StatementSource& source);

// The whole of `path`, or of the input for "-". Throws UsageError when it cannot be read.
std::string ReadInput(Console& console, const std::string& path);

}  // namespace ledgerwick
