#include "double_world.h"

#include "frame/error.h"
#include "host/filters.h"

namespace ledgerwick {
namespace {

// What every double has: its world, and a count of those that live.
class Double {
 public:
  explicit Double(DoubleWorld& world) : world_(world) { ++world_.alive; }
  ~Double() { --world_.alive; }
  Double(const Double&) = delete;
  Double& operator=(const Double&) = delete;

 protected:
  // Looks at the double itself afterwards, so that a sanitizer sees when nobody has held it.
  void Called(std::string text, Through through = Through::None, int connection = 0) {
    world_.Called({std::move(text), through, connection});
    ++calls_;
  }
  template <typename T>
  T Answer(const char* name, T answer, Through through = Through::None) {
    Called(name, through);
    return answer;
  }
  DoubleWorld& world() const { return world_; }

 private:
  DoubleWorld& world_;
  int calls_ = 0;
};

class DoubleFilter final : public ReportFilter, Double {
 public:
  DoubleFilter(DoubleWorld& world, std::size_t index) : Double(world), index_(index) {}

  Text Name() override { return Read("Name").Name; }
  Text strcaption() override { return Read("strcaption").strcaption; }
  Value varValue() override { return Read("varValue").varValue; }
  Value varValue2() override { return Read("varValue2").varValue2; }
  Text strSqlString() override { return *Read("strSqlString").strSqlString; }
  std::int32_t LngGrouptoken() override { return Answer("LngGrouptoken", 0); }
  void set_varValue(const Value& value) override { Read("Put varValue").varValue = value; }
  void set_strSqlString(const Text& sql) override { Read("Put strSqlString").strSqlString = sql; }
  void set_LngGrouptoken(std::int32_t) override { Called("Put LngGrouptoken"); }

 private:
  FilterItem& Read(const char* name) {
    Called(name);
    return world().items[index_];
  }

  std::size_t index_;
};

class DoubleSet final : public ReportFilterSet, Double {
 public:
  using Double::Double;

  std::int32_t Count() override {
    return Answer("Count", static_cast<std::int32_t>(world().items.size()));
  }
  std::shared_ptr<ReportFilter> Item(std::int32_t index) override {
    Called("Item");
    return std::make_shared<DoubleFilter>(world(), static_cast<std::size_t>(index) - 1);
  }
  Text ConditionText() override { return Answer("ConditionText", Text(201, u'c')); }
  Text GroupConditionText(std::int32_t) override { return Answer("GroupConditionText", u"g = 1"); }
  Value ValueByName(const Text&, std::int32_t) override { return Answer("ValueByName", u"v"); }
};

class DoubleManager final : public ReportManager, Double {
 public:
  using Double::Double;

  std::shared_ptr<ReportFilterSet> ReportFilterByName(Text& title) override {
    Called("ReportFilterByName", Through::ObjReportManager);
    title += world().title_suffix;
    return world().sets-- > 0 ? std::make_shared<DoubleSet>(world()) : nullptr;
  }
};

class DoubleLogin final : public Login, Double {
 public:
  using Double::Double;

  Value CurDate() override { return Answer("CurDate", u"2002-03-31", Through::objLogin); }
  Value cAcc_Id() override { return Answer("cAcc_Id", u"2002-03-31", Through::objLogin); }
};

// One row, whatever was asked.
class DoubleRecordset final : public Recordset, Double {
 public:
  using Double::Double;

  void SetFilter(const Text&) override { Called("Filter"); }
  std::int32_t RecordCount() override { return Answer("RecordCount", 1); }
  bool AtEnd() override { return Answer("EOF", at_end_); }
  void MoveNext() override { at_end_ = Answer("MoveNext", true); }
  Value Field(const Text&) override { return Answer("Field", u"12"); }
  void Close() override { Called("Close recordset"); }

 private:
  bool at_end_ = false;
};

class DoubleCommand final : public Command, Double {
 public:
  DoubleCommand(DoubleWorld& world, std::shared_ptr<Connection> connection)
      : Double(world), connection_(std::move(connection)) {}

  void SetCommandText(const Text&) override { Called("CommandText"); }
  void SetCommandType(std::int32_t) override { Called("CommandType"); }
  void SetCommandTimeout(std::int32_t) override { Called("CommandTimeout"); }
  void AppendParameter(const Text&, std::int32_t, std::int32_t, const Text&) override {
    Called("Append");
  }
  void Execute(std::int32_t options) override {
    Called("Execute command options=" + std::to_string(options));
  }

 private:
  std::shared_ptr<Connection> connection_;
};

class DoubleConnection final : public Connection, Double {
 public:
  DoubleConnection(DoubleWorld& world, bool is_open)
      : Double(world), number_(++world.connections), is_open_(is_open) {}

  void Open(const Text& connection_string, const Text& user, const Text& password,
            std::int32_t options) override {
    Use("Open " + ToUtf8(connection_string) + " user=" + ToUtf8(user) +
        " password=" + ToUtf8(password) + " options=" + std::to_string(options));
    if (is_open_) throw DatabaseError(3705, u"ADODB.Connection", u"open already");
    is_open_ = true;
  }
  void Execute(const Text& sql, std::int32_t options) override {
    Use("Execute options=" + std::to_string(options) + ToUtf8(sql));
    CheckOpen();
  }
  void Close() override {
    Use("Close");
    CheckOpen();
    is_open_ = false;
  }
  std::unique_ptr<Command> NewCommand() override {
    Use("NewCommand");
    return std::make_unique<DoubleCommand>(world(), shared_from_this());
  }
  std::unique_ptr<Recordset> OpenRecordset(const Text&, const RecordsetOptions& o) override {
    Use("OpenRecordset " + std::to_string(o.cursor_location) + std::to_string(o.cursor_type) +
        std::to_string(o.lock_type) + std::to_string(o.command_type));
    CheckOpen();
    return std::make_unique<DoubleRecordset>(world());
  }

 private:
  void Use(std::string text) { Called(std::move(text), Through::mconn, number_); }
  void CheckOpen() const {
    if (!is_open_) throw DatabaseError(3704, u"ADODB.Connection", u"closed");
  }

  int number_;
  bool is_open_;
};

FilterItem ItemOf(const FilterInfo& filter) {
  FilterItem item{
      Text(filter.name), Text(filter.caption), u"1", {}, u"fragment = 1 or fragment = 2"};
  if (!filter.values.empty()) item.varValue = filter.values.back();
  if (filter.kind == FilterKind::DateRange) item.varValue = u"2002-03-01";
  if (IsRange(filter.kind))
    item.varValue2 = filter.kind == FilterKind::DateRange ? u"2002-03-31" : u"2";
  return item;
}

}  // namespace

DoubleWorld::DoubleWorld(const ClassInfo& info) : info_(info) {
  for (const FilterInfo& filter : FindReportInfo(info.name)->filters) {
    items.push_back(ItemOf(filter));
  }
}

std::unique_ptr<ReportProvider> DoubleWorld::NewReport() {
  std::unique_ptr<ReportProvider> report = info_.factory(*this);
  report->ObjReportManager = std::make_shared<DoubleManager>(*this);
  report->objLogin = std::make_shared<DoubleLogin>(*this);
  report->mConnectionString = u"cs";
  report->mconn = MakeConnection(false);
  return report;
}

std::shared_ptr<Connection> DoubleWorld::MakeConnection(bool is_open) {
  return std::make_shared<DoubleConnection>(*this, is_open);
}

void DoubleWorld::Called(DoubleCall call) {
  const std::size_t index = calls.size();
  calls.push_back(std::move(call));
  if (index != deed_at) return;
  deed_at = SIZE_MAX;
  deed();
}

std::shared_ptr<Connection> DoubleWorld::NewConnection() {
  Called({"NewConnection"});
  return MakeConnection(false);
}

Text DoubleWorld::ComputerName() {
  Called({"ComputerName"});
  return u"PC";
}

std::size_t DoubleWorld::AnsiLength(TextView text) {
  Called({"AnsiLength"});
  return text.size();
}

void DoubleWorld::MessageBox(const Text& text, const Text&, std::int32_t) {
  shown += " box " + ToUtf8(text);
}

void DoubleWorld::Beep() { shown += " beep"; }

}  // namespace ledgerwick
