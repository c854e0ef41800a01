// Statements that run again and again: compiled and prepared once as long as the schema stays.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "tsql/compile/compile.h"
#include "tsql/storage/sqlite.h"

namespace ledgerwick::tsql {

// A compiled statement with SQLite's statements for it, those that nobody runs just now.
struct KeptStatement {
  Compiled compiled;
  std::vector<SqliteStatement> idle;  // by place in compiled.sql
};

// The statements of a procedure or of a loop, by their nodes in the syntax tree, which outlives it.
class StatementCache {
 public:
  // What was kept for `node` when the catalogue was at `version`, or nullptr.
  std::shared_ptr<KeptStatement> Find(const void* node, std::uint64_t version) {
    if (version != version_) {
      std::erase_if(statements_,
                    [](const auto& kept) { return kept.second->compiled.reads_schema; });
      version_ = version;
    }
    return Find(node);
  }

  // The same for a statement that does not read the schema, whatever the version.
  std::shared_ptr<KeptStatement> FindFree(const void* node) const {
    std::shared_ptr<KeptStatement> kept = Find(node);
    return kept && !kept->compiled.reads_schema ? kept : nullptr;
  }

  void Keep(const void* node, std::shared_ptr<KeptStatement> statement) {
    statements_[node] = std::move(statement);
  }

 private:
  std::shared_ptr<KeptStatement> Find(const void* node) const {
    const auto found = statements_.find(node);
    return found == statements_.end() ? nullptr : found->second;
  }

  std::uint64_t version_ = 0;
  std::unordered_map<const void*, std::shared_ptr<KeptStatement>> statements_;
};

}  // namespace ledgerwick::tsql
