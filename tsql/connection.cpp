#include "tsql/connection.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "frame/error.h"
#include "frame/null_sink.h"
#include "frame/result_sink.h"

namespace ledgerwick::tsql {
namespace {

constexpr const char16_t* kSource = u"Ledgerwick";

// ADO's errors about the state of its objects.
constexpr std::int32_t kObjectClosed = 3704;
constexpr std::int32_t kObjectOpen = 3705;
constexpr std::int32_t kItemNotFound = 3265;
constexpr std::int32_t kBadArgument = 3001;
constexpr std::int32_t kAtEnd = 3021;

DatabaseError Closed() {
  return {kObjectClosed, kSource, u"Operation is not allowed when the object is closed."};
}

// Passes everything over: an Execute whose rows nobody reads.
class UnreadRows final : public NullSink {
 public:
  bool WantsRow() override { return false; }
};

// A client-side recordset: all rows, with a filter.
class RowSet final : public Recordset, public ResultSink {
 public:
  void Columns(std::span<const ResultColumn> columns) override {
    if (!names_.empty()) return;  // the first result alone
    for (const ResultColumn& column : columns) {
      names_.push_back(column.name);
      kinds_.push_back(column.kind);
    }
  }
  void Row(std::span<const Value> values) override {
    if (complete_) return;
    std::vector<Value>& row = rows_.emplace_back(values.begin(), values.end());
    // Who reads single fields reckons with floats.
    for (std::size_t i = 0; i < row.size(); ++i) {
      if (kinds_[i] == ColumnKind::Decimal && !row[i].IsNull()) row[i] = ToNumber(row[i]);
    }
  }
  void EndRows(std::int64_t) override {
    if (!complete_) SetFilter({});
    complete_ = true;
  }
  void RowsAffected(std::int64_t) override {}
  void Message(const Text&) override {}

  void SetFilter(const Text& criteria) override {
    std::optional<std::size_t> column;
    Text wanted;
    if (!Trim(criteria).empty()) {
      const std::size_t equal = criteria.find(u'=');
      if (equal == Text::npos) throw BadFilter();
      column = ColumnIndex(Text(Trim(TextView(criteria).substr(0, equal))));
      wanted = Trim(TextView(criteria).substr(equal + 1));
      if (wanted.empty()) throw BadFilter();
      if (wanted.size() >= 2 && wanted.front() == u'\'' && wanted.back() == u'\'') {
        wanted = wanted.substr(1, wanted.size() - 2);
      }
    }
    visible_.clear();
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      if (!column || Matches(rows_[i][*column], wanted)) visible_.push_back(i);
    }
    current_ = 0;
  }

  std::int32_t RecordCount() override { return static_cast<std::int32_t>(visible_.size()); }
  bool AtEnd() override { return current_ >= visible_.size(); }
  void MoveNext() override {
    if (AtEnd()) throw NoRow();
    ++current_;
  }
  Value Field(const Text& name) override {
    const std::size_t column = ColumnIndex(name);
    if (AtEnd()) throw NoRow();
    return rows_[visible_[current_]][column];
  }
  void Close() override {
    rows_.clear();
    visible_.clear();
  }

 private:
  static DatabaseError BadFilter() {
    return {
        kBadArgument, kSource,
        u"Arguments are of the wrong type, are out of acceptable range, or are in conflict with "
        u"one another."};
  }
  static DatabaseError NoRow() {
    return {
        kAtEnd, kSource,
        u"Either BOF or EOF is True, or the current record has been deleted. Requested operation "
        u"requires a current record."};
  }

  // Numbers compare as numbers, all else as text.
  static bool Matches(const Value& value, const Text& wanted) {
    if (value.IsNull()) return false;
    if (value.If<Text>() == nullptr && value.If<Date>() == nullptr) {
      return ToNumber(value) == ToNumber(wanted);
    }
    return EqualText(value.ToText(), wanted);
  }

  std::size_t ColumnIndex(const Text& name) const {
    const auto found = std::find_if(names_.begin(), names_.end(),
                                    [&](const Text& n) { return EqualText(n, name); });
    if (found == names_.end()) {
      throw DatabaseError(kItemNotFound, kSource,
                          u"Item cannot be found in the collection corresponding to the requested "
                          u"name or ordinal.");
    }
    return static_cast<std::size_t>(found - names_.begin());
  }

  std::vector<Text> names_;
  std::vector<ColumnKind> kinds_;
  std::vector<std::vector<Value>> rows_;
  std::vector<std::size_t> visible_;
  std::size_t current_ = 0;
  bool complete_ = false;
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
    auto rows = std::make_unique<RowSet>();
    database().Run(sql, *rows);
    return rows;
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
