#include "desk/pick_lists.h"

#include <algorithm>
#include <iterator>

#include "frame/null_sink.h"

namespace ledgerwick::desk {
namespace {

// As many as are read of a list: beyond them typing has to find the code.
constexpr PickList kLists[] = {
    {"warehouse", u"cWhCode", u"SELECT TOP 50000 cWhCode, cWhName FROM Warehouse ORDER BY cWhCode"},
    {"item", u"cInvCode", u"SELECT TOP 50000 cInvCode, cInvName FROM Inventory ORDER BY cInvCode"},
    {"class", u"cInvCCode",
     u"SELECT TOP 50000 cInvCCode, cInvCName FROM InventoryClass ORDER BY cInvCCode"},
    {"customer", u"cCusCode",
     u"SELECT TOP 50000 cCusCode, cCusAbbName FROM Customer ORDER BY cCusCode"},
    {"vendor", u"cVenCode",
     u"SELECT TOP 50000 cVenCode, cVenAbbName FROM Vendor ORDER BY cVenCode"},
    {"department", u"cDepCode cAccDep",
     u"SELECT TOP 50000 cDepCode, cDepName FROM Department ORDER BY cDepCode"},
    {"person", u"cPersonCode",
     u"SELECT TOP 50000 cPersonCode, cPersonName FROM Person ORDER BY cPersonCode"},
    {"location", u"cPosCode cPosition",
     u"SELECT TOP 50000 cPosCode, cPosName FROM Position ORDER BY cPosCode"},
    {"movement", u"cRdCode", u"SELECT TOP 50000 cRdCode, cRdName FROM Rd_Style ORDER BY cRdCode"},
    {"saletype", u"cSTCode", u"SELECT TOP 50000 cSTCode, cSTName FROM SaleType ORDER BY cSTCode"},
    {"vouchertype", u"cVouchType",
     u"SELECT TOP 50000 cVouchType, cVouchName FROM VouchType ORDER BY cVouchType"},
    {"batch", u"cBatch",
     u"SELECT DISTINCT TOP 50000 CS.cBatch, I.cInvName FROM CurrentStock CS INNER JOIN Inventory I "
     u"ON CS.cInvCode = I.cInvCode WHERE CS.cBatch IS NOT NULL AND CS.cBatch <> '' "
     u"ORDER BY CS.cBatch, I.cInvName"},
};

class PairSink final : public NullSink {
 public:
  void Row(std::span<const Value> row) override {
    pairs.emplace_back(row[0].ToText(), row[1].ToText());
  }
  bool WantsRow() override { return true; }

  std::vector<std::pair<Text, Text>> pairs;
};

}  // namespace

const PickList* FindPickList(std::string_view kind) noexcept {
  const auto* found = std::find_if(std::begin(kLists), std::end(kLists),
                                   [&](const PickList& l) { return l.kind == kind; });
  return found == std::end(kLists) ? nullptr : found;
}

const PickList* PickListOf(TextView filter_name) noexcept {
  const TextView name = Trim(filter_name);
  const TextView bare = name.substr(name.rfind(u'.') + 1);
  for (const PickList& list : kLists) {
    for (TextView rest = list.columns; !rest.empty();) {
      const std::size_t blank = std::min(rest.find(u' '), rest.size());
      if (EqualText(rest.substr(0, blank), bare)) return &list;
      rest.remove_prefix(std::min(rest.size(), blank + 1));
    }
  }
  return nullptr;
}

std::vector<std::pair<Text, Text>> ReadPickList(const PickList& list, BatchRunner& reader) {
  PairSink sink;
  reader.Run(list.query, sink);
  return std::move(sink.pairs);
}

}  // namespace ledgerwick::desk
