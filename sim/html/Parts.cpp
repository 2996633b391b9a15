#include "html/Parts.h"

#include <algorithm>
#include <cstddef>

#include <fmt/format.h>

#include "html/Stylesheet.h"

namespace Sim {
namespace {

namespace Layout = Kestrix::Layout;

constexpr size_t kMostNamed = 3;  // Of interfaces, before the rest is folded.

std::string_view classOf(Style style) {
  switch (style) {
    case Style::good:
      return "state good";
    case Style::odd:
      return "state odd";
    case Style::bad:
      return "state bad";
    case Style::plain:
    case Style::head:
      break;
  }
  return "state";
}

// What has a meaning that is shown where the pointer or the keyboard is.
void putMeaning(Markup& html, std::string_view text, const std::string& meaning, std::string_view look) {
  html.put("b", {{"class", std::string(look)}, {"role", "img"}, {"tabindex", "0"}, {"aria-label", meaning}}, text);
}

void putBit(Markup& html, const BitWords& bit, bool isOther) {
  const std::string_view digit = bit.isSet ? "1" : "0";
  std::string look(bit.isSet ? "on" : "off");
  if (isOther) look += " other";
  if (bit.meaning.empty() && !bit.isSet && !isOther) {
    html.put("b", {{"class", "none"}}, digit);
    return;
  }
  const std::string meaning = bit.meaning.empty() ? "has no meaning" : bit.meaning;
  putMeaning(html, digit,
             bit.isSet ? fmt::format("bit {} is set: {}", bit.bit, meaning)
                       : fmt::format("bit {} is clear; set: {}", bit.bit, meaning),
             look);
}

void putSlotRegisters(Markup& html, const FilterDump& filter) {
  const bool anyInUse = std::ranges::any_of(
      filter.slots, [&](const SlotDump& slot) { return !slot.isZero() || filter.slotEnabled(slot.slot); });
  size_t free = 0;
  if (anyInUse) {
    const Table table(html, "Registers of the slots", {"slot", "holds", "registers"});
    for (const SlotDump& slot : filter.slots) {
      if (slot.isZero() && !filter.slotEnabled(slot.slot)) {
        ++free;
        continue;
      }
      const auto row = html.in("tr");
      html.put("th", {{"scope", "row"}}, fmt::format("rule[{}]", slot.slot));
      html.put("td", filter.slotWords(slot));
      const auto cell = html.in("td", {{"class", "words"}});
      for (const auto& each : Layout::kSlotRegisters) {
        const std::string value = fmt::format("0x{:0{}x}", slot.value(each), each.width / 4);
        const auto pair = html.in("span");
        html.text(fmt::format("{} ", each.name));
        putMeaning(html, value,
                   fmt::format("{} of slot {}: {}", each.name, slot.slot, filter.slotRegisterWords(slot, each)),
                   "value");
      }
    }
  } else {
    free = filter.slots.size();
  }
  if (free != 0) html.put("p", fmt::format("{} slots free, all 0", free));
}

}  // namespace

std::string pageOf(const Heading& heading, const std::function<void(Markup&)>& write) {
  Markup html;
  html.raw("<!DOCTYPE html>\n");
  {
    const auto root = html.in("html", {{"lang", "en"}});
    {
      const auto head = html.in("head");
      html.putEmpty("meta", {{"charset", "utf-8"}});
      html.putEmpty("meta", {{"http-equiv", "Content-Security-Policy"},
                             {"content", "default-src 'none'; style-src 'unsafe-inline'"}});
      html.putEmpty("meta", {{"name", "viewport"}, {"content", "width=device-width, initial-scale=1"}});
      html.putEmpty("meta", {{"name", "color-scheme"}, {"content", "light dark"}});
      html.put("title", heading.title);
      const auto style = html.in("style");
      html.raw(kStylesheet);
    }
    const auto body = html.in("body");
    {
      const auto top = html.in("header");
      html.put("h1", heading.title);
      const auto line = html.in("p");
      putState(html, heading.state, heading.style);
      html.text(fmt::format(" {}", heading.summary));
    }
    const auto main = html.in("main");
    write(html);
  }
  return html.str();
}

void putState(Markup& html, std::string_view word, Style style) {
  html.put("span", {{"class", std::string(classOf(style))}}, word);
}

void putSpoken(Markup& html, const Shown& text, Style style) {
  if (style == Style::plain) return html.shown(text);
  const auto word = html.in("span", {{"class", std::string(classOf(style))}});
  html.shown(text);
}

Table::Table(Markup& html, std::string_view name, const std::vector<std::string_view>& headers)
    : scroll_(html.in("div",
                      {{"class", "scroll"}, {"role", "group"}, {"aria-label", std::string(name)}, {"tabindex", "0"}})),
      table_(html.in("table")) {
  const auto head = html.in("thead");
  const auto row = html.in("tr");
  for (const std::string_view header : headers) html.put("th", {{"scope", "col"}}, header);
}

Folded::Folded(Markup& html, std::string_view title) : details_(html.in("details")) { html.put("summary", title); }

std::string shortList(const std::vector<Platform::IntfId>& intfs) {
  const size_t named = intfs.size() > kMostNamed + 1 ? kMostNamed : intfs.size();
  std::string list;
  for (size_t i = 0; i < named; ++i) {
    if (i != 0) list += i + 1 == intfs.size() ? " and " : ", ";
    list += intfs[i].toText();
  }
  return named == intfs.size() ? list : fmt::format("{} and {} more", list, withCommas(intfs.size() - named));
}

void putIntfs(Markup& html, const std::vector<Platform::IntfId>& intfs) {
  if (intfs.size() <= kMostNamed + 1) return html.text(shortList(intfs));
  const Folded rest(html, shortList(intfs));
  std::string names;
  for (const Platform::IntfId intf : intfs) {
    if (!names.empty()) names += ", ";
    names += intf.toText();
  }
  html.put("p", names);
}

void putFilterTitle(Markup& html, const std::vector<Platform::IntfId>& intfs, Acl::AclDirection direction) {
  html.put("h3", fmt::format("{}, {}", shortList(intfs), directionName(direction)));
  if (intfs.size() > kMostNamed + 1) putIntfs(html, intfs);
}

void putRemedy(Markup& html, std::string_view remedy) { html.put("p", {{"class", "remedy"}}, remedy); }

void putDiagnostics(Markup& html, const Diagnostics& diagnostics) {
  if (diagnostics.all().empty()) return;
  const auto section = html.in("section");
  html.put("h2", "What is wrong with the documents");
  const auto list = html.in("ul", {{"class", "diagnostics"}});
  for (const Diagnostic& each : diagnostics.all()) {
    const auto item = html.in("li");
    const bool isError = each.severity == Severity::error;
    html.text(each.file + ": ");
    putState(html, isError ? "error" : "warning", isError ? Style::bad : Style::odd);
    std::string about;
    if (!each.acl.empty()) about += fmt::format("ACL \"{}\"", each.acl);
    if (!each.ace.empty()) about += fmt::format(", ACE \"{}\"", each.ace);
    if (!about.empty()) about += ": ";
    html.text(fmt::format(": {}{}", about, each.message));
    if (!each.path.empty()) html.put("p", "at " + each.path);
    putRemedy(html, each.remedy);
  }
}

std::string withCommas(uint64_t number) {
  std::string text = std::to_string(number);
  for (size_t place = text.size(); place > 3; place -= 3) text.insert(place - 3, 1, ',');
  return text;
}

void putWord(Markup& html, const FilterDump& filter, const Layout::FilterRegister& row, const FilterDump* expected) {
  const auto word = html.in("span", {{"class", "word"}});
  html.put("code", fmt::format("0x{:08x}", filter.value(row)));
  const auto bits = html.in("span", {{"class", "bits"}});
  const uint32_t others = expected == nullptr ? 0 : filter.value(row) ^ expected->value(row);
  for (const BitWords& bit : filter.bits(row)) putBit(html, bit, (others >> bit.bit & 1) != 0);
}

void putRegisters(Markup& html, const FilterDump& filter) {
  const Folded folded(html, "Registers");
  html.put("p", {{"class", "path"}},
           fmt::format("{} {} {}", filter.intf, directionName(filter.direction), filter.path));
  if (filter.isZero()) return html.put("p", "all registers 0");
  {
    const Table table(html, "Registers of the filter", {"register", "bits 31 to 0", "set bits"});
    for (const auto& row : Layout::kFilterRegisters) {
      const auto line = html.in("tr");
      html.put("th", {{"scope", "row"}}, row.name);
      {
        const auto cell = html.in("td");
        putWord(html, filter, row);
      }
      html.put("td", filter.words(row));
    }
  }
  putSlotRegisters(html, filter);
}

}  // namespace Sim
