// clsRepXCL, the current stock (现存量): the stock on hand row by row, with the item, its location,
// its stop flag, and the quantities on the way in and out, each with its pieces.
#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

#include "frame/error.h"
#include "frame/filter_items.h"
#include "frame/report_provider.h"
#include "inventory/arguments.h"
#include "inventory/factories.h"
#include "inventory/steps.h"
#include "inventory/wording.h"

namespace ledgerwick {
namespace {

constexpr TextView kTable = u"tempdb..tempXcl";

// The statement's pieces in the order in which they stand. Pieces follow the item's unit group: 0
// none, 1 the quantity over the group's rate, 2 counted by themselves.
constexpr const char16_t* kSelect =
    u"SELECT CS.cInvCode, I.cInvName, I.cInvStd, I.cInvCCode, I.cInvAddCode, "
    u" CU.cComUnitName AS cInvM_Unit, CU1.cComUnitName AS cInvA_Unit, WH.cWhCode, "
    u" WH.cWhName, CS.cBatch, IC.cInvCName, "
    u" CS.cFree1, CS.cFree2, CS.cFree3, CS.cFree4, CS.cFree5, CS.cFree6, CS.cFree7, CS.cFree8, "
    u"CS.cFree9, CS.cFree10, "
    u" I.cInvDefine1, I.cInvDefine2, I.cInvDefine3, I.cInvDefine4, I.cInvDefine5, I.cInvDefine6, "
    u"I.cInvDefine7, I.cInvDefine8, I.cInvDefine9, I.cInvDefine10, I.cInvDefine11, I.cInvDefine12, "
    u"I.cInvDefine13, I.cInvDefine14, I.cInvDefine15, I.cInvDefine16, "
    u" I.cBarCode, CS.dMdate, CS.dVDate, CS.iMassDate, CS.iQuantity, "
    u" CASE WHEN I.iGroupType = 0 THEN 0 WHEN I.iGroupType = 2 THEN ISNULL(CS.iNum,0) WHEN "
    u"I.iGroupType = 1 THEN CS.iQuantity/CU2.iChangRate END AS iNum, "
    u" POS.cPosName , POS.cPosCode, CS.bStopFlag, ";
constexpr const char16_t* kQuantities =
    u" CS.fInQuantity, "
    u" CASE WHEN I.iGroupType = 0 THEN 0 WHEN I.iGroupType = 2 THEN ISNULL(CS.fInNum,0) WHEN "
    u"I.iGroupType = 1 THEN CS.fInQuantity/CU2.iChangRate END AS fInNum, "
    u" CS.fOutQuantity, "
    u" CASE WHEN I.iGroupType = 0 THEN 0 WHEN I.iGroupType = 2 THEN ISNULL(CS.fOutNum,0) WHEN "
    u"I.iGroupType = 1 THEN CS.fOutQuantity/CU2.iChangRate END AS fOutNum, "
    u" CS.fTransInQuantity, "
    u" CASE WHEN I.iGroupType = 0 THEN 0 WHEN I.iGroupType = 2 THEN ISNULL(CS.fTransInNum,0) WHEN "
    u"I.iGroupType = 1 THEN CS.fTransInQuantity/CU2.iChangRate END fTransInNum, "
    u" CS.fTransOutQuantity, "
    u" CASE WHEN I.iGroupType = 0 THEN 0 WHEN I.iGroupType = 2 THEN ISNULL(CS.fTransOutNum,0) WHEN "
    u"I.iGroupType = 1 THEN CS.fTransOutQuantity/CU2.iChangRate END fTransOutNum, "
    u" CS.fPlanQuantity, "
    u" CASE WHEN I.iGroupType = 0 THEN 0 WHEN I.iGroupType = 2 THEN ISNULL(CS.fPlanNum,0) WHEN "
    u"I.iGroupType = 1 THEN CS.fPlanQuantity/CU2.iChangRate END fPlanNum, "
    u" CS.fDisableQuantity, "
    u" CASE WHEN I.iGroupType = 0 THEN 0 WHEN I.iGroupType = 2 THEN ISNULL(CS.fDisableNum,0) WHEN "
    u"I.iGroupType = 1 THEN CS.fDisableQuantity/CU2.iChangRate END fDisableNum, "
    u" CS.fAvaQuantity, "
    u" CASE WHEN I.iGroupType = 0 THEN 0 WHEN I.iGroupType = 2 THEN ISNULL(CS.fAvaNum,0) WHEN "
    u"I.iGroupType = 1 THEN CS.fAvaQuantity/CU2.iChangRate END fAvaNum ";
constexpr const char16_t* kInto = u" INTO ";
constexpr const char16_t* kFrom =
    u" FROM Warehouse WH RIGHT OUTER JOIN ComputationUnit CU1 RIGHT OUTER JOIN [Position] POS "
    u"RIGHT OUTER JOIN ComputationUnit CU2 RIGHT OUTER JOIN Inventory I ON CU2.cGroupCode = "
    u"I.cGroupCode ON POS.cPosCode = I.cPosition ON CU1.cComunitCode = I.cAssComUnitCode RIGHT "
    u"OUTER JOIN CurrentStock CS ON I.cInvCode = CS.cInvCode LEFT OUTER JOIN InventoryClass IC ON "
    u"I.cInvCCode = IC.cInvCCode ON WH.cWhCode = CS.cWhCode LEFT OUTER JOIN ComputationUnit CU ON "
    u"I.cComUnitCode = CU.cComunitCode ";
constexpr const char16_t* kWhere = u" WHERE ";
constexpr const char16_t* kNeutral = u" 1=1 ";

// The filters' words.
constexpr const char16_t* kClassLength = u" AND LEN(I.cInvCCode) <= ";
constexpr const char16_t* kLocationLength = u" AND LEN(I.cPosition) <= ";
constexpr const char16_t* kStopped = u" AND CS.bStopFlag = 1";
constexpr const char16_t* kNotStopped = u" AND (CS.bStopFlag <> 1 OR CS.bStopFlag IS NULL)";
constexpr const char16_t* kBarCodeLike = u" AND I.cBarCode LIKE '";
constexpr const char16_t* kBatchLike = u" AND CS.cBatch LIKE '";
constexpr const char16_t* kPieces =
    u"(CASE WHEN I.iGroupType = 0 THEN 0 WHEN I.iGroupType = 2 THEN ISNULL(CS.iNum,0) WHEN "
    u"I.iGroupType = 1 THEN CS.iQuantity/CU2.iChangRate END)";
constexpr TextView kLowestLevel = u"1";

// The filters that the host words.
constexpr TextView kHostWorded[] = {
    u"I.cInvCode", u"I.cInvCCode", u"WH.cWhCode", u"I.cInvStd",
    u"iQuantity",  u"I.cPosition", u"CS.dMDate",  u"CS.dVDate",
};

// The queries for the account set's parameters.
constexpr const char16_t* kGoodClass =
    u"SELECT * FROM [AccInformation] WHERE  [cName] = 'cGoodClass' AND [cSysID] = 'AA' ";
constexpr const char16_t* kInformation =
    u"Select * From Accinformation Where "
    u"  cSysId='";
constexpr const char16_t* kInformationName = u" And cName='";

constexpr RecordsetOptions kReadOnlyRows{kUseServer, kOpenStatic, kLockReadOnly, kCommandText};

// The value of the one parameter that `sql` finds, its default where it has none; empty when there
// is no such parameter, more than one, or an error, which stays here.
Text ParameterValue(const std::shared_ptr<Connection>& connection, const Text& sql) {
  const auto read = [&]() -> Text {
    const std::shared_ptr<Connection> held = Held(connection);
    const std::unique_ptr<Recordset> rows = held->OpenRecordset(sql, kReadOnlyRows);
    if (rows->RecordCount() != 1) return {};
    const Value value = rows->Field(u"cValue");
    return value.IsNull() ? rows->Field(u"cDefault").ToText() : value.ToText();
  };
  return Trapped(read, [] { return Text(); });
}

// The parameter that holds the item classes' code lengths, one digit for each level.
Text GetGoodClass(const std::shared_ptr<Connection>& connection) {
  return ParameterValue(connection, kGoodClass);
}

Text GetInformation(const Text& system_id, const Text& name,
                    const std::shared_ptr<Connection>& connection) {
  return ParameterValue(connection,
                        kInformation + system_id + u"'" + kInformationName + name + u"'");
}

// A range of a column. The order of the bounds is that of texts, so that 9 and 10 give a range that
// nothing meets: that is meant.
Text GetDigConditionString(const Text& field, const Text& text1, const Text& text2) {
  if (text1.empty() && text2.empty()) return {};
  if (text2.empty()) return field + u">=" + text1;
  if (text1.empty()) return field + u"<=" + text2;
  const int order = CompareText(text1, text2);
  if (order == 0) return field + u"=" + text1;
  const Text& low = order < 0 ? text1 : text2;
  const Text& high = order < 0 ? text2 : text1;
  return field + u">=" + low + u" AND " + field + u"<=" + high;
}

bool ExistsFuzzyChar(TextView token) {
  return FindText(token, u"?") != TextView::npos || FindText(token, u"*") != TextView::npos;
}

// Every character of `token` that equals `wanted` replaced; a longer `wanted` equals none.
Text RepCharWithChar(TextView token, TextView wanted, TextView replacement) {
  Text replaced;
  for (std::size_t i = 0; i < token.size(); ++i) {
    const TextView character = token.substr(i, 1);
    replaced += EqualText(character, wanted) ? replacement : character;
  }
  return replaced;
}

// The user's wildcards as those of LIKE.
Text RepForFuzzy(TextView token) {
  return RepCharWithChar(RepCharWithChar(token, u"?", u"_"), u"*", u"%");
}

// The level that a filter asks for; nothing for an empty value, one below the lowest level, both as
// text, or one that is no number.
std::optional<std::size_t> Level(const Value& value) {
  const Text text = value.ToText();
  if (text.empty() || CompareText(text, kLowestLevel) < 0) return std::nullopt;
  try {
    const double level = std::nearbyint(ToNumber(text));
    constexpr double kMostLevels = 1000;
    return static_cast<std::size_t>(std::clamp(level, 0.0, kMostLevels));
  } catch (const DatabaseError&) {
    return std::nullopt;
  }
}

// " AND " and the condition of a filter that the host words.
Text HostCondition(ReportFilter& item) { return AndCondition(Trim(item.strSqlString())); }

Text StopCondition(const Text& value) {
  if (EqualText(value, u"冻结")) return kStopped;
  if (EqualText(value, u"未冻结")) return kNotStopped;
  return {};
}

Text LikeCondition(const char16_t* like, const Text& token) {
  const Text pattern = RepForFuzzy(token);
  return pattern.empty() ? Text() : like + pattern + u"'";
}

bool IsHostWorded(TextView name) {
  return std::any_of(std::begin(kHostWorded), std::end(kHostWorded),
                     [&](TextView known) { return EqualText(known, name); }) ||
         IsNumbered(name, u"cInvDefine", 16) || IsNumbered(name, u"cFree", 10);
}

class clsRepXCL final : public ReportProvider {
 public:
  using ReportProvider::ReportProvider;

  Text TempTablename() override { return Text(kTable); }

  bool MoveDataDetail() override {
    OpenNew(*this, system());
    DropResultTable(mconn, kTable);
    const Text condition = BuildCondition(*RequireFilterSet(*this));
    Held(mconn)->Execute(
        kSelect + Text(kQuantities) + kInto + TempTablename() + kFrom + kWhere + condition,
        kOptionUnspecified);
    return true;  // the connection stays open, for the host to close
  }

  Value Call(Member member, std::span<const Argument> arguments) override {
    const auto text = [&](std::size_t i) { return TextArgument(arguments, i); };
    switch (member) {
      case Member::GetClassLength:
        return SumDigits(text(0));
      case Member::GetGoodClass:
        return GetGoodClass(ConnectionArgument(arguments, 0));
      case Member::GetInformation:
        return GetInformation(text(0), text(1), ConnectionArgument(arguments, 2));
      case Member::GetDigConditionString:
        return GetDigConditionString(text(0), text(1), text(2));
      case Member::ExistsFuzzyChar:
        return ExistsFuzzyChar(text(0));
      case Member::RepForFuzzy:
        return RepForFuzzy(text(0));
      case Member::RepCharWithChar:
        return RepCharWithChar(text(0), text(1), text(2));
      default:
        return ReportProvider::Call(member, arguments);
    }
  }

 private:
  Text BuildCondition(ReportFilterSet& set) {
    Text condition = kNeutral;
    ForEachItem(set, [&](ReportFilter& item) {
      const Text name = item.Name();
      condition += ConditionOf(Trim(name), item);
    });
    return condition;
  }

  // " AND " and the condition of `item`; nothing for a filter that is open or not known.
  Text ConditionOf(TextView name, ReportFilter& item) {
    if (IsHostWorded(name)) return HostCondition(item);
    if (EqualText(name, u"def_iInvCGrade")) {
      return LengthCondition(kClassLength, item, [&] { return GetGoodClass(mconn); });
    }
    if (EqualText(name, u"def_iPosCGrade")) {
      return LengthCondition(kLocationLength, item,
                             [&] { return GetInformation(u"AA", u"cPosLevel", mconn); });
    }
    if (EqualText(name, u"def_bStop")) return StopCondition(TrimmedText(item.varValue()));
    if (EqualText(name, u"I.cBarCode")) {
      const Text value = item.varValue().ToText();
      return ExistsFuzzyChar(value) ? LikeCondition(kBarCodeLike, value) : HostCondition(item);
    }
    // Always a pattern, so that a batch without wildcards matches itself alone.
    if (EqualText(name, u"CS.cBatch")) return LikeCondition(kBatchLike, item.varValue().ToText());
    if (EqualText(name, u"iNum")) {
      const Text first = item.varValue().ToText();
      const Text second = item.varValue2().ToText();
      return AndCondition(GetDigConditionString(kPieces, first, second));
    }
    return {};
  }

  // The codes up to the level that `item` asks for, by their length. `coding` yields the code
  // lengths and is asked only when there is a level.
  template <typename Coding>
  static Text LengthCondition(const char16_t* clause, ReportFilter& item, Coding coding) {
    const std::optional<std::size_t> level = Level(item.varValue());
    if (!level) return {};
    const std::int32_t length = SumDigits(coding().substr(0, *level));
    return length == 0 ? Text() : clause + Value(length).ToText();
  }
};

}  // namespace

std::unique_ptr<ReportProvider> NewCurrentStock(System& system) {
  return std::make_unique<clsRepXCL>(system);
}

}  // namespace ledgerwick
