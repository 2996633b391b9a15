#include "platform/network/IntfId.h"

#include <gtest/gtest.h>

#include <fmt/format.h>

#include "platform/runtime/Errors.h"

namespace Platform {
namespace {

TEST(IntfId, OrdersNumbersByValueAndIsTheSameForTheSameName) {
  std::vector<std::string> ordered;
  for (int k = 1; k <= 100; ++k) ordered.push_back(fmt::format("order-{}", k));
  ordered.insert(ordered.end(), {"order-100a", std::string("order-100a\0", 11), "zero-0", "zero-00", "zero-1/9",
                                 "zero-1/009", "zero-01/9", "zero-01/09", "zero-01/10", "zero-2", "zero-02", "zero-3"});
  // Each of them new between the same two names.
  for (size_t i = ordered.size(); i-- > 0;) EXPECT_EQ(IntfId(ordered[i]).toText(), ordered[i]);
  for (size_t i = 0; i < ordered.size(); ++i) {
    for (size_t j = 0; j < ordered.size(); ++j) {
      EXPECT_EQ(IntfId(ordered[i]) <=> IntfId(ordered[j]), i <=> j) << i << " " << j;
      EXPECT_EQ(IntfId(ordered[i]) == IntfId(ordered[j]), i == j);
    }
  }
  EXPECT_THROW(IntfId(""), RangeError);
  EXPECT_EQ(IntfId(std::string(255, 'x')).toText().size(), 255u);
  EXPECT_THROW(IntfId(std::string(256, 'x')), RangeError);
  EXPECT_EQ(DownstreamIntfId::coreId(IntfId("never told")), 0u);
}

}  // namespace
}  // namespace Platform
