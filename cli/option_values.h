// What an option of the command line takes: for its help, its manual page and completion in shells.
#pragma once

#include <CLI/App.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace ledgerwick {

enum class ValueKind {
  Plain,       // whatever the user likes
  Path,        // a file or a folder
  Format,      // the formats that the option's description names, or all
  Connection,  // embedded:PATH, or a server's connection string
  Filter,      // NAME=VALUE
  Columns,     // a result's columns, parted by commas
};

// One option's values.
struct OptionValues {
  std::string_view placeholder;  // stands for the value in help
  ValueKind kind = ValueKind::Plain;
};

// What the option takes, by its name.
OptionValues ValuesOf(const CLI::Option& option) noexcept;

// The words that the option's check lets through; none where it has no such check.
std::vector<std::string> ChoicesOf(const CLI::Option& option);

// The placeholder of an option's value and its choices as help shows them, such as
// "FORMAT [table]"; empty for a flag.
std::string ValueText(const CLI::Option& option);

// Gives every option of `command` and its subcommands the placeholder that ValueText makes.
void ShowPlaceholders(CLI::App& command);

}  // namespace ledgerwick
