#include "read/EtherTypes.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "read/Quote.h"

namespace Sim {
namespace {

constexpr std::string_view kRemedy =
    R"(Write "arp" or "lldp", without an address, or leave it out for every EtherType: the hardware tells no others apart.)";

// The EtherTypes that the model names (ietf-ethertypes).
struct EtherType {
  std::string_view name;
  uint16_t number;
};
constexpr EtherType kEtherTypes[] = {
    {"ipv4", 0x0800},
    {"arp", 0x0806},
    {"wlan", 0x0842},
    {"srp", 0x22EA},
    {"trill", 0x22F3},
    {"decnet", 0x6003},
    {"rarp", 0x8035},
    {"appletalk", 0x809B},
    {"aarp", 0x80F3},
    {"vlan", 0x8100},
    {"ipx", 0x8137},
    {"qnx", 0x8204},
    {"ipv6", 0x86DD},
    {"efc", 0x8808},
    {"esp", 0x8809},
    {"cobranet", 0x8819},
    {"mpls-unicast", 0x8847},
    {"mpls-multicast", 0x8848},
    {"pppoe-discovery", 0x8863},
    {"pppoe-session", 0x8864},
    {"intel-ans", 0x886D},
    {"jumbo-frames", 0x8870},
    {"homeplug", 0x887B},
    {"eap", 0x888E},
    {"profinet", 0x8892},
    {"hyperscsi", 0x889A},
    {"aoe", 0x88A2},
    {"ethercat", 0x88A4},
    {"provider-bridging", 0x88A8},
    {"ethernet-powerlink", 0x88AB},
    {"goose", 0x88B8},
    {"gse", 0x88B9},
    {"sv", 0x88BA},
    {"lldp", 0x88CC},
    {"sercos", 0x88CD},
    {"wsmp", 0x88DC},
    {"homeplug-av-mme", 0x88E1},
    {"mrp", 0x88E3},
    {"macsec", 0x88E5},
    {"pbb", 0x88E7},
    {"cfm", 0x8902},
    {"fcoe", 0x8906},
    {"fcoe-ip", 0x8914},
    {"roce", 0x8915},
    {"tte", 0x891D},
    {"hsr", 0x892F},
};
static_assert(std::ranges::adjacent_find(kEtherTypes, std::ranges::greater_equal(), &EtherType::number) ==
                  std::end(kEtherTypes),
              "the numbers do not ascend, or one is there twice");

std::optional<uint32_t> readName(const Place& place) {
  const auto name = place.text();
  const auto* row = std::find_if(std::begin(kEtherTypes), std::end(kEtherTypes),
                                 [&](const EtherType& each) { return each.name == *name; });
  if (row != std::end(kEtherTypes)) return row->number;
  place.error("unknown-value", fmt::format("{} is not an EtherType", inQuotes(*name)), std::string(kRemedy));
  return {};
}

}  // namespace

std::optional<uint32_t> readEtherType(const Place& place) {
  if (place.isText()) return readName(place);
  const auto number = place.number(0, 65535, kRemedy);
  if (!number) return {};
  if (*number == 0) {
    place.error("ethertype-zero", "EtherType 0 would match every EtherType: the hardware reads it as any",
                "Leave out the EtherType if any is meant. EtherType 0 itself cannot be matched.");
    return {};
  }
  return static_cast<uint32_t>(*number);
}

}  // namespace Sim
