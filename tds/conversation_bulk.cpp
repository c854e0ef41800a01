// Bulk loads. The rows are gathered in a table of the session's own and go into theirs by one
// statement: nobody waits for a client that sends slowly, and a load that ends early leaves
// nothing.
#include <utility>

#include "frame/null_sink.h"
#include "tds/conversation.h"
#include "tds/server_error.h"

namespace ledgerwick::tds {
namespace {

constexpr TextView kStage = u"#ledgerwick_bulk";

Text Number(std::size_t number) {
  const std::string digits = std::to_string(number);
  return Text(digits.begin(), digits.end());
}

// 4804: rows end without their end.
DatabaseError Interrupted() {
  return ServerError(
      4804, 16,
      u"While reading current row from host, a premature end-of-message was "
      u"encountered--an incoming data stream was interrupted when the server expected "
      u"to see more data. Nothing was loaded.");
}

// "[name]"
Text Bracketed(TextView name) {
  Text text = u"[";
  for (const char16_t c : name) text.append(c == u']' ? 2 : 1, c);
  return text + u"]";
}

Text ColumnList(const std::vector<Text>& columns) {
  Text list;
  for (const Text& column : columns) list.append(list.empty() ? u"" : u", ") += Bracketed(column);
  return list;
}

// "c1, c2", the columns of the stage.
std::vector<Text> StageColumns(std::size_t count) {
  std::vector<Text> columns;
  for (std::size_t i = 1; i <= count; ++i) columns.push_back(u"c" + Number(i));
  return columns;
}

// The message's packets, read as they are wanted.
class Packets final : public ByteSource {
 public:
  Packets(PacketStream& stream, Message& message) : stream_(stream), message_(message) {}

  std::string_view Extend(std::string_view rest, std::size_t count) override {
    if (count > stream_.most_bytes()) throw ProtocolError("a value is too long");
    std::string bytes(rest);
    while (bytes.size() < count && !message_.complete) {
      message_.data.clear();
      stream_.ReadMore(message_);
      bytes += message_.data;
    }
    bytes_ = std::move(bytes);
    return bytes_;
  }

  // Passes over what is left.
  void Drain() {
    while (!message_.complete) {
      message_.data.clear();
      stream_.ReadMore(message_);
    }
  }

 private:
  PacketStream& stream_;
  Message& message_;
  std::string bytes_;
};

// Drops the stage when it ends.
class StageTable {
 public:
  StageTable(tsql::Database& database, const std::vector<BulkColumn>& columns)
      : database_(database) {
    const std::vector<Text> names = StageColumns(columns.size());
    Text create = u"CREATE TABLE " + Text(kStage);
    for (std::size_t i = 0; i < columns.size(); ++i) {
      create.append(i == 0 ? u" (" : u", ").append(names[i]).append(u" ");
      create.append(ReadClientValue(columns[i].type, std::nullopt).type).append(u" NULL");
    }
    NullSink sink;
    database_.Run(create + u")", sink);
  }
  ~StageTable() {
    NullSink sink;
    try {
      database_.Run(u"DROP TABLE " + Text(kStage), sink);
    } catch (const std::exception&) {
      // A transaction that was rolled back has taken it along.
    }
  }
  StageTable(const StageTable&) = delete;
  StageTable& operator=(const StageTable&) = delete;

 private:
  tsql::Database& database_;
};

// Sets a flag while it lives.
class Flagged {
 public:
  explicit Flagged(bool& flag) : flag_(flag) { flag_ = true; }
  ~Flagged() { flag_ = false; }
  Flagged(const Flagged&) = delete;
  Flagged& operator=(const Flagged&) = delete;

 private:
  bool& flag_;
};

}  // namespace

// The client waits for this answer before it sends rows; what is wrong with the names is told now.
void Conversation::AnswerInsertBulk(const Text& batch) {
  ResultStream results = NewStream(DoneKind::Statement);
  bulk_.reset();
  try {
    BulkTarget target = ParseInsertBulk(batch);
    NullSink sink;
    database_->Run(
        u"SELECT " + ColumnList(target.columns) + u" FROM " + target.table + u" WHERE 1 = 0", sink);
    bulk_ = std::move(target);
  } catch (const DatabaseError& error) {
    results.Error(error);
  }
  results.EndBatch(false);
  packets_.EndAnswer();
}

void Conversation::AnswerBulkLoad(Message& message) {
  if (!bulk_) throw ProtocolError("a bulk load comes without the INSERT BULK that announces it");
  ResultStream results = NewStream(DoneKind::Statement);
  Packets packets(packets_, message);
  {
    const std::string first = std::move(message.data);
    ByteReader reader(first, &packets);
    try {
      LoadStaged(reader, results, [&] {
        packets.Drain();
        return !message.ignored;
      });
    } catch (const DatabaseError& error) {
      results.Error(error);
    } catch (const MessageEnded&) {
      results.Error(Interrupted());
    }
  }
  bulk_.reset();
  packets.Drain();
  if (message.ignored) {
    packets_.answer().clear();
    AnswerIgnored();
    return;
  }
  if (InTransaction() != in_transaction_) TellTransaction(results.Tokens(), results.failed());
  results.EndBatch(false);
  packets_.EndAnswer();
}

// The rows, as the client declares them.
void Conversation::Stage(ByteReader& reader, const std::vector<BulkColumn>& columns) {
  const Flagged loading(loading_);
  const std::vector<Text> names = StageColumns(columns.size());
  const std::unique_ptr<tsql::BulkLoader> loader = database_->Load(kStage, names);
  std::vector<Value> values;
  while (ReadBulkRow(reader, columns, values)) loader->Row(values);
  loader->Finish();
}

// `all_wanted` is asked when the rows have come.
void Conversation::LoadStaged(ByteReader& reader, ResultStream& results,
                              const std::function<bool()>& all_wanted) {
  const std::vector<BulkColumn> columns = ReadBulkColumns(reader, version_);
  if (columns.size() != bulk_->columns.size()) {
    throw ServerError(4816, 16,
                      u"Invalid column type from bcp client for colid " +
                          Number(std::min(columns.size(), bulk_->columns.size()) + 1) + u".");
  }
  const StageTable stage(*database_, columns);
  Stage(reader, columns);
  if (!all_wanted()) return;
  RunBatch(u"INSERT INTO " + bulk_->table + u" (" + ColumnList(bulk_->columns) + u") SELECT " +
               ColumnList(StageColumns(columns.size())) + u" FROM " + Text(kStage),
           results);
}

}  // namespace ledgerwick::tds
