// A packet as far as a capture shows it.
#pragma once

#include <cstdint>

#include "verdict/Packet.h"

namespace Sim {

// Why not all fields of a captured packet are known.
enum class Lack : uint8_t {
  none,
  cutShort,   // Less was captured than there was.
  malformed,  // The frame contradicts itself, so that nobody can say what a device makes of it.
};

// Fields, a bit for each.
class FieldSet {
 public:
  constexpr FieldSet() = default;
  constexpr FieldSet(std::initializer_list<Field> fields) {
    for (const Field field : fields) bits_ = static_cast<uint16_t>(bits_ | bit(field));
  }
  constexpr bool contains(Field field) const { return (bits_ & bit(field)) != 0; }
  constexpr bool isEmpty() const { return bits_ == 0; }
  constexpr FieldSet operator|(FieldSet other) const {
    other.bits_ = static_cast<uint16_t>(other.bits_ | bits_);
    return other;
  }
  bool operator==(const FieldSet&) const = default;

 private:
  static constexpr uint16_t bit(Field field) { return static_cast<uint16_t>(1U << static_cast<unsigned>(field)); }
  static_assert(kFields.size() <= 16);

  uint16_t bits_ = 0;
};

struct CapturedPacket {
  Packet packet;     // Fields that are not known are 0.
  FieldSet unknown;  // Empty where nothing is lacking.
  Lack lack = Lack::none;
  uint64_t bytes = 0;  // Of the frame on the wire, without what only the capture adds to it.
};

}  // namespace Sim
