#include "tds/conversation.h"

#include <algorithm>
#include <utility>

#include "frame/error.h"
#include "frame/null_sink.h"
#include "tds/code_page.h"
#include "tds/literal.h"

namespace ledgerwick::tds {
namespace {

// The client wants what runs to be stopped.
struct AttentionSeen {};

constexpr std::size_t kMostLogin = std::size_t{128} << 10;
constexpr TextView kTempdb = u"tempdb";
constexpr std::size_t kMostPrepared = 4096;

DatabaseError ServerError(std::int32_t number, std::int32_t severity, Text text) {
  DatabaseError error(kErrorFailed, u"Ledgerwick", std::move(text));
  error.native = number;
  error.severity = severity;
  return error;
}

Text FromAscii(std::string_view text) { return Text(text.begin(), text.end()); }

Parameter TextParameter(Text text) {
  Parameter parameter;
  parameter.type = u"nvarchar(max)";
  parameter.literal = NationalLiteral(text);
  parameter.text = std::move(text);
  return parameter;
}

std::string Bytes(std::uint64_t number) {
  std::string bytes;
  ByteWriter(bytes).Put(number);
  return bytes;
}

const Parameter& Required(const Call& call, std::size_t i, TextView name) {
  if (i < call.parameters.size()) return call.parameters[i];
  throw ServerError(201, 16,
                    u"Procedure or function '" + call.procedure + u"' expects parameter '" +
                        Text(name) + u"', which was not supplied.");
}

// The text of the statement and the declarations of its parameters.
constexpr std::size_t kStatement = 0;
constexpr std::size_t kDeclarations = 1;
constexpr std::size_t kTexts = 2;

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
  while (const std::optional<Message> message = packets_.ReadMessage()) {
    if (message->type == MessageType::Attention) {
      AnswerAttention();
    } else if (!message->ignored) {
      Answer(*message);
    }
    if (cancel_.load()) return;
  }
}

void Conversation::Answer(const Message& message) {
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
      case MessageType::BulkLoad: {
        ResultStream results = NewStream(DoneKind::Statement);
        results.Error(ServerError(4834, 16, u"Bulk loads are not supported here."));
        results.EndBatch(false);
        packets_.EndAnswer();
        return;
      }
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

// What the client waits for after it has asked to stop.
void Conversation::AnswerAttention() {
  TokenWriter(packets_.answer(), version_).PutDone({DoneKind::Statement, kDoneAttention, false, 0});
  packets_.EndAnswer();
}

// The session becomes as it was after login.
void Conversation::Reset() {
  prepared_.clear();
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
  if (now - last_look_ < kPause) return;
  last_look_ = now;
  if (packets_.ReadAttention()) throw AttentionSeen{};
}

void Conversation::RunBatch(TextView batch, ResultStream& results) {
  try {
    database_->Run(batch, results);
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
  const auto begins_another = [&] {
    reader.Take(reader.U8());  // the transaction's name
    return (reader.U8() & kBeginAnother) != 0;
  };
  switch (request) {
    case Request::Begin:
      RunBatch(u"BEGIN TRAN", results);
      break;
    case Request::Commit:
      RunBatch(u"COMMIT", results);
      if (begins_another()) RunBatch(u"BEGIN TRAN", results);
      break;
    case Request::Rollback:
      RunBatch(u"ROLLBACK", results);
      if (begins_another()) RunBatch(u"BEGIN TRAN", results);
      break;
    default:
      results.Error(ServerError(3999, 16,
                                request == Request::Save
                                    ? u"Save points are not supported here."
                                    : u"Distributed transactions are not supported here."));
  }
  results.EndBatch(false);
  packets_.EndAnswer();
}

void Conversation::AnswerCalls(std::string_view data) {
  std::vector<Call> calls;
  try {
    calls = ParseCalls(WithoutHeaders(data), version_);
  } catch (const DatabaseError& error) {
    ResultStream results = NewStream(DoneKind::InProcedure);
    results.Error(error);
    results.EndCall(false);
  }
  for (std::size_t i = 0; i < calls.size(); ++i) {
    ResultStream results = NewStream(DoneKind::InProcedure);
    try {
      Execute(calls[i], results);
    } catch (const DatabaseError& error) {
      results.Error(error);
    }
    results.EndCall(i + 1 < calls.size());
  }
  packets_.EndAnswer();
}

void Conversation::Execute(const Call& call, ResultStream& results) {
  switch (call.system) {
    case SystemCall::None:
      CallProcedure(call, results);
      return;
    case SystemCall::ExecuteSql: {
      Prepared prepared;
      prepared.statement = Required(call, kStatement, u"@statement").text;
      if (call.parameters.size() > kDeclarations) {
        prepared.declarations = TranslateDeclarations(call.parameters[kDeclarations].text);
      }
      ExecutePrepared(call, prepared, std::min(call.parameters.size(), kTexts), results);
      return;
    }
    case SystemCall::Prepare:
      GiveHandle(call, Prepare(call), results);
      return;
    case SystemCall::PrepareExecute: {
      constexpr std::size_t kFirst = 3;
      const std::int32_t handle = Prepare(call);
      ExecutePrepared(call, prepared_.at(handle), std::min(call.parameters.size(), kFirst),
                      results);
      GiveHandle(call, handle, results);
      return;
    }
    case SystemCall::Execute:
      ExecutePrepared(call, FindPrepared(call)->second, 1, results);
      return;
    case SystemCall::Unprepare:
      prepared_.erase(FindPrepared(call));
      results.Tokens().ReturnStatus(0);
      return;
    default:
      throw ServerError(2812, 16, u"Could not find stored procedure '" + call.procedure + u"'.");
  }
}

// Runs a text with the call's parameters from `first` on.
void Conversation::ExecutePrepared(const Call& call, const Prepared& prepared, std::size_t first,
                                   ResultStream& results) {
  std::vector<Parameter> parameters;
  parameters.push_back(TextParameter(prepared.statement));
  if (!prepared.declarations.empty()) parameters.push_back(TextParameter(prepared.declarations));
  const auto from = call.parameters.begin() + static_cast<std::ptrdiff_t>(first);
  parameters.insert(parameters.end(), from, call.parameters.end());
  const bool has_output = std::any_of(from, call.parameters.end(),
                                      [](const Parameter& parameter) { return parameter.output; });
  RunBatch(ComposeCall(u"sp_executesql", parameters, has_output), results);
  GiveOutcome(call, first, results);
}

void Conversation::CallProcedure(const Call& call, ResultStream& results) {
  RunBatch(ComposeCall(call.procedure, call.parameters, true), results);
  GiveOutcome(call, 0, results);
}

// The status and the output parameters, of those from `first` on.
void Conversation::GiveOutcome(const Call& call, std::size_t first, ResultStream& results) {
  const auto& outcome = results.outcome();
  const std::int64_t* status = outcome ? outcome->values[0].If<std::int64_t>() : nullptr;
  const std::int32_t otherwise = results.failed() ? 1 : 0;
  results.Tokens().ReturnStatus(status != nullptr ? static_cast<std::int32_t>(*status) : otherwise);
  if (!outcome) return;
  std::size_t next = 1;
  for (std::size_t i = first; i < call.parameters.size(); ++i) {
    const Parameter& parameter = call.parameters[i];
    if (!parameter.output || parameter.is_default || next >= outcome->values.size()) continue;
    results.Tokens().ReturnValue(i, parameter.name, outcome->types[next], outcome->values[next]);
    ++next;
  }
}

void Conversation::GiveHandle(const Call& call, std::int32_t handle, ResultStream& results) {
  ResultColumn column;
  column.type = u"int";
  if (call.system == SystemCall::Prepare) results.Tokens().ReturnStatus(0);
  results.Tokens().ReturnValue(0, Required(call, 0, u"@handle").name, WireTypeOf(column, version_),
                               Value(std::int64_t{handle}));
}

std::int32_t Conversation::Prepare(const Call& call) {
  if (prepared_.size() >= kMostPrepared) {
    throw ServerError(701, 17,
                      u"This connection has prepared " + FromAscii(std::to_string(kMostPrepared)) +
                          u" statements already; release some with sp_unprepare.");
  }
  Prepared prepared;
  prepared.declarations = TranslateDeclarations(Required(call, 1, u"@params").text);
  prepared.statement = Required(call, 2, u"@stmt").text;
  const std::int32_t handle = next_handle_++;
  prepared_.emplace(handle, std::move(prepared));
  return handle;
}

std::map<std::int32_t, Conversation::Prepared>::iterator Conversation::FindPrepared(
    const Call& call) {
  const Text& literal = Required(call, 0, u"@handle").literal;
  std::int64_t handle = 0;
  for (const char16_t c : literal) {
    if (c >= u'0' && c <= u'9' && handle < INT32_MAX) handle = handle * 10 + (c - u'0');
  }
  const auto found =
      prepared_.find(static_cast<std::int32_t>(std::min<std::int64_t>(handle, INT32_MAX)));
  if (found != prepared_.end()) return found;
  throw ServerError(8179, 16, u"Could not find prepared statement with handle " + literal + u".");
}

}  // namespace ledgerwick::tds
