#include "registers/RegisterWords.h"

#include <gmock/gmock.h>

namespace Sim {
namespace {

TEST(RegisterWords, SayWhatEachBitDoes) {
  const FilterDump filter{.intf = Platform::IntfId("e1"), .values = {0x80000b0f, 0x00000909, 0, 0}};
  EXPECT_THAT(filter.words(Kestrix::Layout::kEnable),
              testing::EndsWith("ACL drop delay; unknown bits 0x8; slots 0-1, 3 and 23 in use"));
  EXPECT_EQ(filter.words(Kestrix::Layout::kAction),
            "rules match the source; permit what no rule matches; permit in slots 0 and 3");
  EXPECT_EQ(filter.slotWords({1, {0, 0x00ff00ff, 0, 0x0aff01ff}}),
            "deny any protocol, source 10.0.1.0 wildcard 0.255.0.255");
  EXPECT_EQ(filter.slotWords({2, {}}), "not in use");
}

}  // namespace
}  // namespace Sim
