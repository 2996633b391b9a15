#include "report/RegisterWords.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <span>

#include <fmt/compile.h>
#include <fmt/format.h>

#include "hw/RegisterLayout.h"
#include "platform/network/EthAddr.h"
#include "platform/network/IpAddr.h"
#include "simulate/SimFpga.h"

namespace Sim {
namespace {

namespace Layout = Kestrix::Layout;

void addPhrase(std::string& words, const std::string& phrase) {
  if (!words.empty()) words += "; ";
  words += phrase;
}

// "0", "0-2", "0-2 and 5": the slots whose bit is set.
std::string slotList(uint32_t slotBits) {
  std::vector<std::string> runs;
  for (int slot = 0; slot < 32; ++slot) {
    if ((slotBits >> slot & 1) == 0) continue;
    const int first = slot;
    while (slot + 1 < 32 && (slotBits >> (slot + 1) & 1) != 0) ++slot;
    runs.push_back(first == slot ? std::to_string(first) : fmt::format("{}-{}", first, slot));
  }
  std::string list;
  for (size_t i = 0; i < runs.size(); ++i) list += (i == 0 ? "" : i + 1 == runs.size() ? " and " : ", ") + runs[i];
  return list;
}

std::string slots(uint32_t slotBits) {
  return (std::popcount(slotBits) == 1 ? "slot " : "slots ") + slotList(slotBits);
}

std::string flagWords(uint32_t word, std::span<const Layout::FlagBit> bits) {
  std::string words;
  uint32_t named = 0;
  for (const Layout::FlagBit& bit : bits) {
    named |= bit.mask;
    if ((word & bit.mask) != 0) addPhrase(words, std::string(bit.meaning));
  }
  const uint32_t unknown = word & ~named & (Layout::slotBit(0) - 1);
  if (unknown != 0) addPhrase(words, fmt::format("unknown bits {:#x}", unknown));
  return words;
}

uint32_t slotBits(uint32_t word) { return word >> Layout::kFirstSlotBit; }

std::string ipWords(const SlotRegisters& registers) {
  if (registers.maskLow == ~uint32_t{0}) return "any address";
  const Platform::IpAddr addr(registers.addrLow & ~registers.maskLow);
  const int prefix = std::countl_zero(registers.maskLow);
  if (registers.maskLow == static_cast<uint32_t>((uint64_t{1} << (32 - prefix)) - 1)) {
    return fmt::format("{}/{}", addr, prefix);
  }
  return fmt::format("{} wildcard {}", addr, Platform::IpAddr(registers.maskLow));
}

std::string macWords(const SlotRegisters& registers) {
  auto octets = [](uint32_t high, uint32_t low) {
    return Platform::EthAddr({static_cast<uint8_t>(high >> 8), static_cast<uint8_t>(high),
                              static_cast<uint8_t>(low >> 24), static_cast<uint8_t>(low >> 16),
                              static_cast<uint8_t>(low >> 8), static_cast<uint8_t>(low)});
  };
  const uint32_t high = registers.addrHigh & ~registers.maskHigh;
  const uint32_t low = registers.addrLow & ~registers.maskLow;
  if (registers.maskHigh == 0 && registers.maskLow == 0) return fmt::format("{}", octets(high, low));
  return fmt::format("{} wildcard {}", octets(high, low), octets(registers.maskHigh, registers.maskLow));
}

FilterDump dumpFilter(const SimFpga& fpga, const Device& device, const Interface& interface,
                      Acl::AclDirection direction) {
  const int core = interface.core - 1;
  const int group = interface.portGroup - 1;
  FilterDump dump{.intf = interface.id, .direction = direction, .path = {}, .slots = {}};
  dump.path = direction == Acl::AclDirection::in ? fmt::format(Layout::kInputFilter, core, group)
                                                 : fmt::format(Layout::kOutputFilter, core, group);
  std::string path = dump.path;
  // The register `name` of what the first `prefix` characters of the path are.
  const auto value = [&](size_t prefix, std::string_view name) {
    path.resize(prefix);
    return fpga.value(path += name);
  };
  const size_t filter = path.size();
  dump.enable = value(filter, "enable");
  dump.action = value(filter, "action");
  dump.tcp = value(filter, "tcp");
  dump.udp = value(filter, "udp");
  dump.slots.reserve(device.slots(direction));
  for (uint8_t slot = 0; slot < device.slots(direction); ++slot) {
    path.resize(filter);
    fmt::format_to(std::back_inserter(path), FMT_COMPILE(Layout::kRuleSlot), slot);
    const size_t rule = path.size();
    dump.slots.push_back(
        {slot, value(rule, "mask_high"), value(rule, "mask_low"), value(rule, "addr_high"), value(rule, "addr_low")});
  }
  return dump;
}

}  // namespace

bool FilterDump::isZero() const {
  return enable == 0 && action == 0 && tcp == 0 && udp == 0 &&
         std::all_of(slots.begin(), slots.end(), [](const auto& each) { return each.isZero(); });
}

bool FilterDump::slotEnabled(uint8_t slot) const { return (enable & Layout::slotBit(slot)) != 0; }

unsigned FilterDump::slotsInUse() const { return static_cast<unsigned>(std::popcount(slotBits(enable))); }

bool FilterDump::permitsUnmatched() const { return (action & Layout::kPermitAny.mask) != 0; }

std::string FilterDump::enableWords() const {
  std::string words = flagWords(enable, Layout::kEnableBits);
  if (slotBits(enable) != 0) addPhrase(words, Sim::slots(slotBits(enable)) + " in use");
  return words;
}

std::string FilterDump::actionWords() const {
  std::string words = flagWords(action, Layout::kActionBits);
  if (slotBits(action) != 0) addPhrase(words, "permit in " + Sim::slots(slotBits(action)));
  return words;
}

std::string FilterDump::tcpWords() const { return tcp == 0 ? "" : Sim::slots(tcp); }
std::string FilterDump::udpWords() const { return udp == 0 ? "" : Sim::slots(udp); }

std::string FilterDump::slotWords(const SlotRegisters& registers) const {
  if (!slotEnabled(registers.slot)) return "not in use";
  const char* const verdict = (action & Layout::slotBit(registers.slot)) != 0 ? "permit" : "deny";
  const char* const side = (action & Layout::kSource.mask) != 0 ? "source" : "destination";
  if ((enable & Layout::kIpv4.mask) == 0) return fmt::format("{} {} {}", verdict, side, macWords(registers));

  const bool matchesTcp = (tcp & Layout::protocolBit(registers.slot)) != 0;
  const bool matchesUdp = (udp & Layout::protocolBit(registers.slot)) != 0;
  const char* const proto = matchesTcp == matchesUdp ? "any protocol" : matchesTcp ? "TCP" : "UDP";
  std::string words = fmt::format("{} {}, {} {}", verdict, proto, side, ipWords(registers));
  if (registers.addrHigh != 0 && registers.maskHigh == 0) words += fmt::format(", port {}", registers.addrHigh);
  return words;
}

FilterDumps::FilterDumps(const SimFpga& fpga, const Device& device) {
  all_.reserve(2 * device.interfaces.size());
  for (const Interface& interface : device.interfaces) {
    ingress_.emplace(interface.id, all_.size());
    for (const auto direction : {Acl::AclDirection::in, Acl::AclDirection::out}) {
      all_.push_back(dumpFilter(fpga, device, interface, direction));
    }
  }
}

}  // namespace Sim
