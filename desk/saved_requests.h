// Requests that are kept in a folder, a file each, as `run` and `batch` read them.
#pragma once

#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <string>

#include "desk/json.h"

namespace ledgerwick::desk {

// There is no request of that name, or none can have it.
class NoSuchRequest : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// From any thread. Every member throws NoSuchRequest for a name that is none, and
// std::runtime_error when the folder cannot be read or written.
class SavedRequests {
 public:
  // The folder must exist.
  explicit SavedRequests(std::filesystem::path folder) : folder_(std::move(folder)) {}

  // [{"name", "class", "title"}] by name; a file that holds no request is left out.
  Json List();
  std::string Read(const std::string& name);
  // Puts `text` in the place of what was there, whole or not at all.
  void Write(const std::string& name, const std::string& text);
  void Remove(const std::string& name);

 private:
  std::filesystem::path PathOf(const std::string& name) const;

  std::filesystem::path folder_;
  std::mutex mutex_;
};

}  // namespace ledgerwick::desk
