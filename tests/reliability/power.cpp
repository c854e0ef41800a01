#include <algorithm>
#include <fstream>

#include "books.h"
#include "calls.h"

namespace ledgerwick::reliability {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kSector = 512;  // what a disk writes as a whole

// What becomes of what was not synchronised.
enum class Fate { Kept, Lost, AsItComes };

// Writes `event` into `content`; a torn write only in some sectors.
void Apply(const Event& event, bool torn, std::string& content, Random& random) {
  const auto begin = static_cast<std::size_t>(event.at);
  if (event.kind == Event::Truncate) return content.resize(torn ? content.size() : begin);
  const std::size_t end = begin + event.bytes.size();
  for (std::size_t at = begin; at < end;) {
    const std::size_t size = std::min(kSector - at % kSector, end - at);
    if (!torn || Draw(random, 0, 1) == 0) {
      content.resize(std::max(content.size(), at + size));
      content.replace(at, size, event.bytes, at - begin, size);
    }
    at += size;
  }
}

bool IsName(const Event& event) {
  return event.kind == Event::Create || event.kind == Event::Rename || event.kind == Event::Unlink;
}

// Puts on the disk what it holds when the power fails behind the first `end` events. Contents are
// safe from the file's synchronisation on, names from the folder's; later names are kept in order
// up to some moment, as file systems with a journal keep them, later writes each as `fate` says.
void FailPower(const std::vector<Event>& events, std::size_t end, Fate fate, Random& random) {
  std::map<int, std::size_t> safe;  // by file; of the folder too
  for (std::size_t i = 0; i < end; ++i) {
    if (events[i].kind == Event::Sync) safe[events[i].file] = i;
  }
  std::size_t last_name = fate == Fate::Kept ? end : safe[kFolder];
  if (fate == Fate::AsItComes) last_name += random() % (end - last_name + 1);
  std::map<std::string, int> names;
  std::map<int, std::string> contents;
  for (std::size_t i = 0; i < end; ++i) {
    const Event& event = events[i];
    if (IsName(event) && i <= last_name) {
      if (event.kind == Event::Create) names[event.name] = event.file;
      if (event.kind == Event::Rename) names[event.to] = names[event.name];
      if (event.kind != Event::Create) names.erase(event.name);
    }
    if (event.kind != Event::Write && event.kind != Event::Truncate) continue;
    const bool is_safe = fate == Fate::Kept || i < safe[event.file];
    const std::int64_t what = is_safe ? 0 : fate == Fate::Lost ? 2 : Draw(random, 0, 2);
    if (what < 2) Apply(event, what == 1, contents[event.file], random);
  }
  for (const auto& [name, file] : names) {
    const std::string& content = contents[file];
    std::ofstream(name, std::ios::binary).write(content.data(), std::ssize(content));
  }
}

// A moment of the work, a quarter of the moments right at a change of names, which are few.
std::size_t DrawEnd(const Log& log, Random& random) {
  std::vector<std::size_t> names;
  for (std::size_t i = log.begin; i < log.events.size(); ++i) {
    if (IsName(log.events[i])) names.push_back(i);
  }
  if (!names.empty() && Draw(random, 0, 3) == 0) {
    return names[random() % names.size()] + random() % 2;
  }
  return log.begin + random() % (log.events.size() - log.begin + 1);
}

// Work on the files of a folder, and how they are checked after a power failure at a moment of it.
struct Work {
  std::string name;
  std::function<void(const fs::path&)> prepare;
  std::function<void(const fs::path&)> run;
  std::function<void(const fs::path&, const Log&, std::size_t, Fate)> check;
};

// Transactions and reports, with more in the log than it holds before it begins anew, and openings
// and closings.
void KeepBooks(const fs::path& path) {
  const auto shared = NewShared();
  std::int64_t number = 0;
  for (const int posts : {3, 270, 7, 1}) {
    const auto database = tsql::Database::Open(path);
    for (int i = 0; i < posts; ++i) {
      Post(*database, *shared, 0, ++number);
      MarkLog(number);
      if (i % 20 == 0) Report(*database, *shared);
    }
    if (posts == 7) database->Compact();
  }
}

void CheckKept(const fs::path& path, const Log& log, std::size_t end, Fate fate) {
  const auto shared = NewShared();
  for (std::size_t i = 0; i < log.events.size(); ++i) {
    if (log.events[i].kind != Event::Mark) continue;
    shared->begun[0] = log.events[i].at;
    // Without a synchronisation for each, only what reached the disk must be there.
    if (fate == Fate::Kept && i < end) shared->done[0] = log.events[i].at;
  }
  CheckBooks(path, *shared);
}

const Work kWorks[] = {
    {"books", &CreateBooks, &KeepBooks, &CheckKept},
    {"sample", [](const fs::path& path) { MakeSample(path, 0, *NewShared()); },
     [](const fs::path& path) { MakeSample(path, 1, *NewShared()); },
     [](const fs::path& path, const Log&, std::size_t, Fate) { CheckSample(path); }},
};

}  // namespace

void PowerFailures(Verdict& verdict, std::uint64_t seed, std::int64_t rounds) {
  Random random(seed);
  for (const Work& work : kWorks) {
    const Folder folder;
    const fs::path path = folder.path / "books.db";
    Watch(folder.path);
    work.prepare(path);
    Log log;
    BeginLog(log);
    work.run(path);
    EndLog();
    verdict.counted += std::ssize(log.events);
    for (std::int64_t i = 0; i < rounds; ++i) {
      const std::size_t end = DrawEnd(log, random);
      const Fate fate = static_cast<Fate>(Draw(random, 0, 5) > 1 ? 2 : Draw(random, 0, 1));
      folder.Clear();
      FailPower(log.events, end, fate, random);
      StartMachineAnew();
      verdict.Round(work.name + ", behind event " + std::to_string(end) + " of " +
                        std::to_string(log.events.size()) + ", fate " +
                        std::to_string(static_cast<int>(fate)),
                    [&] { work.check(path, log, end, fate); });
    }
  }
}

}  // namespace ledgerwick::reliability
