#include "html/FilterSections.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "html/Parts.h"
#include "report/DecisionWords.h"
#include "report/Explanations.h"
#include "report/OutcomeWords.h"
#include "verdict/Configured.h"

namespace Sim {
namespace {

const AclConfiguration* configuredAcl(const StepReport& step, const AclOutcome& acl) {
  const auto found = std::ranges::find_if(step.desired->acls, [&](const AclConfiguration& each) {
    return each.name == acl.key.name && each.type == acl.key.type;
  });
  return found == step.desired->acls.end() ? nullptr : &*found;
}

// --- Overview --------------------------------------------------------------------------------------------------------

void putSlotsUsed(Markup& html, unsigned used, unsigned slots) {
  html.text(fmt::format(" {}/{} ", used, slots));
  if (slots == 0) return;
  html.put(
      "meter",
      {{"min", "0"}, {"max", std::to_string(slots)}, {"value", std::to_string(used)}, {"aria-label", "slots used"}},
      "");
}

void putAclHere(Markup& html, const StepPage& page, const AclHere& here, size_t group) {
  const auto& [acl, intf] = here;
  const FilterDump& filter = *page.groups.filters()[group].filter;
  const StateWords words = stateWords(*intf, *acl, page.step);
  {
    const auto line = html.in("p");
    html.put("a", {{"href", linkTo(page.number, group)}}, acl->key.name);
    html.text(" ");
    putState(html, words.state, words.style);
    putSlotsUsed(html, slotsFilled(*intf, *acl, page.step), page.device.slots(intf->direction));
    if (intf->state == IntfState::active)
      html.text(filter.permitsUnmatched() ? "unmatched: permit" : "unmatched: deny");
  }
  if (!words.reason.empty()) html.put("p", words.reason);
}

void putCell(Markup& html, const StepPage& page, size_t number) {
  const FilterGroup& group = page.groups.filters()[number];
  const auto cell = html.in("td");
  if (group.acls.empty()) html.put("span", {{"class", "dim"}}, "no ACL");
  for (const AclHere& each : group.acls) putAclHere(html, page, each, number);
  if (group.withoutAcl != nullptr) putState(html, "differs", Style::bad);
}

// --- ACEs ------------------------------------------------------------------------------------------------------------

// What the author wrote: "permit destination-ipv4-network 192.0.2.0/24".
std::string writtenWords(const Ace& ace) {
  std::string words(permits(ace) ? "accept" : "drop");
  for (const ConfiguredField& field : ace.fields) words += fmt::format(", {}", field.toText());
  return words;
}

struct AclPlace {
  const AclOutcome& acl;
  const IntfOutcome* intf;             // Null for an ACL on no interface.
  const FilterDump* holder;            // The filter, if it holds the ACL.
  const AclConfiguration* configured;  // Null for an ACL that is not in the documents any more.
  const AclTraffic* traffic;           // Null where there is none.
};

void putCount(Markup& html, const Count& count) {
  html.put("td", {{"class", "number"}}, withCommas(count.packets));
  html.put("td", {{"class", "number"}}, withCommas(count.bytes));
}

void putAce(Markup& html, const StepPage& page, const AclPlace& place, size_t position) {
  const AceOutcome& ace = place.acl.aces[position];
  const auto row = html.in("tr");
  html.put("td", {{"class", "number"}}, std::to_string(position + 1));
  {
    const auto name = html.in("th", {{"scope", "row"}});
    html.put("span", {{"class", "name"}}, ace.name);
    const Ace* const written = place.configured == nullptr ? nullptr : &place.configured->aces.at(position);
    if (written != nullptr && ace.state != AceState::inError)
      html.put("p", {{"class", "fields"}}, writtenWords(*written));
  }
  if (place.traffic != nullptr) putCount(html, place.traffic->aces.at(position));
  const auto cell = html.in("td");
  const std::string words = aceWords(ace, place.acl, page.step, place.holder);
  const Style style = styleOf(ace.state);
  if (style == Style::plain) {
    html.put("p", words);
  } else {
    const auto line = html.in("p");
    const size_t end = words.find(':');
    putState(html, std::string_view(words).substr(0, end), style);
    if (end != words.npos) html.text(words.substr(end + 1));
  }
  if (ace.state != AceState::refused) return;
  putRemedy(html, explain(ace.reason).remedy);
  for (const Reason& next : reasonsAfter(ace.reason)) {
    const Explanation explanation = explain(next);
    html.put("p", "then: " + explanation.message);
    putRemedy(html, explanation.remedy);
  }
}

// What no ACE decides.
void putRest(Markup& html, const AclPlace& place, std::string_view name, const Count& count, std::string_view words) {
  const auto row = html.in("tr");
  html.put("td", "");
  html.put("th", {{"scope", "row"}, {"class", "dim"}}, name);
  if (place.traffic != nullptr) putCount(html, count);
  html.put("td", words);
}

void putImplicitDeny(Markup& html, const AclPlace& place) {
  const bool isEnded = std::ranges::count(place.acl.aces, Verdict::unmatched, &AceOutcome::verdict) != 0;
  if (place.traffic == nullptr && (place.holder == nullptr || isEnded)) return;
  const bool permitsRest = place.holder != nullptr && place.holder->permitsUnmatched();
  putRest(html, place, "implicit deny", place.traffic != nullptr ? place.traffic->implicitDeny : Count(),
          place.holder == nullptr ? "not in the filter"
          : isEnded               ? "never reached: an ACE decides everything"
          : permitsRest           ? "no slot: the filter permits what no slot matches"
                                  : "no slot: the filter denies what no slot matches");
}

void putAces(Markup& html, const StepPage& page, const AclPlace& place) {
  if (place.acl.aces.empty()) return;
  if (place.traffic != nullptr) {
    html.put("p", fmt::format("Packets and bytes: those of the capture at {} {}, as far as the ACL decides them.",
                              page.hits->intf, directionName(page.hits->direction)));
  }
  std::vector<std::string_view> headers{"no.", "ACE"};
  if (place.traffic != nullptr) headers.insert(headers.end(), {"packets", "bytes"});
  headers.emplace_back("slot or verdict");
  const Table table(html, fmt::format("ACEs of {}", place.acl.key.name), headers);
  for (size_t i = 0; i < place.acl.aces.size(); ++i) putAce(html, page, place, i);
  putImplicitDeny(html, place);
  if (place.traffic != nullptr && place.acl.key.type == Acl::AclType::ipv4)
    putRest(html, place, "not IPv4", place.traffic->unspoken, "the ACL does not speak of it");
}

void putDifference(Markup& html, const Difference& difference, bool isInForce) {
  const auto item = html.in("div", {{"class", "difference"}});
  html.put("p", differenceWords(difference));
  // Where the ACL is not in force, it is known already why.
  if (isInForce) html.put("p", deciderWords(difference));
}

// What became of it: in one word where that is the same here as everywhere.
void putAclState(Markup& html, const StepPage& page, const AclPlace& place) {
  const auto line = html.in("p");
  const AclOutcome& acl = place.acl;
  const bool isApplied = acl.state == AclState::applied && !differs(acl, page.step);
  if (place.intf != nullptr && !isApplied) {
    const StateWords here = stateWords(*place.intf, acl, page.step);
    putState(html, here.state, here.style);
    html.text(" here; as a whole: ");
  }
  putState(html, aclWords(acl, page.step), styleOf(acl, page.step));
  html.text(exceptionWords(acl, page.step));
}

void putAcl(Markup& html, const StepPage& page, const AclPlace& place) {
  const AclOutcome& acl = place.acl;
  html.put("h4", fmt::format("ACL {} ({})", acl.key.name, acl.typeName));
  putAclState(html, page, place);
  if (isAboutWholeAcl(acl)) putRemedy(html, explain(acl.reason).remedy);
  putAces(html, page, place);
  const size_t wasted = wastedSlots(acl, page.step);
  if (wasted != 0) html.put("p", wastedWords(wasted));
}

const AclTraffic* trafficOf(const StepPage& page, const FilterGroup& group, const AclConfiguration* acl) {
  if (!page.hits || page.hits->direction != group.direction()) return nullptr;
  if (std::ranges::find(group.intfs, page.hits->intf) == group.intfs.end()) return nullptr;
  const auto& acls = page.hits->traffic.acls;
  const auto found = std::ranges::find(acls, acl, &AclTraffic::acl);
  return found == acls.end() ? nullptr : &*found;
}

void putGroup(Markup& html, const StepPage& page, size_t number) {
  const FilterGroup& group = page.groups.filters()[number];
  const auto section = html.in("section", {{"class", "filter"}, {"id", filterId(page.number, number)}});
  putFilterTitle(html, group.intfs, group.direction());
  for (const auto& [acl, intf] : group.acls) {
    const AclConfiguration* const configured = configuredAcl(page.step, *acl);
    putAcl(html, page,
           {*acl, intf, intf->state == IntfState::active ? group.filter : nullptr, configured,
            trafficOf(page, group, configured)});
    for (const Difference& each : differencesOf(*intf, *acl, page.step))
      putDifference(html, each, intf->state == IntfState::active);
  }
  if (group.withoutAcl != nullptr) {
    for (const Difference& each : *group.withoutAcl) putDifference(html, each, true);
  }
  putRegisters(html, *group.filter);
}

}  // namespace

std::string filterId(size_t step, size_t group) { return fmt::format("step-{}-filter-{}", step, group + 1); }

std::string linkTo(size_t step, size_t group) { return fmt::format("#{}", filterId(step, group)); }

void putOverview(Markup& html, const StepPage& page) {
  if (page.step.outcome.intfs.empty()) html.put("p", "No ACL is attached to an interface.");
  const Table table(html, "Interfaces", {"interface", "ingress", "egress"});
  for (const IntfGroup& each : page.groups.intfs()) {
    const auto row = html.in("tr");
    {
      const auto name = html.in("th", {{"scope", "row"}});
      putIntfs(html, each.intfs);
      if (each.isBlocked) html.text(" ");
      if (each.isBlocked) putState(html, "blocked: passes no traffic", Style::odd);
    }
    putCell(html, page, each.ingress);
    putCell(html, page, each.egress);
  }
}

void putFilters(Markup& html, const StepPage& page) {
  const auto& groups = page.groups.filters();
  const auto isPlain = [&](size_t i) { return groups[i].acls.empty() && groups[i].withoutAcl == nullptr; };
  size_t plain = 0;
  for (size_t i = 0; i < groups.size(); ++i) {
    if (isPlain(i)) {
      ++plain;
    } else {
      putGroup(html, page, i);
    }
  }
  if (plain == 0) return;
  const Folded folded(html, "Filters without an ACL");
  for (size_t i = 0; i < groups.size(); ++i) {
    if (isPlain(i)) putGroup(html, page, i);
  }
}

void putUnattached(Markup& html, const StepPage& page) {
  for (const AclOutcome& acl : page.step.outcome.acls) {
    if (acl.intfCount != 0) continue;
    const auto section = html.in("section", {{"class", "filter"}});
    html.put("h3", "On no interface");
    putAcl(html, page, {acl, nullptr, nullptr, configuredAcl(page.step, acl), nullptr});
  }
}

}  // namespace Sim
