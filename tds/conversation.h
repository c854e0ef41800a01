// One client's connection, from pre-login to its end.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "frame/text.h"
#include "tds/bulk_load.h"
#include "tds/call.h"
#include "tds/cursor.h"
#include "tds/login.h"
#include "tds/packets.h"
#include "tds/result_stream.h"
#include "tds/tls.h"
#include "tsql/database.h"

namespace ledgerwick::tds {

// What a conversation has from the service that it belongs to.
class Host {
 public:
  virtual ~Host() = default;

  // Whether the password is the user's. Takes its time for a wrong one.
  virtual bool Accepts(const Text& user, const Text& password) = 0;

  // The login is done: its time does not count any more.
  virtual void LoggedIn() = 0;

  // A database of the conversation's own, opened with `options` and what the service adds. Throws
  // DatabaseError.
  virtual std::unique_ptr<tsql::Database> Open(tsql::DatabaseOptions options) = 0;

  virtual Text DatabaseName() const = 0;

  // nullptr where nothing is encrypted.
  virtual TlsIdentity* identity() = 0;
  virtual bool requires_encryption() const = 0;

  // The bytes that a message may have after login.
  virtual std::size_t most_message() const = 0;
};

class Conversation {
 public:
  // Both outlive it. `number` tells the session from others. Once `cancel` is true, what runs is
  // stopped.
  Conversation(Channel& channel, Host& host, std::uint16_t number, const std::atomic<bool>& cancel);

  // Serves the client until it leaves, breaks the protocol or `channel` is lost. Throws nothing
  // that the client could bring about.
  void Run();

 private:
  struct Prepared {
    Text declarations;
    Text statement;
  };

  bool LogIn();
  std::optional<Message> ReadLogin();
  void Encrypt(const PreLogin& wanted);
  bool CheckLogin(const Login& login);
  void Welcome();
  void Refuse(std::int32_t number, std::int32_t severity, Text text);
  void Dismiss(std::int32_t number, Text text);
  void OpenDatabase();

  void Serve();
  void Answer(Message& message);
  void Reset();
  void AnswerBatch(std::string_view data);
  void AnswerTransaction(std::string_view data);
  void AnswerAttention();
  void AnswerIgnored();

  // Bulk loads (conversation_bulk.cpp)
  void AnswerInsertBulk(const Text& batch);
  void AnswerBulkLoad(Message& message);
  void Stage(ByteReader& reader, const std::vector<BulkColumn>& columns);
  void LoadStaged(ByteReader& reader, ResultStream& results,
                  const std::function<bool()>& all_wanted);

  // Calls (conversation_calls.cpp)
  void AnswerCalls(std::string_view data);

  void Execute(const Call& call, ResultStream& results);
  void ExecutePrepared(const Call& call, const Prepared& prepared, std::size_t first,
                       ResultStream& results);
  void CallProcedure(const Call& call, ResultStream& results);
  static const Parameter& Required(const Call& call, std::size_t i, TextView name);
  static std::vector<Parameter> TextsOf(const Prepared& prepared);
  std::int32_t Prepare(const Call& call);
  std::int32_t Keep(Prepared prepared);
  std::map<std::int32_t, Prepared>::iterator FindPrepared(const Call& call);
  void GiveOutcome(const Call& call, std::size_t first, ResultStream& results);
  void GiveHandle(const Call& call, std::int32_t handle, ResultStream& results);

  // Cursors, and the columns of what is prepared (conversation_cursors.cpp)
  using Cursors = std::map<std::int32_t, std::unique_ptr<StaticCursor>>;
  struct CursorPlaces {
    std::size_t cursor;
    std::size_t kind;
    std::size_t concurrency;
    std::size_t rows;
    std::size_t values;
  };
  void DescribePrepared(const Prepared& prepared, ResultStream& results);
  void ExecuteCursorCall(const Call& call, ResultStream& results);
  void OpenCursor(const Call& call, const Prepared& prepared, const CursorPlaces& places,
                  ResultStream& results);
  void FetchFromCursor(const Call& call, ResultStream& results);
  void SetCursorOption(const Call& call, ResultStream& results);
  void CloseCursor(const Call& call, ResultStream& results);
  Cursors::iterator FindCursor(const Call& call);
  void GiveInteger(const Call& call, std::size_t i, std::int64_t value, ResultStream& results);

  void RunBatch(TextView batch, ResultStream& results) { Run(batch, results, results); }
  void Run(TextView batch, ResultSink& rows, ResultStream& results);
  void Look();
  bool InTransaction() const { return database_->OpenTransactions() > 0; }
  void TellTransaction(TokenWriter& tokens, bool failed);
  void TellDatabase(ResultStream& results);
  ResultStream NewStream(DoneKind kind);
  std::string_view WithoutHeaders(std::string_view data) const;

  Channel& plain_;
  std::unique_ptr<Channel> encrypted_;
  PacketStream packets_;
  Host& host_;
  std::uint16_t number_;
  const std::atomic<bool>& cancel_;
  Encryption encryption_ = Encryption::NotSupported;
  Version version_ = Version::V74;
  Login login_;
  std::unique_ptr<tsql::Database> database_;
  Text current_;  // the database that the client was told last that it uses
  std::map<std::int32_t, Prepared> prepared_;
  std::int32_t next_handle_ = 1;
  Cursors cursors_;
  std::int32_t next_cursor_ = 180150003;  // far from the handles of prepared statements
  std::uint64_t transaction_ = 0;         // the number of the open one, or of the last
  bool in_transaction_ = false;           // as the client was told last
  std::chrono::steady_clock::time_point last_look_;
  std::optional<BulkTarget> bulk_;  // what the next message loads
  bool loading_ = false;  // the client sends rows, and no request to stop can be among them
};

}  // namespace ledgerwick::tds
