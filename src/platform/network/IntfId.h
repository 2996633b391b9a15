// Interface identifiers, and the FPGA core that serves an interface.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/runtime/Export.h"

namespace Platform {

// An interface identifier: its name, 1 to 255 characters. Names are interned, so an id is as cheap as a pointer to
// copy, compare and hash; an interned name is kept for the life of the process. Ordered by name, with runs of
// digits compared as numbers (port-2 before port-10); of names that differ in leading zeros alone, the one with fewer
// in the first such run is first (port-2 before port-02, both before port-3).
class KESTRIX_API IntfId {
 public:
  using TextForm = void;
  // Raises RangeError when the name is empty or too long.
  explicit IntfId(std::string_view name);

  // The same as the constructor.
  static IntfId fromText(std::string_view text) { return IntfId(text); }
  // The id of a name that is interned; none for another one, which is not kept. Raises RangeError as the constructor.
  static std::optional<IntfId> known(std::string_view name);
  // The name itself.
  const std::string& toText() const;

  // The hash of the name, so that hash order is the same in every run.
  size_t hash() const noexcept;

  bool operator==(const IntfId&) const = default;
  std::strong_ordering operator<=>(const IntfId& other) const;

 private:
  friend struct DownstreamIntfId;
  struct Record;
  class Names;
  explicit IntfId(Record* record) : record_(record) {}
  Record* record_ = nullptr;
};

// What the agent knows of the interfaces that the FPGAs serve.
struct KESTRIX_API DownstreamIntfId {
  // The 1-based number of the core that serves `intf`; 0 until the agent has set it.
  static uint32_t coreId(IntfId intf);
  // Set by the agent, before the first filter of the interface is written.
  static void coreIdIs(IntfId intf, uint32_t coreId);
};

}  // namespace Platform

template <>
struct std::hash<Platform::IntfId> {
  size_t operator()(Platform::IntfId intf) const noexcept { return intf.hash(); }
};
