#include "html/VerifyPage.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "html/Markup.h"
#include "html/Parts.h"
#include "report/DecisionWords.h"
#include "report/VerifyWords.h"

namespace Sim {
namespace {

namespace Layout = Kestrix::Layout;

void putFoundWord(Markup& html, const FilterDump& shown, const FilterDump& other, const Layout::FilterRegister& row) {
  const auto cell = html.in("td");
  putWord(html, shown, row, &other);
}

void putRegisterPairs(Markup& html, const FilterMismatch& filter) {
  const auto pairs = registerPairs(filter);
  if (pairs.empty()) return;
  const Table table(html, "Registers that differ", {"register", "found", "expected", "missing", "not expected"});
  for (const RegisterPair& each : pairs) {
    const auto& row = *std::ranges::find(Layout::kFilterRegisters, each.name, &Layout::FilterRegister::name);
    const auto line = html.in("tr");
    html.put("th", {{"scope", "row"}}, each.name);
    putFoundWord(html, filter.found, filter.expected, row);
    putFoundWord(html, filter.expected, filter.found, row);
    html.put("td", each.missing);
    html.put("td", each.unexpected);
  }
}

void putSlotPairs(Markup& html, const FilterMismatch& filter) {
  const auto pairs = slotPairs(filter);
  if (pairs.empty()) return;
  const Table table(html, "Slots that differ", {"slot", "found", "expected", "registers that differ"});
  for (const SlotPair& each : pairs) {
    const auto line = html.in("tr");
    html.put("th", {{"scope", "row"}}, fmt::format("rule[{}]", each.slot));
    html.put("td", each.found);
    html.put("td", each.expected);
    const auto cell = html.in("td");
    for (const RegisterPair& pair : each.registers)
      html.put("p", fmt::format("{} {}, expected {}", pair.name, pair.foundText(), pair.expectedText()));
  }
}

void putPacketChange(Markup& html, std::string_view what, const std::optional<PacketChange>& change,
                     const FilterMismatch& filter) {
  if (!change) return;
  const auto item = html.in("div", {{"class", "difference"}});
  {
    const auto line = html.in("p");
    putState(html, what, Style::bad);
    html.text(fmt::format(" {}", change->packet.toText()));
  }
  html.put("p", "by " + decisionWords(change->found, filter.found));
  html.put("p", "expected " + decisionWords(change->expected, filter.expected));
}

void putMismatch(Markup& html, const FilterMismatch& filter) {
  const auto section = html.in("section", {{"class", "filter"}});
  putFilterTitle(html, filter.intfs, filter.expected.direction);
  html.put("p", {{"class", "path"}}, filter.expected.path);
  putRegisterPairs(html, filter);
  putSlotPairs(html, filter);
  const auto& [more, less] = filter.changes;
  putPacketChange(html, "lets through", more, filter);
  putPacketChange(html, "stops", less, filter);
  if (!more && !less) html.put("p", kDecidesAsExpected);
}

void putFilterMismatches(Markup& html, const std::vector<FilterMismatch>& filters) {
  if (filters.empty()) return;
  html.put("h2", "Filters that differ");
  for (const FilterMismatch& each : filters) putMismatch(html, each);
}

void putLinkMonitors(Markup& html, const std::vector<LinkMonitorMismatch>& monitors) {
  if (monitors.empty()) return;
  const auto section = html.in("section");
  html.put("h2", "Link monitors that differ");
  const Table table(html, "Link monitors", {"interfaces", "register", "value", "found", "expected"});
  for (const LinkMonitorMismatch& each : monitors) {
    const auto row = html.in("tr");
    {
      const auto name = html.in("th", {{"scope", "row"}});
      putIntfs(html, each.intfs);
    }
    html.put("td", {{"class", "path"}}, each.path);
    html.put("td", fmt::format("0x{:02x}", each.found));
    html.put("td", blockingWords(each));
    html.put("td", expectedBlockingWords(each));
  }
}

void putCompared(Markup& html, const TotalWords& totals) {
  const auto section = html.in("section");
  html.put("h2", "What was compared");
  const auto list = html.in("ul");
  html.put("li", fmt::format("{} ({})", totals.filters, totals.registers));
  html.put("li", totals.linkMonitors);
  if (!totals.missing.empty()) html.put("li", totals.missing);
  html.put("li", totals.others);
}

// The writes as they are to be made, to be copied.
void putRepair(Markup& html, const std::vector<Register>& repair) {
  const auto section = html.in("section");
  html.put("h2", "Repair");
  html.put("p", repairWords(repair));
  if (repair.empty()) return;
  const auto lines = html.in("pre", {{"tabindex", "0"}, {"role", "group"}, {"aria-label", "Writes"}});
  for (const Register& each : repair) {
    html.text(lineOf(each));
    html.raw("\n");
  }
}

}  // namespace

std::string htmlVerification(const VerifyPage& page) {
  const Verification& verification = page.verify.verification;
  const TotalWords totals = totalWords(verification);
  const bool isEqual = verification.isEqual();
  return pageOf({titleOf(page.names), isEqual ? "as expected" : "differs", isEqual ? Style::good : Style::bad,
                 fmt::format("{}, {}.", totals.filters, totals.linkMonitors)},
                [&](Markup& html) {
                  putPreface(html, page.input);
                  putFilterMismatches(html, verification.filters);
                  putLinkMonitors(html, verification.linkMonitors);
                  putCompared(html, totals);
                  if (page.verify.repair) putRepair(html, repairOf(verification));
                  const Folded folded(html, "What the configurations make of a fresh device");
                  putSteps(html, page.input, {});
                });
}

}  // namespace Sim
