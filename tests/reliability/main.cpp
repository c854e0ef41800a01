// Whether what was acknowledged stays, whatever happens to the disk, the memory, the process and
// the power, and whoever else is at work. docs/reliability.md tells how to run it.
#include <CLI/CLI.hpp>

#include "calls.h"
#include "harnesses.h"

namespace {

using ledgerwick::reliability::Settings;

struct Harness {
  const char* name;
  const char* description;
  std::int64_t rounds;  // of the short form
  int (*run)(const Settings&);
};

constexpr Harness kHarnesses[] = {
    {"faults", "calls and allocations fail", 12, &ledgerwick::reliability::Faults},
    {"kills", "processes are killed", 25, &ledgerwick::reliability::Kills},
    {"power", "the power fails", 150, &ledgerwick::reliability::PowerFailures},
    {"crowd", "processes work at once", 0, &ledgerwick::reliability::Crowd},
};

}  // namespace

int main(int argc, char** argv) {
  ledgerwick::reliability::WatchSqliteMemory();
  CLI::App app("Reliability of the embedded database");
  app.require_subcommand(1);
  Settings settings;
  int code = 0;
  for (const Harness& harness : kHarnesses) {
    CLI::App* command = app.add_subcommand(harness.name, harness.description);
    command->add_option("--seed", settings.seed, "what the random choices follow from");
    if (harness.rounds > 0) {
      command->add_option("--rounds", settings.rounds,
                          "how many; for faults, the calls of each kind "
                          "that fail, 0 for all");
      command->parse_complete_callback([&, command] {
        if (command->count("--rounds") == 0) settings.rounds = harness.rounds;
      });
    } else {
      command->add_option("--seconds", settings.seconds, "how long in all");
      command
          ->add_option("--processes", settings.processes, "how many; 2 to 9 in turn if not given")
          ->check(CLI::Range(2, 9));
    }
    command->final_callback([&] { code = harness.run(settings); });
  }
  CLI11_PARSE(app, argc, argv);
  return code;
}
