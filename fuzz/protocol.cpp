// What clients send, from pre-login on or behind a login that went well. The database behind it
// gives rows of every type at once, so that the protocol alone is tried.
#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

#include "frame/error.h"
#include "fuzz/target.h"
#include "tds/bytes.h"
#include "tds/call.h"
#include "tds/conversation.h"

namespace {

using namespace ledgerwick;

// Gives the input as a client that never waits for an answer.
class Input final : public tds::Channel {
 public:
  explicit Input(std::string bytes) : bytes_(std::move(bytes)) {}

  std::size_t Read(char* to, std::size_t most) override {
    const std::size_t count = bytes_.copy(to, most, at_);
    at_ += count;
    return count;
  }
  // What is written is packets whose lengths are right.
  void Write(std::string_view bytes) override {
    constexpr std::size_t kHead = 8;
    for (; !bytes.empty();) {
      if (bytes.size() < kHead) std::abort();
      const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
      const std::size_t length = static_cast<std::size_t>(byte(2)) << 8 | byte(3);
      if (length < kHead || length > bytes.size()) std::abort();
      bytes.remove_prefix(length);
    }
  }
  bool Ready() override { return at_ < bytes_.size(); }

 private:
  std::string bytes_;
  std::size_t at_ = 0;
};

ResultColumn Column(TextView name, TextView type) {
  ResultColumn column;
  column.name = name;
  column.type = type;
  return column;
}

// Takes rows and keeps none of them.
class NoRows final : public tsql::BulkLoader {
 public:
  void Row(std::span<const Value> values) override {
    for (const Value& value : values) value.ToText();
  }
  void Finish() override {}
};

class AllTypes final : public tsql::Database {
 public:
  explicit AllTypes(std::function<void()> progress) : progress_(std::move(progress)) {}

  void Run(TextView batch, ResultSink& sink) override {
    progress_();
    if (batch.find(u"BEGIN TRAN") != TextView::npos) ++transactions_;
    if (batch.find(u"COMMIT") != TextView::npos) transactions_ = 0;
    sink.Message(u"message");
    const ResultColumn columns[] = {Column(u"i", u"int"),
                                    Column(u"d", u"decimal(38,4)"),
                                    Column(u"m", u"money"),
                                    Column(u"t", u"datetime"),
                                    Column(u"f", u"float"),
                                    Column(u"c", u"varchar(20)"),
                                    Column(u"a", u"date"),
                                    Column(u"e", u"datetime2(3)"),
                                    Column(u"g", u"uniqueidentifier"),
                                    Column(u"x", u"varbinary(9)"),
                                    Column(u"y", u"time(0)"),
                                    Column({}, u"nvarchar(max)")};
    const Value full[] = {Value(std::int64_t{-7}),
                          Value(u"-12.3400"),
                          Value(u"1.0000"),
                          Value(Date{37316.5}),
                          Value(0.1),
                          Value(u"甲 x"),
                          Value(u"2002-03-01"),
                          Value(u"0001-01-01 10:11:12.123"),
                          Value(u"6F9619FF-8B86-D011-B42D-00C04FC964FF"),
                          Value(u"0x00FF"),
                          Value(u"23:59:59"),
                          Value(Text(batch))};
    const std::vector<Value> nulls(std::size(full), Null{});
    sink.Columns(columns);
    // Seldom so many that they fill packets and the client is looked for between them.
    const int pairs = batch.size() % 16 == 1 ? 100 : 1;
    for (int i = 0; i < pairs; ++i) {
      sink.Row(full);
      sink.Row(nulls);
    }
    sink.EndRows(2 * pairs);
    if (batch.find(tds::kOutcome) != TextView::npos) {
      const ResultColumn outcome[] = {Column(tds::kOutcome, u"int"), columns[5]};
      const Value values[] = {full[0], full[5]};
      sink.Columns(outcome);
      sink.Row(values);
      sink.EndRows(1);
    }
    if (batch.size() % 3 == 0) throw DatabaseError(kErrorFailed, u"Ledgerwick", u"failed");
  }
  std::vector<tsql::Explanation> Explain(TextView, bool, ResultSink&) override { return {}; }
  std::int64_t OpenTransactions() const override { return transactions_; }
  Text CurrentDatabase() const override { return u"fuzz"; }
  std::unique_ptr<tsql::BulkLoader> Load(TextView, std::span<const Text>) override {
    return std::make_unique<NoRows>();
  }
  std::unique_ptr<tsql::TableLease> Lease(TextView, const std::function<void()>&) override {
    return {};
  }
  void Compact() override {}

 private:
  std::function<void()> progress_;
  std::int64_t transactions_ = 0;
};

class FuzzHost final : public tds::Host {
 public:
  bool Accepts(const Text&, const Text& password) override { return password.size() < 8; }
  void LoggedIn() override {}
  std::unique_ptr<tsql::Database> Open(tsql::DatabaseOptions options) override {
    return std::make_unique<AllTypes>(std::move(options.progress));
  }
  Text DatabaseName() const override { return u"fuzz"; }
  tds::TlsIdentity* identity() override { return nullptr; }
  bool requires_encryption() const override { return false; }
  std::size_t most_message() const override { return std::size_t{1} << 20; }
};

// A login of that version, as one packet.
std::string LoginPacket(std::uint32_t version) {
  constexpr std::size_t kHead = 86;
  std::string login;
  tds::ByteWriter out(login);
  out.U32(kHead).U32(version).U32(0).Raw(std::string(kHead - 12, '\0'));
  std::string packet;
  const std::size_t length = login.size() + tds::kPacketHead;
  tds::ByteWriter(packet).U8(16).U8(1).U8(0).U8(static_cast<unsigned>(length)).U32(0).Raw(login);
  return packet;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::uint32_t kVersions[] = {0,          0x71000001, 0x72090002,
                                         0x730A0003, 0x730B0003, 0x74000004};
  if (size == 0) return 0;
  // The first byte says whether a login stands before the rest, and of which version.
  const std::uint32_t version = kVersions[data[0] % std::size(kVersions)];
  std::string bytes = version == 0 ? std::string() : LoginPacket(version);
  bytes.append(reinterpret_cast<const char*>(data) + 1, size - 1);
  Input input(std::move(bytes));
  FuzzHost host;
  const std::atomic<bool> cancel = false;
  tds::Conversation(input, host, 51, cancel).Run();
  return 0;
}
