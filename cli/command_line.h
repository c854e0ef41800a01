// The ledgerwick command.
#pragma once

#include <istream>
#include <ostream>
#include <string>
#include <vector>

namespace ledgerwick {

inline constexpr const char* kVersion = "2.2.0";
inline constexpr const char* kReleased = "2026-11-21";

// The program's exit codes.
inline constexpr int kDone = 0;
inline constexpr int kRefused = 1;  // the report, the database or the system said no
inline constexpr int kWrongUsage =
    2;                                // wrong arguments, or a file that does not say what it should
inline constexpr int kDifferent = 1;  // of diff: the results are not the same
inline constexpr int kTrouble = 2;    // of diff: they could not be compared
inline constexpr int kReaderGone = 141;  // as of a program that a closed pipe ends

// Runs the command with `args` (without the program's name) and returns its exit code. Data goes to
// `out`, everything else to `err`. Never throws.
int Main(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
         std::ostream& err);

}  // namespace ledgerwick
