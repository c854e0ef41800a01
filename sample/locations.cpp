#include "sample/locations.h"

#include <vector>

#include "sample/reference_data.h"

namespace ledgerwick::sample {
namespace {

constexpr int kAreas = 2;
constexpr int kRows = 3;
constexpr int kBins = 4;

Text Digit(int value) { return Text(1, static_cast<char16_t>(u'0' + value)); }

void AddRow(const Location& area, int row, std::vector<Location>& locations) {
  const bool open_floor = row == kRows;
  const Text code = area.code + u"0" + Digit(row);
  const Text name = area.name + (open_floor ? Text(u"地堆") : Digit(row) + u"排");
  locations.push_back({code, name, 2, open_floor, area.warehouse});
  if (open_floor) return;
  for (int bin = 1; bin <= kBins; ++bin) {
    locations.push_back(
        {code + u"0" + Digit(bin), name + Digit(bin) + u"位", 3, true, area.warehouse});
  }
}

std::vector<Location> MakeLocations() {
  std::vector<Location> locations;
  const auto warehouses = Warehouses();
  for (std::size_t w = 0; w < warehouses.size(); ++w) {
    if (!warehouses[w].locations) continue;
    for (int area = 1; area <= kAreas; ++area) {
      const Location head{Text(warehouses[w].code.substr(1)) + Digit(area),
                          Text(warehouses[w].name) + (area == 1 ? u"东区" : u"西区"), 1, false,
                          static_cast<std::int32_t>(w)};
      locations.push_back(head);
      for (int row = 1; row <= kRows; ++row) AddRow(head, row, locations);
    }
  }
  return locations;
}

}  // namespace

std::span<const Location> Locations() {
  static const std::vector<Location> locations = MakeLocations();
  return locations;
}

}  // namespace ledgerwick::sample
