#include "frame/mod_report_public.h"

#include <doctest/doctest.h>

using namespace ledgerwick;
using namespace ledgerwick::modReportPublic;

namespace {

class NamedComputer final : public System {
 public:
  explicit NamedComputer(Text name) : name_(std::move(name)) {}
  std::shared_ptr<Connection> NewConnection() override { return nullptr; }
  Text ComputerName() override { return name_; }
  std::size_t AnsiLength(TextView text) override { return text.size(); }
  void MessageBox(const Text&, const Text&, std::int32_t) override {}
  void Beep() override {}

 private:
  Text name_;
};

}  // namespace

TEST_CASE("the machine's suffix is an underscore and up to ten characters that need no quoting") {
  const std::pair<TextView, TextView> cases[] = {
      {u"PC-01 A", u"_PC01A"},         {u"WORKSTATION-0001", u"_WORKSTATIO"},
      {u"A-B%C#D'E;", u"_ABCDE"},      {u"`|\\/+*,\"", u"_"},
      {u"a_b.[c]", u"_a_b.[c]"},       {u"", u"_"},
      {u"财务室电脑", u"_财务室电脑"}, {u"1234567890-ABC", u"_1234567890"},
  };
  for (const auto& [name, suffix] : cases) {
    NamedComputer computer{Text(name)};
    CHECK(GetMachineName(computer) == name);
    CHECK(ToUtf8(MachineTableSuffix(computer)) == ToUtf8(suffix));
  }
}

TEST_CASE("a text without a NUL trims to nothing") {
  CHECK(TrimAtNul(u"no terminator").empty());
  CHECK(TrimAtNul(Text(u"name\0   ", 8)) == u"name");
  CHECK(TrimAtNul(Text(1, u'\0')).empty());
}

TEST_CASE("quotes are doubled but for pairs that stand away from the end") {
  const std::pair<TextView, TextView> cases[] = {
      {u"O'Neil", u"O''Neil"},
      {u"a''bcd", u"a''bcd"},
      {u"ab''", u"ab''''"},
      {u"''abc", u"''abc"},
      {u"a''b", u"a''''b"},
      {u"a''bc", u"a''bc"},
      {u"'", u"''"},
      {u"", u""},
      {u"'''abc", u"''''abc"},
      {u"无引号", u"无引号"},
      {u"c='01'", u"c=''01''"},
  };
  for (const auto& [text, doubled] : cases) {
    CAPTURE(ToUtf8(text));
    CHECK(ToUtf8(ReplaceCharUnlessPresent(text, u'\'', u"''")) == ToUtf8(doubled));
  }
}
