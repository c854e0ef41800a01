// The contract of every report class.
#pragma once

#include <memory>
#include <span>
#include <variant>

#include "frame/database.h"
#include "frame/error.h"
#include "frame/host.h"
#include "frame/members.h"
#include "frame/system.h"
#include "frame/text.h"
#include "frame/value.h"

namespace ledgerwick {

// An argument of a report's further members: a value, or a connection.
using Argument = std::variant<Value, std::shared_ptr<Connection>>;

// One report. The host sets the data members, asks for the table's name, has the table filled,
// asks for the subtitle, and reads the table itself. One object serves one thread.
class ReportProvider {
 public:
  explicit ReportProvider(System& system) : system_(system) {}
  virtual ~ReportProvider() = default;
  ReportProvider(const ReportProvider&) = delete;
  ReportProvider& operator=(const ReportProvider&) = delete;

  std::shared_ptr<ReportManager> ObjReportManager;
  Text ReportTitle;
  Text mConnectionString;
  std::shared_ptr<Connection> mconn;
  std::shared_ptr<Login> objLogin;  // read only by the classes whose table row lists it

  // The result table's name with its database, for instance "tempdb..tempAqkcyj". May be called at
  // any time.
  virtual Text TempTablename() = 0;

  // Fills the result table. Returns false when the report has told the user itself why it could
  // not. Throws DatabaseError for whatever the contract lets through to the host.
  virtual bool MoveDataDetail() = 0;

  // The subtitle that describes the dates in force. Classes without the member throw error 438.
  virtual Text strSubTitle();

  // Calls one of the further members that a class lists beyond the contract (IsBlank, SumString,
  // GetSubTitle, …) with its arguments in order. Throws error 438 where the class lacks the member.
  virtual Value Call(Member member, std::span<const Argument> arguments);

 protected:
  System& system() const noexcept { return system_; }

 private:
  System& system_;
};

// What `member` holds. A call of it may end in the host, which may put something else into the
// member or nothing at all; the caller's share keeps the object until the call is over. So a report
// asks anew for each step and keeps nothing for the next. Throws error 91 when there is no object.
template <typename Object>
std::shared_ptr<Object> Held(const std::shared_ptr<Object>& member) {
  std::shared_ptr<Object> held = member;
  if (!held) throw ObjectNotSet();
  return held;
}

// Opens `connection` with the report's connection string, no user name, no password and unspecified
// options. Throws error 91 when there is no connection.
void Open(const std::shared_ptr<Connection>& connection, const ReportProvider& report);

// Replaces `report.mconn` by a new connection and opens it so.
void OpenNew(ReportProvider& report, System& system);

// The report's filter set or nullptr. The host may write into the report's title. Throws error 91
// when there is no report manager.
std::shared_ptr<ReportFilterSet> FindFilterSet(ReportProvider& report);

}  // namespace ledgerwick
