#include <doctest/doctest.h>

#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>

#include "frame/error.h"
#include "frame/null_sink.h"
#include "sample/sample.h"
#include "tests/temporary_folder.h"
#include "tsql/connection.h"

namespace ledgerwick {
namespace {

namespace fs = std::filesystem;
using testing::FilesIn;
using testing::TemporaryFolder;

std::string Bytes(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

SampleOptions Small(std::int64_t lines = 600, std::uint64_t seed = 1) {
  SampleOptions options;
  options.voucher_lines = lines;
  options.seed = seed;
  return options;
}

// What CreateSample objects to, or nothing.
std::string ErrorOf(const fs::path& path, const SampleOptions& options) {
  try {
    CreateSample(path, options);
  } catch (const std::exception& error) {
    return error.what();
  }
  return {};
}

bool Contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

// The number or text that a query gives first.
std::string First(const fs::path& path, TextView query) {
  const auto connection = tsql::EmbeddedConnection::New({});
  connection->Open(u"embedded:" + FromUtf8(path.string()), {}, {}, -1);
  return ToUtf8(connection->OpenRecordset(Text(query), {})->Field(u"x").ToText());
}

long Count(const fs::path& path, TextView from) {
  return std::stol(First(path, Text(u"SELECT COUNT(*) AS x FROM ") + Text(from)));
}

constexpr TextView kStockAgainstVouchers =
    u"(SELECT w, i, b, f, g, SUM(q) AS q, SUM(n) AS n FROM ("
    u" SELECT R.cWhCode AS w, Rs.cInvCode AS i, Rs.cBatch AS b, Rs.cFree1 AS f, Rs.cFree2 AS g,"
    u" CASE WHEN R.bRdFlag <> 0 THEN Rs.iQuantity ELSE -Rs.iQuantity END AS q,"
    u" CASE WHEN R.bRdFlag <> 0 THEN Rs.iNum ELSE -Rs.iNum END AS n"
    u" FROM RdRecords Rs INNER JOIN RdRecord R ON Rs.ID = R.ID UNION ALL"
    u" SELECT cWhCode, cInvCode, cBatch, cFree1, cFree2, -iQuantity, -iNum FROM CurrentStock"
    u") AS x GROUP BY w, i, b, f, g HAVING SUM(q) <> 0 OR SUM(n) <> 0) AS y";

constexpr TextView kStockAgainstLocations =
    u"(SELECT w, i, b, f, g, SUM(q) AS q, SUM(n) AS n FROM ("
    u" SELECT cWhCode AS w, cInvCode AS i, cBatch AS b, cFree1 AS f, cFree2 AS g,"
    u" CASE WHEN bRdFlag <> 0 THEN iQuantity ELSE -iQuantity END AS q,"
    u" CASE WHEN bRdFlag <> 0 THEN iNum ELSE -iNum END AS n FROM InvPosition UNION ALL"
    u" SELECT C.cWhCode, cInvCode, cBatch, cFree1, cFree2, -iQuantity, -iNum FROM CurrentStock C"
    u" INNER JOIN Warehouse W ON C.cWhCode = W.cWhCode WHERE W.bWhPos = 1"
    u") AS x GROUP BY w, i, b, f, g HAVING SUM(q) <> 0 OR SUM(n) <> 0) AS y";

TEST_CASE("stock is what vouchers and locations add up to, and no join multiplies its rows") {
  const TemporaryFolder scratch;
  CreateSample(scratch / "sample.db", Small(1500));
  const auto count = [&](TextView from) { return Count(scratch / "sample.db", from); };
  CHECK(count(kStockAgainstVouchers) == 0);
  CHECK(count(kStockAgainstLocations) == 0);
  CHECK(count(u"RdRecords") == 1500);
  CHECK(count(u"CurrentStock WHERE iQuantity < 0 OR iNum < 0") == 0);
  CHECK(count(u"ComputationUnit WHERE iChangRate = 0") == 0);
  CHECK(count(u"AccInformation WHERE cSysID = 'AA' AND cName = 'cGoodClass' AND cValue = '222'") ==
        1);
  CHECK(count(u"RdRecords Rs INNER JOIN RdRecord R ON Rs.ID = R.ID"
              u" INNER JOIN Inventory I ON Rs.cInvCode = I.cInvCode"
              u" INNER JOIN InventoryClass IC ON I.cInvCCode = IC.cInvCCode"
              u" INNER JOIN Warehouse W ON R.cWhCode = W.cWhCode"
              u" INNER JOIN VouchType V ON R.cVouchType = V.cVouchType"
              u" INNER JOIN Rd_Style S ON R.cRdCode = S.cRdCode"
              u" INNER JOIN Person P ON R.cPersonCode = P.cPersonCode"
              u" INNER JOIN Department D ON R.cDepCode = D.cDepCode"
              u" LEFT JOIN ComputationUnit CU ON I.cGroupCode = CU.cGroupCode"
              u" LEFT JOIN ComputationUnit A ON Rs.cAssUnit = A.cComUnitCode"
              u" LEFT JOIN Position L ON I.cPosition = L.cPosCode") == 1500);
  CHECK(count(u"Inventory I INNER JOIN ComputationUnit U ON I.cGroupCode = U.cGroupCode"
              u" WHERE I.iGroupType <> 0") == count(u"Inventory WHERE iGroupType <> 0"));
}

TEST_CASE(
    "sales documents fit the vouchers, and every situation that reports tell apart is there") {
  const TemporaryFolder scratch;
  CreateSample(scratch / "sample.db", Small(5000, 3));
  const auto count = [&](TextView from) { return Count(scratch / "sample.db", from); };
  // What moved goods has a note line of just that quantity, and no other voucher line has one.
  CHECK(count(u"RdRecords S INNER JOIN RdRecord R ON S.ID = R.ID LEFT JOIN SaleNoteView N"
              u" INNER JOIN SaleNoteLine L ON N.AutoID = L.AutoID ON S.AutoID = L.RdsID"
              u" WHERE CASE WHEN cRdCode = '21' THEN S.iQuantity WHEN cRdCode = '16'"
              u" THEN -S.iQuantity ELSE 0 END <> ISNULL(L.iQuantity, 0)"
              u" OR R.cCusCode <> N.cCusCode OR R.dDate <> N.dDate") == 0);
  // The views keep every line, and nothing is settled, invoiced or paid twice.
  CHECK(count(u"SaleNoteView") == count(u"SaleNoteLine"));
  CHECK(count(u"SaleInvoiceView") == count(u"SaleInvoiceLine"));
  for (const TextView excess : {
           u"(SELECT SourceID AS p, SUM(iQuantity) AS q FROM SaleNoteLine GROUP BY SourceID) AS x"
           u" INNER JOIN SaleNoteLine ON p = AutoID WHERE ABS(q) > ABS(iQuantity)",
           u"(SELECT NoteLineID AS p, SUM(iQuantity) AS q FROM SaleInvoiceLine GROUP BY NoteLineID)"
           u" AS x INNER JOIN SaleNoteLine ON p = AutoID WHERE ABS(q) > ABS(iQuantity)",
           u"(SELECT InvoiceLineID AS p, SUM(iMoney) AS q FROM SalePayment GROUP BY InvoiceLineID)"
           u" AS x INNER JOIN SaleInvoiceLine ON p = AutoID"
           u" WHERE ABS(q) > ABS(iMoney + iTax) + 0.001",
       }) {
    CAPTURE(ToUtf8(excess));
    CHECK(count(excess) == 0);
  }
  for (const TextView situation : {
           u"SaleNoteView WHERE cVouchType = '05' AND iQuantity < 0",
           u"SaleNoteView WHERE cVouchType = '06' AND AutoID NOT IN"
           u" (SELECT SourceID FROM SaleNoteLine WHERE SourceID IS NOT NULL)",
           u"SaleNoteView WHERE cVouchType = '07' AND cVerifier IS NULL",
           u"SaleNoteLine WHERE AutoID NOT IN"
           u" (SELECT NoteLineID FROM SaleInvoiceLine WHERE NoteLineID IS NOT NULL)",
           u"SaleInvoiceLine I INNER JOIN SaleNoteLine N ON I.NoteLineID = N.AutoID"
           u" WHERE I.iQuantity < N.iQuantity",
           u"SaleInvoiceView WHERE cChecker IS NULL",
           u"SaleInvoiceView WHERE cChecker = ''",
           u"SaleInvoiceView WHERE dKeepDate IS NULL AND cChecker <> ''",
           u"SaleInvoiceView WHERE cWhCode IS NULL AND iCost IS NULL",
           u"(SELECT InvoiceLineID FROM SalePayment GROUP BY InvoiceLineID HAVING COUNT(*) = 2) x",
           u"SaleInvoiceLine WHERE AutoID NOT IN (SELECT InvoiceLineID FROM SalePayment)",
       }) {
    CAPTURE(ToUtf8(situation));
    CHECK(count(situation) > 0);
  }
}

TEST_CASE("equal seeds make equal files, other seeds others") {
  const TemporaryFolder scratch;
  CreateSample(scratch / "a.db", Small(600, 7));
  CreateSample(scratch / "b.db", Small(600, 7));
  CreateSample(scratch / "c.db", Small(600, 8));
  CHECK((Bytes(scratch / "a.db") == Bytes(scratch / "b.db")));
  CHECK((Bytes(scratch / "a.db") != Bytes(scratch / "c.db")));
}

// The results that a report has left in the tempdb of `path`.
void FillTempdb(const fs::path& path) {
  NullSink sink;
  tsql::Database::Open(path)->Run(u"SELECT 1 AS x INTO tempdb..old_results", sink);
}

TEST_CASE(
    "a database is replaced by force alone, when nobody uses it, and its results go with it") {
  const TemporaryFolder scratch;
  const fs::path path = scratch / "sample.db";
  SampleOptions options = Small(600, 1);
  CreateSample(path, options);
  fs::permissions(path, fs::perms(0600));
  FillTempdb(path);
  const std::string old = Bytes(path);
  options.seed = 2;
  CHECK(Contains(ErrorOf(path, options), "--force"));
  options.force = true;
  {
    const auto user = tsql::Database::Open(path);
    CHECK(Contains(ErrorOf(path, options), "in use"));
  }
  CHECK((Bytes(path) == old));

  // A process that was killed has left its log, and another the half of a sample.
  const fs::path log = scratch / "sample.db-wal";
  {
    const auto killed = tsql::Database::Open(path);
    NullSink sink;
    killed->Run(u"UPDATE Inventory SET cInvName = 'in the log'", sink);
    fs::copy_file(log, scratch / "kept");
  }
  std::ofstream(path, std::ios::binary) << old;
  fs::rename(scratch / "kept", log);
  for (const char* end : {"", "-wal", ".tempdb", ".tempdb.lock"}) {
    std::ofstream(scratch / ("sample.db.partial-99999999" + std::string(end)).c_str());
  }
  CHECK(ErrorOf(path, options) == "");
  CHECK(FilesIn(scratch.path()) == std::set<std::string>{"sample.db", "sample.db.tempdb.lock"});
  CHECK(fs::status(path).permissions() == fs::perms(0600));
  CHECK(Count(path, u"Inventory WHERE cInvName = 'in the log'") == 0);
  CHECK(Count(path, u"tempdb..sysobjects WHERE name = 'old_results'") == 0);
  CreateSample(scratch / "fresh.db", Small(600, 2));
  CHECK((Bytes(path) == Bytes(scratch / "fresh.db")));
}

TEST_CASE("nothing but a database of ours is replaced, nor one of its files") {
  const TemporaryFolder scratch;
  CreateSample(scratch / "sample.db", Small());
  FillTempdb(scratch / "sample.db");
  std::ofstream(scratch / "text") << "precious";
  SampleOptions options = Small();
  options.force = true;
  const auto user = tsql::Database::Open(scratch / "sample.db");
  const std::set<std::string> before = FilesIn(scratch.path());
  for (const char* name : {"text", "sample.db-wal", "sample.db-shm", "sample.db.tempdb",
                           "sample.db.tempdb-wal", "sample.db.tempdb.lock"}) {
    CAPTURE(std::string(name));
    CHECK(!ErrorOf(scratch / name, options).empty());
  }
  CHECK(Bytes(scratch / "text") == "precious");
  CHECK(FilesIn(scratch.path()) == before);
  CHECK(First(scratch / "sample.db", u"SELECT x FROM tempdb..old_results") == "1");
}

TEST_CASE("cancelled, it leaves everything as it was") {
  const TemporaryFolder scratch;
  const fs::path path = scratch / "sample.db";
  CreateSample(path, Small());
  const std::string old = Bytes(path);
  std::atomic<bool> cancel = false;
  SampleOptions options = Small(3000);
  options.force = true;
  options.cancel = &cancel;
  const std::set<std::string> before = FilesIn(scratch.path());
  for (const std::int64_t at : {1, 4000, 8000}) {
    CAPTURE(at);
    cancel = false;
    options.progress = [&](std::int64_t done, std::int64_t total) {
      CHECK(done <= total);
      if (done >= at) cancel = true;
    };
    CHECK(Contains(ErrorOf(path, options), "ancelled"));
    CHECK((Bytes(path) == old));
    CHECK(FilesIn(scratch.path()) == before);
  }
}

TEST_CASE("what cannot be created is refused with a reason") {
  const TemporaryFolder scratch;
  fs::create_directory(scratch / "folder");
  const struct {
    fs::path path;
    std::int64_t lines;
    const char* reason;
  } kCases[] = {
      {scratch / "missing/sample.db", 600, "create it first"},
      {scratch / "folder", 600, "not a file"},
      {scratch / "sample.db", 0, "from 1 to"},
      {scratch / "sample.db", kMostSampleLines + 1, "from 1 to"},
  };
  for (const auto& c : kCases) {
    CAPTURE(c.path.string());
    CHECK(Contains(ErrorOf(c.path, Small(c.lines)), c.reason));
    CHECK(FilesIn(scratch.path()) == std::set<std::string>{"folder"});
  }
}

}  // namespace
}  // namespace ledgerwick
