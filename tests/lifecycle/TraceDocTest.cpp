#include <regex>

#include <gtest/gtest.h>

#include "support/CallSequence.h"
#include "support/Docs.h"

namespace Kestrix::Test {
namespace {

// The blocks of docs/traces.md are one sequence of calls, each behind "> ", with what it traces, accesses and tells.
TEST(TraceDoc, ShowsWhatIsTraced) {
  const Lines shown = linesOf(KESTRIX_DOCS "traces.md", "trace");
  std::vector<Call> sequence;
  for (const std::string& line : shown) {
    if (line.starts_with("> ")) sequence.push_back(callsOf(line.substr(2)).front());
  }
  ASSERT_FALSE(sequence.empty());
  Probe probe{.traceLevel = 6};
  ASSERT_EQ(faultsOf(sequence, {.probe = &probe}), "");
  // The numbers of references depend on what else ran; blanks at the end of a line do not show.
  const auto textOf = [](const Lines& lines) {
    const std::string text =
        std::regex_replace(fmt::format("{}\n", fmt::join(lines, "\n")), std::regex("#[0-9]+"), "#1");
    return std::regex_replace(text, std::regex(" +\n"), "\n");
  };
  EXPECT_EQ(textOf(probe.log), textOf(shown));
}

}  // namespace
}  // namespace Kestrix::Test
