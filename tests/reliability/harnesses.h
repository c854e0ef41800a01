// The harnesses, each a subcommand of the program. They return the exit code: 0 when nothing was
// wrong.
#pragma once

#include <cstdint>

namespace ledgerwick::reliability {

struct Settings {
  std::uint64_t seed = 1;
  std::int64_t rounds = 0;  // faults: at most so many calls of each kind fail in turn, 0 for all
  std::int64_t seconds = 10;
  int processes = 0;  // 0: 2 to 9 in turn
};

// Every system call and every allocation that a user's work consists of fails in turn, once and for
// good.
int Faults(const Settings& settings);

// Processes that work on the books and replace a sample database are killed at random moments.
int Kills(const Settings& settings);

// The power fails at random moments of written-down work; what was not synchronised is lost,
// reordered or torn.
int PowerFailures(const Settings& settings);

// Processes work on one database at once. The time is shared out among the numbers of processes.
int Crowd(const Settings& settings);

}  // namespace ledgerwick::reliability
