#include "host/trace_script.h"

#include <algorithm>
#include <vector>

namespace ledgerwick {
namespace {

bool IsAscii(TextView text) noexcept {
  return std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 0x80; });
}

bool IsBlank(char16_t c) noexcept { return c == u' ' || c == u'\t' || c == u'\r'; }

// A line that consists of GO parts batches, even inside a literal.
bool HasGoLine(TextView sql) {
  for (std::size_t from = 0; from <= sql.size();) {
    const std::size_t end = std::min(sql.find(u'\n', from), sql.size());
    TextView line = sql.substr(from, end - from);
    while (!line.empty() && IsBlank(line.front())) line.remove_prefix(1);
    const TextView word = line.substr(0, 2);
    if (EqualText(word, u"GO") && std::all_of(line.begin() + 2, line.end(), [](char16_t c) {
          return IsBlank(c) || (c >= u'0' && c <= u'9');
        })) {
      return true;
    }
    from = end + 1;
  }
  return false;
}

// What the tools that run scripts would not pass on as it stands: GO, and $(NAME).
bool NeedsBreaking(TextView sql) { return HasGoLine(sql) || sql.find(u"$(") != TextView::npos; }

std::string Doubled(TextView text) {
  std::string literal;
  for (const char c : ToUtf8(text)) {
    if (c == '\'') literal += '\'';
    literal += c;
  }
  return literal;
}

std::string Literal(TextView text) { return (IsAscii(text) ? "'" : "N'") + Doubled(text) + '\''; }

// `text` as an expression of literals in which no line break stands and no "$(".
std::string BrokenLiteral(TextView text) {
  // Of the greatest length from the start, or the sum of short literals would be cut off.
  std::string expression = "CAST(N'' AS nvarchar(max)) + N'";
  Text piece;
  const auto flush = [&] {
    expression += Doubled(piece);
    piece.clear();
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == u'\n' || text[i] == u'\r') {
      flush();
      expression += "' + NCHAR(" + std::to_string(static_cast<int>(text[i])) + ") + N'";
    } else {
      piece += text[i];
      if (text.substr(i, 2) != u"$(") continue;
      flush();
      expression += "' + N'";
    }
  }
  flush();
  return expression + '\'';
}

// Writes the operations of a trace one after the other.
class ScriptWriter {
 public:
  void Comment(const std::string& text) {
    std::string line;
    for (const char c : text + '\n') {
      if (c != '\n' && c != '\r') {
        line += c;
      } else if (!line.empty()) {
        script_ += "-- " + line + '\n';
        line.clear();
      }
    }
  }

  void operator()(const OpenOperation& o) {
    Comment("connection" +
            (o.connection_string.empty() ? std::string() : ": " + ToUtf8(o.connection_string)));
  }
  void operator()(const ExecuteOperation& o) {
    if (o.ignore_errors) {
      Comment("the report passes over an error of this statement");
      Batch("BEGIN TRY\n" + Statement(o.sql) + "\nEND TRY\nBEGIN CATCH\nEND CATCH");
    } else {
      Batch(Statement(o.sql));
    }
  }
  void operator()(const RecordsetOperation& o) {
    Comment(
        "the report reads these rows; what follows is what it did without any, or with those "
        "of the request");
    Batch(Statement(o.sql));
  }
  void operator()(const CommandOperation& o) {
    std::string before;
    std::string call = "EXEC " + ToUtf8(o.procedure);
    for (std::size_t i = 0; i < o.parameters.size(); ++i) {
      const CommandParameter& p = o.parameters[i];
      std::string value = Literal(p.value);
      if (NeedsBreaking(p.value)) {
        value = "@p" + std::to_string(i + 1);
        before += "DECLARE " + value + " nvarchar(max)\nSET " + value + " = " +
                  BrokenLiteral(p.value) + '\n';
      }
      Comment(ToUtf8(p.name) + ": parameter " + std::to_string(i + 1));
      call += (i > 0 ? ", " : " ") + value;
    }
    Batch(before + call);
  }
  void operator()(const BeepOperation&) { Comment("beep"); }
  void operator()(const MessageOperation& o) { Comment("message box: " + ToUtf8(o.text)); }
  void operator()(const CloseOperation&) { Comment("the connection is closed"); }

  std::string Take() { return std::move(script_); }

 private:
  static std::string Statement(const Text& sql) {
    if (!NeedsBreaking(sql)) return ToUtf8(sql);
    return "DECLARE @statement nvarchar(max)\nSET @statement = " + BrokenLiteral(sql) +
           "\nEXEC (@statement)";
  }
  void Batch(const std::string& sql) { script_ += sql + "\nGO\n"; }

  std::string script_;
};

template <typename T>
void CommentError(ScriptWriter& writer, const char* what, const Outcome<T>& outcome) {
  const auto* error = std::get_if<DatabaseError>(&outcome);
  if (error == nullptr) return;
  writer.Comment(std::string(what) + " raised error " + std::to_string(error->number) + ": " +
                 ToUtf8(error->description));
}

}  // namespace

std::string ToScript(const Trace& trace, const ClassInfo& report) {
  ScriptWriter writer;
  writer.Comment(ToUtf8(report.name) + ": " + ToUtf8(report.report));
  CommentError(writer, "TempTablename", trace.table_name);
  for (const Operation& operation : trace.operations) std::visit(writer, operation);
  CommentError(writer, "MoveDataDetail", trace.result);
  if (!Succeeded(trace)) {
    writer.Comment("the report gave up here");
    return writer.Take();
  }
  writer.Comment("the host reads the table");
  writer(ExecuteOperation{u"SELECT * FROM " + std::get<Text>(trace.table_name)});
  return writer.Take();
}

}  // namespace ledgerwick
