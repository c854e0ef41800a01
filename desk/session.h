// What one person has at the desk.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "desk/run.h"

namespace ledgerwick::desk {

// There is no such run in this session, or no such list in this database.
class NotThere : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A random text that nobody guesses: 32 hexadecimal digits.
std::string RandomKey();

// True when they are the same, found out in a time that does not tell where they differ.
bool SameSecret(const std::string& a, const std::string& b);

class Session {
 public:
  using Clock = std::chrono::steady_clock;
  using MakeRun = std::function<std::shared_ptr<Run>(const std::string& id)>;

  // Makes a run under a new number and keeps it. Of more than `most` the oldest is forgotten.
  // Returns the number.
  std::string Add(const MakeRun& make, std::size_t most);

  // Throws NotThere.
  std::shared_ptr<Run> Find(const std::string& id);
  void Forget(const std::string& id);

  void Touch() { last_used_ = Clock::now(); }
  Clock::time_point last_used() const { return last_used_; }

 private:
  std::mutex mutex_;
  std::vector<std::pair<std::string, std::shared_ptr<Run>>> runs_;  // the oldest first
  std::atomic<Clock::time_point> last_used_ = Clock::now();
};

// The sessions by their cookies.
class Sessions {
 public:
  Sessions(std::size_t most, std::chrono::seconds idle) : most_(most), idle_(idle) {}

  // A new session and its cookie. Where there is no room, the one that was used longest ago goes.
  std::string Open();

  // The session of that cookie, or null.
  std::shared_ptr<Session> Find(const std::string& cookie);

  // Ends those that nobody has used for a while.
  void EndIdle();
  void EndAll();

 private:
  std::mutex mutex_;
  std::map<std::string, std::shared_ptr<Session>> sessions_;
  std::size_t most_;
  std::chrono::seconds idle_;
};

}  // namespace ledgerwick::desk
