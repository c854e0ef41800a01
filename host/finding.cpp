#include "host/finding.h"

#include <vector>

namespace ledgerwick {
namespace {

// `sentence` with the values in their places, read once, since a value may hold {1} itself.
Text Filled(TextView sentence, const std::vector<TextView>& values) {
  Text filled;
  for (std::size_t i = 0; i < sentence.size(); ++i) {
    if (sentence[i] != u'{') {
      filled += sentence[i];
      continue;
    }
    filled.append(values.at(static_cast<std::size_t>(sentence[i + 1] - u'1')));
    i += 2;
  }
  return filled;
}

}  // namespace

Finding FindingOf(const Note& note, TextView filter) {
  const ChineseNote& chinese = ChineseOf(note);
  return {Text(note.code),     note.severity,     Text(note.filter.empty() ? filter : note.filter),
          Text(note.does),     Text(note.remedy), Text(chinese.does),
          Text(chinese.remedy)};
}

Finding Found(TextView code, TextView filter, const Sentence& what,
              std::initializer_list<TextView> values) {
  Finding finding = FindingOf(GeneralNote(code), filter);
  finding.what = Filled(what.english, values);
  finding.what_zh = Filled(what.chinese, values);
  return finding;
}

}  // namespace ledgerwick
