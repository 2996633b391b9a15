#include "platform/acl/AclTypes.h"

namespace Acl {

std::string MacFilter::toText() const {
  return fmt::format("ethType {:#06x} src {}/{} dst {}/{}", ethType, srcAddr, srcMask, dstAddr, dstMask);
}

}  // namespace Acl

namespace Platform {

UniqueId UniqueId::fromText(std::string_view text) { return UniqueId(Platform::fromText<uint64_t>(text)); }

std::string UniqueId::toText() const { return fmt::format("{}", number_); }

}  // namespace Platform
