#include "host/watched_connection.h"

#include "host/reference_host.h"

namespace ledgerwick {
namespace {

// Makes a call on the inner object; tells of its failure.
template <typename Call>
auto Tell(const ConnectionWatch& watch, Call call) {
  try {
    return call();
  } catch (const DatabaseError& error) {
    watch.failure(error);
    throw;
  } catch (const std::bad_alloc&) {
    watch.failure(OutOfMemory());
    throw;
  }
}

class WatchedCommand final : public Command {
 public:
  WatchedCommand(std::unique_ptr<Command> inner, ConnectionWatch watch)
      : inner_(std::move(inner)), watch_(std::move(watch)) {}

  void SetCommandText(const Text& text) override {
    text_ = text;
    inner_->SetCommandText(text);
  }
  void SetCommandType(std::int32_t type) override {
    is_procedure_ = type == kCommandStoredProcedure;
    inner_->SetCommandType(type);
  }
  void SetCommandTimeout(std::int32_t seconds) override { inner_->SetCommandTimeout(seconds); }
  void AppendParameter(const Text& name, std::int32_t type, std::int32_t size,
                       const Text& value) override {
    if (!arguments_.empty()) arguments_ += u',';
    arguments_ += (name.starts_with(u'@') ? u" " : u" @") + name + u" = " + Quoted(value);
    Tell(watch_, [&] { inner_->AppendParameter(name, type, size, value); });
  }
  void Execute(std::int32_t options) override {
    watch_.statement(is_procedure_ ? u"EXEC " + text_ + arguments_ : text_);
    Tell(watch_, [&] { inner_->Execute(options); });
  }

 private:
  std::unique_ptr<Command> inner_;
  ConnectionWatch watch_;
  Text text_;
  Text arguments_;
  bool is_procedure_ = false;
};

class WatchedConnection final : public Connection {
 public:
  WatchedConnection(std::shared_ptr<Connection> inner, ConnectionWatch watch)
      : inner_(std::move(inner)), watch_(std::move(watch)) {}

  void Open(const Text& connection_string, const Text& user, const Text& password,
            std::int32_t options) override {
    Tell(watch_, [&] { inner_->Open(connection_string, user, password, options); });
  }
  void Execute(const Text& sql, std::int32_t options) override {
    watch_.statement(sql);
    Tell(watch_, [&] { inner_->Execute(sql, options); });
  }
  void ExecuteIgnoringErrors(const Text& sql, std::int32_t options) override {
    watch_.statement(sql);
    inner_->ExecuteIgnoringErrors(sql, options);
  }
  void Close() override {
    Tell(watch_, [&] { inner_->Close(); });
  }
  std::unique_ptr<Command> NewCommand() override {
    return std::make_unique<WatchedCommand>(Tell(watch_, [&] { return inner_->NewCommand(); }),
                                            watch_);
  }
  std::unique_ptr<Recordset> OpenRecordset(const Text& sql,
                                           const RecordsetOptions& options) override {
    watch_.statement(sql);
    return Tell(watch_, [&] { return inner_->OpenRecordset(sql, options); });
  }

 private:
  std::shared_ptr<Connection> inner_;
  ConnectionWatch watch_;
};

}  // namespace

std::shared_ptr<Connection> WatchConnection(std::shared_ptr<Connection> inner,
                                            ConnectionWatch watch) {
  return std::make_shared<WatchedConnection>(std::move(inner), std::move(watch));
}

}  // namespace ledgerwick
