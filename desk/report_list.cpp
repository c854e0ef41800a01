#include "desk/report_list.h"

#include "desk/headings.h"
#include "desk/pick_lists.h"

namespace ledgerwick::desk {
namespace {

constexpr TextView kNotImplemented = u"LW805";

const char* KindOf(FilterKind kind) {
  switch (kind) {
    case FilterKind::DateRange:
      return "date";
    case FilterKind::NumberRange:
      return "number";
    case FilterKind::Option:
      return "option";
    case FilterKind::PlainText:
    case FilterKind::List:
    case FilterKind::Range:
      break;
  }
  return "text";
}

Json OptionsOf(const FilterInfo& filter) {
  Json options = Json::array();
  for (const TextView value : filter.values) {
    options.push_back(
        {{"value", ToUtf8(value)}, {"zh", ToUtf8(value)}, {"en", ToUtf8(EnglishValue(value))}});
  }
  return options;
}

Json FilterJson(const FilterInfo& filter) {
  // The voucher types of an option are no codes of the database's.
  const PickList* list = filter.kind == FilterKind::Option ? nullptr : PickListOf(filter.name);
  return {{"name", ToUtf8(filter.name)},
          {"caption", ToUtf8(filter.caption)},
          {"english", ToUtf8(EnglishCaption(filter))},
          {"kind", KindOf(filter.kind)},
          {"range", IsRange(filter.kind)},
          {"list", filter.kind == FilterKind::List},
          {"options", OptionsOf(filter)},
          {"pick", list != nullptr ? Json(std::string(list->kind)) : Json()},
          {"required", false},
          {"wordedBy", filter.worded_by == WordedBy::Host ? "host" : "report"}};
}

Json ColumnJson(const ReportInfo& report, TextView name) {
  const Heading heading = HeadingOf(report.class_name, name);
  return {{"name", ToUtf8(name)},
          {"zh", ToUtf8(heading.zh)},
          {"en", ToUtf8(heading.en)},
          {"kind", LikelyKind(heading)},
          {"key", heading.key}};
}

Json NoteJson(const Note& note) {
  const ChineseNote& chinese = ChineseOf(note);
  return {{"code", ToUtf8(note.code)},
          {"severity", ToUtf8(SeverityName(note.severity))},
          {"filter", note.filter.empty() ? Json() : Json(ToUtf8(note.filter))},
          {"does", ToUtf8(note.does)},
          {"instead", ToUtf8(note.remedy)},
          {"does_zh", ToUtf8(chinese.does)},
          {"instead_zh", ToUtf8(chinese.remedy)}};
}

Json PictureJson(const ReportInfo& report) {
  const Picture* picture = PictureOf(report.class_name);
  if (picture == nullptr) return nullptr;
  Json values = Json::array();
  for (const TextView value : picture->values) values.push_back(ToUtf8(value));
  return {{"kind", picture->kind},
          {"category", ToUtf8(picture->category)},
          {"values", std::move(values)},
          {"aggregate", picture->aggregate},
          {"limit", picture->limit}};
}

Json InputsOf(const ReportInfo& report) {
  switch (report.login_input) {
    case LoginInput::CurDate:
      return {"login.CurDate"};
    case LoginInput::cAcc_Id:
      return {"login.cAcc_Id"};
    case LoginInput::None:
      break;
  }
  return Json::array();
}

// The note on a report that fills no table, or null.
const Note* WhyNot(const ReportInfo& report) {
  for (const Note& note : report.notes) {
    if (note.code == kNotImplemented) return &note;
  }
  return nullptr;
}

Json ReportJson(const ReportInfo& report) {
  const ClassInfo& info = *FindClass(report.class_name);
  const bool stock = IsInventoryReport(info);
  const Note* why = WhyNot(report);
  Json json = {{"class", ToUtf8(report.class_name)},
               {"title", {{"zh", ToUtf8(report.title)}, {"en", ToUtf8(EnglishTitle(info))}}},
               {"group", {{"zh", stock ? "库存" : "销售"}, {"en", stock ? "Inventory" : "Sales"}}},
               {"runnable", why == nullptr && info.factory != nullptr}};
  if (why != nullptr) {
    const ChineseNote& chinese = ChineseOf(*why);
    json["why"] = {{"zh", ToUtf8(chinese.does) + ToUtf8(chinese.remedy)},
                   {"en", ToUtf8(why->does) + ' ' + ToUtf8(why->remedy)}};
  }
  json["inputs"] = InputsOf(report);
  for (const char* list : {"filters", "columns", "notes"}) json[list] = Json::array();
  for (const FilterInfo& filter : report.filters) json["filters"].push_back(FilterJson(filter));
  for (const ResultColumnInfo& c : report.columns) {
    json["columns"].push_back(ColumnJson(report, c.name));
  }
  for (const Note& note : report.notes) json["notes"].push_back(NoteJson(note));
  json["picture"] = PictureJson(report);
  return json;
}

}  // namespace

Json ReportsJson() {
  Json reports = Json::array();
  for (const ReportInfo& report : ReportInfos()) reports.push_back(ReportJson(report));
  return {{"reports", std::move(reports)}};
}

}  // namespace ledgerwick::desk
