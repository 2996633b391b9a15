#include "registers/RegisterWords.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <span>

#include <fmt/compile.h>
#include <fmt/format.h>

#include "platform/network/EthAddr.h"
#include "platform/network/IpAddr.h"

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

std::string flagWords(const Layout::FilterRegister& row, uint32_t word) {
  std::string words;
  uint32_t named = 0;
  for (const Layout::FlagBit& bit : row.flags) {
    named |= bit.mask;
    if ((word & bit.mask) != 0) addPhrase(words, std::string(bit.meaning));
  }
  const uint32_t unknown = word & ~named & (row.slotBit(0) - 1);
  if (unknown != 0) addPhrase(words, fmt::format("unknown bits {:#x}", unknown));
  return words;
}

std::string ipWords(const SlotDump& slot) {
  const uint32_t mask = slot.value(Layout::kMaskLow);
  if (mask == ~uint32_t{0}) return "any address";
  const Platform::IpAddr addr(slot.value(Layout::kAddrLow) & ~mask);
  const int prefix = std::countl_zero(mask);
  if (mask == static_cast<uint32_t>((uint64_t{1} << (32 - prefix)) - 1)) return fmt::format("{}/{}", addr, prefix);
  return fmt::format("{} wildcard {}", addr, Platform::IpAddr(mask));
}

std::string macWords(const SlotDump& slot) {
  auto octets = [](uint32_t high, uint32_t low) {
    return Platform::EthAddr({static_cast<uint8_t>(high >> 8), static_cast<uint8_t>(high),
                              static_cast<uint8_t>(low >> 24), static_cast<uint8_t>(low >> 16),
                              static_cast<uint8_t>(low >> 8), static_cast<uint8_t>(low)});
  };
  const uint32_t maskHigh = slot.value(Layout::kMaskHigh);
  const uint32_t maskLow = slot.value(Layout::kMaskLow);
  const auto addr = octets(slot.value(Layout::kAddrHigh) & ~maskHigh, slot.value(Layout::kAddrLow) & ~maskLow);
  if (maskHigh == 0 && maskLow == 0) return fmt::format("{}", addr);
  return fmt::format("{} wildcard {}", addr, octets(maskHigh, maskLow));
}

FilterDump dumpFilter(const RegisterAt& registerAt, const Device& device, const Interface& interface,
                      Acl::AclDirection direction) {
  const int core = interface.core - 1;
  const int group = interface.portGroup - 1;
  FilterDump dump{.intf = interface.id, .direction = direction};
  dump.path = direction == Acl::AclDirection::in ? fmt::format(Layout::kIngressFilter, core, group)
                                                 : fmt::format(Layout::kEgressFilter, core, group);
  std::string path = dump.path;
  // Fills `values` with the registers of `rows` at the first `prefix` characters of the path.
  const auto read = [&](size_t prefix, const auto& rows, auto& values) {
    std::ranges::transform(rows, values.begin(), [&](const auto& row) {
      path.resize(prefix);
      return registerAt(path += row.name);
    });
  };
  const size_t filter = path.size();
  read(filter, Layout::kFilterRegisters, dump.values);
  dump.slots.resize(device.slots(direction));
  for (uint8_t number = 0; SlotDump & slot : dump.slots) {
    slot.slot = number++;
    path.resize(filter);
    fmt::format_to(std::back_inserter(path), FMT_COMPILE(Layout::kRuleSlot), slot.slot);
    read(path.size(), Layout::kSlotRegisters, slot.values);
  }
  return dump;
}

}  // namespace

bool FilterDump::isZero() const {
  return values == decltype(values){} && std::ranges::all_of(slots, &SlotDump::isZero);
}

bool FilterDump::slotEnabled(uint8_t slot) const { return isSet(Layout::kEnable, slot); }

unsigned FilterDump::slotsInUse() const {
  return static_cast<unsigned>(std::popcount(Layout::kEnable.slotBits(value(Layout::kEnable))));
}

bool FilterDump::permitsUnmatched() const { return isSet(Layout::kAction, Layout::kPermitAny); }

std::string FilterDump::words(const Layout::FilterRegister& row) const {
  std::string words = flagWords(row, value(row));
  const uint32_t slotBits = row.slotBits(value(row));
  if (slotBits != 0) addPhrase(words, fmt::format(fmt::runtime(row.slotsMeaning), Sim::slots(slotBits)));
  return words;
}

std::string FilterDump::slotWords(const SlotDump& slot) const {
  if (!slotEnabled(slot.slot)) return "not in use";
  const char* const verdict = isSet(Layout::kAction, slot.slot) ? "permit" : "deny";
  const char* const side = isSet(Layout::kAction, Layout::kSource) ? "source" : "destination";
  if (!isSet(Layout::kEnable, Layout::kIpv4)) return fmt::format("{} {} {}", verdict, side, macWords(slot));

  const bool matchesTcp = isSet(Layout::kTcp, slot.slot);
  const bool matchesUdp = isSet(Layout::kUdp, slot.slot);
  const char* const proto = matchesTcp == matchesUdp ? "any protocol" : matchesTcp ? "TCP" : "UDP";
  std::string words = fmt::format("{} {}, {} {}", verdict, proto, side, ipWords(slot));
  const uint32_t port = slot.value(Layout::kAddrHigh);
  if (port != 0 && slot.value(Layout::kMaskHigh) == 0) words += fmt::format(", port {}", port);
  return words;
}

std::vector<BitWords> FilterDump::bits(const Layout::FilterRegister& row) const {
  std::vector<BitWords> bits;
  for (uint8_t bit = 32; bit-- > 0;) {
    const uint32_t mask = uint32_t{1} << bit;
    BitWords& words = bits.emplace_back(BitWords{bit, (value(row) & mask) != 0, {}});
    const auto flag = std::ranges::find(row.flags, mask, &Layout::FlagBit::mask);
    if (flag != row.flags.end()) {
      words.meaning = flag->meaning;
    } else if (bit >= row.firstSlotBit && static_cast<size_t>(bit - row.firstSlotBit) < this->slots.size()) {
      words.meaning = fmt::format(fmt::runtime(row.slotsMeaning), fmt::format("slot {}", bit - row.firstSlotBit));
    }
  }
  return bits;
}

std::string FilterDump::slotRegisterWords(const SlotDump& slot, const Layout::SlotRegister& row) const {
  const bool isIpv4 = isSet(Layout::kEnable, Layout::kIpv4);
  const uint32_t value = slot.value(row);
  const bool isHigh = row.name == Layout::kMaskHigh.name || row.name == Layout::kAddrHigh.name;
  const bool isMask = row.name == Layout::kMaskHigh.name || row.name == Layout::kMaskLow.name;
  if (!isIpv4) {
    return fmt::format("the {} octets of the {}", isHigh ? "first two" : "last four",
                       isMask ? "wildcard: bits that are set are not compared" : "MAC address");
  }
  if (isHigh && isMask) return value == 0 ? "the port is compared" : "bits of the port that are set are not compared";
  if (isHigh) return slot.value(Layout::kMaskHigh) == Layout::kAnyPort ? "any port" : fmt::format("port {}", value);
  return fmt::format("{} {}", isMask ? "wildcard" : "address, its wildcard bits set,", Platform::IpAddr(value));
}

FilterDumps::FilterDumps(const RegisterAt& registerAt, const Device& device) {
  all_.reserve(2 * device.interfaces.size());
  for (const Interface& interface : device.interfaces) {
    ingress_.emplace(interface.id, all_.size());
    for (const auto direction : {Acl::AclDirection::in, Acl::AclDirection::out}) {
      all_.push_back(dumpFilter(registerAt, device, interface, direction));
    }
  }
}

}  // namespace Sim
