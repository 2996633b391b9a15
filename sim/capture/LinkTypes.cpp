#include "capture/LinkTypes.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>
#include <pcap/pcap.h>

namespace Sim {
namespace {

constexpr std::array kLinkTypes{
    LinkType{.number = DLT_EN10MB},
    LinkType{.number = DLT_DSA_TAG_BRCM, .tag = 4},
    LinkType{.number = DLT_DSA_TAG_BRCM_PREPEND, .before = 4},
    LinkType{.number = DLT_DSA_TAG_DSA, .tag = 4, .vlanBit = 0x20},
    LinkType{.number = DLT_DSA_TAG_EDSA, .tag = 8, .vlanByte = 4, .vlanBit = 0x20},
    LinkType{.number = DLT_NETANALYZER, .before = 4, .trailing = 4},
    LinkType{.number = DLT_NETANALYZER_TRANSPARENT, .before = 12, .trailing = 4},
    LinkType{.number = DLT_ETHERNET_MPACKET, .before = 8, .trailing = 4, .isPart = true},
};

}  // namespace

const LinkType* linkTypeOf(int number) {
  const auto* const row = std::ranges::find(kLinkTypes, number, &LinkType::number);
  return row == kLinkTypes.end() ? nullptr : row;
}

std::string linkTypeName(int number) {
  const char* const name = pcap_datalink_val_to_name(number);
  const char* const description = pcap_datalink_val_to_description(number);
  if (name == nullptr || description == nullptr) return fmt::format("number {}", number);
  return fmt::format("{} ({})", name, description);
}

std::string linkTypeNames() {
  std::string names;
  for (const LinkType& each : kLinkTypes) {
    if (!names.empty()) names += ", ";
    names += pcap_datalink_val_to_name(each.number);
  }
  return names;
}

}  // namespace Sim
