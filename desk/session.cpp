#include "desk/session.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>

#include <algorithm>
#include <array>

namespace ledgerwick::desk {

std::string RandomKey() {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::array<unsigned char, 16> bytes;
  if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) {
    throw std::runtime_error("the system gives no random numbers");
  }
  std::string key;
  for (const unsigned char byte : bytes) {
    key += kDigits[byte >> 4];
    key += kDigits[byte & 15];
  }
  return key;
}

bool SameSecret(const std::string& a, const std::string& b) {
  return a.size() == b.size() && CRYPTO_memcmp(a.data(), b.data(), a.size()) == 0;
}

std::string Session::Add(const MakeRun& make, std::size_t most) {
  const std::string id = RandomKey().substr(0, 16);
  std::shared_ptr<Run> oldest;  // ends outside the lock
  const std::lock_guard lock(mutex_);
  runs_.emplace_back(id, make(id));
  if (runs_.size() > most) {
    oldest = std::move(runs_.front().second);
    runs_.erase(runs_.begin());
  }
  return id;
}

std::shared_ptr<Run> Session::Find(const std::string& id) {
  const std::lock_guard lock(mutex_);
  for (const auto& [known, run] : runs_) {
    if (known == id) return run;
  }
  throw NotThere("there is no run " + id);
}

void Session::Forget(const std::string& id) {
  const std::shared_ptr<Run> run = Find(id);  // ends outside the lock
  run->Stop();
  const std::lock_guard lock(mutex_);
  std::erase_if(runs_, [&](const auto& entry) { return entry.first == id; });
}

std::string Sessions::Open() {
  const std::string cookie = RandomKey();
  std::shared_ptr<Session> gone;
  const std::lock_guard lock(mutex_);
  if (sessions_.size() >= most_) {
    const auto oldest = std::min_element(
        sessions_.begin(), sessions_.end(),
        [](const auto& a, const auto& b) { return a.second->last_used() < b.second->last_used(); });
    gone = std::move(oldest->second);
    sessions_.erase(oldest);
  }
  sessions_.emplace(cookie, std::make_shared<Session>());
  return cookie;
}

std::shared_ptr<Session> Sessions::Find(const std::string& cookie) {
  const std::lock_guard lock(mutex_);
  for (const auto& [known, session] : sessions_) {
    if (SameSecret(known, cookie)) return session;
  }
  return nullptr;
}

void Sessions::EndIdle() {
  std::vector<std::shared_ptr<Session>> gone;
  const auto since = Session::Clock::now() - idle_;
  const std::lock_guard lock(mutex_);
  for (auto at = sessions_.begin(); at != sessions_.end();) {
    if (at->second->last_used() < since) {
      gone.push_back(std::move(at->second));
      at = sessions_.erase(at);
    } else {
      ++at;
    }
  }
}

void Sessions::EndAll() {
  const std::lock_guard lock(mutex_);
  sessions_.clear();
}

}  // namespace ledgerwick::desk
