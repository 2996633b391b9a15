#include "text/Shown.h"

#include <set>

#include <gmock/gmock.h>

namespace Sim {
namespace {

using testing::ElementsAre;

TEST(Shown, NothingIsLeftThatATerminalActsOn) {
  const struct {
    std::string text, shown;
    size_t columns;
  } cases[] = {
      {"a\n\r\t\x1b[31m\x7f", R"(a\n\r\t\x1b[31m\x7f)", 19},
      {std::string("\0", 1), R"(\x00)", 4},
      {"\u009b \u061c \u200f \u2028 \u202e \u2069", R"(\u009b \u061c \u200f \u2028 \u202e \u2069)", 41},
      {"\x9b \xc0\x8a \xed\xa0\x80 \xe2\x80", R"(\x9b \xc0\x8a \xed\xa0\x80 \xe2\x80)", 35},
      {"gr\u00fc\u00df e\u0301 \u7aef\u53e3 \uff21 \U0001f600", "gr\u00fc\u00df e\u0301 \u7aef\u53e3 \uff21 \U0001f600",
       17},
      {R"(C:\acl \n \\ \)", R"(C:\acl \\n \\\ \)", 16},
  };
  for (const auto& [text, shown, columns] : cases) {
    EXPECT_EQ(Shown(text).text(), shown);
    EXPECT_EQ(Shown(text).columns(), columns) << shown;
  }
}

TEST(Shown, DifferentTextsLookDifferent) {
  std::vector<std::string> texts{""};
  std::set<std::string> seen;
  for (size_t i = 0; texts[i].size() < 5; ++i) {
    for (const char c : {'\\', 'n', 'x', '1', 'b', '\n', '\x1b'}) texts.push_back(texts[i] + c);
  }
  for (const std::string& text : texts) ASSERT_TRUE(seen.insert(Shown(text).text()).second) << Shown(text).text();
}

TEST(Shown, LinesBreakBetweenWords) {
  EXPECT_THAT(brokenAt("  one  two three four five six seven", 20, 7, 19),
              ElementsAre("  one  two three", "four five six seven"));
  EXPECT_THAT(brokenAt("  a b  c\u00fc\u00fc d", 9, 7, 9), ElementsAre("  a b  c\u00fc\u00fc", "d"));
  EXPECT_THAT(brokenAt("0123456789abcdefghijklmnop q  r ", 12, 0, 12),
              ElementsAre("0123456789abcdefghijklmnop", "q  r "));
  EXPECT_THAT(brokenAt("exactly so", 10, 4, 4), ElementsAre("exactly so"));
}

}  // namespace
}  // namespace Sim
