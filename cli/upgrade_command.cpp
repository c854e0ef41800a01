// upgrade: a database of an older version's format becomes one of today's.
#include "tsql/upgrade.h"

#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/interrupt.h"
#include "cli/progress_line.h"

namespace ledgerwick {

int UpgradeCommand(Console& console, const std::string& path) {
  const InterruptGuard guard;
  ProgressLine progress(console);
  tsql::DatabaseOptions options;
  options.cancel = &InterruptGuard::Flag();
  options.progress = [&] { progress.Show("upgrading " + path); };
  try {
    const bool upgraded = tsql::UpgradeDatabase(path, options);
    progress.Clear();
    console.err << (upgraded ? "upgraded " + path : path + " has today's format already") << '\n';
    return kDone;
  } catch (const DatabaseError& error) {
    progress.Clear();
    InterruptGuard::Check();
    PrintDatabaseError(console, error, {});
    return kRefused;
  }
}

}  // namespace ledgerwick
