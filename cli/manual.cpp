#include "cli/manual.h"

#include <cctype>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "cli/option_values.h"

namespace ledgerwick {
namespace {

// `text` as roff prints it: without escapes and requests, with hyphens that can be copied.
std::string Escaped(const std::string& text) {
  std::string escaped = text.starts_with('.') || text.starts_with('\'') ? "\\&" : "";
  for (const char c : text) {
    if (c == '\\') {
      escaped += "\\e";
    } else if (c == '-') {
      escaped += "\\-";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

// Running text, in lines that are not too long for whoever reads the source.
std::string Filled(const std::string& text) {
  constexpr std::size_t kWidth = 76;
  std::string lines;
  std::size_t length = 0;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    word = Escaped(word);
    const bool breaks = length + word.size() > kWidth;
    if (length > 0) lines += breaks ? '\n' : ' ';
    length = (breaks ? 0 : length) + word.size() + 1;
    lines += word;
  }
  return lines;
}

std::string Upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

// The command as it is typed ("ledgerwick sample create") or as its page is called, with hyphens.
std::string NameOf(const CLI::App& command, char between) {
  const CLI::App* parent = command.get_parent();
  return parent ? NameOf(*parent, between) + between + command.get_name() : command.get_name();
}

std::vector<const CLI::App*> Subcommands(const CLI::App& command) {
  return command.get_subcommands(nullptr);
}

void Synopsis(std::ostream& out, const CLI::App& command) {
  out << ".SH SYNOPSIS\n.B " << Escaped(NameOf(command, ' ')) << "\n[\\fIOPTION\\fR]...\n";
  if (!Subcommands(command).empty()) out << "\\fICOMMAND\\fR [\\fIARGUMENT\\fR]...\n";
  for (const CLI::Option* option : command.get_options()) {
    if (!option->get_positional()) continue;
    const std::string name = "\\fI" + Escaped(option->get_name(true)) + "\\fR";
    out << (option->get_required() ? name : "[" + name + "]") << '\n';
  }
}

void Options(std::ostream& out, const CLI::App& command) {
  out << ".SH OPTIONS\n";
  for (const CLI::Option* option : command.get_options()) {
    out << ".TP\n";
    if (option->get_positional()) {
      out << "\\fI" << Escaped(option->get_name(true)) << "\\fR\n";
    } else {
      const std::string value = ValueText(*option);
      const char* separator = "";
      for (const std::string& name : option->get_snames()) {
        out << separator << "\\fB\\-" << Escaped(name) << "\\fR";
        separator = ", ";
      }
      for (const std::string& name : option->get_lnames()) {
        out << separator << "\\fB\\-\\-" << Escaped(name) << "\\fR";
        separator = ", ";
      }
      if (!value.empty()) out << " \\fI" << Escaped(value) << "\\fR";
      out << '\n';
    }
    std::string description = option->get_description();
    if (!option->get_envname().empty()) description += " (else " + option->get_envname() + ')';
    out << Filled(description) << ".\n";
  }
}

// The footer's blocks: a heading that ends in a colon, and below it indented lines, which are
// examples, or a name and its meaning with two blanks or more between them.
void Footer(std::ostream& out, const std::string& footer) {
  std::istringstream lines(footer);
  bool examples = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.ends_with(':')) {
      line.pop_back();
      examples = line == "Examples";
      out << ".SH " << Upper(line) << '\n' << (examples ? ".EX\n" : "");
    } else if (line.starts_with("  ") && examples) {
      out << Escaped(line.substr(2)) << '\n';
    } else if (line.starts_with("  ")) {
      const std::size_t gap = line.find("  ", 2);
      out << ".TP\n.B " << Escaped(line.substr(2, gap - 2)) << '\n'
          << Filled(line.substr(gap)) << ".\n";
    }
  }
  if (examples) out << ".EE\n";
}

void SeeAlso(std::ostream& out, const CLI::App& command) {
  std::vector<std::string> pages;
  if (command.get_parent()) pages.push_back(NameOf(*command.get_parent(), '-'));
  for (const CLI::App* sub : Subcommands(command)) pages.push_back(NameOf(*sub, '-'));
  if (pages.empty()) return;
  out << ".SH SEE ALSO\n";
  for (std::size_t i = 0; i < pages.size(); ++i) {
    out << ".BR " << Escaped(pages[i]) << " (1)" << (i + 1 < pages.size() ? " ,\n" : "\n");
  }
}

}  // namespace

std::string ManualPage(const CLI::App& command, const std::string& date,
                       const std::string& version) {
  std::ostringstream out;
  const std::string name = NameOf(command, '-');
  std::string description = command.get_description();
  if (description.ends_with('.')) description.pop_back();
  out << ".TH " << Escaped(Upper(name)) << " 1 " << date << " \"" << version << "\" Ledgerwick\n"
      << ".SH NAME\n"
      << Filled(name + " - " + description) << '\n';
  Synopsis(out, command);
  if (!Subcommands(command).empty()) {
    out << ".SH COMMANDS\n";
    for (const CLI::App* sub : Subcommands(command)) {
      out << ".TP\n.B " << Escaped(sub->get_name()) << '\n'
          << Filled(sub->get_description()) << ".\n";
    }
  }
  Options(out, command);
  Footer(out, command.get_footer());
  SeeAlso(out, command);
  return out.str();
}

void WriteManual(const CLI::App& command, const std::filesystem::path& folder,
                 const std::string& date, const std::string& version) {
  const std::filesystem::path path = folder / (NameOf(command, '-') + ".1");
  std::ofstream file(path);
  file << ManualPage(command, date, version);
  if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
  for (const CLI::App* sub : Subcommands(command)) WriteManual(*sub, folder, date, version);
}

}  // namespace ledgerwick
