#include "hw/FilterWriter.h"

#include "hw/RegisterLayout.h"

namespace Kestrix {

void writeEnable(Platform::TransportMethod& transport, FilterPath& path, const FilterRegisters& image) {
  transport.regWrite(path.filterRegister(Layout::kEnable), image.enable());
}

void writeFilter(Platform::TransportMethod& transport, FilterPath& path, const FilterRegisters& image,
                 uint8_t slotCount) {
  writeEnable(transport, path, image);
  transport.regWrite(path.filterRegister(Layout::kAction), image.action());
  transport.regWrite(path.filterRegister(Layout::kTcp), image.tcp());
  transport.regWrite(path.filterRegister(Layout::kUdp), image.udp());
  const FilterRuleRegisters unused;
  auto next = image.ruleRegisters().begin();
  for (uint8_t slot = 0; slot < slotCount; ++slot) {
    const bool isUsed = next != image.ruleRegisters().end() && next->first == slot;
    const FilterRuleRegisters& registers = isUsed ? (next++)->second : unused;
    path.slotIs(slot);
    transport.regWrite(path.slotRegister(Layout::kMaskHigh), registers.mask_high());
    transport.regWrite(path.slotRegister(Layout::kMaskLow), registers.mask_low());
    transport.regWrite(path.slotRegister(Layout::kAddrHigh), registers.addr_high());
    transport.regWrite(path.slotRegister(Layout::kAddrLow), registers.addr_low());
  }
}

}  // namespace Kestrix
