// The factories of the inventory reports. Each is defined in its report's source.
#pragma once

#include <memory>

namespace ledgerwick {

class ReportProvider;
class System;

// Each returns a report whose members are empty and which uses `system` as long as it lives.
std::unique_ptr<ReportProvider> NewBatchStockSummary(System& system);
std::unique_ptr<ReportProvider> NewCurrentStock(System& system);
std::unique_ptr<ReportProvider> NewInOutJournal(System& system);
std::unique_ptr<ReportProvider> NewInventorySnapshot(System& system);
std::unique_ptr<ReportProvider> NewLocationSummary(System& system);
std::unique_ptr<ReportProvider> NewReceiveIssueBalance(System& system);
std::unique_ptr<ReportProvider> NewSafetyStockWarning(System& system);
std::unique_ptr<ReportProvider> NewShelfLifeWarning(System& system);

}  // namespace ledgerwick
