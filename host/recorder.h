// Doubles of the database and the system that note down what a report does, in order, and do
// nothing.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "frame/system.h"
#include "host/request.h"

namespace ledgerwick {

class ReportProvider;

// Which connection was opened.
enum class ConnectionOrigin {
  New,   // one that the report created and stored in mconn
  Host,  // the host's own object
  Own,   // one that the report created and keeps apart from mconn
};

struct OpenOperation {
  ConnectionOrigin origin = ConnectionOrigin::New;
  Text connection_string;
  const Connection* connection = nullptr;  // to tell connections apart, not to be used
  Text user;
  Text password;
  std::int32_t options = kOptionUnspecified;
};
struct ExecuteOperation {
  Text sql;
  bool ignore_errors = false;
  std::int32_t options = kOptionUnspecified;
};
struct RecordsetOperation {
  Text sql;
  RecordsetOptions options;
};
struct CommandParameter {
  Text name;
  std::int32_t type = 0;
  std::int32_t size = 0;
  Text value;
};
// A command of type text without parameters is an ExecuteOperation.
struct CommandOperation {
  Text procedure;
  std::int32_t type = kCommandText;
  std::int32_t timeout = 30;  // ADO's own, until the report sets one
  std::vector<CommandParameter> parameters;
  std::int32_t options = kOptionUnspecified;
};
struct BeepOperation {};
struct MessageOperation {
  Text text;
  Text title;
  std::int32_t style = 0;
};
struct CloseOperation {};

using Operation = std::variant<OpenOperation, ExecuteOperation, RecordsetOperation,
                               CommandOperation, BeepOperation, MessageOperation, CloseOperation>;

// What the recorder and its connections share.
struct Recording {
  std::vector<Operation> operations;
  std::vector<CannedRecordset> recordsets;
  std::optional<PlannedFailure> fail_at;
  std::int64_t failable = 0;  // operations so far that could have failed

  // Notes an operation that can fail. Throws when it is the one that shall.
  void AddFailable(Operation operation);
};

// The surroundings of a report that is recorded. Every operation appears, also one that fails.
class Recorder final : public System {
 public:
  // Takes the machine's name, the canned recordsets and the planned failure from `request`.
  explicit Recorder(const Request& request);

  // The connection that the host puts into mconn, not open.
  std::shared_ptr<Connection> HostConnection();

  // Performs MoveDataDetail on `report` and tells its connections apart by what stands in mconn.
  // Throws what the report throws.
  bool Perform(ReportProvider& report);

  const std::vector<Operation>& operations() const noexcept { return recording_->operations; }

  std::shared_ptr<Connection> NewConnection() override;
  Text ComputerName() override { return machine_; }
  std::size_t AnsiLength(TextView text) override;
  void MessageBox(const Text& text, const Text& title, std::int32_t style) override;
  void Beep() override;

 private:
  void MarkConnections(const ReportProvider& report, std::size_t first_operation);

  std::shared_ptr<Recording> recording_;
  Text machine_;
  std::shared_ptr<Connection> host_connection_;
};

}  // namespace ledgerwick
