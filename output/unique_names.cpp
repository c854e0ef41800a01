#include "output/unique_names.h"

#include <set>

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

}  // namespace ledgerwick
