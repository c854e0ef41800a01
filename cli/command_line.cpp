#include "cli/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>

#include "cli/commands.h"
#include "cli/completion.h"
#include "cli/console.h"
#include "cli/interrupt.h"
#include "cli/manual.h"
#include "cli/option_values.h"
#include "desk/worker.h"
#include "host/filter_argument.h"
#include "host/json_document.h"
#include "host/suggest.h"
#include "host/trace.h"
#include "output/column_selection.h"
#include "sample/sample.h"

namespace ledgerwick {
namespace {

constexpr const char* kConnectionHelp =
    "The database, embedded:PATH or a server's connection string, ODBC's, ADO's or "
    "mssql://user@host/database (else the request's, else LEDGERWICK_CONNECTION)";

// Of commands that know no request.
constexpr const char* kDatabaseHelp =
    "The database, embedded:PATH or a server's connection string (else LEDGERWICK_CONNECTION)";

// Of query at a terminal.
constexpr const char* kPromptHelp =
    "The prompt, at a terminal without SQL and --file:\n"
    "  GO      on a line of its own runs what was typed, GO 5 five times\n"
    "  ;       at the end of one line that is a whole statement runs it\n"
    "  TAB     completes the names of tables, columns, procedures, reports\n"
    "  Ctrl-C  cancels the statement that runs, or forgets what was typed\n"
    "  Ctrl-D  ends, as quit and exit do\n"
    "  \\?      tells more\n\n";

// The command line, and the command that it asks for.
class CommandLine {
 public:
  CommandLine() {
    app_.set_version_flag("--version", std::string("ledgerwick ") + kVersion,
                          "Print the version and exit");
    app_.require_subcommand(1);
    app_.fallthrough();
    app_.add_option("--color", colour_, "Colours: auto, always or never")
        ->transform(CLI::IsMember({"auto", "always", "never"}))
        ->default_str("auto");
    app_.footer(
        "Streams:\n"
        "  standard output  data\n"
        "  standard error   everything else: titles, messages, progress, errors\n\n"
        "Exit codes:\n"
        "  0    done\n"
        "  1    the report or the database said no; of diff: the results differ\n"
        "  2    wrong usage or a malformed request; of diff: trouble\n"
        "  141  whoever read the output had enough of it\n\n"
        "Environment:\n"
        "  LEDGERWICK_CONNECTION    the database where neither --connection nor the request tells\n"
        "  LEDGERWICK_PASSWORD      the password of a server's user\n"
        "  LEDGERWICK_MEMORY_LIMIT  as --memory-limit\n"
        "  NO_COLOR                 no colours unless --color asks for them\n"
        "  PAGER                    what shows tables longer than the screen\n\n"
        "Examples:\n"
        "  ledgerwick sample create sample.db\n"
        "  ledgerwick run clsRepAQKCYJ --connection embedded:sample.db\n"
        "  ledgerwick trace clsRepAQKCYJ --filter 存货编码=0101..0199");
    AddList();
    AddDescribe();
    AddCheck();
    AddRun();
    AddTrace();
    AddDiff();
    AddBatch();
    AddQuery();
    AddSchema();
    AddExplain();
    AddSample();
    AddUpgrade();
    AddServe();
    AddDesk();
    ShowPlaceholders(app_);
  }

  CLI::App& app() { return app_; }

  ColourChoice colour() const {
    if (colour_ == "always") return ColourChoice::Always;
    return colour_ == "never" ? ColourChoice::Never : ColourChoice::Auto;
  }

  int Run(Console& console) { return command_(console); }

 private:
  CLI::App& AddSubcommand(CLI::App& parent, const char* name, const char* description,
                          const char* examples) {
    CLI::App& sub = *parent.add_subcommand(name, description);
    sub.footer(std::string("Examples:\n") + examples);
    return sub;
  }

  static void AddFormat(CLI::App& sub, OutputOptions& output) {
    std::string formats = "The format (else what the file's ending says, else table):";
    if (!output.format.empty()) formats = "The format:";
    for (const OutputFormat& format : OutputFormats()) formats.append(" ").append(format.name);
    CLI::Option* option = sub.add_option("--format", output.format, formats);
    if (!output.format.empty()) option->capture_default_str();
  }

  // How results look.
  static void AddForm(CLI::App& sub, OutputOptions& output) {
    AddFormat(sub, output);
    sub.add_option("--limit", output.limit, "Print at most so many rows of each result")
        ->check(CLI::Range(std::int64_t{0}, kNoLimit));
    sub.add_option("--columns", output.columns, "Only these columns, in this order: A,B")
        ->delimiter(',')
        ->allow_extra_args(false);
    sub.add_option("--separator", output.separator, "What parts values in csv, such as ';' or tab");
    sub.add_flag("--bom", output.byte_order_mark,
                 "csv with a byte-order mark, by which spreadsheets know UTF-8");
    sub.add_flag("--guard-formulas", output.guard_formulas,
                 "csv and tsv: ' before a text that a spreadsheet would run as a formula");
  }

  static void AddOutput(CLI::App& sub, OutputOptions& output) {
    AddForm(sub, output);
    AddOutputFile(sub, output);
  }

  static void AddOutputFile(CLI::App& sub, OutputOptions& output) {
    sub.add_option("--output", output.file,
                   "Write to this file instead of standard output (-); it appears whole or not at "
                   "all");
  }

  static void AddMemoryLimit(CLI::App& sub, std::optional<std::int64_t>& limit) {
    constexpr std::int64_t kMostMemory = std::int64_t{1} << 50;
    sub.add_option("--memory-limit", limit,
                   "The memory that a statement may use, such as 512MB; 0 for no limit (1GB unless "
                   "told)")
        ->transform(CLI::AsSizeValue(false))
        ->check(CLI::Range(std::int64_t{0}, kMostMemory))  // what is negative comes as more
        ->envname("LEDGERWICK_MEMORY_LIMIT");
  }

  static CLI::Option* AddReadOnly(CLI::App& sub, bool& read_only) {
    return sub.add_flag("--read-only", read_only,
                        "Leave the database's file and folder as they are; tempdb is then one of "
                        "this command's own");
  }

  static void AddServer(CLI::App& sub, ServerOptions& server,
                        const char* password_option = "--password-file") {
    sub.add_option("-S,--server", server.server,
                   "A server instead of --connection: HOST, HOST,PORT or HOST\\INSTANCE");
    sub.add_option("-d,--database", server.database, "Its database (else the login's own)");
    sub.add_option("-U,--user", server.user, "Its user (else the system's account logs in)");
    sub.add_option(password_option, server.password_file,
                   "The user's password is this file's first line (else LEDGERWICK_PASSWORD, else "
                   "it is asked for)");
  }

  static void AddReport(CLI::App& sub, ReportOptions& report) {
    sub.add_option("--filter", report.filters,
                   "A filter, NAME=VALUE or NAME=FROM..TO; NAME is its name or caption")
        ->allow_extra_args(false);
    sub.add_option("--title", report.title, "The report's title");
    sub.add_option("--login-date", report.login_date, "The login date, yyyy-mm-dd");
    sub.add_option("--account", report.account, "The account set's code");
    sub.add_option("--connection", report.connection, kConnectionHelp);
  }

  static void AddStrict(CLI::App& sub, bool& strict) {
    sub.add_flag("--strict", strict, "Refuse a request in which `check` finds a warning");
  }

  void AddList() {
    CLI::App& sub = AddSubcommand(app_, "list", "List the report classes",
                                  "  ledgerwick list\n"
                                  "  ledgerwick list --format json");
    sub.add_option("--format", list_format_, "The format")->capture_default_str();
    sub.callback([this] {
      command_ = [this](Console& console) { return ListCommand(console, list_format_); };
    });
  }

  void AddDescribe() {
    CLI::App& sub =
        AddSubcommand(app_, "describe", "Show a report's filters, its result's columns and notes",
                      "  ledgerwick describe clsRepAQKCYJ\n"
                      "  ledgerwick describe clsRepSFC --format markdown");
    sub.add_option("CLASS", describe_.report, "The report class")->required();
    sub.add_option("--connection", describe_.connection,
                   "markdown: a sample database, on which the example runs");
    sub.add_option("--format", describe_.format, "The format: table json markdown")
        ->capture_default_str();
    sub.callback([this] {
      command_ = [this](Console& console) { return DescribeCommand(console, describe_); };
    });
  }

  void AddCheck() {
    CLI::App& sub = AddSubcommand(
        app_, "check", "Tell what is wrong or surprising in a request, before it runs",
        "  ledgerwick check clsRepHwhz --filter 日期=2002-03-01..2002-03-31\n"
        "  ledgerwick check request.json --strict --format json\n"
        "  ledgerwick check clsRepLsz --filter 仓库编码=77 --connection embedded:sample.db\n"
        "  ledgerwick check --codes");
    sub.add_option("CLASS|REQUEST.json", check_.report.report,
                   "The report class, or a request's file, - for standard input");
    sub.add_option("--request", check_.report.request_file, "A request's file instead of a class");
    AddReport(sub, check_.report);
    AddStrict(sub, check_.report.strict);
    sub.add_option("--format", check_.format, "The format, as of run")->capture_default_str();
    sub.add_flag("--codes", check_.codes, "List everything that can be found, by its code");
    sub.callback([this] {
      command_ = [this](Console& console) {
        return check_.codes ? CodesCommand(console, check_.format) : CheckCommand(console, check_);
      };
    });
  }

  void AddRun() {
    CLI::App& sub = AddSubcommand(
        app_, "run", "Fill a report's table and print it",
        "  ledgerwick run clsRepAQKCYJ --connection embedded:sample.db\n"
        "  ledgerwick run clsRepAQKCYJ --filter 查询类型=高于安全库存量存货 --format csv\n"
        "  ledgerwick run request.json --output result.xlsx");
    sub.add_option("CLASS|REQUEST.json", run_.report.report,
                   "The report class, or a request's file, - for standard input");
    sub.add_option("--request", run_.report.request_file,
                   "A request's file instead of a class, - for standard input");
    AddReport(sub, run_.report);
    AddStrict(sub, run_.report.strict);
    AddServer(sub, run_.report.server);
    AddOutput(sub, run_.output);
    AddMemoryLimit(sub, run_.memory_limit);
    sub.add_flag("--show-sql", run_.show_sql, "Print each statement before it runs");
    AddReadOnly(sub, run_.read_only);
    sub.callback(
        [this] { command_ = [this](Console& console) { return RunCommand(console, run_); }; });
  }

  void AddTrace() {
    CLI::App& sub = AddSubcommand(app_, "trace", "Print what a report does, without a database",
                                  "  ledgerwick trace clsInventroy\n"
                                  "  ledgerwick trace request.json\n"
                                  "  ledgerwick trace clsRepAQKCYJ --filter 仓库编码=01..05\n"
                                  "  ledgerwick trace clsRepAQKCYJ --format sql");
    sub.add_option("CLASS|REQUEST.json", trace_.report,
                   "The report class, or a request's file, - for standard input");
    sub.add_option("--request", trace_.request_file, "A request's file instead of a class");
    AddReport(sub, trace_);
    AddStrict(sub, trace_.strict);
    sub.add_option("--format", trace_format_, "The format: json, or sql for a script")
        ->check(CLI::IsMember({"json", "sql"}))
        ->capture_default_str();
    sub.callback([this] {
      command_ = [this](Console& console) { return TraceCommand(console, trace_, trace_format_); };
    });
  }

  void AddDiff() {
    CLI::App& sub = AddSubcommand(
        app_, "diff", "Show the rows that differ between two results",
        "  ledgerwick diff before.csv after.csv\n"
        "  ledgerwick diff before.json after.csv --key cInvCode\n"
        "  ledgerwick diff clsRepSFC --connection embedded:a.db --with embedded:b.db");
    sub.add_option("FILE FILE|CLASS|REQUEST.json", diff_.operands,
                   "Two results in csv, tsv, json or jsonl; or with --with a report or a request")
        ->required()
        ->expected(1, 2);
    AddReport(sub, diff_.report);
    AddStrict(sub, diff_.report.strict);
    sub.add_option("--with", diff_.with, "The second database, on which the same report runs");
    sub.add_option("--key", diff_.keys, "The columns that tell the rows apart: A,B (else found)")
        ->delimiter(',')
        ->allow_extra_args(false);
    sub.add_flag("--ordered", diff_.ordered, "Compare row by row: the order counts");
    AddOutput(sub, diff_.output);
    AddMemoryLimit(sub, diff_.memory_limit);
    sub.callback(
        [this] { command_ = [this](Console& console) { return DiffCommand(console, diff_); }; });
  }

  void AddBatch() {
    CLI::App& sub =
        AddSubcommand(app_, "batch", "Run many requests, each into a file of its own",
                      "  ledgerwick batch requests/ --output results/ --format xlsx --jobs 4\n"
                      "  ledgerwick batch monthly.jsonl --output results/ --continue");
    sub.add_option("FOLDER|FILE.jsonl", batch_.requests,
                   "A folder of requests (*.json), or a file with a request on each line")
        ->required();
    sub.add_option("--output", batch_.folder, "The folder of the results, made where it is missing")
        ->required();
    batch_.output.format = "csv";
    AddForm(sub, batch_.output);
    sub.add_option("--connection", batch_.connection, kConnectionHelp);
    sub.add_option("--jobs", batch_.jobs, "How many requests run at a time")
        ->check(CLI::Range(1, 64))
        ->capture_default_str();
    sub.add_flag("--continue", batch_.go_on,
                 "Go on with a batch that was interrupted: what is done stays, the rest runs");
    AddStrict(sub, batch_.strict);
    AddMemoryLimit(sub, batch_.memory_limit);
    sub.callback(
        [this] { command_ = [this](Console& console) { return BatchCommand(console, batch_); }; });
  }

  void AddQuery() {
    CLI::App& sub = AddSubcommand(
        app_, "query", "Run T-SQL from the argument, a file or standard input, or at a prompt",
        "  ledgerwick query --connection embedded:sample.db \"SELECT * FROM WareHouse\"\n"
        "  ledgerwick query --connection embedded:sample.db --file script.sql\n"
        "  ledgerwick query --connection embedded:sample.db            # a prompt\n"
        "  echo \"SELECT COUNT(*) FROM Inventory\" | ledgerwick query --format csv");
    sub.footer(kPromptHelp + sub.get_footer());
    CLI::Option* sql = sub.add_option("SQL", query_.sql, "The statements");
    sub.add_option("--file", query_.file, "A script, its batches parted by lines that are GO");
    sub.add_option("--encoding", query_.encoding,
                   "Of the script: utf-8, utf-16 or gbk (else what its byte-order mark says, else "
                   "utf-8)")
        ->check(CLI::IsMember({"utf-8", "utf-16", "gbk"}));
    sub.add_option("--connection", query_.connection, kDatabaseHelp);
    AddServer(sub, query_.server);
    AddOutput(sub, query_.output);
    AddMemoryLimit(sub, query_.memory_limit);
    CLI::Option* read_only = AddReadOnly(sub, query_.read_only);
    sub.add_flag("--create", query_.create, "Make an empty database where there is no file")
        ->excludes(read_only);
    sub.callback([this, sql] {
      query_.has_sql = sql->count() > 0;
      command_ = [this](Console& console) { return QueryCommand(console, query_); };
    });
  }

  void AddSchema() {
    CLI::App& sub = AddSubcommand(
        app_, "schema", "Show what a database holds: tables, views, procedures",
        "  ledgerwick schema --connection embedded:sample.db     # everything, a line each\n"
        "  ledgerwick schema Sale%                               # whatever is called LIKE that\n"
        "  ledgerwick schema Inventory                           # its columns, keys and indexes\n"
        "  ledgerwick schema Sa_MoveSaleDetail > procedure.sql   # its text\n"
        "  ledgerwick schema tempdb..tempAqkcyj");
    sub.add_option(
        "NAME", schema_.name,
        "One object, for its columns, keys and text; or a pattern as of LIKE, for a list. "
        "Of another database: DATABASE..NAME");
    sub.add_option("--connection", schema_.connection, kDatabaseHelp);
    AddServer(sub, schema_.server);
    AddFormat(sub, schema_.output);
    AddOutputFile(sub, schema_.output);
    sub.callback([this] {
      command_ = [this](Console& console) { return SchemaCommand(console, schema_); };
    });
  }

  void AddExplain() {
    CLI::App& sub = AddSubcommand(
        app_, "explain", "Show how the embedded database reads, plans and runs a statement",
        "  ledgerwick explain --connection embedded:sample.db \"SELECT * FROM WareHouse\"\n"
        "  ledgerwick explain --analyze \"EXEC Sa_MoveTrustDetail 'r', ' ', '2002-03-01', "
        "'2002-03-31'\"");
    sub.add_option("SQL", explain_.sql, "The statements")->required();
    sub.add_option("--connection", explain_.connection, kConnectionHelp);
    sub.add_flag("--analyze", explain_.analyze,
                 "Run the statements, with all that they change, and add rows and times");
    sub.callback([this] {
      command_ = [this](Console& console) { return ExplainCommand(console, explain_); };
    });
  }

  void AddSample() {
    CLI::App& sample = AddSubcommand(app_, "sample", "The sample database",
                                     "  ledgerwick sample create sample.db");
    sample.require_subcommand(1);
    CLI::App& create = AddSubcommand(sample, "create", "Make a sample database",
                                     "  ledgerwick sample create sample.db\n"
                                     "  ledgerwick sample create big.db --lines 1000000 --force\n"
                                     "  ledgerwick sample create -S server -d sample -U sa");
    create.add_option("PATH", sample_.path, "The new database's file");
    create.add_option("--connection", sample_.connection,
                      "An empty database of a server instead, by its connection string");
    AddServer(create, sample_.server);
    create.add_option("--lines", sample_.lines, "How many voucher lines")
        ->check(CLI::Range(std::int64_t{1}, kMostSampleLines))
        ->capture_default_str();
    create.add_option("--seed", sample_.seed, "The same seed gives the same data")
        ->capture_default_str();
    create.add_flag("--force", sample_.force, "Replace an existing database that nobody uses");
    create.callback([this] {
      command_ = [this](Console& console) { return SampleCreateCommand(console, sample_); };
    });
  }

  void AddUpgrade() {
    CLI::App& sub = AddSubcommand(app_, "upgrade", "Bring a database to today's format",
                                  "  ledgerwick upgrade company.db");
    sub.add_option("FILE", upgraded_, "The database's file, which nobody else uses")->required();
    sub.callback([this] {
      command_ = [this](Console& console) { return UpgradeCommand(console, upgraded_); };
    });
  }

  void AddServe() {
    constexpr std::size_t kMostConnections = 10000;
    CLI::App& sub = AddSubcommand(
        app_, "serve", "Let clients of SQL Server use a database",
        "  ledgerwick serve company.db\n"
        "  ledgerwick serve company.db --listen 127.0.0.1:14330 --password-file secret "
        "--read-only\n"
        "  ledgerwick serve company.db --listen 0.0.0.0 --tls-cert cert.pem --tls-key key.pem");
    sub.add_option("FILE", serve_.path, "The database's file")->required();
    sub.add_option("--listen", serve_.listen, "Where: HOST:PORT; port 0 for a free one")
        ->capture_default_str();
    sub.add_option("--user", serve_.user, "The user that may log in")->capture_default_str();
    sub.add_option("--password-file", serve_.password_file,
                   "The file whose first line is the password (else a random one is printed)");
    sub.add_option("--tls-cert", serve_.certificate, "A certificate, which lets clients encrypt");
    sub.add_option("--tls-key", serve_.key, "The certificate's key");
    sub.add_flag("--allow-plain", serve_.allow_plain,
                 "Let other machines connect without encryption");
    sub.add_flag("--read-only", serve_.read_only, "Refuse changes to the books");
    sub.add_option("--max-connections", serve_.most_connections, "Clients at once")
        ->check(CLI::Range(std::size_t{1}, kMostConnections))
        ->capture_default_str();
    AddMemoryLimit(sub, serve_.memory_limit);
    sub.callback(
        [this] { command_ = [this](Console& console) { return ServeCommand(console, serve_); }; });
  }

  void AddDesk() {
    constexpr int kMostJobs = 64;
    constexpr std::int64_t kMostRows = 100'000'000;
    constexpr int kMostMinutes = 10080;  // a week
    CLI::App& sub = AddSubcommand(
        app_, "desk", "The reports in a browser",
        "  ledgerwick desk --connection embedded:company.db --open\n"
        "  ledgerwick desk --connection embedded:company.db --folder requests/ "
        "--with last=embedded:2001.db\n"
        "  ledgerwick desk -S server -d books -U report --listen 0.0.0.0:8443 --password-file "
        "secret --tls-cert cert.pem --tls-key key.pem");
    sub.add_option("--connection", desk_.connection,
                   "The database, embedded:PATH or a server's connection string (else "
                   "LEDGERWICK_CONNECTION)");
    AddServer(sub, desk_.server, "--server-password-file");
    sub.add_option("--with", desk_.with,
                   "Another database that reports may run on, NAME=CONNECTION; may be repeated")
        ->allow_extra_args(false);
    sub.add_option("--listen", desk_.listen, "Where: HOST:PORT; port 0 for a free one")
        ->capture_default_str();
    sub.add_flag("--open", desk_.open, "Open the browser");
    sub.add_option("--folder", desk_.folder, "Keep requests in this folder, which batch reads too")
        ->check(CLI::ExistingDirectory);
    sub.add_option("--password-file", desk_.password_file,
                   "The file whose first line browsers ask for, in place of the link's key");
    sub.add_option("--tls-cert", desk_.certificate, "A certificate: the page comes encrypted");
    sub.add_option("--tls-key", desk_.key, "The certificate's key");
    sub.add_option("--jobs", desk_.jobs, "How many reports run at a time")
        ->check(CLI::Range(1, kMostJobs))
        ->capture_default_str();
    sub.add_option("--max-rows", desk_.most_rows, "The rows that a run may keep")
        ->check(CLI::Range(std::int64_t{1}, kMostRows))
        ->capture_default_str();
    sub.add_option("--idle", desk_.idle_minutes,
                   "The minutes after which whoever asks for nothing has to come in anew")
        ->check(CLI::Range(1, kMostMinutes))
        ->capture_default_str();
    sub.callback(
        [this] { command_ = [this](Console& console) { return DeskCommand(console, desk_); }; });
  }

  CLI::App app_{"The reports of the inventory and sales suite, on an embedded database.",
                "ledgerwick"};
  std::string colour_ = "auto";
  std::string list_format_ = "table";
  std::string upgraded_;
  DescribeOptions describe_;
  CheckOptions check_;
  RunOptions run_;
  ReportOptions trace_;
  std::string trace_format_ = "json";
  DiffOptions diff_;
  BatchOptions batch_;
  QueryOptions query_;
  SchemaOptions schema_;
  ExplainOptions explain_;
  ServeOptions serve_;
  DeskOptionsGiven desk_;
  SampleOptionsGiven sample_;
  std::function<int(Console&)> command_;
};

void CheckArguments(const std::vector<std::string>& args) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::size_t bad = FindInvalidUtf8(args[i]);
    if (bad == std::string::npos) continue;
    throw UsageError("argument " + std::to_string(i + 1) + ": invalid UTF-8 at byte " +
                     std::to_string(bad));
  }
}

// What CLI11 found, with a suggestion for a misspelt command.
std::string UsageMessage(const CLI::App& app, const CLI::ParseError& error,
                         const std::vector<std::string>& args) {
  if (args.empty() || args.front().starts_with('-')) return error.what();
  std::vector<std::string> names;
  for (const CLI::App* sub : app.get_subcommands([](const CLI::App*) { return true; })) {
    names.push_back(sub->get_name());
  }
  if (std::find(names.begin(), names.end(), args.front()) != names.end()) return error.what();
  std::string message = "unknown command '" + args.front() + "'";
  const std::string nearest = Nearest(args.front(), names);
  return nearest.empty() ? message : message + "; did you mean '" + nearest + "'?";
}

std::string MissingColumnMessage(const MissingColumn& missing) {
  const std::string nearest = Nearest(missing.name(), missing.known());
  if (!nearest.empty()) return missing.what() + ("; did you mean '" + nearest + "'?");
  std::string message = missing.what() + std::string("; it has");
  for (const std::string& name : missing.known()) message.append(" ").append(name);
  return message;
}

// Passes the errors of `run` on to the user.
int Guarded(Console& console, const std::function<int()>& run) {
  try {
    return run();
  } catch (const UsageError& error) {
    PrintError(console, error.what());
  } catch (const FileError& error) {
    PrintError(console, error.what());
  } catch (const FilterError& error) {
    PrintError(console, error.what());
  } catch (const MissingColumn& missing) {
    PrintError(console, "--columns: " + MissingColumnMessage(missing));
  } catch (const ReaderGone&) {
    return kReaderGone;
  } catch (const std::exception& error) {
    PrintError(console, error.what());
    return kRefused;
  }
  return kWrongUsage;
}

// Commands that are not for people: `__complete WORD…` answers shells (cli/completion), `__manual
// FOLDER` writes the manual pages for the installation, and `__desk-worker` runs a report of the
// desk's.
bool IsInternal(const std::vector<std::string>& args) {
  return !args.empty() && (args[0] == "__complete" || args[0] == desk::kWorkerCommand ||
                           (args[0] == "__manual" && args.size() == 2));
}

int RunInternal(const CLI::App& app, const std::vector<std::string>& args, Console& console) {
  if (args[0] == desk::kWorkerCommand) return DeskWorkerCommand(console);
  if (args[0] == "__manual") {
    WriteManual(app, args[1], kReleased, std::string("ledgerwick ") + kVersion);
  } else {
    WriteCompletion(console.out, app, {args.begin() + 1, args.end()});
  }
  CheckWritten(console.out.flush());
  return kDone;
}

}  // namespace

int Main(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
         std::ostream& err) {
  const WriteFailureGuard guard;
  Console plain = MakeConsole(in, out, err, ColourChoice::Auto);
  CommandLine line;
  if (IsInternal(args)) {
    return Guarded(plain, [&] { return RunInternal(line.app(), args, plain); });
  }
  try {
    CheckArguments(args);
    line.app().parse(std::vector<std::string>(args.rbegin(), args.rend()));
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return line.app().exit(error, out, err);
    PrintError(plain, UsageMessage(line.app(), error, args));
    err << "Try 'ledgerwick --help'.\n";
    return kWrongUsage;
  } catch (const UsageError& error) {
    PrintError(plain, error.what());
    return kWrongUsage;
  }
  Console console = MakeConsole(in, out, err, line.colour());
  return Guarded(console, [&] { return line.Run(console); });
}

}  // namespace ledgerwick
