#include "html/Markup.h"

#include <gmock/gmock.h>

#include <string>

namespace Sim {
namespace {

TEST(Markup, TextIsTextWhateverItHolds) {
  struct Case {
    const char* what;
    std::string text;
    const char* markup;
  };
  const Case cases[] = {
      {"an element", "<script>", "&lt;script&gt;"},
      {"the end of an attribute", "\" onclick='x'", "&quot; onclick=&#39;x&#39;"},
      {"a reference", "&lt;", "&amp;lt;"},
      {"a line break, and a turn of the writing direction", "a\nb\u202ec", "a\\nb\\u202ec"},
      {"a byte that is not UTF-8", "\xff", "\\xff"},
  };
  for (const auto& [what, text, markup] : cases) {
    Markup html;
    html.put("td", {{"title", text}}, text);
    EXPECT_EQ(html.str(), std::string("<td title=\"") + markup + "\">" + markup + "</td>") << what;
  }
}

TEST(Markup, AnElementEndsWhereItsContentsDo) {
  Markup html;
  {
    const auto list = html.in("ul");
    {
      const auto item = html.in("li");
      html.put("b", "1");
    }
    html.put("li", "2");
  }
  html.text("3");
  EXPECT_EQ(html.str(), "<ul><li><b>1</b></li>\n<li>2</li>\n</ul>\n3");
}

}  // namespace
}  // namespace Sim
