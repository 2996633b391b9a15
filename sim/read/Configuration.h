// The desired state, as the ACL framework of the simulated device holds it.
#pragma once

#include <array>
#include <cstdint>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "platform/acl/AclTypes.h"
#include "platform/network/IntfId.h"

namespace Sim {

// The ports of one packet side, as the helper takes them: `port` is 0 for none; a range has `high` above `low`.
struct Ports {
  uint16_t port = 0;
  uint16_t low = 0;
  uint16_t high = 0;
  uint16_t except = 0;  // Of all ports but one, that one; the range is then only the wider one beside it. 0 is none.

  bool operator==(const Ports&) const = default;
};

struct IpRule {
  Acl::RuleConfig config;
  Ports source;
  Ports destination;
  uint16_t ipLength = 0;  // 0 is none.

  bool operator==(const IpRule&) const = default;
};

struct FragmentRule {
  Acl::IpRuleConfig config;

  bool operator==(const FragmentRule&) const = default;
};

struct MacRule {
  Acl::MacRuleConfig config;

  bool operator==(const MacRule&) const = default;
};

// A rule of an ACL whose type the helper refuses as a whole.
struct ForeignRule {
  bool operator==(const ForeignRule&) const = default;
};

// A rule that cannot be read, or not in full: it is never given to the helper.
struct UnreadRule {
  bool operator==(const UnreadRule&) const = default;
};

using AceRule = std::variant<IpRule, FragmentRule, MacRule, ForeignRule, UnreadRule>;

// What a field is about.
enum class Match : uint8_t {
  sourceAddress,
  sourcePort,
  sourcePortRange,
  destinationAddress,
  destinationPort,
  destinationPortRange,
  protocol,
  length,
  etherType,
  aclType,   // Of the ACL as a whole.
  otherAcl,  // An ACL that is in the way of this one.
};

// A field as its author has written it, for whoever explains what became of the rule.
struct ConfiguredField {
  Match match = Match::protocol;
  std::string name;        // In RFC 8519.
  std::string value;       // In short: "192.0.2.0/24", "gte 1024". Empty for a container that says it all.
  uint32_t ports = 0;      // Of ports: how many there are,
  uint16_t firstPort = 0;  // and the first of them.

  std::string toText() const { return value.empty() ? name : name + " " + value; }
};

struct Ace {
  std::string name;
  AceRule rule;
  std::string path = {};                     // A JSON Pointer into the document.
  std::vector<ConfiguredField> fields = {};  // What narrows the rule down. A fragment rule has none.

  // The same rule may be written in two ways, and elsewhere.
  bool operator==(const Ace& other) const { return name == other.name && rule == other.rule; }
};

struct AclConfiguration {
  std::string name;
  std::string typeName;  // As configured, without the module's prefix.
  Acl::AclType type = Acl::AclType::ipv4;
  std::vector<Ace> aces;
  bool hasErrors = false;  // Of its own or of an ACE.

  bool operator==(const AclConfiguration&) const = default;
};

struct Attachment {
  Platform::IntfId intf;
  Acl::AclDirection direction = Acl::AclDirection::in;
  std::string acl;
};

// An ACL that is to be attached, but not to an interface that can have it.
struct UnplacedAcl {
  std::string acl;
  Acl::AclDirection direction = Acl::AclDirection::in;
};

struct Configuration {
  std::vector<AclConfiguration> acls;
  std::vector<Attachment> attachments;
  std::set<Platform::IntfId> disabled;     // Interfaces that are to pass no traffic.
  std::vector<UnplacedAcl> unplaced = {};  // Each for an error.
};

}  // namespace Sim
