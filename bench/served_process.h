// `ledgerwick serve` as a process of its own, so that its time and memory can be told from the
// client's.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>

#include "frame/text.h"

namespace ledgerwick {

// What a process has used of the processor, in seconds.
double ProcessorSeconds(pid_t process);

class ServedProcess {
 public:
  // Starts `program` on `database` and waits until it listens; a free port of the loopback. Throws
  // std::runtime_error when it does not.
  ServedProcess(const std::filesystem::path& program, const std::filesystem::path& database);

  // Has it end and waits until it has.
  ~ServedProcess();
  ServedProcess(const ServedProcess&) = delete;
  ServedProcess& operator=(const ServedProcess&) = delete;

  // What a client names it by, password included.
  const Text& connection_string() const noexcept { return connection_string_; }

  double processor_seconds() const { return ProcessorSeconds(process_); }

  // The memory that it has for itself or its share of, in bytes, as the system counts it now.
  std::int64_t Memory() const;

 private:
  pid_t process_ = -1;
  Text connection_string_;
};

}  // namespace ledgerwick
