// sample create: a database to try the reports on.
#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/interrupt.h"
#include "cli/progress_line.h"
#include "output/display_text.h"
#include "sample/sample.h"

namespace ledgerwick {

int SampleCreateCommand(Console& console, const SampleOptionsGiven& options) {
  const InterruptGuard guard;
  ProgressLine progress(console);
  SampleOptions sample;
  sample.voucher_lines = options.lines;
  sample.seed = options.seed;
  sample.force = options.force;
  sample.cancel = &InterruptGuard::Flag();
  sample.progress = [&](std::int64_t done, std::int64_t total) {
    const std::int64_t percent = total > 0 ? done * 100 / total : 0;
    progress.Show("creating " + options.path + ": " + std::to_string(percent) + " %");
  };
  try {
    CreateSample(options.path, sample);
  } catch (const DatabaseError& error) {
    progress.Clear();
    InterruptGuard::Check();
    PrintDatabaseError(console, error, {});
    return kRefused;
  } catch (const std::exception&) {
    progress.Clear();
    InterruptGuard::Check();
    throw;
  }
  progress.Clear();
  const std::string path = EscapeControls(options.path);
  console.err << "created " << path << "; use it with --connection embedded:" << path << '\n';
  return kDone;
}

}  // namespace ledgerwick
