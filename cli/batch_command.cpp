// batch: many requests, each into a file of its own.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <thread>

#include "cli/batch_journal.h"
#include "cli/batch_worker.h"
#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/interrupt.h"
#include "cli/progress_line.h"

namespace ledgerwick {
namespace {

// How a line on the error stream begins that tells a warning.
constexpr std::string_view kWarningMark = "ledgerwick: warning ";

namespace fs = std::filesystem;

constexpr const char* kSummary = "summary.json";

std::string Padded(std::size_t number) {
  std::string digits = std::to_string(number);
  if (digits.size() < 4) digits.insert(0, 4 - digits.size(), '0');
  return digits;
}

std::vector<BatchRequest> RequestsIn(Console& console, const std::string& path) {
  std::vector<BatchRequest> requests;
  std::error_code ignored;
  if (fs::is_directory(path, ignored)) {
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(path, ignored)) {
      if (entry.path().extension() == ".json") files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    for (const fs::path& file : files) {
      requests.push_back({file.stem().string(), ReadInput(console, file.string()), file.string()});
    }
    return requests;
  }
  const std::string text = ReadInput(console, path);
  const std::string stem = path == "-" ? "request" : fs::path(path).stem().string();
  std::size_t number = 0;
  for (std::size_t from = 0; from < text.size();) {
    const std::size_t end = std::min(text.find('\n', from), text.size());
    const std::string line = text.substr(from, end - from);
    ++number;
    if (line.find_first_not_of(" \t\r") != std::string::npos) {
      requests.push_back(
          {stem + "-" + Padded(number), line, path + ", line " + std::to_string(number)});
    }
    from = end + 1;
  }
  return requests;
}

// Keeps a second batch out of the folder while it lives.
class FolderLock {
 public:
  explicit FolderLock(const fs::path& folder)
      : descriptor_(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    // The processes of a batch that was killed hold the lock until they have stopped.
    for (int attempt = 0; attempt < 50; ++attempt) {
      if (descriptor_ >= 0 && flock(descriptor_, LOCK_EX | LOCK_NB) == 0) return;
      if (descriptor_ < 0 || errno != EWOULDBLOCK) break;
      InterruptGuard::Check();
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    const int reason = errno;
    if (descriptor_ >= 0) close(descriptor_);
    throw UsageError(reason == EWOULDBLOCK
                         ? folder.string() + " is in use by another batch"
                         : "cannot use " + folder.string() + ": " + std::strerror(reason));
  }
  ~FolderLock() { close(descriptor_); }
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

 private:
  int descriptor_;
};

// What processes that were killed left of results that were not whole.
void RemoveParts(const fs::path& folder, const std::vector<BatchRequest>& requests) {
  std::error_code ignored;
  std::set<std::string> names;
  for (const BatchRequest& request : requests) names.insert(request.name);
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored)) {
    if (entry.path().extension() != ".part") continue;
    // NAME.ENDING.NUMBERS.part
    const std::string name = entry.path().stem().stem().stem().string();
    if (names.contains(name)) fs::remove(entry.path(), ignored);
  }
}

// Runs requests side by side and notes how they end.
class Batch {
 public:
  Batch(Console& console, const BatchOptions& options, const OutputFormat& format,
        BatchJournal& journal, std::size_t total)
      : console_(console),
        options_(options),
        format_(format),
        journal_(journal),
        progress_(console),
        total_(total) {}

  // Throws Interrupted when the user asks to stop, after the running requests have stopped.
  void Run(const std::vector<const BatchRequest*>& requests) {
    ended_ = total_ - requests.size();
    for (const BatchRequest* request : requests) {
      while (workers_.size() >= static_cast<std::size_t>(options_.jobs)) AwaitOne();
      StopIfAsked();
      auto worker = std::make_unique<BatchWorker>(*request, options_, format_);
      const pid_t pid = worker->pid();
      workers_.emplace(pid, std::move(worker));
      progress_.Show(std::to_string(ended_) + " of " + std::to_string(total_) + " requests");
    }
    while (!workers_.empty()) AwaitOne();
    StopIfAsked();
  }

 private:
  void StopIfAsked() {
    if (!InterruptGuard::Flag().load()) return;
    for (const auto& [pid, worker] : workers_) worker->Stop();
    workers_.clear();  // which waits for them
    progress_.Clear();
    throw Interrupted();
  }

  void AwaitOne() {
    int status = 0;
    const pid_t pid = waitpid(-1, &status, 0);
    if (pid < 0) {
      if (errno != EINTR) throw OutputError(std::string("cannot wait: ") + std::strerror(errno));
      return StopIfAsked();
    }
    const auto found = workers_.find(pid);
    if (found == workers_.end()) return;
    const BatchEntry entry = found->second->Collect(status);
    workers_.erase(found);
    // What the user has stopped has not failed: the next run takes it up.
    if (!entry.done) StopIfAsked();
    journal_.Add(entry);
    ++ended_;
    progress_.Clear();
    if (!entry.done) {
      console_.err << SafeLines(entry.name) << " failed:\n" << SafeLines(entry.messages);
    } else {
      TellWarnings(entry);
    }
    progress_.Show(std::to_string(ended_) + " of " + std::to_string(total_) + " requests");
  }

  // What a request that is done was warned of.
  void TellWarnings(const BatchEntry& entry) {
    std::istringstream lines(entry.messages);
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with(kWarningMark)) {
        console_.err << SafeLines(entry.name) << ": " << SafeLines(line) << '\n';
      }
    }
  }

  Console& console_;
  const BatchOptions& options_;
  const OutputFormat& format_;
  BatchJournal& journal_;
  ProgressLine progress_;
  std::size_t total_;
  std::size_t ended_ = 0;
  std::map<pid_t, std::unique_ptr<BatchWorker>> workers_;
};

// The error that a failed request ended with: its last message that is one.
std::string ErrorOf(const BatchEntry& entry) {
  const std::string_view mark = "ledgerwick: ";
  std::string error;
  for (std::size_t from = 0; from < entry.messages.size();) {
    const std::size_t end = std::min(entry.messages.find('\n', from), entry.messages.size());
    const std::string line = entry.messages.substr(from, end - from);
    if (line.starts_with(mark) && !line.starts_with("ledgerwick: note:") &&
        !line.starts_with(kWarningMark)) {
      error = line.substr(mark.size());
    } else if (error.empty()) {
      error = line;
    }
    from = end + 1;
  }
  return error;
}

void WriteSummary(ResultWriter& writer, const std::vector<BatchRequest>& requests,
                  const BatchJournal& journal) {
  const std::vector<ResultColumn> columns = {
      {u"request", ColumnKind::String, {}, 0}, {u"result", ColumnKind::String, {}, 0},
      {u"rows", ColumnKind::Integer, {}, 0},   {u"seconds", ColumnKind::Decimal, {}, 2},
      {u"file", ColumnKind::String, {}, 0},    {u"error", ColumnKind::String, {}, 0}};
  writer.Columns(columns);
  std::int64_t rows = 0;
  for (const BatchRequest& request : requests) {
    const BatchEntry* entry = journal.Find(request.name);
    if (entry == nullptr) continue;
    ++rows;
    const std::vector<Value> values = {
        FromUtf8(entry->name),
        entry->done ? u"done" : u"failed",
        entry->done ? Value(entry->rows) : Value(Null{}),
        entry->seconds,
        entry->done ? Value(FromUtf8(entry->file)) : Value(Null{}),
        entry->done ? Value(Null{}) : Value(FromUtf8(ErrorOf(*entry)))};
    writer.Row(values);
  }
  writer.EndRows(rows);
  writer.Finish();
}

void WriteSummaries(Console& console, const fs::path& folder,
                    const std::vector<BatchRequest>& requests, const BatchJournal& journal) {
  OutputTarget file(console.out, (folder / kSummary).string());
  WriterOptions one;
  one.one_result = true;
  WriteSummary(*RequireFormat("json").make(file.stream(), one), requests, journal);
  file.Commit();
  Pager pager(console);
  WriteSummary(*RequireFormat("table").make(pager.console().out, ResultOptions(console)), requests,
               journal);
  pager.Close();
}

}  // namespace

int BatchCommand(Console& console, const BatchOptions& options) {
  OutputOptions probe = options.output;
  probe.file = "file";  // results go to files, whatever the console is
  const OutputFormat& format = ChooseFormat(console, probe);
  const fs::path folder = options.folder;
  const std::vector<BatchRequest> requests = RequestsIn(console, options.requests);
  if (requests.empty()) throw UsageError("no requests in " + options.requests);
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) throw OutputError("cannot make " + folder.string() + ": " + error.message());
  const InterruptGuard guard;
  const FolderLock lock(folder);
  BatchJournal journal(folder, options.go_on);
  RemoveParts(folder, requests);

  std::vector<const BatchRequest*> remaining;
  for (const BatchRequest& request : requests) {
    const BatchEntry* entry = journal.Find(request.name);
    const bool is_there = entry && entry->done && fs::exists(folder / entry->file, error);
    if (!is_there) remaining.push_back(&request);
  }
  try {
    Batch(console, options, format, journal, requests.size()).Run(remaining);
  } catch (const Interrupted&) {
    PrintNote(console, "--continue takes up what remains");
    throw;
  }
  WriteSummaries(console, folder, requests, journal);
  const auto failed =
      std::count_if(requests.begin(), requests.end(), [&](const BatchRequest& request) {
        const BatchEntry* entry = journal.Find(request.name);
        return entry == nullptr || !entry->done;
      });
  console.err << requests.size() << " requests, " << failed << " failed\n";
  return failed == 0 ? kDone : kRefused;
}

}  // namespace ledgerwick
