#include "cli/server_lock.h"

#include "frame/row_set.h"
#include "host/reference_host.h"

namespace ledgerwick {
namespace {

// The procedure's answers: 0 granted, 1 granted after others gave it up, -1 not in that time.
constexpr std::int64_t kGranted = 1;
constexpr std::int64_t kNotInTime = -1;

constexpr std::int32_t kNoSuchProcedure = 2812;
constexpr std::int32_t kNoRight = 229;

class ServerHold final : public TableHold {
 public:
  ServerHold(std::shared_ptr<BatchRunner> connection, Text resource)
      : connection_(std::move(connection)), resource_(std::move(resource)) {}
  ~ServerHold() override {
    NullSink sink;
    // The lock goes with the connection at the latest.
    Trapped(
        [&] {
          connection_->Run(u"EXEC tempdb..sp_releaseapplock @Resource = " + resource_ +
                               u", @LockOwner = 'Session'",
                           sink);
        },
        [] {});
  }

 private:
  std::shared_ptr<BatchRunner> connection_;
  Text resource_;
};

// Asks for the lock and gives the answer. `wait` is in milliseconds, -1 for as long as it takes.
std::int64_t Ask(BatchRunner& connection, const Text& resource, TextView wait) {
  RowCollector answer;
  connection.Run(u"DECLARE @granted int EXEC @granted = tempdb..sp_getapplock @Resource = " +
                     resource +
                     u", @LockMode = 'Exclusive', @LockOwner = 'Session', @LockTimeout = " +
                     Text(wait) + u" SELECT @granted AS granted",
                 answer);
  return static_cast<std::int64_t>(ToNumber(answer.Take()->Field(u"granted")));
}

}  // namespace

std::unique_ptr<TableHold> HoldOnServer(const std::shared_ptr<BatchRunner>& connection,
                                        TextView table, const std::function<void()>& on_wait,
                                        const std::function<void(const Text&)>& note) {
  const auto tell = [&](const Text& text) {
    if (note) note(text);
  };
  tell(Text(table) + u" is replaced on the server, for everyone who reads it there");
  const Text resource = Quoted(u"ledgerwick " + FoldText(table));
  try {
    std::int64_t answer = Ask(*connection, resource, u"0");
    if (answer == kNotInTime) {
      if (on_wait) on_wait();
      answer = Ask(*connection, resource, u"-1");
    }
    if (answer == 0 || answer == kGranted)
      return std::make_unique<ServerHold>(connection, resource);
    tell(u"the server grants no lock: nothing keeps another run from the table meanwhile");
  } catch (const DatabaseError& error) {
    if (error.native != kNoSuchProcedure && error.native != kNoRight) throw;
    tell(
        u"the server has no sp_getapplock for this login: nothing keeps another run from the table "
        u"meanwhile");
  }
  return nullptr;
}

}  // namespace ledgerwick
