// Reports run on an embedded database that lives as long as its test.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "host/request.h"
#include "tsql/database.h"

namespace ledgerwick::testing {

// A row of a result by column; columns that are NULL are left out.
using ResultRow = std::map<std::string, std::string>;

// A number as a result's text.
std::string NumberText(double number);

// A filter as the reference host words it.
FilterItem Filter(const char16_t* name, const char16_t* value, const char16_t* upper = u"");

// Runs `request` on the database at `path`, its queries planned as `planning` says, and gives the
// rows of the report's table; none when it said no. `message` gets the text of the last message
// box.
std::vector<ResultRow> RunReport(Request request, const std::filesystem::path& path,
                                 std::string& message, const char16_t* machine = u"PC",
                                 tsql::Planning planning = tsql::Planning::Usual);

class TestDatabase {
 public:
  // Without tables.
  TestDatabase();

  // The sample of that many voucher lines.
  TestDatabase(std::int64_t lines, std::uint64_t seed);

  ~TestDatabase();
  TestDatabase(const TestDatabase&) = delete;
  TestDatabase& operator=(const TestDatabase&) = delete;

  // Runs the report, for an account "001" on 2002-03-31, and gives its table's rows, sorted; none
  // when it said no. message() is the text of the last message box.
  std::vector<ResultRow> Report(const std::string& class_name,
                                const std::vector<FilterItem>& filters,
                                const char16_t* machine = u"PC");
  const std::string& message() const noexcept { return message_; }
  const std::filesystem::path& path() const noexcept { return path_; }

  // Runs a batch, and gives its rows in their order.
  std::vector<ResultRow> Rows(const std::string& sql);
  void Run(const std::string& sql) { Rows(sql); }

  // Runs a script of the sample, batches parted by GO.
  void RunScript(const std::string& name);

 private:
  std::filesystem::path path_;
  std::string message_;
};

}  // namespace ledgerwick::testing
