// schema: what a database holds.
#include <algorithm>

#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/connections.h"
#include "cli/interrupt.h"
#include "cli/schema_reader.h"
#include "cli/text_table.h"
#include "host/suggest.h"
#include "output/display_text.h"
#include "tsql/base/arena.h"
#include "tsql/syntax/parser.h"

namespace ledgerwick {
namespace {

// What the user asks for. A text that is no name of an object is a pattern.
struct Wanted {
  Text database;  // empty for the connection's own
  Text owner;     // empty for any
  Text name;      // an object's, or a pattern
};

Wanted ParseWanted(Text text) {
  if (text.ends_with(u"..")) text += u'%';
  tsql::Arena scratch;
  const auto name = tsql::ParseObjectName(text, scratch);
  if (!name) return {{}, {}, text};
  return {Text(name->database.text), Text(name->schema.text), Text(name->object.text)};
}

bool IsPattern(TextView name) { return name.find_first_of(u"%_[") != TextView::npos; }

std::vector<SchemaObject> OfOwner(std::vector<SchemaObject> objects, TextView owner) {
  if (owner.empty()) return objects;
  std::erase_if(objects, [&](const SchemaObject& o) { return !EqualText(o.owner, owner); });
  return objects;
}

Text Number(int number) { return FromUtf8(std::to_string(number)); }

void WriteList(ResultWriter& writer, const std::vector<SchemaObject>& objects) {
  TextTable table(writer, {u"name", u"kind", u"columns", u"primary key"});
  for (const SchemaObject& o : objects) {
    table.Row({o.ShownName(), o.kind, o.columns > 0 ? Number(o.columns) : Text(), o.key});
  }
  table.End();
}

void WriteColumns(ResultWriter& writer, SchemaReader& reader, const SchemaObject& object) {
  TextTable table(writer, {u"column", u"type", u"null", u"default"});
  for (const SchemaColumn& c : reader.Columns(object)) {
    table.Row({c.name, c.type, c.nullable ? u"yes" : u"no", c.default_value});
  }
  table.End();
}

void WriteKeys(ResultWriter& writer, SchemaReader& reader, const SchemaObject& object) {
  const std::vector<SchemaKey> keys = reader.Keys(object);
  if (keys.empty()) return;
  TextTable table(writer, {u"key or index", u"kind", u"columns", u"references"});
  for (const SchemaKey& key : keys) table.Row({key.name, key.kind, key.columns, key.references});
  table.End();
}

// The text as it is, to be run again; on a terminal without what would steer it.
void PrintText(std::ostream& out, bool to_terminal, const std::string& text) {
  std::string line;
  for (const char c : text + (text.ends_with('\n') ? "" : "\n")) {
    if (!to_terminal) {
      out << c;
    } else if (c == '\n') {
      out << EscapeControls(line) << '\n';
      line.clear();
    } else if (c == '\t') {
      line += "    ";
    } else if (c != '\r') {
      line += c;
    }
  }
  CheckWritten(out);
}

class SchemaWriter {
 public:
  SchemaWriter(Console& terminal, const SchemaOptions& options, const OutputFormat& format)
      : output_(terminal, options.output, format, false),
        is_text_(format.name == "table"),
        to_terminal_(terminal.out_is_terminal && &output_.stream() == &output_.console().out) {}

  ResultOutput& output() noexcept { return output_; }

  void WriteObject(SchemaReader& reader, const SchemaObject& object) {
    output_.console().err << ToUtf8(object.kind) << ' ' << SafeLines(ToUtf8(object.ShownName()))
                          << '\n';
    output_.writer().Titles(object.ShownName(), object.kind);
    const bool has_columns = object.kind == u"table" || object.kind == u"view";
    if (has_columns) WriteColumns(output_.writer(), reader, object);
    if (object.kind == u"table") return WriteKeys(output_.writer(), reader, object);
    const Text text = reader.Definition(object);
    if (text.empty()) {
      PrintNote(output_.console(), "the database keeps its text to itself");
    } else if (is_text_) {
      if (has_columns) output_.stream() << '\n';
      PrintText(output_.stream(), to_terminal_, ToUtf8(text));
    } else {
      TextTable table(output_.writer(), {u"text"});
      table.Row({text});
      table.End();
    }
  }

 private:
  ResultOutput output_;
  bool is_text_;
  bool to_terminal_;
};

// Nothing is called so: with the name that may be meant.
int TellUnknown(Console& console, SchemaReader& reader, const Wanted& wanted,
                const std::vector<SchemaObject>& objects) {
  const std::string name = SafeLines(ToUtf8(wanted.name));
  const std::string place = " in " + SafeLines(ToUtf8(reader.DatabaseName()));
  if (IsPattern(wanted.name)) {
    PrintError(console, "nothing" + place + " has a name like '" + name + "'");
    return kRefused;
  }
  std::vector<std::string> names;
  for (const SchemaObject& object : objects) names.push_back(ToUtf8(object.name));
  const std::string nearest = Nearest(ToUtf8(wanted.name), names);
  PrintError(console, "no table, view or procedure" + place + " is called '" + name + "'" +
                          (nearest.empty() ? "" : "; did you mean '" + nearest + "'?"));
  return kRefused;
}

int Show(Console& terminal, const SchemaOptions& options, const OutputFormat& format,
         SchemaReader& reader) {
  const Wanted wanted = ParseWanted(FromUtf8(options.name));
  if (!wanted.database.empty()) reader.Use(wanted.database);
  const std::vector<SchemaObject> all = OfOwner(reader.Objects(), wanted.owner);
  std::vector<SchemaObject> found = all;
  std::erase_if(found, [&](const SchemaObject& o) { return !EqualText(o.name, wanted.name); });
  const bool is_one = !found.empty();
  if (wanted.name.empty()) found = all;
  if (found.empty() && IsPattern(wanted.name)) {
    found = OfOwner(reader.Objects(wanted.name), wanted.owner);
  }
  if (found.empty() && !wanted.name.empty()) return TellUnknown(terminal, reader, wanted, all);
  SchemaWriter writer(terminal, options, format);
  if (is_one) {
    for (const SchemaObject& object : found) writer.WriteObject(reader, object);
  } else {
    WriteList(writer.output().writer(), found);
  }
  InterruptGuard::Check();
  writer.output().Finish();
  return kDone;
}

}  // namespace

int SchemaCommand(Console& console, const SchemaOptions& options) {
  const OutputFormat& format = ChooseFormat(console, options.output);
  const Text connection = ChooseConnection(options.connection, options.server, {});
  const InterruptGuard guard;
  ProgressLine progress(console);
  ConnectionSettings settings = UsualSettings(console, progress, options.server);
  settings.read_only_if_it_must = true;
  try {
    const auto database = OpenReportDatabase(connection, settings);
    SchemaReader reader(database->Reader());
    return Show(console, options, format, reader);
  } catch (const DatabaseError& error) {
    progress.Clear();
    InterruptGuard::Check();
    DatabaseError told = error;
    told.line = 0;  // of a statement that nobody has seen
    PrintDatabaseError(console, told, {});
    return kRefused;
  }
}

}  // namespace ledgerwick
