// Some columns of a result, in an order of one's own.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "output/result_writer.h"

namespace ledgerwick {

// A result lacks a column that was asked for.
class MissingColumn : public std::runtime_error {
 public:
  // `name` is what was asked for, `known` are the result's columns.
  MissingColumn(const std::string& name, std::vector<std::string> known)
      : std::runtime_error("the result has no column '" + name + "'"),
        name_(name),
        known_(std::move(known)) {}

  const std::string& name() const noexcept { return name_; }
  const std::vector<std::string>& known() const noexcept { return known_; }

 private:
  std::string name_;
  std::vector<std::string> known_;
};

// Gives `inner` the columns named `names`, letter case aside, in that order; of several columns of
// one name the first. Columns throws MissingColumn.
class ColumnSelection final : public ResultWriter {
 public:
  ColumnSelection(std::unique_ptr<ResultWriter> inner, std::vector<Text> names)
      : inner_(std::move(inner)), names_(std::move(names)) {}

  void Titles(const Text& title, const Text& sub_title) override;
  void Columns(std::span<const ResultColumn> columns) override;
  void Row(std::span<const Value> values) override;
  void EndRows(std::int64_t count) override { inner_->EndRows(count); }
  void Finish() override { inner_->Finish(); }
  void Abandon() override { inner_->Abandon(); }

 private:
  std::unique_ptr<ResultWriter> inner_;
  std::vector<Text> names_;
  std::vector<std::size_t> places_;  // of the names among the columns
  std::vector<Value> picked_;
};

}  // namespace ledgerwick
