#include "read/AceReader.h"

#include <variant>

#include "read/IpAce.h"
#include "read/MacAce.h"

namespace Sim {
namespace {

AceRule readRule(const Place& ace, Acl::AclType type) {
  if (type == Acl::AclType::ipv4) return readIpAce(ace);
  if (type == Acl::AclType::mac) return readMacAce(ace);
  // The helper refuses the ACL for its type, whatever its rules match.
  return ForeignRule{};
}

}  // namespace

std::optional<AceRule> readAce(const Place& ace, Acl::AclType type) {
  const size_t errorsBefore = ace.errors();
  ace.onlyMembers({"name", "matches", "actions"});
  const AceRule rule = readRule(ace, type);
  return ace.errors() == errorsBefore ? std::optional(rule) : std::nullopt;
}

}  // namespace Sim
