// Which packet side a rule matches. The hardware matches one side for the whole ACL, so the first rule that matches a
// side decides it for all.
#pragma once

#include <cstdint>
#include <optional>

#include "model/AclRule.h"
#include "model/Refusal.h"

namespace Kestrix {

enum class RuleSide : uint8_t {
  source,
  destination,
  neither,  // Any source and any destination.
  // The rest cannot be expressed.
  both,
  sourceInDestinationAcl,
  destinationInSourceAcl,
};

// Why a rule on `side` is refused; `both` is the reason of its type for matching both sides.
constexpr Refusal refusalOf(RuleSide side, Refusal both) {
  switch (side) {
    case RuleSide::both:
      return both;
    case RuleSide::sourceInDestinationAcl:
      return Refusal::sourceInDestinationAcl;
    case RuleSide::destinationInSourceAcl:
      return Refusal::destinationInSourceAcl;
    default:
      return Refusal::none;
  }
}

// `inUse` is the side that the ACL's earlier rules match, if any does.
constexpr RuleSide chooseSide(bool sourceIsAny, bool destinationIsAny, std::optional<SrcOrDst> inUse) {
  if (sourceIsAny && destinationIsAny) return RuleSide::neither;
  if (!sourceIsAny && !destinationIsAny) return RuleSide::both;
  if (destinationIsAny) {
    return inUse == SrcOrDst::destination ? RuleSide::sourceInDestinationAcl : RuleSide::source;
  }
  return inUse == SrcOrDst::source ? RuleSide::destinationInSourceAcl : RuleSide::destination;
}

// The ACL's side once a rule on `side` is stored.
constexpr std::optional<SrcOrDst> sideInUse(RuleSide side, std::optional<SrcOrDst> inUse) {
  if (side == RuleSide::neither) return inUse;
  return side == RuleSide::source ? SrcOrDst::source : SrcOrDst::destination;
}

}  // namespace Kestrix
