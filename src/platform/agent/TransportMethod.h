// The register-file transport: 32-bit registers reached by path name over I2C.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/runtime/Ptr.h"

namespace Platform {

// How a transport reports failed transactions: a flag that a failed read or write sets, and that stays set until it is
// cleared.
class TransportMethodError {
 public:
  // Whether a transaction has failed since the flag was cleared.
  bool error() const { return error_; }
  // Sets the flag, or clears it.
  void errorIs(bool error) { error_ = error; }

 private:
  bool error_ = false;
};

// Implemented by the agent. Neither operation throws: a block of writes is issued to its end whatever fails in it, and
// only the flag reports a failure.
// Neither calls the helper that accesses the register, nor changes the configuration that its reactor follows: an
// operation of theirs that does more than to read or set an attribute, called meanwhile, changes nothing, traces a
// failure and raises ConsistencyError, which the transport must catch. Make the call again after the operation that
// made the access. Dropping the last reference to the helper is no call.
class TransportMethod : public Node {
 public:
  // The register's value; unspecified when the transaction failed. The path is valid during the call only.
  virtual uint32_t regRead(std::string_view path) noexcept = 0;
  // Writes the register. The path is valid during the call only.
  virtual void regWrite(std::string_view path, uint32_t value) noexcept = 0;

  // The flag of this transport: set by its implementation, cleared by whoever reads it.
  TransportMethodError& error() { return error_; }

 private:
  TransportMethodError error_;
};

}  // namespace Platform
