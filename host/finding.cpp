#include "host/finding.h"

namespace ledgerwick {

Finding FindingOf(const Note& note, TextView filter) {
  return {Text(note.code), note.severity, Text(note.filter.empty() ? filter : note.filter),
          Text(note.does), Text(note.remedy)};
}

Finding Found(TextView code, TextView filter, Text what) {
  Finding finding = FindingOf(GeneralNote(code), filter);
  finding.what = std::move(what);
  return finding;
}

}  // namespace ledgerwick
