#include "report/Explanations.h"

namespace Sim {
namespace {

struct Row {
  std::string_view reasonStart;
  Explanation explanation;
};

constexpr Row kRows[] = {
    {"ipLen filter not supported",
     {"ip-length", "The hardware does not look at the IP length: remove it from the rule."}},
    {"port ranges unsupported",
     {"port-range", "A slot matches one port or all of them: write one rule a port, or none for the port."}},
    {"unsupported IP protocol",
     {"ip-protocol",
      "The hardware tells TCP (6) and UDP (17) from the rest, and no other protocol: write a rule for "
      "one of them, or for every protocol."}},
    {"non-any addresses or ports on both source and destination",
     {"both-sides", "A rule matches addresses and ports on one side only: leave the other side any."}},
    {"can't filter on source, already filtering on destination",
     {"side-conflict",
      "All rules of an ACL match the same side, and an earlier one has matched the destination: "
      "split the ACL, or write this rule for the destination."}},
    {"can't filter on destination, already filtering on source",
     {"side-conflict",
      "All rules of an ACL match the same side, and an earlier one has matched the source: split the "
      "ACL, or write this rule for the source."}},
    {"non-any addresses on both source and destination",
     {"both-sides", "A rule matches addresses on one side only: leave the other side any."}},
    {"Unsupported EthType",
     {"ethertype",
      "The hardware tells ARP and LLDP from the rest, and no other EtherType: leave it out, or remove the "
      "rule."}},
    {"can't set address or mask on a protocol filter",
     {"protocol-address", "ARP and LLDP are permitted or denied for the whole filter: leave out the address."}},
    {"no available rule registers",
     {"no-slot",
      "The filter has no slot left: merge rules, or leave to the last rule, for everything, what it says "
      "anyway."}},
    {"Profile does not support ingress ACLs",
     {"no-ingress", "This device has no ingress rule slots: attach the ACL to egress."}},
    {"Unsupported ACL type", {"acl-type", "The hardware filters by IPv4 and by MAC ACLs only."}},
    {"the filter holds an ACL of the other type",
     {"type-conflict", "A filter holds the rules of an IPv4 ACL or of a MAC ACL: attach one of them elsewhere."}},
    {"a register write failed",
     {"write-failed", "The filter may hold a part of the ACL: find out why the bus fails, and apply again."}},
    {"the helper does not know the interface for this ACL",
     {"dropped", "Apply the configuration again; the traces tell more: --trace 6."}},
    {"not attached to any interface", {"not-attached", "Name the ACL in an ACL set of attachment-points to apply it."}},
};

}  // namespace

Explanation explain(std::string_view reason) {
  for (const Row& row : kRows) {
    if (reason.starts_with(row.reasonStart)) return row.explanation;
  }
  return {"refused", "The traces tell more: --trace 6."};
}

}  // namespace Sim
