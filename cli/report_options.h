// From the command line to a request.
#pragma once

#include "cli/commands.h"
#include "host/finding.h"
#include "host/request.h"

namespace ledgerwick {

// The request that the options describe: the file's, changed by the options, or a fresh one for a
// class; `options.report` may name either. Prints remarks on the filters, or puts them into
// `repeated` where that is given. Throws UsageError, FileError or FilterError.
Request MakeRequest(Console& console, const ReportOptions& options,
                    std::vector<Finding>* repeated = nullptr);

}  // namespace ledgerwick
