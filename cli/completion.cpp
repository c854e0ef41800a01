#include "cli/completion.h"

#include <algorithm>
#include <sstream>

#include "cli/option_values.h"
#include "host/filters.h"
#include "host/request.h"
#include "output/result_writer.h"

namespace ledgerwick {
namespace {

// What the words before the cursor say.
struct Before {
  const CLI::App* command = nullptr;
  const CLI::Option* pending = nullptr;  // an option whose value comes next
  const ReportInfo* report = nullptr;    // the class that stands there
  std::size_t positionals = 0;
};

const ReportInfo* ReportOf(const std::string& word) {
  const auto text = TryFromUtf8(word);
  const ClassInfo* info = text ? FindReportClass(*text) : nullptr;
  return info ? FindReportInfo(info->name) : nullptr;
}

// The option of that name, which may be one of the program's.
const CLI::Option* FindOption(const CLI::App& command, const std::string& name) {
  for (const CLI::App* app = &command; app; app = app->get_parent()) {
    const CLI::Option* option = app->get_option_no_throw(name);
    if (option && !option->get_positional()) return option;
  }
  return nullptr;
}

const CLI::App* FindSubcommand(const CLI::App& command, const std::string& name) {
  const auto named = [&](const CLI::App* sub) { return sub->get_name() == name; };
  const auto found = command.get_subcommands(named);
  return found.empty() ? nullptr : found.front();
}

bool TakesValue(const CLI::Option& option) { return option.get_items_expected_max() > 0; }

void Read(Before& before, const std::string& word) {
  if (before.pending) {
    before.pending = nullptr;
  } else if (word.size() > 1 && word.front() == '-') {
    const std::size_t equals = word.find('=');
    const CLI::Option* option = FindOption(*before.command, word.substr(0, equals));
    if (option && TakesValue(*option) && equals == std::string::npos) before.pending = option;
  } else if (const CLI::App* sub = FindSubcommand(*before.command, word)) {
    before.command = sub;
  } else {
    ++before.positionals;
    if (!before.report) before.report = ReportOf(word);
  }
}

// Collects the words that go on from what is typed.
class Offer {
 public:
  Offer(Completion& completion, std::string_view typed, std::string_view prefix = {})
      : completion_(completion), typed_(typed), prefix_(prefix) {}

  void Add(std::string_view text, std::string_view help) {
    const bool goes_on = text.size() >= typed_.size() &&
                         std::equal(typed_.begin(), typed_.end(), text.begin(),
                                    [](char a, char b) { return Lower(a) == Lower(b); });
    if (!goes_on) return;
    completion_.words.push_back({std::string(prefix_).append(text), std::string(help)});
  }

 private:
  static char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

  Completion& completion_;
  std::string_view typed_;
  std::string_view prefix_;
};

void OfferClasses(Completion& completion, const std::string& typed) {
  Offer offer(completion, typed);
  for (const ClassInfo& info : Classes()) {
    const ReportInfo* report = FindReportInfo(info.name);
    const std::string help = report ? ToUtf8(report->title) : std::string();
    offer.Add(ToUtf8(info.name), help);
    if (!typed.empty()) offer.Add("Ledgerwick." + ToUtf8(info.name), help);
  }
}

// NAME=VALUE: the names, and the values that the report tells apart.
void OfferFilters(Completion& completion, const ReportInfo& report, std::string_view typed,
                  const std::string& prefix) {
  const std::size_t equals = typed.find('=');
  if (equals == std::string_view::npos) {
    Offer offer(completion, typed, prefix);
    for (const FilterInfo& filter : report.filters) {
      offer.Add(ToUtf8(filter.caption) + "=", ToUtf8(KindMeaning(filter.kind)));
      offer.Add(ToUtf8(filter.name) + "=", ToUtf8(filter.caption));
    }
    completion.open = true;
    return;
  }
  const std::string name(typed.substr(0, equals));
  const auto text = TryFromUtf8(name);
  const FilterInfo* filter = text ? FindFilterInfo(report, *text) : nullptr;
  if (!filter) return;
  const std::string before = prefix + name + "=";
  Offer offer(completion, typed.substr(equals + 1), before);
  for (const TextView value : filter->values) offer.Add(ToUtf8(value), {});
}

void OfferColumns(Completion& completion, const ReportInfo& report, std::string_view typed,
                  const std::string& prefix) {
  const std::size_t begin = typed.rfind(',') + 1;  // 0 where there is none
  const std::string before = prefix + std::string(typed.substr(0, begin));
  Offer offer(completion, typed.substr(begin), before);
  for (const ResultColumnInfo& column : report.columns) {
    offer.Add(ToUtf8(column.name), ToUtf8(column.meaning));
  }
  completion.open = true;
}

// The formats that the option's description ends in, else all.
void OfferFormats(Offer& offer, const CLI::Option& option) {
  const std::string& description = option.get_description();
  const std::size_t colon = description.rfind(": ");
  if (colon != std::string::npos) {
    std::istringstream words(description.substr(colon + 2));
    for (std::string word; words >> word;) offer.Add(word, {});
    return;
  }
  for (const OutputFormat& format : OutputFormats()) offer.Add(format.name, {});
}

// `prefix` is what stands before the value in the same word, such as "--format=".
void OfferValues(Completion& completion, const CLI::Option& option, const ReportInfo* report,
                 std::string_view typed, const std::string& prefix) {
  Offer offer(completion, typed, prefix);
  const std::vector<std::string> choices = ChoicesOf(option);
  for (const std::string& choice : choices) offer.Add(choice, {});
  if (!choices.empty()) return;
  switch (ValuesOf(option).kind) {
    case ValueKind::Format:
      OfferFormats(offer, option);
      return;
    case ValueKind::Connection:
      offer.Add("embedded:", "a database file");
      completion.paths = typed.starts_with("embedded:");
      completion.open = !completion.paths;
      return;
    case ValueKind::Filter:
      if (report) OfferFilters(completion, *report, typed, prefix);
      return;
    case ValueKind::Columns:
      if (report) OfferColumns(completion, *report, typed, prefix);
      return;
    case ValueKind::Path:
      completion.paths = true;
      return;
    case ValueKind::Plain:
      return;
  }
}

void OfferOptions(Completion& completion, const CLI::App& command, const std::string& typed) {
  Offer offer(completion, typed);
  for (const CLI::App* app = &command; app; app = app->get_parent()) {
    for (const CLI::Option* option : app->get_options()) {
      const bool repeated =
          app != &command && FindOption(command, "--" + option->get_single_name()) != option;
      if (option->get_positional() || option->get_lnames().empty() || repeated) continue;
      offer.Add("--" + option->get_lnames().front(), option->get_description());
    }
  }
}

// The positional that stands next; the last one may come more often.
const CLI::Option* NextPositional(const CLI::App& command, std::size_t index) {
  for (const CLI::Option* option : command.get_options()) {
    if (!option->get_positional()) continue;
    const auto most = static_cast<std::size_t>(option->get_items_expected_max());
    if (index < most) return option;
    index -= most;
  }
  return nullptr;
}

void OfferWords(Completion& completion, const Before& before, const std::string& typed) {
  Offer offer(completion, typed);
  for (const CLI::App* sub : before.command->get_subcommands(nullptr)) {
    offer.Add(sub->get_name(), sub->get_description());
  }
  const CLI::Option* positional = NextPositional(*before.command, before.positionals);
  if (!positional) return;
  const std::string name = positional->get_name(true);
  const auto names = [&](const char* part) { return name.find(part) != std::string::npos; };
  if (names("CLASS")) OfferClasses(completion, typed);
  completion.paths = names("FILE") || names("FOLDER") || names("PATH") || names(".json");
}

}  // namespace

Completion Complete(const CLI::App& command, const std::vector<std::string>& words) {
  Completion completion;
  if (words.empty()) return completion;
  Before before;
  before.command = &command;
  for (std::size_t i = 0; i + 1 < words.size(); ++i) Read(before, words[i]);
  const std::string& typed = words.back();
  if (before.pending) {
    OfferValues(completion, *before.pending, before.report, typed, {});
  } else if (!typed.starts_with('-')) {
    OfferWords(completion, before, typed);
  } else if (const std::size_t equals = typed.find('='); equals != std::string::npos) {
    const CLI::Option* option = FindOption(*before.command, typed.substr(0, equals));
    if (option) {
      const std::string prefix = typed.substr(0, equals + 1);
      OfferValues(completion, *option, before.report, std::string_view(typed).substr(equals + 1),
                  prefix);
    }
  } else {
    OfferOptions(completion, *before.command, typed);
  }
  return completion;
}

void WriteCompletion(std::ostream& out, const CLI::App& command,
                     const std::vector<std::string>& words) {
  const Completion completion = Complete(command, words);
  out << (completion.paths ? "paths " : "") << (completion.open ? "open" : "") << '\n';
  for (const Completion::Word& word : completion.words) {
    out << word.text << '\t' << word.help << '\n';
  }
}

}  // namespace ledgerwick
