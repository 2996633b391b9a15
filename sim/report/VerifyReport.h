// What is told of a device's registers: for a person as text, for a program as JSON.
#pragma once

#include <string>

#include "read/Diagnostics.h"
#include "report/Page.h"
#include "verdict/Verification.h"

namespace Sim {

struct VerifyInput {
  const Verification& verification;
  const Diagnostics& diagnostics;  // Warnings.
  bool repair = false;             // Whether the writes that mend it are to be shown.
};

std::string textVerification(const VerifyInput& input, const Looks& looks);
std::string jsonVerification(const VerifyInput& input);

}  // namespace Sim
