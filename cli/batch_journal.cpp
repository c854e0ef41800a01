#include "cli/batch_journal.h"

#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>

#include "cli/console.h"
#include "output/result_writer.h"

namespace ledgerwick {

std::string ToJson(const BatchEntry& entry) {
  nlohmann::ordered_json json = {{"request", entry.name}, {"done", entry.done}};
  if (!entry.file.empty()) json["file"] = entry.file;
  json["rows"] = entry.rows;
  json["seconds"] = entry.seconds;
  json["messages"] = entry.messages;
  return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::optional<BatchEntry> ParseBatchEntry(const std::string& text) {
  const auto json = nlohmann::json::parse(text, nullptr, false);
  if (!json.is_object()) return std::nullopt;
  try {
    BatchEntry entry;
    entry.name = json.at("request");
    entry.done = json.at("done");
    entry.file = json.value("file", "");
    entry.rows = json.at("rows");
    entry.seconds = json.at("seconds");
    entry.messages = json.at("messages");
    return entry;
  } catch (const nlohmann::json::exception&) {
    return std::nullopt;
  }
}

BatchJournal::BatchJournal(const std::filesystem::path& folder, bool go_on) {
  const std::filesystem::path path = folder / kName;
  std::error_code ignored;
  if (!go_on && std::filesystem::exists(path, ignored)) {
    throw UsageError(folder.string() +
                     " has the results of another batch; --continue goes on with it, another "
                     "--output keeps them apart");
  }
  if (go_on) Read(path);
  errno = 0;
  file_.open(path, std::ios::binary | std::ios::app);
  // A line that an interruption cut off shall not swallow the next.
  if (cut_off_) file_ << '\n';
  if (!file_) throw OutputError("cannot write " + path.string() + ": " + std::strerror(errno));
}

void BatchJournal::Read(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  for (std::string line; std::getline(file, line);) {
    cut_off_ = file.eof();
    if (auto entry = ParseBatchEntry(line)) entries_[entry->name] = *std::move(entry);
  }
}

const BatchEntry* BatchJournal::Find(const std::string& name) const {
  const auto found = entries_.find(name);
  return found == entries_.end() ? nullptr : &found->second;
}

void BatchJournal::Add(const BatchEntry& entry) {
  file_ << ToJson(entry) << '\n' << std::flush;
  CheckWritten(file_);
  entries_[entry.name] = entry;
}

}  // namespace ledgerwick
