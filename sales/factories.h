// The factories of the sales reports. Each is defined in its report's source.
#pragma once

#include <memory>

namespace ledgerwick {

class ReportProvider;
class System;

// Each returns a report whose members are empty and which uses `system` as long as it lives.
std::unique_ptr<ReportProvider> NewConsignment(System& system);
std::unique_ptr<ReportProvider> NewDispatch(System& system);
std::unique_ptr<ReportProvider> NewDispatchIncome(System& system);
std::unique_ptr<ReportProvider> NewEntrustedSales(System& system);
std::unique_ptr<ReportProvider> NewSalesCost(System& system);
std::unique_ptr<ReportProvider> NewSalesDetail(System& system);
std::unique_ptr<ReportProvider> NewSalesIncome(System& system);
std::unique_ptr<ReportProvider> NewSalesProfit(System& system);
std::unique_ptr<ReportProvider> NewSalesSummary(System& system);
std::unique_ptr<ReportProvider> NewSrm(System& system);

}  // namespace ledgerwick
