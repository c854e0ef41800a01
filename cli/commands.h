// The subcommands. Each takes its options as the command line gave them and returns the exit code;
// errors that are not told yet are thrown.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/console.h"
#include "cli/result_output.h"
#include "cli/server_options.h"

namespace ledgerwick {

// What describes one use of a report.
struct ReportOptions {
  std::string report;        // a class, or a request's file
  std::string request_file;  // "-" for the standard input
  std::vector<std::string> filters;
  std::optional<std::string> title;
  std::optional<std::string> login_date;
  std::optional<std::string> account;
  std::string connection;
  ServerOptions server;
  bool strict = false;  // a warning is enough to refuse
};

struct DescribeOptions {
  std::string report;  // a class
  std::string format = "table";
  std::string connection;  // where the example of a page runs; empty to leave its rows out
};

struct CheckOptions {
  ReportOptions report;
  std::string format = "table";
  bool codes = false;  // list all codes, and check nothing
};

struct RunOptions {
  ReportOptions report;
  OutputOptions output;
  std::optional<std::int64_t> memory_limit;  // in bytes
  bool show_sql = false;
  bool read_only = false;
};

// What `diff` compares: two files, or a request on two connections.
struct DiffOptions {
  std::vector<std::string> operands;  // two files, or a class or a request's file
  ReportOptions report;               // of a request; its connection is the first
  std::string with;                   // the second connection; empty for files
  std::vector<std::string> keys;      // columns; none to find them
  bool ordered = false;
  OutputOptions output;
  std::optional<std::int64_t> memory_limit;  // in bytes
};

// Many requests in one go.
struct BatchOptions {
  std::string requests;  // a folder of request files, or a file with a request on each line
  std::string folder;    // of the results
  std::string connection;
  OutputOptions output;  // its file is not used
  int jobs = 1;
  bool go_on = false;                        // with what an earlier batch left
  bool strict = false;                       // a warning is enough to refuse a request
  std::optional<std::int64_t> memory_limit;  // in bytes
};

struct QueryOptions {
  std::string connection;
  ServerOptions server;
  std::optional<std::int64_t> memory_limit;  // in bytes
  std::string sql;
  bool has_sql = false;
  std::string file;
  std::string encoding;  // of a script; empty for what its byte-order mark says, else UTF-8
  OutputOptions output;
  bool read_only = false;
  bool create = false;  // an empty database where there is none
};

struct SchemaOptions {
  std::string connection;
  ServerOptions server;
  std::string name;  // of an object, or a pattern; empty for all
  OutputOptions output;
};

struct ExplainOptions {
  std::string connection;
  std::string sql;
  bool analyze = false;
};

struct SampleOptionsGiven {
  std::string path;
  std::string connection;  // in place of the path
  ServerOptions server;
  std::int64_t lines = 5000;
  std::uint64_t seed = 1;
  bool force = false;
};

struct ServeOptions {
  std::string path;
  std::string listen = "127.0.0.1:1433";
  std::string user = "sa";
  std::string password_file;  // empty for a random password
  std::string certificate;
  std::string key;
  bool allow_plain = false;
  bool read_only = false;
  std::size_t most_connections = 200;
  std::optional<std::int64_t> memory_limit;  // in bytes, of a batch
};

struct DeskOptionsGiven {
  std::string connection;
  ServerOptions server;           // its password file is the server's
  std::vector<std::string> with;  // NAME=CONNECTION
  std::string listen = "127.0.0.1:8088";
  std::string folder;
  std::string password_file;  // the password that browsers ask for
  std::string certificate;
  std::string key;
  bool open = false;
  int jobs = 2;
  std::int64_t most_rows = 2'000'000;
  int idle_minutes = 480;
};

int ListCommand(Console& console, const std::string& format);
int DescribeCommand(Console& console, const DescribeOptions& options);
int CheckCommand(Console& console, const CheckOptions& options);
int CodesCommand(Console& console, const std::string& format);
int RunCommand(Console& console, const RunOptions& options);
int TraceCommand(Console& console, const ReportOptions& options, const std::string& format);
int DiffCommand(Console& console, const DiffOptions& options);
int BatchCommand(Console& console, const BatchOptions& options);
int QueryCommand(Console& console, const QueryOptions& options);
int SchemaCommand(Console& console, const SchemaOptions& options);
int ExplainCommand(Console& console, const ExplainOptions& options);
int UpgradeCommand(Console& console, const std::string& path);
int ServeCommand(Console& console, const ServeOptions& options);
int DeskCommand(Console& console, const DeskOptionsGiven& options);
// What the desk starts for each job, told on the standard input.
int DeskWorkerCommand(Console& console);
int SampleCreateCommand(Console& console, const SampleOptionsGiven& options);

}  // namespace ledgerwick
