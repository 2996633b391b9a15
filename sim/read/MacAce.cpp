#include "read/MacAce.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include <fmt/format.h>

#include "read/Action.h"
#include "read/EtherTypes.h"
#include "read/MatchFields.h"
#include "read/Quote.h"

namespace Sim {
namespace {

using Platform::EthAddr;

// One side's address and its mask; any address when neither is there.
struct MacMatch {
  EthAddr addr;
  EthAddr mask;
};

std::optional<EthAddr> readMac(const Place& place) {
  const auto text = place.text();
  if (!text) return {};
  try {
    return EthAddr::fromText(*text);
  } catch (const Platform::RangeError&) {
    place.error("out-of-range", fmt::format("{} is not a MAC address", inQuotes(*text)),
                "Write six octets in hexadecimal, such as 00:11:22:33:44:55.");
    return {};
  }
}

// The address with one bit that `mask` does not compare; all zero when it compares them all.
EthAddr zeroUnder(const EthAddr& mask) {
  EthAddr::Octets octets{};
  for (size_t i = octets.size(); i-- > 0;) {
    const unsigned notCompared = mask.complement().octets()[i];
    if (notCompared == 0) continue;
    octets[i] = static_cast<uint8_t>(notCompared & (~notCompared + 1));
    break;
  }
  return EthAddr(octets);
}

bool isZeroUnder(const EthAddr& addr, const EthAddr& mask) {
  return std::ranges::equal(addr.octets(), mask.octets(), [](uint8_t a, uint8_t m) { return (a & m) == 0; });
}

// The hardware reads the all-zero address as any, whatever its mask, and ignores the bits that the mask leaves out.
void checkZeroAddress(const Place& place, const EthAddr& addr, const EthAddr& mask) {
  const EthAddr none;
  if (mask == none || !isZeroUnder(addr, mask)) return;
  if (addr != none) {
    return place.warning("host-bits",
                         fmt::format("the bits of \"{}\" that the mask leaves out keep it from being read as any "
                                     "address; a management stack may put them back to zero",
                                     addr),
                         "See that they reach the device as written here.");
  }
  const EthAddr instead = zeroUnder(mask);
  const std::string wider = "leave out the address and its mask if any address is meant, which is wider.";
  place.error("any-address",
              fmt::format("\"{}\" would match every address: the hardware reads the all-zero address as any", addr),
              instead == none
                  ? "The all-zero address cannot be matched: " + wider
                  : fmt::format("Write {} beside this mask, which does not compare that bit. Or {}", instead, wider));
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
  const EthAddr none;
  const auto addr = readMac(*addrPlace);
  const auto mask = maskPlace ? readMac(*maskPlace) : none.complement();
  if (!addr || !mask) return {};
  checkZeroAddress(*addrPlace, *addr, *mask);
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
