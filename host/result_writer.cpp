#include "host/result_writer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "host/csv_writer.h"
#include "host/json_writer.h"
#include "host/table_writer.h"
#include "host/value_text.h"

namespace ledgerwick {
namespace {

template <typename Writer>
std::unique_ptr<ResultWriter> Make(std::ostream& out, const WriterOptions& options) {
  return std::make_unique<Writer>(out, options);
}

// name, description, writer
constexpr OutputFormat kFormats[] = {
    {"table", "columns aligned for reading", &Make<TableWriter>},
    {"csv", "comma-separated values with a header, NULL as an empty field", &Make<CsvWriter>},
    {"json", "an array of objects", &Make<JsonWriter>},
};

}  // namespace

void CheckWritten(const std::ostream& out) {
  if (out) return;
  const int reason = errno;
  std::string message = "cannot write the output";
  if (reason != 0) message.append(": ").append(std::strerror(reason));
  throw OutputError(message);
}

std::span<const OutputFormat> OutputFormats() noexcept { return kFormats; }

const OutputFormat* FindOutputFormat(std::string_view name) noexcept {
  const auto* found = std::find_if(std::begin(kFormats), std::end(kFormats),
                                   [&](const OutputFormat& f) { return f.name == name; });
  return found == std::end(kFormats) ? nullptr : found;
}

std::string CellText(const Value& value, const ResultColumn& column) {
  if (const auto* d = value.If<double>()) {
    const bool decimal = column.kind == ColumnKind::Decimal;
    return decimal ? FixedNumber(*d, column.scale) : ShortestNumber(*d);
  }
  if (const auto* date = value.If<Date>()) return DateText(*date);
  return ToUtf8(value.ToText());
}

}  // namespace ledgerwick
