#include "tds/conversation.h"

#include <algorithm>
#include <utility>

#include "frame/error.h"
#include "frame/null_sink.h"
#include "tds/code_page.h"
#include "tds/literal.h"
#include "tds/server_error.h"

namespace ledgerwick::tds {
namespace {

// The client wants what runs to be stopped.
struct AttentionSeen {};

constexpr std::size_t kMostLogin = std::size_t{128} << 10;
constexpr TextView kTempdb = u"tempdb";

Text FromAscii(std::string_view text) { return Text(text.begin(), text.end()); }

std::string Bytes(std::uint64_t number) {
  std::string bytes;
  ByteWriter(bytes).Put(number);
  return bytes;
}

}  // namespace

Conversation::Conversation(Channel& channel, Host& host, std::uint16_t number,
                           const std::atomic<bool>& cancel)
    : plain_(channel),
      packets_(channel, kMostLogin),
      host_(host),
      number_(number),
      cancel_(cancel) {
  packets_.set_session(number);
}

void Conversation::Run() {
  try {
    if (LogIn()) Serve();
  } catch (const ConnectionLost&) {
  } catch (const ProtocolError& error) {
    Dismiss(4002, u"The incoming tabular data stream (TDS) protocol stream is incorrect: " +
                      FromAscii(error.what()) + u". The connection is closed.");
  } catch (const DatabaseError& error) {
    Dismiss(error.native, error.description);
  } catch (const std::bad_alloc&) {
    Dismiss(701, u"There is no memory left for this connection, which is closed.");
  }
  database_.reset();
}

// The last that the client hears, if it still listens.
void Conversation::Dismiss(std::int32_t number, Text text) {
  try {
    Refuse(number, 20, std::move(text));
  } catch (const std::exception&) {
    // It does not.
  }
}

// An error that ends the connection.
void Conversation::Refuse(std::int32_t number, std::int32_t severity, Text text) {
  packets_.answer().clear();
  TokenWriter tokens(packets_.answer(), version_);
  tokens.Message(ServerError(number, severity, std::move(text)), severity);
  tokens.PutDone({DoneKind::Statement, kDoneError, false, 0});
  packets_.EndAnswer();
}

void Conversation::Encrypt(const PreLogin& wanted) {
  if (host_.identity() == nullptr) {
    encryption_ = Encryption::NotSupported;
  } else if (host_.requires_encryption()) {
    // Who cannot encrypt is told that it has to, and leaves.
    encryption_ = wanted.encryption == Encryption::Whole ? Encryption::Whole : Encryption::Required;
  } else {
    encryption_ = wanted.encryption == Encryption::Required ? Encryption::Whole : wanted.encryption;
  }
  packets_.answer() = PreLoginAnswer(encryption_);
  packets_.EndAnswer();
  if (encryption_ == Encryption::NotSupported) return;
  if (wanted.encryption == Encryption::NotSupported) return;
  encrypted_ = host_.identity()->Accept(plain_, packets_);
  packets_.Use(*encrypted_);
}

// The login message; nothing when the client leaves before it.
std::optional<Message> Conversation::ReadLogin() {
  std::optional<Message> message = packets_.ReadMessage();
  if (message && message->type == MessageType::PreLogin) {
    Encrypt(ParsePreLogin(message->data));
    message = packets_.ReadMessage();
  }
  if (!message) return message;
  if (message->type != MessageType::Login) throw ProtocolError("a request came before the login");
  // A client that does not speak of encryption may not pass it by.
  if (host_.requires_encryption() && !encrypted_) {
    throw ProtocolError("this service wants the connection encrypted");
  }
  return message;
}

bool Conversation::LogIn() {
  const std::optional<Message> message = ReadLogin();
  if (!message) return false;
  if (encryption_ == Encryption::Login) packets_.Use(plain_);
  login_ = ParseLogin(message->data);
  version_ = login_.version;
  if (!CheckLogin(login_)) return false;
  host_.LoggedIn();
  try {
    OpenDatabase();
  } catch (const DatabaseError& error) {
    Refuse(error.native != 0 ? error.native : 4060, 16, error.description);
    return false;
  }
  Welcome();
  packets_.set_most_bytes(host_.most_message());
  return true;
}

bool Conversation::CheckLogin(const Login& login) {
  if (login.integrated) {
    Refuse(18452, 14,
           u"Login failed. The login is from an untrusted domain and cannot be used with Windows "
           u"authentication. Give a user and a password instead.");
    return false;
  }
  const Text failed = u"Login failed for user '" + login.user + u"'.";
  if (!host_.Accepts(login.user, login.password)) {
    Refuse(18456, 14, failed);
    return false;
  }
  const bool known = login.database.empty() || EqualText(login.database, host_.DatabaseName()) ||
                     EqualText(login.database, kTempdb);
  if (known) return true;
  Refuse(4060, 11,
         u"Cannot open database \"" + login.database + u"\" requested by the login. The login " +
             u"failed. The database here is \"" + host_.DatabaseName() + u"\".");
  return false;
}

void Conversation::OpenDatabase() {
  database_.reset();
  tsql::DatabaseOptions options;
  options.cancel = &cancel_;
  options.progress = [this] { Look(); };
  options.session = {number_, login_.user, login_.host, login_.application};
  database_ = host_.Open(std::move(options));
  // The database that the client asked for, which CheckLogin has found to be there.
  if (EqualText(login_.database, kTempdb)) {
    NullSink sink;
    database_->Run(u"USE tempdb", sink);
  }
  current_ = database_->CurrentDatabase();
}

void Conversation::Welcome() {
  const std::size_t before = packets_.packet_size();
  const std::size_t wanted = login_.packet_size == 0 ? before : login_.packet_size;
  const std::size_t size = std::clamp(wanted, kLeastPacket, kMostPacket);
  TokenWriter tokens(packets_.answer(), version_);
  tokens.TextChange(Change::Database, current_, u"master");
  tokens.Message(ServerError(5701, 0, u"Changed database context to '" + current_ + u"'."), 0);
  tokens.BytesChange(Change::Collation, kCollation, {});
  tokens.TextChange(Change::Language, u"us_english", {});
  tokens.Message(ServerError(5703, 0, u"Changed language setting to us_english."), 0);
  tokens.LoginAccepted();
  tokens.TextChange(Change::PacketSize, FromAscii(std::to_string(size)),
                    FromAscii(std::to_string(before)));
  tokens.PutDone({});
  packets_.EndAnswer();
  packets_.set_packet_size(size);
}

void Conversation::Serve() {
  while (std::optional<Message> message = packets_.ReadMessage()) {
    if (message->type == MessageType::Attention) {
      AnswerAttention();
    } else if (message->ignored && message->type != MessageType::BulkLoad) {
      AnswerIgnored();
    } else {
      Answer(*message);
    }
    if (cancel_.load()) return;
  }
}

void Conversation::Answer(Message& message) {
  last_look_ = std::chrono::steady_clock::now();
  try {
    if (message.resets) Reset();
    switch (message.type) {
      case MessageType::Batch:
        AnswerBatch(message.data);
        return;
      case MessageType::Call:
        AnswerCalls(message.data);
        return;
      case MessageType::Transaction:
        AnswerTransaction(message.data);
        return;
      case MessageType::BulkLoad:
        AnswerBulkLoad(message);
        return;
      default:
        throw ProtocolError("the client logs in again");
    }
  } catch (const AttentionSeen&) {
    // What was begun ends; that it was stopped is told in an answer of its own.
    TokenWriter tokens(packets_.answer(), version_);
    if (InTransaction() != in_transaction_) TellTransaction(tokens, true);
    tokens.PutDone({DoneKind::Statement, kDoneError, false, 0});
    packets_.EndAnswer();
    AnswerAttention();
  }
}

// A request that the client took back while it sent it is not done, which it is told.
void Conversation::AnswerIgnored() {
  TokenWriter(packets_.answer(), version_).PutDone({DoneKind::Statement, kDoneError, false, 0});
  packets_.EndAnswer();
}

// What the client waits for after it has asked to stop.
void Conversation::AnswerAttention() {
  TokenWriter(packets_.answer(), version_).PutDone({DoneKind::Statement, kDoneAttention, false, 0});
  packets_.EndAnswer();
}

// The session becomes as it was after login.
void Conversation::Reset() {
  prepared_.clear();
  cursors_.clear();
  in_transaction_ = false;
  OpenDatabase();
  if (version_ >= Version::V72) {
    TokenWriter(packets_.answer(), version_).BytesChange(Change::Reset, {}, {});
  }
}

// From 7.2 on, headers stand before a request.
std::string_view Conversation::WithoutHeaders(std::string_view data) const {
  if (version_ == Version::V71) return data;
  const std::uint32_t length = ByteReader(data).U32();
  if (length < sizeof length || length > data.size()) {
    throw ProtocolError("a request's headers are longer than it");
  }
  return data.substr(length);
}

ResultStream Conversation::NewStream(DoneKind kind) {
  return {packets_, version_, kind, [this] { Look(); }};
}

// Looks whether the client wants what runs to be stopped, but not too often.
void Conversation::Look() {
  constexpr auto kPause = std::chrono::milliseconds(5);
  const auto now = std::chrono::steady_clock::now();
  if (loading_ || now - last_look_ < kPause) return;
  last_look_ = now;
  if (packets_.ReadAttention()) throw AttentionSeen{};
}

// Runs `batch`, whose rows go to `rows`, and tells what has changed with it.
void Conversation::Run(TextView batch, ResultSink& rows, ResultStream& results) {
  try {
    database_->Run(batch, rows);
  } catch (const DatabaseError& error) {
    results.Thrown(error);
  }
  if (InTransaction() != in_transaction_) TellTransaction(results.Tokens(), results.failed());
  TellDatabase(results);
}

void Conversation::TellDatabase(ResultStream& results) {
  const Text now = database_->CurrentDatabase();
  if (now == current_) return;
  results.Tokens().TextChange(Change::Database, now, current_);
  current_ = now;
}

void Conversation::TellTransaction(TokenWriter& tokens, bool failed) {
  in_transaction_ = InTransaction();
  if (version_ == Version::V71) return;
  if (in_transaction_) {
    tokens.BytesChange(Change::BeginTransaction, Bytes(++transaction_), {});
  } else {
    tokens.BytesChange(failed ? Change::RollbackTransaction : Change::CommitTransaction, {},
                       Bytes(transaction_));
  }
}

void Conversation::AnswerBatch(std::string_view data) {
  const std::string_view bytes = WithoutHeaders(data);
  if (bytes.size() % 2 != 0) throw ProtocolError("a batch has half a character");
  const Text batch = ByteReader(bytes).Units(bytes.size() / 2);
  if (IsInsertBulk(batch)) return AnswerInsertBulk(batch);
  ResultStream results = NewStream(DoneKind::Statement);
  RunBatch(batch, results);
  results.EndBatch(false);
  packets_.EndAnswer();
}

void Conversation::AnswerTransaction(std::string_view data) {
  enum class Request : std::uint16_t { Begin = 5, Commit = 7, Rollback = 8, Save = 9 };
  constexpr unsigned kBeginAnother = 1;
  ByteReader reader(WithoutHeaders(data));
  const auto request = static_cast<Request>(reader.U16());
  ResultStream results = NewStream(DoneKind::Statement);
  // `statement` with the name that the request has.
  const auto named = [&](TextView statement) {
    ByteReader name(reader.Take(reader.U8()));
    const Text text = name.Units(name.left() / 2);
    return text.empty() ? Text(statement)
                        : u"DECLARE @n nvarchar(128) = " + NationalLiteral(text) + u" " +
                              Text(statement) + u" @n";
  };
  const auto end = [&](TextView statement) {
    RunBatch(named(statement), results);
    const bool begins = !reader.AtEnd() && (reader.U8() & kBeginAnother) != 0;
    if (begins && !InTransaction()) RunBatch(u"BEGIN TRAN", results);
  };
  switch (request) {
    case Request::Begin:
      reader.U8();  // the level of isolation: there is one
      RunBatch(named(u"BEGIN TRAN"), results);
      break;
    case Request::Commit:
      end(u"COMMIT TRAN");
      break;
    case Request::Rollback:
      end(u"ROLLBACK TRAN");
      break;
    case Request::Save:
      RunBatch(named(u"SAVE TRAN"), results);
      break;
    default:
      results.Error(ServerError(3999, 16, u"Distributed transactions are not supported here."));
  }
  results.EndBatch(false);
  packets_.EndAnswer();
}

}  // namespace ledgerwick::tds
