// The factories that the class table names. Each is defined in its report's source.
#pragma once

#include <memory>

namespace ledgerwick {

class ReportProvider;
class System;

// Each returns a report whose members are empty and which uses `system` as long as it lives.
std::unique_ptr<ReportProvider> NewInventorySnapshot(System& system);
std::unique_ptr<ReportProvider> NewSafetyStockWarning(System& system);
std::unique_ptr<ReportProvider> NewInOutJournal(System& system);
std::unique_ptr<ReportProvider> NewCurrentStock(System& system);
std::unique_ptr<ReportProvider> NewReceiveIssueBalance(System& system);
std::unique_ptr<ReportProvider> NewLocationSummary(System& system);
std::unique_ptr<ReportProvider> NewBatchStockSummary(System& system);
std::unique_ptr<ReportProvider> NewShelfLifeWarning(System& system);
std::unique_ptr<ReportProvider> NewSalesSummary(System& system);
std::unique_ptr<ReportProvider> NewSalesDetail(System& system);
std::unique_ptr<ReportProvider> NewSalesIncome(System& system);
std::unique_ptr<ReportProvider> NewSalesCost(System& system);
std::unique_ptr<ReportProvider> NewSalesProfit(System& system);
std::unique_ptr<ReportProvider> NewConsignment(System& system);
std::unique_ptr<ReportProvider> NewDispatch(System& system);
std::unique_ptr<ReportProvider> NewDispatchIncome(System& system);
std::unique_ptr<ReportProvider> NewSrm(System& system);
std::unique_ptr<ReportProvider> NewEntrustedSales(System& system);

}  // namespace ledgerwick
