#include "tests/drivers/suite.h"

#include <doctest/doctest.h>

#include "frame/error.h"

namespace ledgerwick::testing {
namespace {

constexpr RecordsetOptions kClientRows{kUseClient, kOpenStatic, kLockBatchOptimistic,
                                       kOptionUnspecified};

// What `body` gives, or the number and the text of its error.
std::string Outcome(const std::function<std::string()>& body) {
  try {
    return body();
  } catch (const DatabaseError& error) {
    std::string number = std::to_string(error.number);
    if (error.number < 0) {
      char hex[16];
      std::snprintf(hex, sizeof hex, "%08X", static_cast<unsigned>(error.number));
      number = hex;
    }
    // ADO's own errors go by their number: each implementation has its words.
    return error.number > 0 ? number : number + " " + ToUtf8(error.description);
  }
}
std::string OutcomeOf(const std::function<void()>& body) {
  return Outcome([&] {
    body();
    return std::string("done");
  });
}

// A value with the name of its kind.
std::string Shown(const Value& value) {
  if (value.IsNull()) return "null";
  const std::string text = ToUtf8(value.ToText());
  if (value.If<bool>()) return "bool " + text;
  if (value.If<std::int64_t>()) return "int " + text;
  if (value.If<double>()) return "float " + text;
  if (value.If<Date>()) return "date " + text;
  return "text " + text;
}

class Suite {
 public:
  explicit Suite(const Driver& driver) : driver_(driver), connection_(Connect()) {
    if (!Has(Ability::Statements)) return;
    connection_->Execute(
        u"CREATE TABLE suite_rows (code varchar(20), n int, f decimal(9,2), d datetime, b bit)",
        kOptionUnspecified);
    for (const SuiteRow& row : kSuiteRows) {
      Text code(row.code);
      if (const std::size_t quote = code.find(u'\''); quote != Text::npos) {
        code.insert(quote, 1, u'\'');
      }
      connection_->Execute(u"INSERT INTO suite_rows VALUES (N'" + code + u"', " +
                               (row.n.IsNull() ? Text(u"NULL") : row.n.ToText()) + u", " +
                               Value(row.f).ToText() + u", '" + row.d + u"', " +
                               (row.b ? u"1" : u"0") + u")",
                           kOptionUnspecified);
    }
  }

  void Check() {
    Filters();
    Positions();
    Types();
    if (Has(Ability::Statements)) {
      Errors();
      Commands();
    }
    if (Has(Ability::States)) States();
    connection_->Close();
  }

 private:
  bool Has(Ability ability) const { return !driver_.lacks.contains(ability); }

  std::shared_ptr<Connection> Connect() const {
    std::shared_ptr<Connection> connection = driver_.make();
    connection->Open(driver_.connection_string, u"", u"", kOptionUnspecified);
    return connection;
  }

  std::unique_ptr<Recordset> Rows() {
    return connection_->OpenRecordset(u"SELECT * FROM suite_rows ORDER BY code", kClientRows);
  }

  void Filters() {
    struct Case {
      const char16_t* criteria;
      const char* codes;  // of the rows that stay, or the error's number
      std::set<Ability> needs = {};
    };
    const Case cases[] = {
        {u"", "01 a A O'Brien "},
        {u"  ", "01 a A O'Brien "},
        {u"code = 'A'", "a A "},
        {u"CODE='01'", "01 "},
        {u"code = a", "a A "},
        {u"code='O''Brien'", "O'Brien "},
        {u"code = 'O'Brien'", "3001"},
        {u"code = 'none'", ""},
        {u"[n]=1", "01 A "},
        {u"n = '1'", "01 A "},
        {u"n = 1.0", "01 A "},
        {u"n = one", "3001"},
        {u"n = Null", "a "},
        {u"n = 'Null'", "3001"},
        {u"f = 1.5", "a "},
        {u"f = '1.50'", "a "},
        {u"b = True", "01 a "},
        {u"b = 1", "01 a "},
        {u"b = 0", "A O'Brien "},
        {u"d = #2002-03-01#", "01 a ", {Ability::Dates}},
        {u"d = '2002/3/1'", "01 a ", {Ability::Dates}},
        {u"d = 'soon'", "3001", {Ability::Dates}},
        {u"nosuch = 1", "3265"},
        {u"code", "3001"},
        {u"= 1", "3001"},
        {u"code =", "3001"},
        {u"code like 'a'", "3001"},
        {u"n >= 1", "3001"},
        {u"n <> 1", "3001"},
        {u"code = 'a' And n = 1", "3001"},
    };
    const auto rows = Rows();
    for (const Case& c : cases) {
      CAPTURE(ToUtf8(c.criteria));
      if (!c.needs.empty() && !Has(*c.needs.begin())) continue;
      const std::string codes = Outcome([&] {
        rows->SetFilter(c.criteria);
        std::string all;
        for (; !rows->AtEnd(); rows->MoveNext()) all += ToUtf8(rows->Field(u"code").ToText()) + " ";
        return all;
      });
      CHECK(codes == c.codes);
    }
    // A filter that fails changes nothing.
    rows->SetFilter(u"n = 1");
    CHECK(OutcomeOf([&] { rows->SetFilter(u"n = one"); }) == "3001");
    CHECK(rows->RecordCount() == 2);
  }

  void Positions() {
    const auto rows = Rows();
    CHECK(rows->RecordCount() == 4);
    CHECK(ToUtf8(rows->Field(u"code").ToText()) == "01");
    rows->MoveNext();
    rows->MoveNext();
    rows->SetFilter(u"n = 1");  // moves to the first
    CHECK(ToUtf8(rows->Field(u"Code").ToText()) == "01");
    CHECK(OutcomeOf([&] { rows->Field(u"nosuch"); }) == "3265");
    rows->MoveNext();
    rows->MoveNext();
    CHECK(rows->AtEnd());
    CHECK(OutcomeOf([&] { rows->Field(u"code"); }) == "3021");
    CHECK(OutcomeOf([&] { rows->Field(u"nosuch"); }) == "3265");
    CHECK(OutcomeOf([&] { rows->MoveNext(); }) == "3021");
    rows->Close();
    CHECK(OutcomeOf([&] { rows->Field(u"code"); }) == "3704");
    CHECK(OutcomeOf([&] { rows->SetFilter(u""); }) == "3704");
  }

  void Types() {
    const auto rows = Rows();
    const std::pair<const char16_t*, const char*> fields[] = {
        {u"code", "text 01"}, {u"n", "int 1"}, {u"f", "float 2.25"}, {u"b", "bool True"}};
    for (const auto& [name, shown] : fields) CHECK(Shown(rows->Field(name)) == shown);
    if (Has(Ability::Dates)) CHECK(Shown(rows->Field(u"d")) == "date 2002-03-01");
    rows->MoveNext();
    CHECK(Shown(rows->Field(u"n")) == "null");
    if (!Has(Ability::Statements)) return;
    const auto more = connection_->OpenRecordset(
        u"SELECT CAST('ab' AS char(4)) AS c, CAST(N'𠀀中' AS nvarchar(10)) AS w, "
        u"CAST(9223372036854775807 AS bigint) AS l, CAST(-0.5 AS money) AS m, "
        u"CAST(1.5 AS float) AS f, CAST('2002-03-31 12:30:15.997' AS datetime) AS t, "
        u"REPLICATE(CAST(N'长' AS nvarchar(max)), 3) AS x, CAST(7 AS tinyint) AS y",
        kClientRows);
    const std::pair<const char16_t*, const char*> kinds[] = {
        {u"c", "text ab  "},   {u"w", "text 𠀀中"}, {u"l", "int 9223372036854775807"},
        {u"m", "float -0.5"},  {u"f", "float 1.5"}, {u"t", "date 2002-03-31 12:30:15"},
        {u"x", "text 长长长"}, {u"y", "int 7"}};
    for (const auto& [name, shown] : kinds) CHECK(Shown(more->Field(name)).starts_with(shown));
  }

  std::string Executed(const Text& sql) {
    return OutcomeOf([&] { connection_->Execute(sql, kOptionUnspecified); });
  }

  void Errors() {
    const std::pair<const char16_t*, const char*> cases[] = {
        {u"SELEC 1", "80040E14 "},
        {u"SELECT * FROM nosuch", "80040E37 Invalid object name 'nosuch'."},
        {u"SELECT 1/0 AS x", "80040E57 Divide by zero error encountered."},
        {u"SELECT CAST('x' AS int) AS x",
         "80040E07 Conversion failed when converting the varchar value 'x' to data type int."},
        {u"CREATE TABLE suite_rows (a int)",
         "80040E14 There is already an object named 'suite_rows' in the database."},
        {u"EXEC nosuch", "80040E14 Could not find stored procedure 'nosuch'."},
        {u"RAISERROR('自己的 %d', 16, 1, 7)", "80040E14 自己的 7"},
        {u"RAISERROR('a word', 10, 1)", "done"},
        {u"SELECT 1 AS a SELECT 2 AS b PRINT 'c'", "done"},
        // The first error is the one that is raised, and what follows it is done.
        {u"SELECT 1/0 AS x INSERT INTO suite_rows (code) VALUES ('z') SELECT * FROM nosuch",
         "80040E57 Divide by zero error encountered."},
        {u"IF (SELECT COUNT(*) FROM suite_rows WHERE code = 'z') <> 1 RAISERROR('lost', 16, 1)",
         "done"},
        {u"DELETE FROM suite_rows WHERE code = 'z'", "done"},
    };
    for (const auto& [sql, outcome] : cases) {
      CAPTURE(ToUtf8(sql));
      CHECK(Executed(sql).starts_with(outcome));
    }
    connection_->ExecuteIgnoringErrors(u"DROP TABLE nosuch", kOptionUnspecified);
    CHECK(Outcome([&] {
            return std::to_string(
                connection_->OpenRecordset(u"SELECT * FROM nosuch", kClientRows)->RecordCount());
          }) == "80040E37 Invalid object name 'nosuch'.");
  }

  void Commands() {
    connection_->Execute(
        u"CREATE PROCEDURE suite_call @first varchar(200), @second text, @third varchar(5) = 'def' "
        u"AS DELETE FROM suite_log INSERT INTO suite_log VALUES (@first, @second, @third)",
        kOptionUnspecified);
    const auto command = connection_->NewCommand();
    const auto prepare = [&](const Text& text, std::int32_t type) {
      command->SetCommandText(text);
      command->SetCommandType(type);
      command->SetCommandTimeout(0);
    };
    prepare(u"CREATE TABLE suite_log (a varchar(200), b varchar(max), c varchar(5))", kCommandText);
    command->Execute(kOptionUnspecified);
    // Parameters go by their order, not by their names.
    const Text condition = Text(3000, u'条') + u"'; DROP TABLE suite_log --";
    command->AppendParameter(u"second", kVarChar, 0, u"");
    command->AppendParameter(u"first", kLongVarChar,
                             static_cast<std::int32_t>(AnsiLength(condition)), condition);
    prepare(u"suite_call", kCommandStoredProcedure);
    command->Execute(kOptionUnspecified);
    const auto log = [&](const char16_t* column) {
      return ToUtf8(connection_->OpenRecordset(u"SELECT a, b, c FROM suite_log", kClientRows)
                        ->Field(column)
                        .ToText());
    };
    CHECK(log(u"a").empty());
    CHECK(log(u"b") == ToUtf8(condition));
    CHECK(log(u"c") == "def");
    const auto other = connection_->NewCommand();
    other->SetCommandText(u"suite_call");
    other->SetCommandType(kCommandStoredProcedure);
    other->SetCommandTimeout(0);
    other->AppendParameter(u"a", kVarChar, 6, u"O'中");
    other->AppendParameter(u"b", kLongVarChar, 0, u"");
    other->AppendParameter(u"c", kVarChar, 2, u"x ");
    other->Execute(kOptionUnspecified);
    CHECK(log(u"a") + "|" + log(u"b") + "|" + log(u"c") == "O'中||x ");
    other->SetCommandText(u"nosuch");
    CHECK(OutcomeOf([&] { other->Execute(kOptionUnspecified); }) ==
          "80040E14 Could not find stored procedure 'nosuch'.");
    if (!Has(Ability::ParameterType)) return;
    CHECK(OutcomeOf([&] { other->AppendParameter(u"n", 3, 4, u"1"); }) == "3001");
  }

  void States() {
    CHECK(OutcomeOf([&] {
            connection_->Open(driver_.connection_string, u"", u"", kOptionUnspecified);
          }) == "3705");
    const auto other = driver_.make();
    CHECK(OutcomeOf([&] { other->Execute(u"SELECT 1 AS a", kOptionUnspecified); }) == "3704");
    CHECK(OutcomeOf([&] { other->Close(); }) == "3704");
    other->Open(driver_.connection_string, u"", u"", kOptionUnspecified);
    other->Close();
    CHECK(OutcomeOf([&] { other->OpenRecordset(u"SELECT 1 AS a", kClientRows); }) == "3704");
    if (Has(Ability::ClosedCommand)) CHECK(OutcomeOf([&] { other->NewCommand(); }) == "3704");
    other->Open(driver_.connection_string, u"", u"", kOptionUnspecified);
    CHECK(OutcomeOf([&] { other->Execute(u"SELECT 1 AS a", kOptionUnspecified); }) == "done");
  }

  const Driver& driver_;
  std::shared_ptr<Connection> connection_;
};

}  // namespace

const SuiteRow kSuiteRows[4] = {
    {u"01", Value(1), 2.25, u"2002-03-01", true},
    {u"a", Value(Null{}), 1.5, u"2002-03-01", true},
    {u"A", Value(1), -0.75, u"2002-03-31", false},
    {u"O'Brien", Value(2), 0, u"2002-03-31", false},
};

void CheckDriver(const Driver& driver) { Suite(driver).Check(); }

}  // namespace ledgerwick::testing
