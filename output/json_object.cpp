#include "output/json_object.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "output/display_text.h"
#include "output/result_writer.h"
#include "output/unique_names.h"
#include "output/value_text.h"

namespace ledgerwick {
namespace {

// Most text is plain, and need not be copied into the library to learn that.
bool IsPlain(std::string_view utf8) noexcept {
  return std::all_of(utf8.begin(), utf8.end(), [](char c) {
    return static_cast<unsigned char>(c) >= 0x20 && c != '"' && c != '\\';
  });
}

void AppendValue(std::string& json, const Value& value, ColumnKind kind) {
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

}  // namespace

void AppendJsonString(std::string& json, std::string_view utf8) {
  if (IsPlain(utf8)) {
    json.append(1, '"').append(utf8).append(1, '"');
  } else {
    json += nlohmann::json(utf8).dump();
  }
}

JsonObjects::JsonObjects(std::span<const ResultColumn> columns) {
  for (const std::string& name : UniqueNames(columns)) {
    std::string& key = keys_.emplace_back();
    AppendJsonString(key, name);
    key += ": ";
  }
  for (const ResultColumn& column : columns) kinds_.push_back(column.kind);
}

void JsonObjects::Append(std::string& json, std::span<const Value> values,
                         bool for_terminal) const {
  const std::size_t start = json.size();
  json += '{';
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (i > 0) json += ", ";
    json += keys_[i];
    AppendValue(json, values[i], kinds_[i]);
  }
  json += '}';
  if (for_terminal) json.replace(start, json.npos, EscapeControlsInJson(json.substr(start)));
}

}  // namespace ledgerwick
