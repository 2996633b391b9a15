// The register-file transport: 32-bit registers reached by path name over I2C.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/Ptr.h"

namespace Platform {

// What a transport tells of failed transactions: a flag, set by a failed read or write, that stays set until it is
// cleared.
class TransportMethodError {
 public:
  bool error() const { return error_; }
  void errorIs(bool error) { error_ = error; }

 private:
  bool error_ = false;
};

// Implemented by the agent. Neither operation throws: a block of writes is issued to its end whatever fails in it, and
// the flag alone tells of a failure.
class TransportMethod : public Node {
 public:
  // The register's value; anything when the transaction failed. The path is valid during the call only.
  virtual uint32_t regRead(std::string_view path) noexcept = 0;
  virtual void regWrite(std::string_view path, uint32_t value) noexcept = 0;

  TransportMethodError& error() { return error_; }

 private:
  TransportMethodError error_;
};

}  // namespace Platform
