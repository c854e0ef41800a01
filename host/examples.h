// What each report answers, and one use of it that has rows in the sample company: for its page.
#pragma once

#include <span>

#include "frame/text.h"

namespace ledgerwick {

struct ReportExample {
  TextView class_name;
  TextView answers;                     // the question that the report answers
  std::span<const TextView> filters{};  // as --filter takes them
  TextView columns{};                   // worth showing, parted by commas; empty for all
  TextView login_date{};                // empty where the report reads none
  TextView account{};                   // likewise
};

// The example of the report of that class name, or nullptr while there is none.
const ReportExample* FindExample(TextView class_name) noexcept;

}  // namespace ledgerwick
