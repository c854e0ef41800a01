// clsInventroy, the inventory snapshot: the item master table as it stands.
#include <memory>

#include "frame/report_provider.h"
#include "inventory/factories.h"
#include "inventory/steps.h"

namespace ledgerwick {
namespace {

constexpr TextView kTable = u"tempdb..tempa";
constexpr const char16_t* kCopy = u"Select * into tempdb..tempa from inventory   ";

class clsInventroy final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return Text(kTable); }

  // No filter is read: the report manager and the title are accepted and unused.
  bool MoveDataDetail() override {
    OpenNew(*this, system());
    DropResultTable(mconn, kTable);
    Held(mconn)->Execute(kCopy, kOptionUnspecified);
    Held(mconn)->Close();
    return true;
  }

  Value Call(Member member, std::span<const Argument> arguments) override {
    if (member == Member::GetSubTitle) return Text();
    return ReportProvider::Call(member, arguments);
  }
};

}  // namespace

std::unique_ptr<ReportProvider> NewInventorySnapshot(System& system) {
  return std::make_unique<clsInventroy>(system);
}

}  // namespace ledgerwick
