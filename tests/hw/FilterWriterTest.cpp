#include "hw/FilterRegisters.h"
#include "support/HelperTest.h"

namespace Kestrix::Test {

struct FilterWriterTest : HelperTest {};

TEST_F(FilterWriterTest, WritesEverySlotInOrderOrEnableAlone) {
  FilterRegisters image;
  image.enableIs(0x80000001);
  image.actionIs(2);
  image.tcpIs(3);
  image.udpIs(4);
  FilterRuleRegisters slot1(1);  // Slot 0 is not programmed.
  slot1.mask_highIs(0xFFFF);
  slot1.mask_lowIs(6);
  slot1.addr_highIs(7);
  slot1.addr_lowIs(0xFFFFFFFF);
  image.ruleRegistersIs(slot1);
  build(2, 1);
  EXPECT_EQ(helper->regWriteHelper(image, e3, kIn, false), kNoError);
  const std::string base = "msp_send[1]/i_filter[5]/";
  EXPECT_THAT(taken(), ElementsAre(base + "enable 0x80000001", base + "action 0x2", base + "tcp 0x3", base + "udp 0x4",
                                   base + "rule[0]/mask_high 0x0", base + "rule[0]/mask_low 0x0",
                                   base + "rule[0]/addr_high 0x0", base + "rule[0]/addr_low 0x0",
                                   base + "rule[1]/mask_high 0xffff", base + "rule[1]/mask_low 0x6",
                                   base + "rule[1]/addr_high 0x7", base + "rule[1]/addr_low 0xffffffff"));
  EXPECT_EQ(helper->regWriteHelper(image, e3, kNeither, true), kNoError);
  EXPECT_THAT(taken(), ElementsAre("msp_return[1]/filter[5]/enable 0x80000001"));
}

TEST_F(FilterWriterTest, IndicesAreReducedTo16BitsAfterSubtractingOne) {
  const struct {
    uint32_t core;
    uint16_t portGroup;  // 0: the interface has none.
    const char *enable, *linkMonitor;
  } rows[] = {
      {0, 0, "msp_send[65535]/i_filter[65535]/enable 0x0", "msp_send[65535]/rx[65535]/linkmon_ctl 0x18"},
      {65537, 256, "msp_send[0]/i_filter[255]/enable 0x0", "msp_send[0]/rx[255]/linkmon_ctl 0x18"},
      {258, 1025, "msp_send[257]/i_filter[1024]/enable 0x0", "msp_send[257]/rx[1024]/linkmon_ctl 0x18"},
  };
  const IntfId indexed("indexed");
  for (const auto& [core, portGroup, enable, linkMonitor] : rows) {
    Platform::DownstreamIntfId::coreIdIs(indexed, core);
    IntfIdToPortGroupId map;
    if (portGroup != 0) map.portGroupMapIs(indexed, portGroup);
    const auto indexedHelper = aclHelperFactory(transport, map, 2, 2, vcsd);
    indexedHelper->regWriteHelper(FilterRegisters(), indexed, kIn, true);
    EXPECT_THAT(taken(), ElementsAre(enable));
    indexedHelper->blockIntf(indexed, true, 0);
    EXPECT_EQ(taken().back(), linkMonitor);
  }
}

}  // namespace Kestrix::Test
