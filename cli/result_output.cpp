#include "cli/result_output.h"

#include "output/column_selection.h"

namespace ledgerwick {
namespace {

bool IsStandard(const std::string& file) { return file.empty() || file == "-"; }

void CheckSwitch(bool given, const char* option, const OutputFormat& format, bool of_tsv) {
  if (!given || format.name == "csv" || (of_tsv && format.name == "tsv")) return;
  throw UsageError(std::string(option) + " is for csv" + (of_tsv ? " and tsv" : "") + ", not for " +
                   std::string(format.name));
}

char Separator(const std::string& given) {
  if (given.empty()) return ',';
  if (given == "tab" || given == "\\t") return '\t';
  const char c = given.front();
  const bool is_word = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
  if (given.size() == 1 && c > ' ' && c < 0x7F && !is_word && c != '"' && c != '-') return c;
  throw UsageError("--separator: '" + given +
                   "' parts no values; give one sign such as ';', or 'tab'");
}

std::vector<Text> ToTexts(const std::vector<std::string>& words) {
  std::vector<Text> texts;
  for (const std::string& word : words) texts.emplace_back(Trim(FromUtf8(word)));
  return texts;
}

}  // namespace

const OutputFormat& RequireFormat(const std::string& name) {
  if (const OutputFormat* format = FindOutputFormat(name)) return *format;
  std::string message = "unknown format '" + name + "'; the formats are";
  for (const OutputFormat& format : OutputFormats()) message.append(" ").append(format.name);
  throw UsageError(message);
}

const OutputFormat& ChooseFormat(const Console& console, const OutputOptions& options) {
  const OutputFormat* by_ending =
      options.format.empty() && !IsStandard(options.file) ? FormatOfFile(options.file) : nullptr;
  const OutputFormat& format =
      by_ending ? *by_ending : RequireFormat(options.format.empty() ? "table" : options.format);
  CheckSwitch(options.byte_order_mark, "--bom", format, false);
  CheckSwitch(!options.separator.empty(), "--separator", format, false);
  CheckSwitch(options.guard_formulas, "--guard-formulas", format, true);
  Separator(options.separator);
  if (format.is_binary && IsStandard(options.file) && console.out_is_terminal) {
    throw UsageError(std::string(format.name) + " is nothing for a terminal; give --output FILE." +
                     std::string(format.endings));
  }
  return format;
}

WriterOptions ResultOptions(const Console& console) {
  WriterOptions options;
  options.colour = console.out_colour;
  options.terminal = console.out_is_terminal;
  options.width = console.width;
  return options;
}

ResultOutput::ResultOutput(Console& terminal, const OutputOptions& options,
                           const OutputFormat& format, bool one_result)
    : to_file_(!IsStandard(options.file)),
      target_(terminal.out, to_file_ ? options.file : ""),
      pager_(terminal) {
  WriterOptions how = to_file_ ? WriterOptions{} : ResultOptions(terminal);
  how.all_columns = !options.columns.empty();
  how.one_result = one_result;
  how.byte_order_mark = options.byte_order_mark;
  how.separator = Separator(options.separator);
  how.guard_formulas = options.guard_formulas;
  writer_ = format.make(stream(), how);
  if (options.columns.empty()) return;
  writer_ = std::make_unique<ColumnSelection>(std::move(writer_), ToTexts(options.columns));
}

void ResultOutput::Finish() {
  writer_->Finish();
  target_.Commit();
  pager_.Close();
}

}  // namespace ledgerwick
