#include "simulate/RuleCall.h"

#include <cstddef>
#include <optional>
#include <string>
#include <variant>

namespace Sim {
namespace {

using Platform::AclCreateError;

template <class... Visits>
struct Overloaded : Visits... {
  using Visits::operator()...;
};

// What a rule changes in the helper's shadow of an ACL.
struct Translated {
  size_t rules = 0;
  std::optional<uint8_t> lastSlot;
  std::optional<bool> permitAny;
  std::optional<bool> permitArp;
  std::optional<bool> permitLldp;
};

Translated translated(const Kestrix::ShadowAcl& shadowAcl) {
  Translated shadow;
  const auto acl = shadowAcl.acl().base();  // There is one, as the ACL was just pre-created.
  shadow.rules = acl->rule().size();
  if (shadow.rules != 0) shadow.lastSlot = acl->rule().rbegin()->first;
  shadow.permitAny = acl->permitAny();
  if (shadowAcl.acl().containsMac()) {
    shadow.permitArp = shadowAcl.acl().mac()->permitArp();
    shadow.permitLldp = shadowAcl.acl().mac()->permitLldp();
  }
  return shadow;
}

// What an accepted rule became.
void noteAccepted(const Translated& before, const Translated& after, AceOutcome& ace) {
  auto verdict = [&](Verdict kind, bool permits) {
    ace.state = AceState::verdict;
    ace.verdict = kind;
    ace.permits = permits;
  };
  if (after.rules != before.rules) {
    ace.state = AceState::programmed;
    ace.slot = after.lastSlot;
  } else if (after.permitAny != before.permitAny) {
    verdict(Verdict::unmatched, *after.permitAny);
  } else if (after.permitArp != before.permitArp) {
    verdict(Verdict::arp, *after.permitArp);
  } else if (after.permitLldp != before.permitLldp) {
    verdict(Verdict::lldp, *after.permitLldp);
  } else {
    ace.state = AceState::notReached;
  }
}

AclCreateError call(Kestrix::AclHelper& helper, const Platform::Ptr<Platform::AclData>& aclData, uint32_t number,
                    const Ace& ace) {
  const Platform::UniqueId id(number);
  return std::visit(
      Overloaded{
          [&](const IpRule& rule) {
            const Ports &source = rule.source, &destination = rule.destination;
            return helper.createIpAclSubrule(aclData->key().type, rule.config, id, aclData, number, 1, source.port, 0,
                                             destination.port, 0, source.low, source.high, destination.low,
                                             destination.high, rule.ipLength, 0, rule.ipLength, rule.ipLength, 0, false,
                                             0, 0);
          },
          [&](const FragmentRule& rule) { return helper.createIpFragRule(aclData, rule.config, id, number, 1); },
          [&](const MacRule& rule) { return helper.createMacAclRule(rule.config, id, aclData, number); },
          [&](const ForeignRule&) { return AclCreateError::notSupported; },
          [&](const UnreadRule&) { return AclCreateError::notSupported; },
      },
      ace.rule);
}

}  // namespace

AceOutcome giveRule(Kestrix::AclHelper& helper, const Platform::Ptr<Platform::AclData>& aclData, uint32_t number,
                    const Ace& ace) {
  if (std::holds_alternative<UnreadRule>(ace.rule)) {
    return {.name = ace.name, .state = AceState::inError, .slot = {}, .reason = {}};
  }
  const auto shadowAcl = helper.allShadowAcl(aclData->key());
  const Translated before = translated(*shadowAcl);
  AceOutcome outcome{.name = ace.name, .slot = {}, .reason = {}};
  outcome.error = call(helper, aclData, number, ace);
  if (outcome.error != AclCreateError::noError) {
    outcome.state = AceState::refused;
    outcome.reason.cause = helper.lastRefused();
  } else if (std::holds_alternative<FragmentRule>(ace.rule)) {
    outcome.state = AceState::notEnforced;
  } else {
    noteAccepted(before, translated(*shadowAcl), outcome);
  }
  return outcome;
}

}  // namespace Sim
