// Manual pages, from the command line's own description.
#pragma once

#include <CLI/App.hpp>
#include <filesystem>
#include <string>

namespace ledgerwick {

// The page of a command in the roff macros of man(7), UTF-8. `date` is the release's, yyyy-mm-dd,
// `version` the program with its version.
std::string ManualPage(const CLI::App& command, const std::string& date,
                       const std::string& version);

// Writes the pages of `command` and all its subcommands into `folder`, which exists, each as
// NAME.1. Throws std::runtime_error for what cannot be written.
void WriteManual(const CLI::App& command, const std::filesystem::path& folder,
                 const std::string& date, const std::string& version);

}  // namespace ledgerwick
