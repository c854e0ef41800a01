// sample create: a database to try the reports on.
#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/interrupt.h"
#include "cli/progress_line.h"
#include "cli/server_sample.h"
#include "output/display_text.h"
#include "sample/sample.h"
#include "tsql/connection.h"

namespace ledgerwick {
namespace {

// Where the sample is to be: a file, or a server where `connection` is not empty.
struct Place {
  std::string path;
  Text connection;
};

Place FindPlace(const SampleOptionsGiven& options) {
  Place place{options.path, ConnectionOfOptions(options.connection, options.server)};
  if (place.path.empty() == place.connection.empty()) {
    throw UsageError(place.path.empty()
                         ? "where? give the new database's file, or a server (-S, --connection)"
                         : "give either a file or a server, not both");
  }
  const TextView prefix = tsql::kEmbeddedPrefix;
  const TextView text = Trim(place.connection);
  if (EqualText(text.substr(0, prefix.size()), prefix)) {
    return {ToUtf8(text.substr(prefix.size())), {}};
  }
  return place;
}

void Create(Console& console, ProgressLine& progress, const Place& place,
            const SampleOptionsGiven& options, const SampleOptions& sample) {
  if (place.connection.empty()) {
    CreateSample(place.path, sample);
    return;
  }
  ConnectionSettings settings;
  settings.cancel = sample.cancel;
  settings.password = [&](const Text& user, const Text& server) {
    progress.Clear();
    return FindPassword(console, options.server, user, server);
  };
  CreateSampleOnServer(place.connection, settings, sample, [&] {
    progress.Clear();
    PrintNote(console, "a part of the sample is in the database: drop it before another try");
  });
}

}  // namespace

int SampleCreateCommand(Console& console, const SampleOptionsGiven& options) {
  const InterruptGuard guard;
  ProgressLine progress(console);
  const Place place = FindPlace(options);
  const bool is_file = place.connection.empty();
  const std::string path = EscapeControls(place.path);
  SampleOptions sample;
  sample.voucher_lines = options.lines;
  sample.seed = options.seed;
  sample.force = options.force;
  sample.cancel = &InterruptGuard::Flag();
  sample.progress = [&](std::int64_t done, std::int64_t total) {
    const std::int64_t percent = total > 0 ? done * 100 / total : 0;
    progress.Show("creating " + (is_file ? path : "the sample") + ": " + std::to_string(percent) +
                  " %");
  };
  try {
    Create(console, progress, place, options, sample);
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
  if (is_file) {
    console.err << "created " << path << "; use it with --connection embedded:" << path << '\n';
  } else {
    console.err << "created the sample on the server\n";
  }
  return kDone;
}

}  // namespace ledgerwick
