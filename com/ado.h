// The database through ADO, late-bound.
#pragma once

#include <memory>

#include "com/dispatch_object.h"
#include "frame/database.h"

namespace ledgerwick::com {

// A connection: the host's, or a new one.
class AdoConnection final : public Connection {
 public:
  explicit AdoConnection(ComPtr<IDispatch> object) : object_(std::move(object)) {}

  // A new ADODB.Connection that is not open yet. Throws error 429 where ADO is not installed.
  static std::shared_ptr<AdoConnection> New();

  void Open(const Text& connection_string, const Text& user, const Text& password,
            std::int32_t options) override;
  void Execute(const Text& sql, std::int32_t options) override;
  void Close() override;
  std::unique_ptr<Command> NewCommand() override;
  std::unique_ptr<Recordset> OpenRecordset(const Text& sql,
                                           const RecordsetOptions& options) override;

  // ADO's own object.
  const ComPtr<IDispatch>& Object() const noexcept { return object_.Shared(); }

 private:
  DispatchObject object_;
};

}  // namespace ledgerwick::com
