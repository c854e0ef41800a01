// The surroundings of a report on Windows.
#pragma once

#include "frame/system.h"

namespace ledgerwick::com {

// New connections are ADO's; names, lengths and messages are the platform's.
class WindowsSystem final : public System {
 public:
  std::shared_ptr<Connection> NewConnection() override;
  Text ComputerName() override;
  std::size_t AnsiLength(TextView text) override;
  void MessageBox(const Text& text, const Text& title, std::int32_t style) override;
  void Beep() override;
};

}  // namespace ledgerwick::com
