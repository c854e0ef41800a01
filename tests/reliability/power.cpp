#include <algorithm>
#include <fstream>
#include <optional>

#include "books.h"
#include "calls.h"
#include "harnesses.h"

namespace ledgerwick::reliability {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kSector = 512;  // what a disk writes as a whole

// What becomes of what was not synchronised.
enum class Fate { Kept, Lost, AsItComes };

using Files = std::map<std::string, std::string>;

void Apply(const Event& event, std::string& content) {
  const auto at = static_cast<std::size_t>(event.at);
  if (event.kind == Event::Truncate) return content.resize(at);
  if (content.size() < at + event.bytes.size()) content.resize(at + event.bytes.size());
  content.replace(at, event.bytes.size(), event.bytes);
}

// Some sectors of the write.
void ApplyTorn(const Event& event, std::string& content, Random& random) {
  for (std::size_t done = 0; done < event.bytes.size();) {
    const std::size_t at = static_cast<std::size_t>(event.at) + done;
    const std::size_t size = std::min(kSector - at % kSector, event.bytes.size() - done);
    Event part = event;
    part.at = static_cast<std::int64_t>(at);
    part.bytes = event.bytes.substr(done, size);
    if (Draw(random, 0, 1) == 0) Apply(part, content);
    done += size;
  }
}

bool IsName(Event::Kind kind) {
  return kind == Event::Create || kind == Event::Rename || kind == Event::Unlink;
}

// What the disk holds when the power fails behind the first `end` events. Contents are safe from
// the file's synchronisation on, names from the folder's; later names are kept in order up to some
// moment, as file systems with a journal keep them, later writes each as `fate` says.
class Disk {
 public:
  Disk(const Log& log, std::size_t end, Fate fate, Random& random)
      : log_(log), end_(end), fate_(fate), random_(random), contents_(log.contents) {
    safe_.resize(log.contents.size());
    for (std::size_t i = 0; i < end; ++i) {
      if (log.events[i].kind == Event::Sync) safe_[FileOf(log.events[i])] = i;
      if (log.events[i].kind == Event::SyncFolder) safe_names_ = i;
    }
  }

  Files Read() {
    std::map<std::string, int> names = log_.names;
    const std::size_t last_name = LastName();
    for (std::size_t i = 0; i < end_; ++i) {
      const Event& event = log_.events[i];
      if (IsName(event.kind) && i <= last_name) Name(event, names);
      if (event.kind == Event::Write || event.kind == Event::Truncate) Write(event, i);
    }
    Files files;
    for (const auto& [name, file] : names) files[name] = contents_[static_cast<std::size_t>(file)];
    return files;
  }

 private:
  static std::size_t FileOf(const Event& event) { return static_cast<std::size_t>(event.file); }

  std::size_t LastName() {
    if (fate_ == Fate::Kept) return end_;
    if (fate_ == Fate::Lost) return safe_names_;
    return static_cast<std::size_t>(
        Draw(random_, static_cast<std::int64_t>(safe_names_), static_cast<std::int64_t>(end_)));
  }

  void Write(const Event& event, std::size_t at) {
    std::string& content = contents_[FileOf(event)];
    if (at < safe_[FileOf(event)] || fate_ == Fate::Kept) return Apply(event, content);
    if (fate_ == Fate::Lost) return;
    switch (Draw(random_, 0, 2)) {
      case 0:
        return Apply(event, content);
      case 1:
        if (event.kind == Event::Write) ApplyTorn(event, content, random_);
        return;
      default:
        return;
    }
  }

  static void Name(const Event& event, std::map<std::string, int>& names) {
    if (event.kind == Event::Create) names[event.name] = event.file;
    if (event.kind == Event::Rename && names.contains(event.name)) {
      names[event.to] = names[event.name];
    }
    if (event.kind != Event::Create) names.erase(event.name);
  }

  const Log& log_;
  std::size_t end_;
  Fate fate_;
  Random& random_;
  std::vector<std::string> contents_;
  std::vector<std::size_t> safe_;  // by file: the last synchronisation
  std::size_t safe_names_ = 0;
};

// A quarter of the moments lies right at a change of names, which are few.
std::size_t DrawEnd(const Log& log, Random& random) {
  const auto& events = log.events;
  if (Draw(random, 0, 3) == 0) {
    std::vector<std::size_t> names;
    for (std::size_t i = 0; i < events.size(); ++i) {
      if (IsName(events[i].kind)) names.push_back(i);
    }
    if (!names.empty()) return names[random() % names.size()] + random() % 2;
  }
  return random() % (events.size() + 1);
}

// Work on the files of a folder that is written down once, and power failures at moments of it.
class PowerSeries {
 public:
  PowerSeries(std::string name, Random& random, Verdict& verdict)
      : name_(std::move(name)), random_(random), verdict_(verdict) {}

  // `work` begins with what is in the folder already.
  void WriteDown(const std::function<void()>& work) {
    BeginLog(log_);
    work();
    EndLog();
  }

  void Fail(const Folder& folder,
            const std::function<std::string(const Log&, std::size_t, Fate)>& check) {
    const std::size_t end = DrawEnd(log_, random_);
    const Fate fate = static_cast<Fate>(Draw(random_, 0, 5) > 1 ? 2 : Draw(random_, 0, 1));
    const Files files = Disk(log_, end, fate, random_).Read();
    for (const auto& entry : fs::directory_iterator(folder.path())) fs::remove_all(entry);
    for (const auto& [name, content] : files) {
      std::ofstream(name, std::ios::binary).write(content.data(), std::ssize(content));
    }
    StartMachineAnew();
    verdict_.Round(name_ + ", behind event " + std::to_string(end) + " of " +
                       std::to_string(log_.events.size()) + ", fate " +
                       std::to_string(static_cast<int>(fate)),
                   check(log_, end, fate));
  }
  std::int64_t events() const { return std::ssize(log_.events); }

 private:
  std::string name_;
  Random& random_;
  Verdict& verdict_;
  Log log_;
};

// Transactions and reports, with more in the log than it holds before it begins anew, and openings
// and closings.
void KeepBooks(const fs::path& path, Shared& shared) {
  std::int64_t number = 0;
  for (const int posts : {3, 270, 7, 1}) {
    const auto database = tsql::Database::Open(path);
    for (int i = 0; i < posts; ++i) {
      Post(*database, shared, 0, ++number);
      MarkLog(number);
      if (i % 20 == 0) Report(*database);
    }
    if (posts == 7) database->Compact();
  }
}

std::string CheckBooks(const fs::path& path, const Log& log, std::size_t end, Fate fate) {
  SharedMemory shared;
  for (const Event& event : log.events) {
    if (event.kind == Event::Mark) shared->begun[0] = event.at;
  }
  // Without a synchronisation for each, only what reached the disk must be there.
  for (std::size_t i = 0; i < end && fate == Fate::Kept; ++i) {
    if (log.events[i].kind == Event::Mark) shared->done[0] = log.events[i].at;
  }
  const std::string fault = Compare(Examine(path), *shared);
  return fault.empty() ? UseAgain(path, *shared) : fault;
}

}  // namespace

int PowerFailures(const Settings& settings) {
  Random random(settings.seed);
  Verdict verdict("power", settings.seed);
  Folder folder;
  Watch(folder.path());
  SharedMemory shared;

  const fs::path books_path = folder / "books.db";
  CreateBooks(books_path);
  PowerSeries books("books", random, verdict);
  books.WriteDown([&] { KeepBooks(books_path, *shared); });
  for (std::int64_t i = 0; i < settings.rounds; ++i) {
    books.Fail(folder, [&](const Log& log, std::size_t end, Fate fate) {
      return CheckBooks(books_path, log, end, fate);
    });
  }

  const Folder other;
  Watch(other.path());
  const fs::path sample_path = other / "sample.db";
  MakeSample(sample_path, 0, *shared);
  PowerSeries sample("sample", random, verdict);
  sample.WriteDown([&] { MakeSample(sample_path, 1, *shared); });
  for (std::int64_t i = 0; i < settings.rounds; ++i) {
    sample.Fail(other, [&](const Log&, std::size_t, Fate) {
      const std::string fault = CheckSample(sample_path);
      return fault.empty() ? ReplaceAgain(sample_path) : fault;
    });
  }
  return verdict.End(std::to_string(books.events() + sample.events()) + " writes and the like");
}

}  // namespace ledgerwick::reliability
