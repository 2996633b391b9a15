#include "support/HelperTest.h"

namespace Kestrix::Test {
namespace {

// " permitAny=true", or nothing when it has no value.
std::string verdict(const char* attribute, std::optional<bool> permits) {
  return permits ? fmt::format(" {}={}", attribute, *permits) : "";
}
std::string sideOf(const BaseAcl& acl) { return acl.srcOrDst() ? stringValue(*acl.srcOrDst()) : "no side"; }

std::string rulesOf(const BaseAcl& acl) {
  if (acl.rule().empty()) return "; no rule";
  const AclRule& rule = acl.rule().rbegin()->second;
  const AclAddrWithMask& addr = rule.addrWithMask();
  return fmt::format("; rule {}: {} {}{}{}{}", acl.rule().size(), rule.action(),
                     addr.containsIp() ? addr.ip().toText() : addr.mac().toText(),
                     rule.port() != 0 ? fmt::format(" port {}", rule.port()) : "", rule.tcp() ? " tcp" : "",
                     rule.udp() ? " udp" : "");
}

// The side, the attributes that are set, and the last rule.
std::string textOf(const IpAcl& acl) {
  return sideOf(acl) + verdict("permitAny", acl.permitAny()) + (acl.l4() ? " l4" : "") + rulesOf(acl);
}
std::string textOf(const MacAcl& acl) {
  return sideOf(acl) + verdict("permitAny", acl.permitAny()) + (acl.arp() ? " arp" : "") +
         verdict("permitArp", acl.permitArp()) + (acl.lldp() ? " lldp" : "") + verdict("permitLldp", acl.permitLldp()) +
         rulesOf(acl);
}

template <class Fields>
struct Step {
  Fields rule;
  const char* outcome;          // The error, and the start of the last decision traced.
  const char* after = nullptr;  // The ACL; null when the step must leave it as it was.
};

struct TranslateTest : HelperTest {
  template <class Fields>
  using Acls = std::vector<std::vector<Step<Fields>>>;

  AclCreateError made(const Ptr<AclData>& data, const SubruleFields& rule) { return translate(data, rule); }
  AclCreateError made(const Ptr<AclData>& data, const MacFields& rule) { return translateMac(data, rule); }

  // Each of the ACLs in turn, from its first rule on.
  template <class Fields>
  void expectSteps(const Ptr<AclData>& data, const std::string& operation, const Acls<Fields>& acls) {
    trace.levelIs(5);
    for (const auto& steps : acls) {
      const auto shadow = attached(data, {e1});
      const auto text = [&] {
        return shadow->acl().containsIp() ? textOf(*shadow->acl().ip()) : textOf(*shadow->acl().mac());
      };
      for (const auto& [rule, outcome, after] : steps) {
        const std::string before = text(), prefix = "5 " + operation + ": ";
        shadow->applyingIntfIs(e1);
        taken();
        std::string atDecision;
        onTrace = [&] { atDecision = text(); };
        const int error = int(made(data, rule));
        onTrace = [] {};
        const std::string decision = taken(prefix).back().substr(prefix.size());
        EXPECT_THAT(fmt::format("{} {}", error, decision), testing::StartsWith(outcome)) << before;
        EXPECT_EQ(helper->lastRefused().toText(), error == 0 ? "" : decision);
        EXPECT_EQ(text(), after != nullptr ? after : before) << outcome;
        if (decision.ends_with("successful!")) {
          EXPECT_EQ(atDecision, text()) << "it is said once it is so";
        }
        EXPECT_EQ(shadow->applyingIntf(e1), error == 0) << outcome;
      }
    }
  }
  const Ptr<AclData> in = make<AclData>(AclKey{"edge", kIpv4, kIn});
};

TEST_F(TranslateTest, IpRules) {
  build(2, 0);  // The limit is that of the ACL's direction.
  constexpr char kNet[] = "10.0.0.0/255.0.0.0", kHost[] = "10.1.1.1/255.255.255.255";
  constexpr char kCreated[] = "0 rule creation successful!", kVerdict[] = "0 special rule creation successful!";
  constexpr char kAllPermitted[] = "no side permitAny=true; no rule";
  constexpr char kBoth[] = "13 non-any addresses or ports on both source and destination";
  constexpr char kNotDestination[] = "13 can't filter on destination, already filtering on source";
  expectSteps<SubruleFields>(
      in, "createIpAclSubrule",
      {{{{.src = kNet}, kCreated, "source; rule 1: permit 10.0.0.0/0.255.255.255 tcp udp"},
        {{.dst = kHost}, kNotDestination},
        {{.src = kHost, .dstPort = 1}, kBoth},
        {{.dst = kHost, .srcPort = 1}, kBoth},
        {{.proto = 6}, kCreated, "source; rule 2: permit 0.0.0.0/255.255.255.255 tcp"},
        {{.action = kDeny}, kVerdict, "source permitAny=false; rule 2: permit 0.0.0.0/255.255.255.255 tcp"},
        {{.dst = kHost}, kNotDestination},  // Refused, though what passes the checks is dropped.
        {{.src = kHost, .srcPort = 1}, "0 filtering on source"},
        {{}, "0 filtering on any source and any destination"}},
       {{{.proto = 17, .dst = kHost, .dstPort = 53},
         kCreated,
         "destination l4; rule 1: permit 10.1.1.1/0.0.0.0 port 53 udp"},
        {{.srcPort = 80}, "13 can't filter on source, already filtering on destination"},
        {{.action = kUnknown, .dst = kNet}, kCreated, "destination l4; rule 2: 3 10.0.0.0/0.255.255.255 tcp udp"},
        {{.dst = kNet}, "15 no available rule registers"},
        {{.action = kUnknown}, kVerdict, "destination permitAny=false l4; rule 2: 3 10.0.0.0/0.255.255.255 tcp udp"}},
       {{{.proto = 6}, kCreated, "no side; rule 1: permit 0.0.0.0/255.255.255.255 tcp"},
        {{.action = kDeny, .srcPort = 80},
         kCreated,
         "source l4; rule 2: deny 0.0.0.0/255.255.255.255 port 80 tcp udp"}},
       {{{.src = "0.0.0.0/255.0.0.0", .srcLow = 1, .srcHigh = 1, .dstLow = 2}, kVerdict, kAllPermitted},
        {{.proto = 1}, "13 unsupported IP protocol 1"},
        {{.srcLow = 80, .srcHigh = 81}, "13 port ranges unsupported"},
        {{.srcHigh = 1023}, "13 port ranges unsupported"},
        {{.proto = 1, .dstHigh = 1}, "13 port ranges unsupported"},
        {{.srcHigh = 1, .ipLen = {1, 0, 0, 0}}, "13 ipLen filter not supported"},
        {{.ipLen = {0, 0, 0, 1}}, "13 ipLen filter not supported"}}});
}

TEST_F(TranslateTest, MacRules) {
  constexpr char kHost[] = "00:11:22:33:44:55/ff:ff:ff:ff:ff:ff", kVendor[] = "00:11:22:00:00:00/ff:ff:ff:00:00:00";
  constexpr char kZero[] = "00:00:00:00:00:00/ff:ff:ff:ff:ff:ff";  // Any, whatever the mask.
  constexpr uint32_t kArp = 0x0806, kLldp = 0x88CC, kNone = 0xFFFFFFFF;
  constexpr char kCreated[] = "0 rule creation successful!";
  constexpr char kAnyAny[] = "0 filtering on any source and any destination";
  constexpr char kDropped[] = "0 acl: guard type: mac direction: out rule: 3 id: 7 filter: ethType ";
  expectSteps<MacFields>(
      macAcl, "createMacAclRule",
      {{{{.src = kHost}, kCreated, "source; rule 1: permit 00:11:22:33:44:55/00:00:00:00:00:00"},
        {{.dst = kHost}, "13 can't filter on destination, already filtering on source"},
        {{.src = kHost, .dst = kHost}, "13 non-any addresses on both source and destination"},
        {{.ethType = kArp, .src = kHost}, "13 can't set address or mask on a protocol filter"},
        {{.ethType = 0x0800}, "13 Unsupported EthType: 800"},
        {{.action = kDeny, .ethType = kNone, .src = kVendor, .dst = kZero},
         kCreated,
         "source; rule 2: deny 00:11:22:00:00:00/00:00:00:ff:ff:ff"},
        {{.src = kHost}, "15 no available rule registers"},
        {{.ethType = kArp}, kAnyAny, "source arp permitArp=true; rule 2: deny 00:11:22:00:00:00/00:00:00:ff:ff:ff"}},
       {{{.dst = kVendor}, kCreated, "destination; rule 1: permit 00:11:22:00:00:00/00:00:00:ff:ff:ff"},
        {{.ethType = kArp, .src = kHost}, "13 can't filter on source, already filtering on destination"}},
       {{{.action = kDeny, .ethType = kArp}, kAnyAny, "no side arp permitArp=false; no rule"},
        {{.ethType = kArp}, kAnyAny},  // The first one has decided.
        {{.ethType = kLldp}, kAnyAny, "no side arp permitArp=false lldp permitLldp=true; no rule"},
        {{.action = kDeny, .ethType = kLldp}, kAnyAny},
        {{.action = kDeny, .src = kZero},
         kAnyAny,
         "no side permitAny=false arp permitArp=false lldp permitLldp=true; no rule"},
        {{}, kDropped},
        {{.src = kHost, .dst = kHost}, kDropped},          // Before the sides are looked at,
        {{.ethType = 1}, "13 Unsupported EthType: 1"}}});  // but after the EtherType.
}

}  // namespace
}  // namespace Kestrix::Test
