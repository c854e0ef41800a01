// What a batch has done so far.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>

namespace ledgerwick {

// How one request of a batch ended.
struct BatchEntry {
  std::string name;  // of the request
  std::string file;  // its result's name in the folder; empty where it failed
  bool done = false;
  std::int64_t rows = 0;
  double seconds = 0;
  std::string messages;  // what it told on the way, the error included
};

// A file in the folder of a batch's results, with a line for each request that has ended, written
// when it ends: what an interruption leaves tells the next run what remains.
class BatchJournal {
 public:
  // The journal's name in its folder.
  static constexpr const char* kName = "batch.jsonl";

  // Opens the journal of `folder`, to go on with it or for a new batch. Throws UsageError when a
  // new one shall begin where there is one, OutputError when it cannot be written.
  BatchJournal(const std::filesystem::path& folder, bool go_on);

  // The last entry for that request, or nullptr.
  const BatchEntry* Find(const std::string& name) const;

  // Notes an entry for good. Throws OutputError.
  void Add(const BatchEntry& entry);

 private:
  void Read(const std::filesystem::path& file);

  std::map<std::string, BatchEntry> entries_;
  bool cut_off_ = false;  // the last line has no end
  std::ofstream file_;
};

// The entry as JSON, and back; nothing for a text that is none, such as half a line.
std::string ToJson(const BatchEntry& entry);
std::optional<BatchEntry> ParseBatchEntry(const std::string& json);

}  // namespace ledgerwick
