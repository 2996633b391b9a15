#include "hw/FilterWriter.h"

namespace Kestrix {

void writeEnable(Platform::TransportMethod& transport, FilterPath& path, const FilterRegisters& image) {
  transport.regWrite(path.filterRegister("enable"), image.enable());
}

void writeFilter(Platform::TransportMethod& transport, FilterPath& path, const FilterRegisters& image,
                 uint8_t slotCount) {
  writeEnable(transport, path, image);
  transport.regWrite(path.filterRegister("action"), image.action());
  transport.regWrite(path.filterRegister("tcp"), image.tcp());
  transport.regWrite(path.filterRegister("udp"), image.udp());
  const FilterRuleRegisters unused;
  auto next = image.ruleRegisters().begin();
  for (uint8_t slot = 0; slot < slotCount; ++slot) {
    const bool isUsed = next != image.ruleRegisters().end() && next->first == slot;
    const FilterRuleRegisters& registers = isUsed ? (next++)->second : unused;
    path.slotIs(slot);
    transport.regWrite(path.slotRegister("mask_high"), registers.mask_high());
    transport.regWrite(path.slotRegister("mask_low"), registers.mask_low());
    transport.regWrite(path.slotRegister("addr_high"), registers.addr_high());
    transport.regWrite(path.slotRegister("addr_low"), registers.addr_low());
  }
}

}  // namespace Kestrix
