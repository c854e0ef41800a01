// What a report asks of its surroundings. Passed to every report; nothing is global.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "frame/database.h"
#include "frame/text.h"

namespace ledgerwick {

// A message box with the information icon and an OK button.
inline constexpr std::int32_t kInformation = 64;

// The surroundings of a report. Outlives every report that it is passed to.
class System {
 public:
  virtual ~System() = default;

  // A connection that is not open yet.
  virtual std::shared_ptr<Connection> NewConnection() = 0;

  virtual Text ComputerName() = 0;

  // The length of `text` in bytes of the ANSI code page.
  virtual std::size_t AnsiLength(TextView text) = 0;

  // Shows `text` without an owner window and waits for OK. An empty title is the host
  // application's.
  virtual void MessageBox(const Text& text, const Text& title, std::int32_t style) = 0;

  virtual void Beep() = 0;
};

}  // namespace ledgerwick
