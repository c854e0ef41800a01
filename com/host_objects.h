// The host's objects, late-bound, as the reports see them.
#pragma once

#include <memory>

#include "com/dispatch_object.h"
#include "frame/host.h"

namespace ledgerwick::com {

// The host's report manager.
class HostReportManager final : public ReportManager {
 public:
  explicit HostReportManager(ComPtr<IDispatch> object) : object_(std::move(object)) {}

  std::shared_ptr<ReportFilterSet> ReportFilterByName(Text& title) override;

  // The host's own object.
  const ComPtr<IDispatch>& Object() const noexcept { return object_.Shared(); }

 private:
  DispatchObject object_;
};

// The host's login object.
class HostLogin final : public Login {
 public:
  explicit HostLogin(ComPtr<IDispatch> object) : object_(std::move(object)) {}

  Value CurDate() override;
  Value cAcc_Id() override;

  // The host's own object.
  const ComPtr<IDispatch>& Object() const noexcept { return object_.Shared(); }

 private:
  DispatchObject object_;
};

}  // namespace ledgerwick::com
