// Doubles of the host and of the database around one report. They note every call that the report
// makes, and the test can do something in the middle of any of them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "frame/report_provider.h"
#include "host/request.h"

namespace ledgerwick {

// Which of the report's members a call goes through.
enum class Through { None, ObjReportManager, objLogin, mconn };

struct DoubleCall {
  std::string text;  // the member and its arguments
  Through through = Through::None;
  int connection = 0;  // the number of the connection that is called
};

class DoubleWorld final : public System {
 public:
  // Each filter that the reference host knows of the class, with values and a condition.
  explicit DoubleWorld(const ClassInfo& info);

  // A report of the class with manager, login, connection string and a connection that is not open.
  // Nothing but the report holds them.
  std::unique_ptr<ReportProvider> NewReport();

  // A connection of the number that has been reached, open or not.
  std::shared_ptr<Connection> MakeConnection(bool is_open);

  // Notes `call`; does `deed` when it is the one at `deed_at`.
  void Called(DoubleCall call);

  std::shared_ptr<Connection> NewConnection() override;
  Text ComputerName() override;
  std::size_t AnsiLength(TextView text) override;
  void MessageBox(const Text& text, const Text& title, std::int32_t style) override;
  void Beep() override;

  std::vector<FilterItem> items;  // as the report leaves them
  std::vector<DoubleCall> calls;
  std::size_t deed_at = SIZE_MAX;
  std::function<void()> deed;          // done once
  std::string shown;                   // beeps and boxes
  int sets = 1000;                     // how often the manager still has a filter set
  const char16_t* title_suffix = u"";  // what the manager writes behind the title that it is given
  int connections = 0;
  int alive = 0;  // doubles that somebody holds

 private:
  const ClassInfo& info_;
};

}  // namespace ledgerwick
