#include "desk/saved_requests.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <vector>

#include "host/request.h"
#include "tds/socket.h"

namespace ledgerwick::desk {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLongestName = 120;  // bytes
constexpr off_t kLargest = 1 << 20;

// A name that stands for one file of the folder on any system.
bool IsName(const std::string& name) {
  constexpr std::string_view kForbidden = "/\\:*?\"<>|";
  if (name.empty() || name.size() > kLongestName || name.front() == '.' || name.front() == ' ' ||
      name.back() == ' ' || name.back() == '.' || !TryFromUtf8(name)) {
    return false;
  }
  return std::none_of(name.begin(), name.end(), [&](char c) {
    return (static_cast<unsigned char>(c) < 0x20) || c == 0x7F ||
           kForbidden.find(c) != std::string_view::npos;
  });
}

[[noreturn]] void Fail(const fs::path& path) {
  if (errno == ENOENT || errno == ELOOP) throw NoSuchRequest("no request of that name is kept");
  throw std::runtime_error(path.filename().string() + ": " + std::strerror(errno));
}

// What a regular file holds. A link is not followed: it may lead out of the folder.
std::string ReadFile(const fs::path& path) {
  const tds::Descriptor file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
  struct stat info {};
  if (file.number() < 0 || fstat(file.number(), &info) != 0) Fail(path);
  if (!S_ISREG(info.st_mode) || info.st_size > kLargest) {
    throw NoSuchRequest("no request of that name is kept");
  }
  std::string text(static_cast<std::size_t>(info.st_size), '\0');
  const ssize_t n = read(file.number(), text.data(), text.size());
  if (n < 0) Fail(path);
  text.resize(static_cast<std::size_t>(n));
  return text;
}

}  // namespace

fs::path SavedRequests::PathOf(const std::string& name) const {
  if (!IsName(name)) {
    throw NoSuchRequest(
        "no request can have that name: give up to 120 bytes without / \\ : * ? "
        "\" < > | and without a dot in front");
  }
  return folder_ / (name + ".json");
}

Json SavedRequests::List() {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder_)) {
    if (entry.path().extension() == ".json") names.push_back(entry.path().stem().string());
  }
  std::sort(names.begin(), names.end());
  Json list = Json::array();
  for (const std::string& name : names) {
    if (!IsName(name)) continue;
    try {
      const Request request = ParseRequest(ReadFile(folder_ / (name + ".json")), name);
      list.push_back({{"name", name},
                      {"class", ToUtf8(request.report->name)},
                      {"title", ToUtf8(request.ReportTitle)}});
    } catch (const std::exception&) {
      // Some other file that lies there.
    }
  }
  return list;
}

std::string SavedRequests::Read(const std::string& name) {
  const fs::path path = PathOf(name);
  const std::lock_guard lock(mutex_);
  return ReadFile(path);
}

void SavedRequests::Write(const std::string& name, const std::string& text) {
  const fs::path path = PathOf(name);
  const std::lock_guard lock(mutex_);
  fs::path beside = folder_ / ".request-XXXXXX";
  std::string pattern = beside.string();
  const tds::Descriptor file(mkostemp(pattern.data(), O_CLOEXEC));
  if (file.number() < 0) Fail(path);
  const ssize_t n = write(file.number(), text.data(), text.size());
  const bool written = n == static_cast<ssize_t>(text.size()) && fchmod(file.number(), 0644) == 0 &&
                       fsync(file.number()) == 0;
  if (!written || std::rename(pattern.c_str(), path.c_str()) != 0) {
    const int reason = errno;
    unlink(pattern.c_str());
    errno = reason;
    Fail(path);
  }
}

void SavedRequests::Remove(const std::string& name) {
  const fs::path path = PathOf(name);
  const std::lock_guard lock(mutex_);
  if (unlink(path.c_str()) != 0) Fail(path);
}

}  // namespace ledgerwick::desk
