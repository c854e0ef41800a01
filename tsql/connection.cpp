#include "tsql/connection.h"

#include <optional>
#include <vector>

#include "frame/error.h"
#include "frame/null_sink.h"
#include "frame/row_set.h"

namespace ledgerwick::tsql {
namespace {

constexpr const char16_t* kSource = u"Ledgerwick";

// ADO's errors about the state of its objects.
constexpr std::int32_t kObjectClosed = 3704;
constexpr std::int32_t kObjectOpen = 3705;
constexpr std::int32_t kBadArgument = 3001;

DatabaseError Closed() {
  return {kObjectClosed, kSource, u"Operation is not allowed when the object is closed."};
}

// Passes everything over: an Execute whose rows nobody reads.
class UnreadRows final : public NullSink {
 public:
  bool WantsRow() override { return false; }
};

// `text` as a literal.
Text Literal(TextView text) {
  Text literal = u"'";
  for (const char16_t c : text) {
    if (c == u'\'') literal += u'\'';
    literal += c;
  }
  return literal += u'\'';
}

// A command bound to its connection. Parameters go to a procedure in the order in which they were
// appended, whatever their names are, as ADO passes them; a text knows none.
class EmbeddedCommand final : public Command {
 public:
  explicit EmbeddedCommand(std::shared_ptr<Connection> connection)
      : connection_(std::move(connection)) {}

  void SetCommandText(const Text& text) override { text_ = text; }
  void SetCommandType(std::int32_t type) override { type_ = type; }
  void SetCommandTimeout(std::int32_t) override {}  // the storage's own limit holds

  void AppendParameter(const Text&, std::int32_t type, std::int32_t, const Text& value) override {
    if (type != kVarChar && type != kLongVarChar) {
      throw DatabaseError(kBadArgument, kSource,
                          u"A parameter's type must be adVarChar (200) or adLongVarChar (201).");
    }
    values_.push_back(value);
  }

  void Execute(std::int32_t options) override {
    if (type_ != kCommandStoredProcedure) {
      connection_->Execute(text_, options);
      return;
    }
    Text call = u"EXEC " + text_;
    for (std::size_t i = 0; i < values_.size(); ++i) {
      call.append(i == 0 ? u" " : u", ").append(Literal(values_[i]));
    }
    connection_->Execute(call, options);
  }

 private:
  std::shared_ptr<Connection> connection_;
  Text text_;
  std::int32_t type_ = kCommandText;
  std::vector<Text> values_;
};

class Embedded final : public EmbeddedConnection {
 public:
  explicit Embedded(DatabaseOptions options) : options_(std::move(options)) {}

  void Open(const Text& connection_string, const Text&, const Text&, std::int32_t) override {
    if (database_) {
      throw DatabaseError(kObjectOpen, kSource,
                          u"Operation is not allowed when the object is open.");
    }
    const TextView text = Trim(connection_string);
    if (!EqualText(text.substr(0, kEmbeddedPrefix.size()), kEmbeddedPrefix)) {
      throw DatabaseError(kErrorFailed, kSource,
                          u"The connection string must read \"embedded:PATH\" for an embedded "
                          u"database.");
    }
    try {
      database_ = Database::Open(ToUtf8(text.substr(kEmbeddedPrefix.size())), options_);
      open_failure_.reset();
    } catch (const DatabaseError& error) {
      open_failure_ = error;
      throw;
    }
  }

  void Execute(const Text& sql, std::int32_t) override {
    UnreadRows sink;
    database().Run(sql, sink);
  }

  void Close() override {
    if (!database_) throw Closed();
    database_.reset();
  }

  std::unique_ptr<Command> NewCommand() override {
    static_cast<void>(database());  // closed: an error now
    return std::make_unique<EmbeddedCommand>(shared_from_this());
  }

  std::unique_ptr<Recordset> OpenRecordset(const Text& sql, const RecordsetOptions&) override {
    RowCollector rows;
    database().Run(sql, rows);
    return rows.Take();
  }

  Database& database() override {
    // Whoever passed over the failure of Open is told it again: it says more than that nothing is
    // open.
    if (!database_ && open_failure_) throw DatabaseError(*open_failure_);
    if (!database_) throw Closed();
    return *database_;
  }

 private:
  DatabaseOptions options_;
  std::unique_ptr<Database> database_;
  std::optional<DatabaseError> open_failure_;  // of the last Open
};

}  // namespace

std::shared_ptr<EmbeddedConnection> EmbeddedConnection::New(const DatabaseOptions& options) {
  return std::make_shared<Embedded>(options);
}

}  // namespace ledgerwick::tsql
