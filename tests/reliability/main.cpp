// Whether what was acknowledged stays, whatever happens to the disk, the memory, the process and
// the power, and whoever else is at work:
//
//   reliability HARNESS [SEED [AMOUNT]]
//
// docs/reliability.md tells more.
#include <iostream>

#include "books.h"
#include "calls.h"

namespace ledgerwick::reliability {
namespace {

struct Harness {
  std::string name;
  std::string counted;
  std::int64_t amount;  // of the short form
  void (*run)(Verdict&, std::uint64_t, std::int64_t);
};

const Harness kHarnesses[] = {
    {"faults", "failures", 12, &Faults},
    {"kills", "transactions, reports and replacements", 25, &Kills},
    {"power", "events", 150, &PowerFailures},
    {"crowd", "transactions, reports and replacements", 10, &Crowd},
};

int Main(const std::vector<std::string>& arguments) {
  for (const Harness& harness : kHarnesses) {
    if (arguments.empty() || arguments[0] != harness.name) continue;
    const std::string seed = arguments.size() > 1 ? arguments[1] : "1";
    Verdict verdict(harness.name + " " + seed);
    harness.run(verdict, std::stoull(seed),
                arguments.size() > 2 ? std::stoll(arguments[2]) : harness.amount);
    return verdict.End(harness.counted);
  }
  std::cerr << "usage: reliability faults|kills|power|crowd [SEED [AMOUNT]]\n";
  return 2;
}

}  // namespace
}  // namespace ledgerwick::reliability

int main(int argc, char** argv) {
  ledgerwick::reliability::WatchSqliteMemory();
  return ledgerwick::reliability::Main({argv + 1, argv + argc});
}
