#include "host/runner.h"

#include "frame/report_provider.h"
#include "host/reference_host.h"
#include "host/trace.h"
#include "host/watched_connection.h"

namespace ledgerwick {
namespace {

// The surroundings of a report that runs for real.
class RunningSystem final : public System {
 public:
  RunningSystem(const Request& request, ReportDatabase& database, RunListener& listener)
      : database_(database),
        listener_(listener),
        machine_(request.machine ? *request.machine : ThisComputerName()) {}

  std::shared_ptr<Connection> NewConnection() override {
    return WatchConnection(database_.NewConnection(),
                           {[this](const Text& sql) { listener_.Statement(sql); },
                            [this](const DatabaseError& error) { listener_.Failed(error); }});
  }
  Text ComputerName() override { return machine_; }
  std::size_t AnsiLength(TextView text) override { return ledgerwick::AnsiLength(text); }
  void MessageBox(const Text& text, const Text& title, std::int32_t) override {
    listener_.MessageBox(text, title);
  }
  void Beep() override { listener_.Beep(); }

 private:
  ReportDatabase& database_;
  RunListener& listener_;
  Text machine_;
};

}  // namespace

bool RunReport(const Request& request, ReportDatabase& database, RunListener& listener,
               ResultSink& rows) {
  const ClassInfo& info = *request.report;
  if (!info.factory) throw ReportMissing(info);
  RunningSystem system(request, database, listener);
  const std::unique_ptr<ReportProvider> report = info.factory(system);
  Furnish(*report, request);
  report->mconn = system.NewConnection();

  const Text table = report->TempTablename();
  // Held from before the filling until the last row is read.
  const std::unique_ptr<TableHold> hold = database.Hold(table);
  if (!report->MoveDataDetail()) return false;
  std::optional<Text> sub_title;
  if (info.Has(Member::strSubTitle)) sub_title = report->strSubTitle();
  listener.Filled(request.ReportTitle, sub_title);
  const Text read = u"SELECT * FROM " + table;
  listener.Statement(read);
  database.Reader().Run(read, rows);
  return true;
}

}  // namespace ledgerwick
