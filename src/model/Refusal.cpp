#include "model/Refusal.h"

#include <fmt/format.h>

namespace Kestrix {

std::string Refused::toText() const {
  const auto message = fmt::runtime(rowOf(reason).message);
  if (reason == Refusal::aclType) return fmt::format(message, static_cast<Acl::AclType>(subject));
  return fmt::format(message, subject);
}

}  // namespace Kestrix
