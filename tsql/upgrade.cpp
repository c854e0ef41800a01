#include "tsql/upgrade.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

#include "tsql/base/errors.h"
#include "tsql/emit/emitter.h"
#include "tsql/storage/aggregates.h"
#include "tsql/storage/database_files.h"
#include "tsql/storage/database_lock.h"
#include "tsql/storage/sqlite.h"
#include "tsql/storage/text_order.h"
#include "tsql/values/collation.h"
#include "tsql/values/convert.h"

namespace ledgerwick::tsql {
namespace {

namespace fs = std::filesystem;

constexpr int kInstructionsPerCheck = 20'000;
constexpr const char* kInUse = "it is in use. Try again when nobody uses it.";

// What the old format's defaults call, with what it gave: decimals and money as floats.
template <bool kFromText, bool kMoney>
void OldConversion(sqlite3_context* context, int count, sqlite3_value** values) {
  if (sqlite3_value_type(values[0]) == SQLITE_NULL) return;
  RaiseInStatement(context, [&] {
    const ExactSize size =
        kMoney || count < 3 ? ExactSize{kMoneyPrecision, kMoneyScale}
                            : ExactSize{sqlite3_value_int(values[1]), sqlite3_value_int(values[2])};
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(values[0]));
    const Exact number = !kFromText ? FromDouble(sqlite3_value_double(values[0]), size)
                         : kMoney   ? ParseMoney(std::string_view(text))
                                    : ParseDecimal(std::string_view(text), size, "varchar");
    sqlite3_result_double(context, ToDouble(number));
  });
}

void RegisterOldConversions(sqlite3* db, FunctionState& state) {
  const auto add = [&](const char* name, int count, auto* function) {
    sqlite3_create_function_v2(db, name, count, SQLITE_UTF8, &state, function, nullptr, nullptr,
                               nullptr);
  };
  add("t_to_dec", 3, OldConversion<false, false>);
  add("t_to_money", 1, OldConversion<false, true>);
  add("t_str_to_dec", 4, OldConversion<true, false>);
  add("t_str_to_money", 1, OldConversion<true, true>);
}

class Upgrade {
 public:
  Upgrade(fs::path path, const DatabaseOptions& options)
      : path_(std::move(path)), fresh_(path_), options_(options) {
    fresh_ += ".upgrade";
  }

  bool Run() {
    std::error_code ignored;
    if (!fs::is_regular_file(path_, ignored)) Refuse("there is no such file.");
    if (ContentOf(path_) != FileContent::Ours) Refuse("it is not a database of Ledgerwick's.");
    DatabaseLock lock(path_, options_);
    if (!lock.WaitAlone(options_)) Refuse(kInUse);
    Open();
    const std::int64_t format = Integer("PRAGMA main.user_version");
    if (format > kConstraintsFormat) Refuse(kNewerFormat);
    // Of the formats since, opening a database brings it to today's.
    if (format >= kOldestFormatOpened) return false;
    HaveAlone();
    const Remains remains{fresh_};
    RemoveFile(fresh_);  // what an upgrade that was broken off has left
    try {
      Copy();
      PutInPlace();
    } catch (const DatabaseError&) {
      BackToWal();
      throw;
    }
    return true;
  }

 private:
  // Removes what is left of the new file, whatever happened.
  struct Remains {
    fs::path fresh;
    ~Remains() { RemoveFile(fresh); }
  };

  [[noreturn]] void Refuse(const std::string& why) const {
    throw ToDatabaseError(errors::CannotOpen("upgrade", path_.string(), why));
  }

  [[noreturn]] void Fail() {
    if (options_.cancel != nullptr && options_.cancel->load()) {
      throw ToDatabaseError(errors::Cancelled());
    }
    if (functions_.error) Refuse(functions_.error->message);
    const int result = sqlite3_errcode(db_.get());
    if (result == SQLITE_BUSY) Refuse(kInUse);
    Refuse(std::string(sqlite3_errmsg(db_.get())) + ".");
  }

  void Open() {
    sqlite3* db = nullptr;
    // To create: the new file beside it.
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    const int result = sqlite3_open_v2(path_.c_str(), &db, flags, nullptr);
    db_.reset(db);
    if (result != SQLITE_OK) Refuse(std::string(sqlite3_errmsg(db)) + ".");
    sqlite3_busy_timeout(db, static_cast<int>(options_.lock_wait.count()));
    sqlite3_progress_handler(
        db, kInstructionsPerCheck,
        [](void* self) {
          const DatabaseOptions& options = static_cast<Upgrade*>(self)->options_;
          if (options.progress) options.progress();
          return options.cancel != nullptr && options.cancel->load() ? 1 : 0;
        },
        this);
    RegisterFunctions(db, functions_);
    LoadCollation();  // or else it might fail in the midst of an index
  }

  SqliteStatement Prepare(const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db_.get(), sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) Fail();
    return SqliteStatement(statement);
  }

  bool Step(const SqliteStatement& statement) {
    const int result = sqlite3_step(statement.get());
    if (result != SQLITE_ROW && result != SQLITE_DONE) Fail();
    return result == SQLITE_ROW;
  }

  void Execute(const std::string& sql) {
    const SqliteStatement statement = Prepare(sql);
    while (Step(statement)) {
    }
  }

  std::int64_t Integer(const std::string& sql) {
    const SqliteStatement statement = Prepare(sql);
    return Step(statement) ? sqlite3_column_int64(statement.get(), 0) : 0;
  }

  // Versions that know no lock file are kept away by SQLite's own locks. The old file gets no log
  // that would be taken for the new one's; rolling it back in proves that nobody else uses the
  // file.
  void HaveAlone() {
    SqliteStatement mode = Prepare("PRAGMA main.journal_mode = DELETE");
    if (!Step(mode) || ColumnText(mode.get(), 0) != "delete") Refuse(kInUse);
    mode.reset();
    Execute("PRAGMA main.locking_mode = EXCLUSIVE");
    Execute("BEGIN EXCLUSIVE");  // and for as long as the file is open
    Execute("COMMIT");
  }

  // A database that stays as it was lets its readers go on while one writes.
  void BackToWal() noexcept {
    sqlite3_progress_handler(db_.get(), 0, nullptr, nullptr);
    sqlite3_exec(db_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
    sqlite3_exec(db_.get(), "PRAGMA main.journal_mode = WAL", nullptr, nullptr, nullptr);
  }

  void Copy() {
    const int reason = CreateLike(fresh_, path_);
    if (reason != 0) Refuse(std::string(std::strerror(reason)) + ".");
    Execute("ATTACH " + QuoteLiteral(fresh_.string()) + " AS fresh");
    Execute("PRAGMA fresh.page_size = 4096");
    Execute("BEGIN");
    std::vector<std::pair<std::string, std::string>> tables;
    std::vector<std::string> indexes;
    bool analysed = false;
    const SqliteStatement schema =
        Prepare("SELECT type, name, sql FROM main.sqlite_schema ORDER BY rowid");
    while (Step(schema)) {
      const std::string_view kind = ColumnText(schema.get(), 0);
      const std::string name(ColumnText(schema.get(), 1));
      const std::string sql(ColumnText(schema.get(), 2));
      analysed = analysed || name == "sqlite_stat1";
      if (sql.empty() || name.starts_with("sqlite_")) continue;
      if (kind == "table") tables.emplace_back(name, sql);
      if (kind == "index") indexes.push_back(sql);
    }
    for (const auto& [name, sql] : tables) CopyTable(name, sql);
    for (const std::string& sql : indexes) Execute(InFresh(sql, "INDEX "));
    for (const std::string& sql : NoteTextOrder("fresh", CollationVersion())) Execute(sql);
    if (analysed) Execute("ANALYZE fresh");
    Execute("PRAGMA fresh.application_id = " + std::to_string(kApplicationId));
    Execute("PRAGMA fresh.user_version = " + std::to_string(kFormatVersion));
    Execute("COMMIT");
    Execute("PRAGMA fresh.journal_mode = WAL");
    Execute("DETACH fresh");
  }

  // The schema's text of what is called so behind `word`, for the new file.
  static std::string InFresh(std::string sql, const std::string& word) {
    return sql.insert(sql.find(word) + word.size(), "fresh.");
  }

  void CopyTable(const std::string& name, std::string sql) {
    std::string values;
    const SqliteStatement columns = Prepare(
        "SELECT name, type, dflt_value FROM pragma_table_info(" + QuoteLiteral(name) + ", 'main')");
    while (Step(columns)) {
      const std::string column = QuoteIdentifier(ColumnText(columns.get(), 0));
      const std::string declaration(ColumnText(columns.get(), 1));
      const Type type = ParseTypeName(declaration);
      values += values.empty() ? "" : ", ";
      if (IsExactFraction(type.kind)) {
        const ExactSize size = SizeOf(type);
        values += "t_float_to_dec(" + column + ", " + std::to_string(size.precision) + ", " +
                  std::to_string(size.scale) + ")";
        ReplaceDefault(sql, column + " " + QuoteIdentifier(declaration), type,
                       std::string(ColumnText(columns.get(), 2)));
      } else {
        values += type.kind == TypeKind::Real ? "t_to_real(" + column + ")" : column;
      }
    }
    Execute(InFresh(sql, "TABLE "));
    const std::string table = QuoteIdentifier(name);
    Execute("INSERT INTO fresh." + table + " SELECT " + values + " FROM main." + table +
            " ORDER BY rowid");
  }

  // The default of the column that `sql` declares by `declaration`, in the units of its type.
  void ReplaceDefault(std::string& sql, const std::string& declaration, const Type& type,
                      const std::string& value) {
    const std::size_t column = sql.find(declaration);
    if (value.empty() || column == std::string::npos) return;
    const std::string old_default = "DEFAULT (" + value + ")";
    const std::size_t at = sql.find(old_default, column);
    if (at == std::string::npos) Refuse("the default of " + declaration + " is not understood.");
    sql.replace(at, old_default.size(), "DEFAULT (" + DefaultOf(value, type) + ")");
  }

  std::string DefaultOf(const std::string& value, const Type& type) {
    sqlite3* opened = nullptr;
    const int result = sqlite3_open(":memory:", &opened);
    const SqliteHandle scratch(opened);
    if (result != SQLITE_OK) Fail();
    RegisterFunctions(opened, functions_);
    RegisterOldConversions(opened, functions_);
    sqlite3_stmt* prepared = nullptr;
    sqlite3_prepare_v2(opened, ("SELECT " + value).c_str(), -1, &prepared, nullptr);
    const SqliteStatement row(prepared);
    if (sqlite3_step(prepared) != SQLITE_ROW)
      Refuse("the default " + value + " is not understood.");
    if (sqlite3_column_type(prepared, 0) == SQLITE_NULL) return "NULL";
    return UnitsSql(FromDouble(sqlite3_column_double(prepared, 0), SizeOf(type)).units, type);
  }

  void PutInPlace() {
    // SQLite has let go of the new file, so that closing a descriptor of it loses no lock.
    const int file = open(fresh_.c_str(), O_RDONLY | O_CLOEXEC);
    const bool done = file >= 0 && fsync(file) == 0;
    const int reason = errno;
    if (file >= 0) close(file);
    if (!done) Refuse(std::string(std::strerror(reason)) + ".");
    if (std::rename(fresh_.c_str(), path_.c_str()) != 0) {
      Refuse(std::string(std::strerror(errno)) + ".");
    }
    RemoveFile(TempdbPath(path_));  // it has the old format, too
    const fs::path directory = path_.has_parent_path() ? path_.parent_path() : fs::path(".");
    const int folder = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return;
    fsync(folder);
    close(folder);
  }

  fs::path path_;
  fs::path fresh_;
  const DatabaseOptions& options_;
  FunctionState functions_;
  SqliteHandle db_;
};

}  // namespace

bool UpgradeDatabase(const fs::path& path, const DatabaseOptions& options) {
  std::error_code missing;
  const fs::path real = fs::canonical(path, missing);
  try {
    return Upgrade(missing ? path : real, options).Run();
  } catch (const SqlError& error) {
    throw ToDatabaseError(error);
  }
}

}  // namespace ledgerwick::tsql
