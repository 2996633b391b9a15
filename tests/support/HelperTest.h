// What the tests of the helper share.
#pragma once

#include <gmock/gmock.h>

#include "support/Rig.h"

namespace Kestrix::Test {

using testing::ElementsAre, testing::IsEmpty, testing::ThrowsMessage;

struct HelperTest : testing::Test, Rig {
  // Attached to `intfs` and pre-created.
  Ptr<ShadowAcl> attached(const Ptr<AclData>& data, const std::vector<IntfId>& intfs) {
    for (const IntfId intf : intfs) EXPECT_EQ(helper->addIntfToAcl({.intf = intf}, data, nullptr), kNoError);
    EXPECT_EQ(helper->precreateAcl(data, nullptr), kNoError);
    return helper->allShadowAcl(data->key());
  }
  // The same, then translated and finalized: one rule, kDns, or the ARP verdict of a MAC ACL.
  Ptr<ShadowAcl> applied(const Ptr<AclData>& data, const std::vector<IntfId>& intfs) {
    const auto shadow = attached(data, intfs);
    shadow->acl().containsIp() ? translate(data, kDns) : translateMac(data, {.ethType = 0x0806});
    finish(data);
    return shadow;
  }
  static constexpr SubruleFields kDns{.proto = 17, .dst = "192.0.2.53/255.255.255.255", .dstPort = 53};
};

}  // namespace Kestrix::Test
