#include "report/RegisterWords.h"

#include <gmock/gmock.h>

namespace Sim {
namespace {

TEST(RegisterWords, SayWhatEachBitDoes) {
  FilterDump filter{.intf = Platform::IntfId("e1"), .path = {}, .slots = {}};
  filter.enable = 0x80000b0f;
  filter.action = 0x00000909;
  EXPECT_THAT(filter.enableWords(), testing::EndsWith("ACL drop delay; unknown bits 0x8; slots 0-1, 3 and 23 in use"));
  EXPECT_EQ(filter.actionWords(), "rules match the source; permit what no rule matches; permit in slots 0 and 3");
  EXPECT_EQ(filter.slotWords({1, 0, 0x00ff00ff, 0, 0x0aff01ff}),
            "deny any protocol, source 10.0.1.0 wildcard 0.255.0.255");
  EXPECT_EQ(filter.slotWords({2, 0, 0, 0, 0}), "not in use");
}

}  // namespace
}  // namespace Sim
