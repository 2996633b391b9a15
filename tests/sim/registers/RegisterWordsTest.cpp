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
  const FilterDump macs{.intf = Platform::IntfId("e1"), .values = {0x100, 0x100, 0, 0}};
  EXPECT_EQ(macs.slotWords({0, {0, 0, 0x1122, 0x33445566}}), "permit destination 11:22:33:44:55:66");
}

TEST(RegisterWords, SayWhatEachRegisterOfASlotHolds) {
  namespace Layout = Kestrix::Layout;
  const SlotDump compared{0, {0, 0xFF, 443, 0xC00002FF}}, notCompared{0, {0xFFFF, 0, 0xFFFF, 0}};
  const struct {
    uint32_t enable;
    const SlotDump& slot;
    const Layout::SlotRegister& row;
    const char* words;
  } rows[] = {
      {1, compared, Layout::kMaskHigh, "the port is compared"},
      {1, notCompared, Layout::kMaskHigh, "bits of the port that are set are not compared"},
      {1, compared, Layout::kAddrHigh, "port 443"},
      {1, notCompared, Layout::kAddrHigh, "any port"},
      {1, compared, Layout::kMaskLow, "wildcard 0.0.0.255"},
      {1, compared, Layout::kAddrLow, "address, its wildcard bits set, 192.0.2.255"},
      {0, compared, Layout::kMaskHigh, "the first two octets of the wildcard: bits that are set are not compared"},
      {0, compared, Layout::kAddrLow, "the last four octets of the MAC address"},
  };
  for (const auto& [enable, slot, row, words] : rows) {
    const FilterDump filter{.intf = Platform::IntfId("e1"), .values = {enable, 0, 0, 0}};
    EXPECT_EQ(filter.slotRegisterWords(slot, row), words);
  }
}

}  // namespace
}  // namespace Sim
