// The registers of a device as text: a line for each, its path and its value.
//
//   # A comment.
//   msp_send[0]/i_filter[0]/enable 0x00000103
//   msp_send[0]/i_filter[0]/action 256
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "read/Device.h"
#include "read/Diagnostics.h"
#include "registers/RegisterWords.h"

namespace Sim {

struct Register {
  std::string path;
  uint32_t value = 0;

  bool operator==(const Register&) const = default;
};

// A line of a dump, without its end.
std::string lineOf(const Register& each);

// All registers of a filter, in the order in which the library writes them.
std::vector<Register> registersOf(const FilterDump& filter);

// The link-monitor register of the interface's receive port.
std::string linkMonitorPath(const Interface& interface);

// A filter or link monitor, and the interfaces that share it, in the order of the device.
template <class Shared>
struct SharedBy {
  Shared shared;
  std::vector<Platform::IntfId> intfs;
};

// The filters with slots, each once, in the order of their first interfaces; ingress before egress. The others are
// never programmed. Refers to `filters`.
std::vector<SharedBy<const FilterDump*>> distinct(const FilterDumps& filters);
// The paths of the link monitors, each once, in the order of their first interfaces.
std::vector<SharedBy<std::string>> linkMonitors(const Device& device);

// All registers of the device: filter by filter, and the link monitors at the end.
std::string dumpText(const Device& device, const RegisterAt& registerAt);

// What a dump says of a device.
class RegisterDump {
 public:
  // Of the registers of filters and the link monitors of `device`, in any order; values are decimal or, with 0x,
  // hexadecimal. What is wrong goes to `diagnostics`: a line that is no path and value, a second line of a register,
  // and each register of a filter that has no line.
  RegisterDump(const std::string& file, std::string_view text, const Device& device, Diagnostics& diagnostics);

  // None for a register that has no line.
  std::optional<uint32_t> value(const std::string& path) const;
  // The same, with 0 for none; to be used while this lives.
  RegisterAt reader() const;
  // Lines of registers that are none of those.
  size_t others() const { return others_; }

 private:
  struct Line {
    size_t number = 0;  // From 1; 0 while there is none.
    uint32_t value = 0;
  };
  class Reader;

  std::map<std::string, Line, std::less<>> lines_;  // By path: an entry for each register that is looked for.
  size_t others_ = 0;
};

}  // namespace Sim
