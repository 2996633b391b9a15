// What the tests of the helper share.
#pragma once

#include <gmock/gmock.h>

#include "support/Bench.h"

namespace Kestrix::Test {

using testing::ElementsAre, testing::IsEmpty, testing::ThrowsMessage;

struct HelperTest : testing::Test, Bench {
  // Attached to `intfs` and pre-created.
  Ptr<ShadowAcl> attached(const Ptr<AclData>& data, const std::vector<IntfId>& intfs) {
    for (const IntfId intf : intfs) EXPECT_EQ(helper->addIntfToAcl({.intf = intf}, data, nullptr), kNoError);
    EXPECT_EQ(helper->precreateAcl(data, nullptr), kNoError);
    return helper->allShadowAcl(data->key());
  }
};

}  // namespace Kestrix::Test
