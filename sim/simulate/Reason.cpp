#include "simulate/Reason.h"

namespace Sim {
namespace {

std::string textOf(const Kestrix::Refused& refused) {
  // The library's message is about registers, of which the author of an ACL knows nothing.
  if (refused.reason == Kestrix::Refusal::typeConflict) return "the filter holds an ACL of the other type";
  return refused.toText();
}

std::string textOf(OwnReason reason) { return std::string(rowOf(reason).text); }

}  // namespace

std::string Reason::text() const {
  return std::visit([](const auto& each) { return textOf(each); }, cause);
}

}  // namespace Sim
