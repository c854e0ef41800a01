#include "host/recorder.h"

#include "frame/error.h"
#include "frame/report_provider.h"
#include "host/canned_recordset.h"
#include "host/reference_host.h"

namespace ledgerwick {
namespace {

class RecordedCommand final : public Command {
 public:
  RecordedCommand(std::shared_ptr<Recording> recording, std::shared_ptr<Connection> connection)
      : recording_(std::move(recording)), connection_(std::move(connection)) {}

  void SetCommandText(const Text& text) override { operation_.procedure = text; }
  void SetCommandType(std::int32_t type) override { operation_.type = type; }
  void SetCommandTimeout(std::int32_t seconds) override { operation_.timeout = seconds; }
  void AppendParameter(const Text& name, std::int32_t type, std::int32_t size,
                       const Text& value) override {
    operation_.parameters.push_back({name, type, size, value});
  }
  void Execute(std::int32_t options) override {
    if (operation_.type == kCommandText && operation_.parameters.empty()) {
      recording_->AddFailable(ExecuteOperation{operation_.procedure, false, options});
    } else {
      operation_.options = options;
      recording_->AddFailable(operation_);
    }
  }

 private:
  std::shared_ptr<Recording> recording_;
  std::shared_ptr<Connection> connection_;
  CommandOperation operation_;
};

class RecordedConnection final : public Connection {
 public:
  explicit RecordedConnection(std::shared_ptr<Recording> recording)
      : recording_(std::move(recording)) {}

  void Open(const Text& connection_string, const Text& user, const Text& password,
            std::int32_t options) override {
    recording_->AddFailable(
        OpenOperation{ConnectionOrigin::Own, connection_string, this, user, password, options});
  }
  void Execute(const Text& sql, std::int32_t options) override {
    recording_->AddFailable(ExecuteOperation{sql, false, options});
  }
  void ExecuteIgnoringErrors(const Text& sql, std::int32_t options) override {
    // As with a real connection, a failure is passed over here.
    Trapped([&] { recording_->AddFailable(ExecuteOperation{sql, true, options}); }, [] {});
  }
  void Close() override { recording_->AddFailable(CloseOperation{}); }
  std::unique_ptr<Command> NewCommand() override {
    return std::make_unique<RecordedCommand>(recording_, shared_from_this());
  }
  std::unique_ptr<Recordset> OpenRecordset(const Text& sql,
                                           const RecordsetOptions& options) override {
    recording_->AddFailable(RecordsetOperation{sql, options});
    for (const CannedRecordset& canned : recording_->recordsets) {
      if (FindText(sql, canned.match) == TextView::npos) continue;
      return std::make_unique<MemoryRecordset>(canned.rows);
    }
    return std::make_unique<MemoryRecordset>(std::vector<CannedRow>());
  }

 private:
  std::shared_ptr<Recording> recording_;
};

}  // namespace

void Recording::AddFailable(Operation operation) {
  operations.push_back(std::move(operation));
  if (fail_at && failable++ == fail_at->index) {
    throw DatabaseError(fail_at->number, u"Database", fail_at->description);
  }
}

Recorder::Recorder(const Request& request)
    : recording_(std::make_shared<Recording>()),
      machine_(request.machine ? *request.machine : ThisComputerName()) {
  recording_->recordsets = request.recordsets;
  recording_->fail_at = request.fail_at;
}

std::shared_ptr<Connection> Recorder::HostConnection() {
  if (!host_connection_) host_connection_ = NewConnection();
  return host_connection_;
}

bool Recorder::Perform(ReportProvider& report) {
  const std::size_t first = operations().size();
  try {
    const bool built = report.MoveDataDetail();
    MarkConnections(report, first);
    return built;
  } catch (...) {
    // Whatever stopped the report, the operations before it are told apart; then it goes on.
    MarkConnections(report, first);
    throw;
  }
}

void Recorder::MarkConnections(const ReportProvider& report, std::size_t first_operation) {
  for (std::size_t i = first_operation; i < recording_->operations.size(); ++i) {
    auto* open = std::get_if<OpenOperation>(&recording_->operations[i]);
    if (!open) continue;
    if (host_connection_ && open->connection == host_connection_.get()) {
      open->origin = ConnectionOrigin::Host;
    } else if (open->connection == report.mconn.get()) {
      open->origin = ConnectionOrigin::New;
    }
  }
}

std::shared_ptr<Connection> Recorder::NewConnection() {
  return std::make_shared<RecordedConnection>(recording_);
}

std::size_t Recorder::AnsiLength(TextView text) { return ledgerwick::AnsiLength(text); }

void Recorder::MessageBox(const Text& text, const Text& title, std::int32_t style) {
  recording_->operations.emplace_back(MessageOperation{text, title, style});
}

void Recorder::Beep() { recording_->operations.emplace_back(BeepOperation{}); }

}  // namespace ledgerwick
