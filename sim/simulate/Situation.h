// What a refused rule was up against: its fields as configured, and what the rest of its ACL left for it. Values, from
// which a report says what can be done.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "model/AclRule.h"
#include "model/Refusal.h"
#include "platform/acl/AclTypes.h"
#include "read/Configuration.h"

namespace Sim {

// A set of kinds of fields.
class Matches {
 public:
  constexpr Matches(std::initializer_list<Match> matches) {
    for (const Match each : matches) bits_ |= bitOf(each);
  }
  constexpr bool contains(Match match) const { return (bits_ & bitOf(match)) != 0; }
  // Those of `fields` that are of these kinds.
  std::vector<ConfiguredField> in(const std::vector<ConfiguredField>& fields) const;
  bool areIn(const std::vector<ConfiguredField>& fields) const { return !in(fields).empty(); }

 private:
  static constexpr uint32_t bitOf(Match match) { return uint32_t{1} << static_cast<unsigned>(match); }
  uint32_t bits_ = 0;
};

// What narrows each side of the packet down.
inline constexpr Matches kSourceFields{Match::sourceAddress, Match::sourcePort, Match::sourcePortRange};
inline constexpr Matches kDestinationFields{Match::destinationAddress, Match::destinationPort,
                                            Match::destinationPortRange};
inline constexpr Matches kPortRanges{Match::sourcePortRange, Match::destinationPortRange};

constexpr const Matches& fieldsOn(Kestrix::SrcOrDst side) {
  return side == Kestrix::SrcOrDst::source ? kSourceFields : kDestinationFields;
}

// How many rules of one port each stand for the port ranges among `fields`; port 0 cannot be matched.
uint64_t rulesForRanges(const std::vector<ConfiguredField>& fields);

// The rule that has settled which side all rules of its ACL match.
struct Settlement {
  Kestrix::SrcOrDst side = Kestrix::SrcOrDst::source;
  std::string ace;
  ConfiguredField field;  // By which it did.
};

// Something else that the helper refuses a rule for, once the rule is changed as all before it ask for.
struct Obstacle {
  Kestrix::Refused refused;
  std::vector<ConfiguredField> fields;  // What the rule then has left.
};

struct Situation {
  std::string path = {};                        // Of the rule, a JSON Pointer; empty for what is no rule.
  std::vector<ConfiguredField> fields = {};     // Of the rule, or of what is refused.
  std::vector<Obstacle> next = {};              // Beyond the reason that was given for the rule.
  std::string endedBy = {};                     // A rule before it that leaves nothing to match, if there is one.
  std::optional<Settlement> settled = {};       // By a rule before it or after it.
  size_t slots = 0;                             // Of the filter;
  size_t freeSlots = 0;                         // those that no rule of the ACL has taken, wherever it stands;
  size_t neededSlots = 0;                       // and those that its rules would take, as far as this is known.
  std::optional<Acl::AclDirection> other = {};  // The direction that the ACL could be attached to instead.
};

// An ACL as the helper has translated it.
struct TranslatedAcl {
  size_t slots = 0;  // Of a filter in its direction.
  std::optional<Kestrix::SrcOrDst> side = {};
  std::optional<Acl::AclDirection> other = {};  // The direction that it could be attached to instead.
};

struct AceOutcome;

// Notes what each refused rule was up against. `aces` has an outcome for each ACE of `acl`.
void noteSituations(const AclConfiguration& acl, const TranslatedAcl& translated, std::vector<AceOutcome>& aces);

}  // namespace Sim
