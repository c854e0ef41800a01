// Reports in the words of their users, Chinese and English.
#pragma once

#include <span>
#include <vector>

#include "component/class_table.h"
#include "host/filters.h"

namespace ledgerwick::desk {

// A column's headings.
struct Heading {
  Text zh;
  Text en;
  bool key = false;  // tells rows apart, and stays in sight
};

// The headings of a column of that report; its name where nothing else is known.
Heading HeadingOf(TextView report, TextView column);

// "text", "number" or "date": what a column with that heading holds, as far as its words tell.
const char* LikelyKind(const Heading& heading);

// The filter's caption in English; the Chinese one where there is none.
Text EnglishCaption(const FilterInfo& filter);

// A known value of an option in English.
Text EnglishValue(TextView value);

// What the report is called in English, with a capital letter.
Text EnglishTitle(const ClassInfo& report);

// True for the reports of stock, false for those of sales.
bool IsInventoryReport(const ClassInfo& report);

// The picture that answers a report's question.
struct Picture {
  TextView report;
  const char* kind = "";  // bar, line, pie or scatter
  TextView category;      // a column
  std::vector<TextView> values;
  const char* aggregate = "sum";
  int limit = 20;
};

// The report's picture, or null.
const Picture* PictureOf(TextView report);

}  // namespace ledgerwick::desk
