#include "host/json_writer.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <set>

#include "host/display_text.h"
#include "host/value_text.h"

namespace ledgerwick {

std::vector<std::string> UniqueNames(std::span<const ResultColumn> columns) {
  // A name that a column has by itself is never given to another.
  std::set<std::string> own;
  for (const ResultColumn& column : columns) own.insert(ToUtf8(column.name));
  std::set<std::string> taken;
  std::vector<std::string> names;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const std::string wanted =
        columns[i].name.empty() ? "column" + std::to_string(i + 1) : ToUtf8(columns[i].name);
    std::string name = wanted;
    const bool is_own = !columns[i].name.empty() && !taken.contains(name);
    for (int n = 2; !is_own && (taken.contains(name) || own.contains(name)); ++n) {
      name = wanted + '_' + std::to_string(n);
    }
    taken.insert(name);
    names.push_back(std::move(name));
  }
  return names;
}

void AppendJsonString(std::string& json, std::string_view utf8) {
  json += '"';
  for (const char c : utf8) {
    switch (c) {
      case '"':
        json += "\\\"";
        break;
      case '\\':
        json += "\\\\";
        break;
      case '\n':
        json += "\\n";
        break;
      case '\r':
        json += "\\r";
        break;
      case '\t':
        json += "\\t";
        break;
      default:
        if (static_cast<unsigned char>(c) >= 0x20) {
          json += c;
        } else {
          std::array<char, 8> buffer;
          const int n =
              std::snprintf(buffer.data(), buffer.size(), "\\u%04x", static_cast<unsigned>(c));
          json.append(buffer.data(), static_cast<std::size_t>(n));
        }
    }
  }
  json += '"';
}

void AppendJsonValue(std::string& json, const Value& value, ColumnKind kind) {
  const auto* integer = value.If<std::int64_t>();
  const auto* number = value.If<double>();
  const auto* boolean = value.If<bool>();
  if (value.IsNull() || value.IsEmpty()) {
    json += "null";
  } else if (boolean || (integer && kind == ColumnKind::Boolean)) {
    json += (boolean ? *boolean : *integer != 0) ? "true" : "false";
  } else if (integer) {
    json += std::to_string(*integer);
  } else if (number && std::isfinite(*number)) {
    json += ShortestNumber(*number);
  } else if (const auto* digits = value.If<Text>(); digits && kind == ColumnKind::Decimal) {
    json += ShortestDecimal(ToUtf8(*digits));
  } else {
    AppendJsonString(json, CellText(value, ResultColumn{}));
  }
}

JsonWriter::JsonWriter(std::ostream& out, const WriterOptions& options)
    : out_(out), terminal_(options.terminal) {}

void JsonWriter::Columns(std::span<const ResultColumn> columns) {
  keys_.clear();
  kinds_.clear();
  for (const std::string& name : UniqueNames(columns)) {
    std::string& key = keys_.emplace_back();
    AppendJsonString(key, name);
    key += ": ";
  }
  for (const ResultColumn& column : columns) kinds_.push_back(column.kind);
  first_row_ = true;
  out_ << '[';
  CheckWritten(out_);
}

void JsonWriter::Row(std::span<const Value> values) {
  line_ = first_row_ ? "\n  {" : ",\n  {";
  first_row_ = false;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (i > 0) line_ += ", ";
    line_ += keys_[i];
    AppendJsonValue(line_, values[i], kinds_[i]);
  }
  out_ << (terminal_ ? EscapeControlsInJson(line_) : line_) << '}';
  CheckWritten(out_);
}

void JsonWriter::EndRows(std::int64_t) {
  out_ << (first_row_ ? "]\n" : "\n]\n");
  CheckWritten(out_);
}

void JsonWriter::Finish() {
  out_.flush();
  CheckWritten(out_);
}

}  // namespace ledgerwick
