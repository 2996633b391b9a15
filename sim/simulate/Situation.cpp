#include "simulate/Situation.h"

#include <algorithm>
#include <variant>

#include "simulate/Outcome.h"

namespace Sim {
namespace {

using Kestrix::Refusal, Kestrix::SrcOrDst;

// --- Obstacles -------------------------------------------------------------------------------------------------------

constexpr uint32_t kArp = 0x0806, kLldp = 0x88CC;

// What decides whether the hardware can hold a rule.
struct Rule {
  const AceRule& rule;
  std::vector<ConfiguredField> fields;
  std::optional<SrcOrDst> side;  // Of its ACL.
  size_t freeSlots;

  bool has(const Matches& matches) const { return matches.areIn(fields); }
  bool hasBothSides() const { return has(kSourceFields) && has(kDestinationFields); }
  bool hasOneSide() const { return has(kSourceFields) != has(kDestinationFields); }
  bool isIp() const { return std::holds_alternative<IpRule>(rule); }
  // The number of the protocol or EtherType; 0 for any.
  uint32_t kind() const {
    if (!has({Match::protocol, Match::etherType})) return 0;
    if (isIp()) return std::get<IpRule>(rule).config.filter.proto.number();
    return std::get<MacRule>(rule).config.filter.ethType;
  }
  bool isTcpOrUdp() const { return isIp() && (kind() == Platform::kTcp.number() || kind() == Platform::kUdp.number()); }
  bool isOfWholeFilter() const { return !isIp() && (kind() == kArp || kind() == kLldp); }
  bool takesSlot() const {
    return isTcpOrUdp() || (!isOfWholeFilter() && (has(kSourceFields) || has(kDestinationFields)));
  }
  bool isOtherKind() const { return kind() != 0 && !isTcpOrUdp() && !isOfWholeFilter(); }
};

struct ObstacleRow {
  Refusal reason = Refusal::none;
  Matches leftOut = {};  // The fields that can only be left out.
  bool (*isMet)(const Rule& rule) = nullptr;
};

// In the order in which the helper meets them.
constexpr ObstacleRow kObstacles[] = {
    {Refusal::ipLength, {Match::length}, [](const Rule& rule) { return rule.has({Match::length}); }},
    {Refusal::portRange, {}, [](const Rule& rule) { return rule.has(kPortRanges); }},
    {Refusal::ipProtocol, {Match::protocol}, [](const Rule& rule) { return rule.isIp() && rule.isOtherKind(); }},
    {Refusal::etherType, {Match::etherType}, [](const Rule& rule) { return !rule.isIp() && rule.isOtherKind(); }},
    {Refusal::ipBothSides, {}, [](const Rule& rule) { return rule.isIp() && rule.hasBothSides(); }},
    {Refusal::macBothSides, {}, [](const Rule& rule) { return !rule.isIp() && rule.hasBothSides(); }},
    {Refusal::sourceInDestinationAcl, kSourceFields,
     [](const Rule& rule) {
       return rule.hasOneSide() && rule.has(kSourceFields) && rule.side == SrcOrDst::destination;
     }},
    {Refusal::destinationInSourceAcl, kDestinationFields,
     [](const Rule& rule) {
       return rule.hasOneSide() && rule.has(kDestinationFields) && rule.side == SrcOrDst::source;
     }},
    {Refusal::protocolAddress,
     {Match::sourceAddress, Match::destinationAddress},
     [](const Rule& rule) {
       return rule.isOfWholeFilter() && (rule.has(kSourceFields) || rule.has(kDestinationFields));
     }},
    {Refusal::noSlot, {}, [](const Rule& rule) { return rule.freeSlots == 0 && rule.takesSlot(); }},
};

Matches leftOutFor(const ObstacleRow& row, const Rule& rule) {
  const bool isTooWide = row.reason == Refusal::portRange && rulesForRanges(rule.fields) > rule.freeSlots;
  return isTooWide ? kPortRanges : row.leftOut;
}

void mend(const ObstacleRow& row, Rule& rule) {
  const Matches leftOut = leftOutFor(row, rule);
  std::erase_if(rule.fields, [&](const ConfiguredField& each) { return leftOut.contains(each.match); });
}

// All that the rule meets once it no longer meets `first`.
std::vector<Obstacle> obstaclesAfter(Refusal first, Rule rule) {
  for (const ObstacleRow& row : kObstacles) {
    if (row.reason == first) mend(row, rule);
  }
  std::vector<Obstacle> obstacles;
  for (const ObstacleRow& row : kObstacles) {
    if (row.reason == first || !row.isMet(rule)) continue;
    obstacles.push_back({{row.reason, rule.kind()}, rule.fields});
    mend(row, rule);
  }
  return obstacles;
}

// --- The ACL ---------------------------------------------------------------------------------------------------------

// The first rule in a slot that matches the side; none when the ACL matches none.
std::optional<Settlement> settlement(const AclConfiguration& acl, std::optional<SrcOrDst> side,
                                     const std::vector<AceOutcome>& aces) {
  for (size_t i = 0; side && i < aces.size(); ++i) {
    if (aces[i].state != AceState::programmed) continue;
    const auto fields = fieldsOn(*side).in(acl.aces[i].fields);
    if (!fields.empty()) return Settlement{*side, acl.aces[i].name, fields.front()};
  }
  return {};
}

bool isFor(const AceOutcome& ace, Refusal reason) {
  const auto* refused = std::get_if<Kestrix::Refused>(&ace.reason.cause);
  return ace.state == AceState::refused && refused != nullptr && refused->reason == reason;
}

}  // namespace

std::vector<ConfiguredField> Matches::in(const std::vector<ConfiguredField>& fields) const {
  std::vector<ConfiguredField> found;
  for (const ConfiguredField& each : fields) {
    if (contains(each.match)) found.push_back(each);
  }
  return found;
}

uint64_t rulesForRanges(const std::vector<ConfiguredField>& fields) {
  uint64_t rules = 1;
  for (const ConfiguredField& each : kPortRanges.in(fields)) rules *= each.ports - (each.firstPort == 0 ? 1 : 0);
  return rules;
}

void noteSituations(const AclConfiguration& acl, const TranslatedAcl& translated, std::vector<AceOutcome>& aces) {
  const auto countIf = [&](const auto& is) { return static_cast<size_t>(std::ranges::count_if(aces, is)); };
  const size_t taken = countIf([](const AceOutcome& ace) { return ace.state == AceState::programmed; });
  const size_t left = countIf([](const AceOutcome& ace) { return isFor(ace, Refusal::noSlot); });
  Situation common{.settled = settlement(acl, translated.side, aces),
                   .slots = translated.slots,
                   .freeSlots = translated.slots - std::min(taken, translated.slots),
                   .neededSlots = taken + left,
                   .other = translated.other};
  for (size_t i = 0; i < aces.size(); ++i) {
    if (aces[i].verdict == Verdict::unmatched) common.endedBy = aces[i].name;
    const auto* refused = std::get_if<Kestrix::Refused>(&aces[i].reason.cause);
    if (aces[i].state != AceState::refused || refused == nullptr) continue;
    Situation& situation = aces[i].reason.situation = common;
    situation.path = acl.aces[i].path;
    situation.fields = acl.aces[i].fields;
    if (!situation.endedBy.empty()) continue;
    situation.next =
        obstaclesAfter(refused->reason, {acl.aces[i].rule, acl.aces[i].fields, translated.side, common.freeSlots});
  }
}

}  // namespace Sim
