#include "cli/option_values.h"

#include <algorithm>
#include <iterator>
#include <sstream>

namespace ledgerwick {
namespace {

struct Row {
  std::string_view name;
  OptionValues values;
};

constexpr Row kValues[] = {
    {"account", {"CODE"}},
    {"color", {"WHEN"}},
    {"columns", {"A,B", ValueKind::Columns}},
    {"connection", {"CONNECTION", ValueKind::Connection}},
    {"database", {"NAME"}},
    {"encoding", {"ENCODING"}},
    {"file", {"FILE", ValueKind::Path}},
    {"filter", {"NAME=VALUE", ValueKind::Filter}},
    {"folder", {"FOLDER", ValueKind::Path}},
    {"format", {"FORMAT", ValueKind::Format}},
    {"idle", {"MINUTES"}},
    {"jobs", {"N"}},
    {"key", {"A,B", ValueKind::Columns}},
    {"limit", {"ROWS"}},
    {"lines", {"N"}},
    {"listen", {"HOST:PORT"}},
    {"login-date", {"DATE"}},
    {"max-connections", {"N"}},
    {"max-rows", {"ROWS"}},
    {"memory-limit", {"SIZE"}},
    {"output", {"PATH", ValueKind::Path}},
    {"password-file", {"FILE", ValueKind::Path}},
    {"request", {"FILE", ValueKind::Path}},
    {"seed", {"N"}},
    {"separator", {"TEXT"}},
    {"server", {"SERVER"}},
    {"server-password-file", {"FILE", ValueKind::Path}},
    {"title", {"TEXT"}},
    {"tls-cert", {"FILE", ValueKind::Path}},
    {"tls-key", {"FILE", ValueKind::Path}},
    {"user", {"NAME"}},
    {"with", {"CONNECTION", ValueKind::Connection}},
};

}  // namespace

OptionValues ValuesOf(const CLI::Option& option) noexcept {
  const auto* row = std::find_if(std::begin(kValues), std::end(kValues),
                                 [&](const Row& r) { return r.name == option.get_single_name(); });
  return row == std::end(kValues) ? OptionValues{"VALUE"} : row->values;
}

std::vector<std::string> ChoicesOf(const CLI::Option& option) {
  std::vector<std::string> choices;
  const std::string type = option.get_type_name();  // such as "TEXT:{json,sql}"
  const std::size_t open = type.find('{');
  const std::size_t close = type.find('}', open);
  if (close == std::string::npos) return choices;
  std::istringstream words(type.substr(open + 1, close - open - 1));
  for (std::string word; std::getline(words, word, ',');) choices.push_back(word);
  return choices;
}

std::string ValueText(const CLI::Option& option) {
  if (option.get_items_expected_max() == 0) return {};
  std::string text(ValuesOf(option).placeholder);
  if (!option.get_default_str().empty()) text += " [" + option.get_default_str() + "]";
  return text;
}

void ShowPlaceholders(CLI::App& command) {
  for (CLI::Option* option : command.get_options()) {
    if (option->get_positional()) {
      option->type_name("");
    } else if (std::string text = ValueText(*option); !text.empty()) {
      if (option->get_required()) text += " REQUIRED";
      if (!option->get_envname().empty()) text += " (else " + option->get_envname() + ")";
      option->option_text(text);
    }
  }
  for (CLI::App* sub : command.get_subcommands([](CLI::App*) { return true; })) {
    ShowPlaceholders(*sub);
  }
}

}  // namespace ledgerwick
