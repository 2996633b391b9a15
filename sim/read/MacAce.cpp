#include "read/MacAce.h"

#include <optional>
#include <string>

#include <fmt/format.h>

#include "read/Action.h"
#include "read/EtherTypes.h"
#include "read/MatchFields.h"

namespace Sim {
namespace {

// One side's address and its mask; any address when neither is there.
struct MacMatch {
  Platform::EthAddr addr;
  Platform::EthAddr mask;
};

std::optional<Platform::EthAddr> readMac(const Place& place) {
  const auto text = place.text();
  if (!text) return {};
  try {
    return Platform::EthAddr::fromText(*text);
  } catch (const Platform::RangeError& error) {
    place.error("out-of-range", error.what(), "Write six octets in hexadecimal, such as 00:11:22:33:44:55.");
    return {};
  }
}

// `side` is "source" or "destination".
MacMatch readMacMatch(const Place& eth, const std::string& side) {
  const auto addrPlace = eth.member(side + "-mac-address");
  const auto maskPlace = eth.member(side + "-mac-address-mask");
  if (!addrPlace) {
    if (maskPlace) {
      maskPlace->error("missing-member", fmt::format("the mask has no {}-mac-address", side),
                       "Add the address, or remove the mask.");
    }
    return {};
  }
  const Platform::EthAddr none;
  const auto addr = readMac(*addrPlace);
  const auto mask = maskPlace ? readMac(*maskPlace) : none.complement();
  if (!addr || !mask) return {};
  if (addr->isEq(none) && !mask->isEq(none)) {
    addrPlace->error(
        "any-address",
        fmt::format("\"{}\" would match every address: the hardware reads the all-zero address as any", *addr),
        "Leave out the address if any address is meant. The all-zero address itself cannot be matched.");
  }
  return {*addr, *mask};
}

Acl::MacFilter readEth(const Place& eth) {
  reportUnmatched(eth, kEthFields);
  const MacMatch source = readMacMatch(eth, "source");
  const MacMatch destination = readMacMatch(eth, "destination");
  return {eth.read("ethertype", readEtherType), source.addr, source.mask, destination.addr, destination.mask};
}

}  // namespace

MacRule readMacAce(const Place& ace) {
  MacRule rule;
  rule.config.action = readAction(ace).value_or(Acl::Action::deny);
  if (const auto matches = ace.object("matches")) {
    reportUnmatched(*matches, kMacMatches);
    if (const auto eth = matches->object("eth")) rule.config.filter = readEth(*eth);
  }
  return rule;
}

}  // namespace Sim
