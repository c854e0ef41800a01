#include "tests/random/statement.h"

#include <algorithm>
#include <functional>
#include <map>
#include <string_view>
#include <utility>

namespace ledgerwick::random_queries {
namespace {

// A value in both dialects.
struct Term {
  Sql sql;
  Kind kind = Kind::Int;
  bool is_column = false;
};

// What an expression may read: the columns of its own tables (or keys and totals, where rows are
// grouped), and columns of the queries around it.
struct Scope {
  std::vector<Term> own;
  std::vector<Term> outer;
  bool asks = true;  // subqueries may stand here
};

struct Table {
  std::string name;
  std::vector<Kind> kinds;
};

// Tables, joins and derived tables behind FROM, with their columns.
struct Source {
  Sql sql;
  std::vector<Term> columns;
  bool is_join = false;
  bool is_lite_join = false;  // and not written as one table
};

// `text` with $1, $2, … replaced by the parts.
Sql Fill(std::string_view tsql, std::string_view lite, const std::vector<Sql>& parts) {
  const auto fill = [&](std::string_view text, std::string Sql::*dialect) {
    std::string filled;
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (text[i] != '$') {
        filled += text[i];
      } else {
        filled += parts[static_cast<std::size_t>(text[++i] - '1')].*dialect;
      }
    }
    return filled;
  };
  return {fill(tsql, &Sql::tsql), fill(lite, &Sql::lite)};
}
Sql Fill(std::string_view both, const std::vector<Sql>& parts) { return Fill(both, both, parts); }
Sql Both(const std::string& text) { return {text, text}; }

Sql Join(const std::vector<Sql>& parts, std::string_view between) {
  Sql all;
  for (const Sql& part : parts) {
    const bool first = &part == parts.data();
    all = Fill(first ? "$2" : "$1" + std::string(between) + "$2", {all, part});
  }
  return all;
}

// SQLite forgets the alias of a table that stands in parentheses alone.
std::string InParentheses(const Source& source) {
  return source.is_lite_join ? "(" + source.sql.lite + ")" : source.sql.lite;
}

bool IsNumber(Kind kind) noexcept { return kind <= Kind::Float; }

// The value as one of `kind`, which is of no lower precedence; T-SQL converts by itself.
Term As(Term term, Kind kind) {
  const char* lite = term.kind == kind        ? "$1"
                     : kind == Kind::Dec      ? "($1 * 100)"
                     : term.kind == Kind::Dec ? "($1 / 100.0)"
                                              : "($1 * 1.0)";
  return {Fill("$1", lite, {term.sql}), kind};
}

// What a table is made of, by Kind; no second text where SQLite's is the same.
struct Type {
  std::vector<std::string> declarations;
  std::vector<Sql> literals;
};
const std::vector<Type> kTypes = {
    {{"int", "smallint", "bigint"}, {{"0"}, {"1"}, {"2"}, {"3"}, {"4"}, {"(-1)"}}},
    {{"decimal(12,2)"}, {{"0.50", "50"}, {"1.50", "150"}, {"2.50", "250"}, {"(-1.25)", "(-125)"}}},
    // Powers of two, so that sums and quotients are exact.
    {{"float"}, {{"1e0"}, {"2e0"}, {"0e0"}, {"0.5e0"}, {"4e0"}, {"(-2e0)"}}},
    {{"varchar(40)", "char(6)", "nvarchar(40)"},
     {{"'a'"}, {"'A '", "'a'"}, {"'b'"}, {"''"}, {"' '", "''"}, {"N'b C'", "'b c'"}}},
    {{"datetime"},
     {{"CONVERT(datetime, '20200101')", "'2020-01-01'"},
      {"CONVERT(datetime, '20200102')", "'2020-01-02'"},
      {"CONVERT(datetime, '20200103')", "'2020-01-03'"}}},
};
const Type& TypeOf(Kind kind) { return kTypes[static_cast<std::size_t>(kind)]; }
constexpr std::string_view kLetters = "idftz";  // of the kinds

// How something is written, with a part for each $, letter and digit. The letters are those of the
// kinds, of which the part then is, and
//   k  a value of the form's own kind         a  values of one more kind
//   n  one of it or of a lower number         c  a column or literal of the form's own kind
//   p  a predicate                            v  a query of one value
//   q  a query of the form's own kind         o  an operator that compares
//   N  NOT or nothing                         D  DISTINCT or nothing
struct Form {
  std::string gives;  // the letters of the kinds it may be of
  Sql sql;
};

const std::vector<Form> kValues = {
    {"idf", {"($n1 + $k1)"}},
    {"idf", {"($k1 - $n1)"}},
    {"if", {"($k1 * $k2)"}},
    {"d", {"($d1 * $i1)"}},  // it has its two digits only times a whole number
    {"d", {"(-$c1)", "(- $c1)"}},
    {"f", {"($c1 / NULLIF($c2, 0))"}},
    {"i", {"($i1 / NULLIF($i2, 0))"}},
    {"i", {"($i1 % NULLIF($i2, 0))"}},
    {"i", {"LEN($t1)", "length($t1)"}},
    {"t", {"RTRIM($t1) + $t2", "($t1 || $t2)"}},
    {"t", {"UPPER($t1)", "$t1"}},
    {"t", {"LEFT($t1, 1)", "rtrim(substr($t1, 1, 1))"}},
    {"t", {"LTRIM(RTRIM($t1))", "ltrim($t1)"}},
    {"t", {"CAST($i1 AS varchar(12))", "CAST($i1 AS TEXT)"}},
    {"i", {"CAST($f1 AS int)", "CAST($f1 AS INTEGER)"}},
    {"i", {"CAST($d1 AS int)", "($d1 / 100)"}},
    {"d", {"CAST($i1 AS decimal(14,2))", "($i1 * 100)"}},
    {"idftz", {"CASE WHEN $p1 THEN $n1 ELSE $k1 END"}},
    {"idftz", {"CASE $a1 WHEN $a2 THEN $k1 END"}},
    {"idfz", {"ISNULL($k1, $k2)", "ifnull($k1, $k2)"}},  // would cut a text at the first's length
    {"idftz", {"COALESCE($n1, $k1)"}},
    {"idftz", {"NULLIF($k1, $k2)"}},
    {"idftz", {"($v1)"}},
};

const std::vector<std::string> kOperators = {" = ", " <> ", " < ", " >= ", " > ", " <= "};

const std::vector<Form> kAggregates = {
    {"idftz", {"MIN($k1)"}}, {"idftz", {"MAX($k1)"}}, {"idf", {"SUM($D1$k1)"}},
    {"idf", {"SUM($k1)"}},   {"i", {"COUNT(*)"}},     {"i", {"COUNT($D1$a1)"}},
};

const std::vector<Form> kPredicates = {
    {"idftz", {"$n1$o1$n2"}},
    {"idftz", {"$n1$o1$n2"}},
    {"idftz", {"$k1 IS $N1NULL"}},
    {"idftz", {"$k1 $N1BETWEEN $k2 AND $k3"}},
    {"idftz", {"$k1 $N1IN ($k2, $k3)"}},
    {"t", {"$t1 $N1LIKE '[AB]%'", "$N1($t1 LIKE 'a%' OR $t1 LIKE 'b%')"}},
    {"t", {"$t1 $N1LIKE '%a%'"}},
    {"idftz", {"($p1 AND $p2)"}},
    {"idftz", {"($p1 OR $p2)"}},
    {"idftz", {"NOT ($p1)"}},
    {"idftz", {"$N1EXISTS ($q1)"}},
    {"idftz", {"$k1 $N1IN ($q1)"}},
};

class Maker {
 public:
  explicit Maker(Tape& tape) : tape_(tape) {}

  Statement Make() {
    constexpr int kDeepest = 3;
    for (const char* name : {"t0", "t1", "t2"}) MakeTable(name);
    const unsigned what = tape_.Draw(6);
    if (what >= 4) return MakeChange(what == 5);
    Statement& s = statement_;
    const unsigned columns = 1 + tape_.Draw(4);
    for (unsigned i = 0; i < columns; ++i) s.kinds.push_back(AnyKind());
    const bool into = tape_.Once(10);
    s.ordered = !into && tape_.Once(2);
    s.sql = Query(s.kinds, {}, kDeepest, s.ordered, into);
    if (into) s.sql.tsql += " SELECT * FROM made";
    return s;
  }

 private:
  Kind AnyKind() { return static_cast<Kind>(tape_.Draw(static_cast<unsigned>(kTypes.size()))); }
  template <typename T>
  const T& OneOf(const std::vector<T>& items) {
    return items[tape_.Draw(static_cast<unsigned>(items.size()))];
  }

  // --- Tables

  void MakeTable(const std::string& name) {
    Table table{name, {}};
    Sql& sql = statement_.tables;
    const bool has_key = tape_.Once(2);
    std::vector<bool> nullable;
    std::vector<Sql> columns;
    const unsigned count = 2 + tape_.Draw(4);
    for (unsigned i = 0; i < count; ++i) {
      const bool key = i == 0 && has_key;
      table.kinds.push_back(i == 0 ? Kind::Int : AnyKind());
      nullable.push_back(!key && !tape_.Once(4));
      const std::string column = "c" + std::to_string(i);
      columns.push_back({column + " " + OneOf(TypeOf(table.kinds[i]).declarations) +
                             (nullable[i] ? " NULL" : " NOT NULL") + (key ? " PRIMARY KEY" : ""),
                         column});
    }
    sql = Fill("$1CREATE TABLE " + name + " ($2);\n", {sql, Join(columns, ", ")});
    if (tape_.Once(3)) sql.tsql += "CREATE INDEX i_" + name + " ON " + name + " (c1)\n";
    const unsigned rows = tape_.Draw(10);
    for (unsigned row = 0; row < rows; ++row) {
      std::vector<Sql> values;
      for (std::size_t i = 0; i < count; ++i) {
        const Sql value = nullable[i] && tape_.Once(5) ? Both("NULL") : Literal(table.kinds[i]).sql;
        values.push_back(i == 0 && has_key ? Both(std::to_string(row)) : value);
      }
      sql = Fill("$1INSERT INTO " + name + " VALUES ($2);\n", {sql, Join(values, ", ")});
    }
    tables_.push_back(table);
  }

  // --- Expressions

  Term Literal(Kind kind) {
    const Sql& literal = OneOf(TypeOf(kind).literals);
    return {literal.lite.empty() ? Both(literal.tsql) : literal, kind};
  }

  Term Leaf(Kind kind, const Scope& scope) {
    std::vector<Term> fitting;
    const auto collect = [&](const std::vector<Term>& terms) {
      std::copy_if(terms.begin(), terms.end(), std::back_inserter(fitting),
                   [&](const Term& term) { return term.kind == kind; });
    };
    collect(scope.own);
    if (fitting.empty() || tape_.Once(4)) collect(scope.outer);
    if (fitting.empty() || tape_.Once(5)) {
      if (kind == Kind::Int && tape_.Once(8)) return {Sql{"@v", "2"}, kind};
      return Literal(kind);
    }
    return OneOf(fitting);
  }

  // A value of `kind`, or a number of a lower one that becomes one.
  Term Number(Kind kind, const Scope& scope, int depth) {
    const bool lower = IsNumber(kind) && tape_.Once(3);
    const auto of =
        lower ? tape_.Draw(static_cast<unsigned>(kind) + 1) : static_cast<unsigned>(kind);
    return As(Scalar(static_cast<Kind>(of), scope, depth), kind);
  }

  Term Scalar(Kind kind, const Scope& scope, int depth) {
    if (depth <= 0 || !tape_.Once(2)) return Leaf(kind, scope);
    return {Written(kValues, kind, scope, depth), kind};
  }

  Sql Predicate(const Scope& scope, int depth) {
    return Written(kPredicates, AnyKind(), scope, depth);
  }

  // One of the forms, as far as it fits; its parts are less deep.
  Sql Written(const std::vector<Form>& forms, Kind kind, const Scope& scope, int depth) {
    std::vector<Sql> fitting;
    for (const Form& form : forms) {
      const auto has = [&](const char* part) {
        return form.sql.tsql.find(part) != std::string::npos;
      };
      const bool asks = has("$q") || has("$v");
      const int deep = has("$v") ? 2 : asks || has("$p") ? 1 : 0;
      if (form.gives.find(kLetters[static_cast<std::size_t>(kind)]) == std::string::npos) continue;
      if (std::max(depth, 0) >= deep && (scope.asks || !asks)) fitting.push_back(form.sql);
    }
    Sql sql = OneOf(fitting);
    if (sql.lite.empty()) sql.lite = sql.tsql;
    const Kind another = AnyKind();
    for (std::size_t at = 0; (at = sql.tsql.find('$')) != std::string::npos;) {
      const std::string name = sql.tsql.substr(at, 3);
      const Sql part = Part(name[1], kind, another, scope, depth - 1);
      Replace(sql.tsql, name, part.tsql);
      Replace(sql.lite, name, part.lite);
    }
    return sql;
  }

  static void Replace(std::string& text, const std::string& what, const std::string& by) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size()) {
      text.replace(at, what.size(), by);
    }
  }

  Sql Part(char letter, Kind kind, Kind another, const Scope& scope, int depth) {
    using Parts = std::map<char, std::function<Sql()>>;
    const Parts parts = {
        {'k', [&] { return Scalar(kind, scope, depth).sql; }},
        {'a', [&] { return Scalar(another, scope, depth).sql; }},
        {'n', [&] { return Number(kind, scope, depth).sql; }},
        {'c', [&] { return Leaf(kind, scope).sql; }},
        {'p', [&] { return Predicate(scope, depth); }},
        {'v', [&] { return OneValue(kind, scope, depth - 1); }},
        {'q', [&] { return Query({kind}, Outside(scope), depth, false, false); }},
        {'o', [&] { return Both(OneOf(kOperators)); }},
        {'N', [&] { return Both(tape_.Once(4) ? "NOT " : ""); }},
        {'D', [&] { return Both(tape_.Once(5) ? "DISTINCT " : ""); }},
    };
    if (const auto part = parts.find(letter); part != parts.end()) return part->second();
    return Scalar(static_cast<Kind>(kLetters.find(letter)), scope, depth).sql;
  }

  // The columns that a subquery sees from outside.
  static std::vector<Term> Outside(const Scope& scope) {
    std::vector<Term> columns = scope.outer;
    std::copy_if(scope.own.begin(), scope.own.end(), std::back_inserter(columns),
                 [](const Term& term) { return term.is_column; });
    return columns;
  }

  // A query of one row at most.
  Sql OneValue(Kind kind, const Scope& scope, int depth) {
    if (tape_.Once(3)) {
      limit_ = 1;
      return Query({kind}, Outside(scope), depth, false, false);
    }
    Scope inner{{}, Outside(scope)};
    const Sql from = From(inner, depth);
    return Fill("SELECT $1$2", {Aggregate(kind, inner.own, depth).sql, from});
  }

  // --- Queries

  Source TableSource(const Table& table) {
    const std::string alias = "a" + std::to_string(aliases_++);
    Source source{Both(table.name + " " + alias), {}};
    for (std::size_t i = 0; i < table.kinds.size(); ++i) {
      source.columns.push_back({Both(alias + ".c" + std::to_string(i)), table.kinds[i], true});
    }
    return source;
  }

  Source SourceOf(int depth) {
    if (depth < 2 || !tape_.Once(5)) return TableSource(OneOf(tables_));
    Table derived;
    const unsigned columns = 1 + tape_.Draw(3);
    for (unsigned i = 0; i < columns; ++i) derived.kinds.push_back(AnyKind());
    if (tape_.Once(4)) limit_ = 1 + tape_.Draw(4);
    const Sql query = Query(derived.kinds, {}, depth - 2, false, false);
    Source source = TableSource(derived);
    source.sql = Fill("($1)$2", {query, source.sql});
    return source;
  }

  Source Joined(const std::vector<Term>& outer, int depth) {
    Source left = SourceOf(depth);
    for (int joins = 0; joins < 3 && tape_.Once(2); ++joins) {
      const Source right = depth > 0 && tape_.Once(4) ? Joined(outer, depth - 1) : SourceOf(depth);
      const bool nested = right.is_join;
      static const std::vector<std::string> kJoins = {"INNER", "LEFT", "RIGHT", "FULL", "CROSS"};
      const std::string& kind = OneOf(kJoins);
      Scope both{left.columns, outer, depth > 1 && tape_.Once(4)};
      both.own.insert(both.own.end(), right.columns.begin(), right.columns.end());
      Sql on = Fill(" ON $1", {Matching(left.columns, right.columns)});
      if (tape_.Once(3)) on = Fill("$1 AND $2", {on, Predicate(both, 1)});
      if (kind == "CROSS") on = {};
      // T-SQL may also leave the parentheses out: the first ON belongs to the last join.
      const bool bare = nested && tape_.Once(2) && kind != "CROSS";
      const std::string tsql = kind + (bare || !nested ? " JOIN $2$3" : " JOIN ($2)$3");
      if (kind == "FULL") {
        left = FullJoin(left, right, tsql, on);
      } else {
        const std::string first = kind == "RIGHT" ? right.sql.lite : left.sql.lite;
        const Source& second = kind == "RIGHT" ? left : right;
        const std::string word = kind == "RIGHT" ? "LEFT" : kind;
        left.sql = {Fill("$1 " + tsql, "", {left.sql, right.sql, on}).tsql,
                    first + " " + word + " JOIN " + InParentheses(second) + on.lite};
        left.columns = both.own;
      }
      left.is_join = true;
      left.is_lite_join = kind != "FULL";
    }
    return left;
  }

  // SQLite's own right and full joins lose rows where a condition before them is constant.
  Source FullJoin(const Source& left, const Source& right, const std::string& tsql, const Sql& on) {
    const std::string alias = "a" + std::to_string(aliases_++);
    Source joined;
    std::string both;
    std::string missing;
    for (const Source* side : {&left, &right}) {
      for (Term column : side->columns) {
        const std::string name = "j" + std::to_string(joined.columns.size());
        const std::string comma = both.empty() ? "" : ", ";
        both += comma + column.sql.lite + " AS " + name;
        missing += comma + (side == &left ? "NULL" : column.sql.lite);
        column.sql.lite = alias + "." + name;
        joined.columns.push_back(column);
      }
    }
    const std::string on_left = on.lite.substr(std::string_view(" ON ").size());
    joined.sql = Fill("$1 " + tsql, "", {left.sql, right.sql, on});
    joined.sql.lite = "(SELECT " + both + " FROM " + left.sql.lite + " LEFT JOIN " +
                      InParentheses(right) + on.lite + " UNION ALL SELECT " + missing + " FROM " +
                      right.sql.lite + " WHERE NOT EXISTS (SELECT 1 FROM " + left.sql.lite +
                      " WHERE " + on_left + ")) " + alias;
    return joined;
  }

  Sql Matching(const std::vector<Term>& left, const std::vector<Term>& right) {
    const Term& first = OneOf(left);
    std::vector<Term> fitting;
    std::copy_if(right.begin(), right.end(), std::back_inserter(fitting),
                 [&](const Term& term) { return term.kind == first.kind; });
    if (fitting.empty()) return Fill("$1 IS NOT NULL", {first.sql});
    return Fill("$1 = $2", {first.sql, OneOf(fitting).sql});
  }

  // FROM and WHERE; `scope` receives the columns.
  Sql From(Scope& scope, int depth) {
    const Source source = Joined(scope.outer, depth);
    scope.own = source.columns;
    const Sql from = Fill(" FROM $1", {source.sql});
    return tape_.Once(2) ? Fill("$1 WHERE $2", {from, Predicate(scope, depth)}) : from;
  }

  Term Aggregate(Kind kind, const std::vector<Term>& columns, int depth) {
    return {Written(kAggregates, kind, {columns, {}, false}, std::min(depth, 2) + 1), kind};
  }

  // What is left of a scope's rows when they are grouped: FROM and WHERE are followed by GROUP BY.
  // `single`: all rows become one.
  Sql Group(Scope& scope, int depth, bool& single) {
    std::vector<Term> shown;
    std::vector<Sql> keys;
    const unsigned count = tape_.Draw(3);
    for (unsigned i = 0; i < count; ++i) {
      Term key = OneOf(scope.own);
      if (tape_.Once(4) && key.kind == Kind::Int) key = {Fill("($1 + 1)", {key.sql}), Kind::Int};
      if (tape_.Once(6))
        key = {Fill("ISNULL(2, $1)", "ifnull(2, $1)", {OneOf(scope.own).sql}), Kind::Int};
      keys.push_back(key.sql);
      shown.push_back(key);
    }
    const std::vector<Term> columns = scope.own;
    const unsigned totals = 1 + tape_.Draw(3);
    for (unsigned i = 0; i < totals; ++i) shown.push_back(Aggregate(AnyKind(), columns, depth));
    scope.own = shown;
    single = keys.empty();
    Sql group = keys.empty() ? Sql{} : Fill(" GROUP BY $1", {Join(keys, ", ")});
    if (single || tape_.Once(3)) group = Fill("$1 HAVING $2", {group, Predicate(scope, 1)});
    return group;
  }

  Sql Select(const std::vector<Kind>& kinds, const std::vector<Term>& outer, int depth, Sql* hidden,
             const std::string& top, bool into, bool mixed = false) {
    Scope scope{{}, outer};
    Sql rest = From(scope, depth);
    bool single = false;
    if (tape_.Once(3)) rest = Fill("$1$2", {rest, Group(scope, depth, single)});
    const bool distinct = tape_.Once(6);
    std::vector<Sql> items;
    for (std::size_t i = 0; i < kinds.size(); ++i) {
      // The first select of a union decides over the column's type.
      const int deep = std::min(depth, 2);
      const Term item = mixed ? Number(kinds[i], scope, deep) : Scalar(kinds[i], scope, deep);
      // SQLite makes rows one where it sees an aggregate in what it selects.
      const char* lite = single && i == 0 ? "CASE WHEN COUNT(*) >= 0 THEN $1 END" : "$1";
      items.push_back(Fill("$1 AS c" + std::to_string(i), {Fill("$1", lite, {item.sql})}));
    }
    if (hidden != nullptr && !distinct && tape_.Once(3)) {
      const Term term = OneOf(scope.own);
      *hidden = tape_.Once(3) ? Fill("ISNULL(1, $1), ", "ifnull(1, $1), ", {term.sql})
                              : Fill("$1 DESC, ", {term.sql});
    }
    const std::string head = distinct ? "SELECT DISTINCT " : "SELECT ";
    return Fill(head + top + "$1" + (into ? " INTO made" : "") + "$2", head + "$1$2",
                {Join(items, ", "), rest});
  }

  // A query whose columns are of `kinds`; with TOP when a limit was asked for.
  Sql Query(const std::vector<Kind>& kinds, const std::vector<Term>& outer, int depth, bool ordered,
            bool into) {
    unsigned limit = std::exchange(limit_, 0);
    const bool compound = limit == 0 && tape_.Once(5);
    if (ordered && !compound && tape_.Once(3)) limit = 1 + tape_.Draw(5);
    const std::string top = limit > 0 ? "TOP " + std::to_string(limit) + " " : "";
    Sql hidden;
    Sql query = Select(kinds, outer, depth, compound || !(ordered || limit > 0) ? nullptr : &hidden,
                       top, into);
    if (compound) {
      const std::string word = tape_.Once(2) ? " UNION ALL " : " UNION ";
      query = Fill("$1" + word + "$2",
                   {query, Select(kinds, outer, depth - 1, nullptr, "", false, true)});
    }
    if (!ordered && limit == 0) return query;
    std::vector<Sql> order;
    for (std::size_t i = 0; i < kinds.size(); ++i) {
      const std::string term = tape_.Once(2) ? std::to_string(i + 1) : "c" + std::to_string(i);
      order.push_back(Both(term + (tape_.Once(3) ? " DESC" : "")));
    }
    query = Fill("$1 ORDER BY $2$3", {query, hidden, Join(order, ", ")});
    if (limit > 0) query.lite += " LIMIT " + std::to_string(limit);
    return query;
  }

  // --- Changes

  // UPDATE and DELETE, with the target in FROM under a name of its own, under its own name, or not
  // at all. SQLite finds the rows and their new values before it changes any.
  Statement MakeChange(bool deletes) {
    const Table table = OneOf(tables_);
    const Table& other = OneOf(tables_);
    unsigned form = tape_.Draw(4);
    if (form == 3 && other.name == table.name) form = 0;
    const bool by_name = form == 0 || form == 3;  // in the conditions
    Source source = TableSource(table);
    const std::string name = "a" + std::to_string(aliases_ - 1);
    for (std::size_t i = 0; by_name && i < table.kinds.size(); ++i) {
      source.columns[i].sql.tsql = table.name + ".c" + std::to_string(i);
    }
    const std::vector<Term> own = source.columns;
    bool again = false;  // the table stands in FROM a second time
    if (form == 3) {
      const Source right = TableSource(other);
      source.sql = {right.sql.tsql, source.sql.lite + ", " + right.sql.lite};
      source.columns.insert(source.columns.end(), right.columns.begin(), right.columns.end());
    } else if (form >= 1 && tape_.Once(2)) {
      again = other.name == table.name;
      const Source right = TableSource(other);
      const std::string join = OneOf<std::string>({" JOIN ", " LEFT JOIN "});
      source.sql = Fill("$1" + join + "$2 ON $3",
                        {source.sql, right.sql, Matching(source.columns, right.columns)});
      source.columns.insert(source.columns.end(), right.columns.begin(), right.columns.end());
    }
    Statement& s = statement_;
    s.changed = table.name;
    s.kinds = table.kinds;
    // Values come from the target's row alone: of several partners any one may give its own.
    const std::size_t column = 1 + tape_.Draw(static_cast<unsigned>(table.kinds.size() - 1));
    const Term value = Scalar(table.kinds[column], {own, {}, true}, 2);
    const Sql where =
        tape_.Once(5) ? Sql{} : Fill(" WHERE $1", {Predicate({source.columns, {}, true}, 2)});
    const std::string target = by_name || (form == 2 && !again) ? table.name : name;
    const std::string set = "c" + std::to_string(column);
    const Sql from =
        form == 0 ? Sql{"", " FROM " + source.sql.lite} : Fill(" FROM $1", {source.sql});
    const Sql found =
        Fill("CREATE TEMP TABLE found AS SELECT DISTINCT " + name + ".rowid AS r, $1 AS v$2$3;\n",
             {value.sql, from, where});
    const std::string lite = deletes ? "DELETE FROM " + table.name
                                     : "UPDATE " + table.name + " SET " + set +
                                           " = (SELECT v FROM found WHERE r = " + table.name +
                                           ".rowid)";
    s.sql = Fill(
        (deletes ? "DELETE " + target : "UPDATE " + target + " SET " + set + " = $4") + "$1$2",
        "$3 " + lite + " WHERE rowid IN (SELECT r FROM found)", {from, where, found, value.sql});
    return s;
  }

  Tape& tape_;
  Statement statement_;
  std::vector<Table> tables_;
  unsigned aliases_ = 0;
  unsigned limit_ = 0;  // of the next query
};

}  // namespace

unsigned Tape::Draw(unsigned n) {
  const std::size_t at = drawn_.size();
  const std::uint64_t choice = is_random_ ? random_() : at < choices_.size() ? choices_[at] : 0;
  drawn_.push_back(static_cast<unsigned>(choice % n));
  return drawn_.back();
}

Statement MakeStatement(Tape& tape) { return Maker(tape).Make(); }

}  // namespace ledgerwick::random_queries
