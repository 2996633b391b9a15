// The pages of apply, packet and verify, taken apart as a browser does.
#include <gmock/gmock.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <iomanip>
#include <map>
#include <set>
#include <sstream>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "sim/Commands.h"
#include "sim/Documents.h"
#include "sim/Examples.h"

namespace Sim {
namespace {

using nlohmann::json;
using testing::HasSubstr;

struct Element {
  std::string name;
  std::map<std::string, std::string> attributes = {};
  std::string text = {};  // Of all in it.
};

std::string unescaped(std::string text) {
  for (const auto& [from, to] :
       {std::pair("&lt;", "<"), {"&gt;", ">"}, {"&quot;", "\""}, {"&#39;", "'"}, {"&amp;", "&"}}) {
    for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; ++at) text.replace(at, std::strlen(from), to);
  }
  return text;
}

// All elements, in the order in which they begin. Fails where one does not end as it should.
std::vector<Element> elementsOf(const std::string& page) {
  std::vector<Element> elements;
  std::vector<size_t> open;
  for (size_t at = page.find('\n'), end = 0; at < page.size(); at = end) {
    if (page[at] != '<') {
      end = std::min(page.find('<', at), page.size());
      for (const size_t each : open) elements[each].text += unescaped(page.substr(at, end - at));
      continue;
    }
    bool isQuoted = false;
    for (end = at; isQuoted || page[end] != '>'; ++end) isQuoted ^= page[end] == '"';
    const std::string tag = page.substr(at + 1, end++ - at - 1);
    if (tag[0] == '/') {
      EXPECT_EQ("/" + elements.at(open.back()).name, tag);
      open.pop_back();
      continue;
    }
    Element& element = elements.emplace_back(Element{tag.substr(0, tag.find(' '))});
    for (size_t name = tag.find(' '); name < tag.size();) {
      const size_t value = tag.find("=\"", name) + 2, last = tag.find('"', value);
      element.attributes[tag.substr(name + 1, value - name - 3)] = unescaped(tag.substr(value, last - value));
      name = last + 1;
    }
    if (element.name != "meta") open.push_back(elements.size() - 1);
  }
  EXPECT_TRUE(open.empty());
  return elements;
}

// What must be on the page: these texts in this order, in one element of that name whose id begins so.
struct Claim {
  std::string element;
  std::string id;
  std::vector<std::string> texts;
};

bool holds(const Claim& claim, const std::vector<Element>& elements) {
  return std::ranges::any_of(elements, [&](const Element& element) {
    const auto id = element.attributes.find("id");
    if (element.name != claim.element) return false;
    if (!claim.id.empty() && (id == element.attributes.end() || !id->second.starts_with(claim.id))) return false;
    size_t at = 0;
    return std::ranges::all_of(claim.texts, [&](const std::string& text) {
      at = element.text.find(text, at);
      return at != std::string::npos;
    });
  });
}

bool endsWith(const Element& element, const char* attribute, std::string_view ending) {
  const auto found = element.attributes.find(attribute);
  return found != element.attributes.end() && found->second.ends_with(ending);
}

// What holds of every page: it is made of these elements, runs nothing, and shows no part that is empty.
void expectSound(const std::vector<Element>& elements) {
  static const std::set<std::string> names{"html",    "head", "meta", "title", "style",   "body",    "header", "main",
                                           "section", "h1",   "h2",   "h3",    "h4",      "p",       "a",      "ul",
                                           "li",      "div",  "span", "b",     "code",    "table",   "thead",  "tbody",
                                           "tr",      "th",   "td",   "meter", "details", "summary", "pre"};
  const Element* before = nullptr;
  for (const Element& each : elements) {
    EXPECT_TRUE(names.contains(each.name)) << each.name;
    for (const auto& [attribute, value] : each.attributes)
      EXPECT_TRUE(!attribute.starts_with("on") && attribute != "style") << attribute << "=" << value;
    if (each.attributes.contains("http-equiv")) {
      EXPECT_EQ(each.attributes.at("content"), "default-src 'none'; style-src 'unsafe-inline'");
    }
    for (const char* part : {"h2", "section", "ul", "tbody", "p"}) EXPECT_TRUE(each.name != part || !each.text.empty());
    if (each.attributes.contains("aria-label")) {
      EXPECT_NE(each.attributes.at("aria-label"), each.text);
      const std::string& label = each.attributes.at("aria-label");
      EXPECT_TRUE(!label.starts_with("bit ") || (label.find(" is set: ") != label.npos) == (each.text == "1")) << label;
    }
    // The bits behind a value are those of the value.
    if (endsWith(each, "class", "bits")) {
      EXPECT_EQ(std::stoul(each.text, nullptr, 2), std::stoul(before->text, nullptr, 16));
    }
    before = &each;
  }
}

// Of all elements of that name, in their order.
std::string textsOf(const std::vector<Element>& elements, std::string_view name) {
  std::string texts;
  for (const Element& each : elements) {
    if (each.name == name) texts += each.text + "; ";
  }
  return texts;
}

// Adds the texts that these members have.
void addTexts(std::vector<std::string>& texts, const json& from, std::initializer_list<const char*> members) {
  for (const char* member : members) {
    if (from.contains(member)) texts.push_back(from[member]);
  }
}

// --- What the JSON of the same run says ------------------------------------------------------------------------------

std::vector<Claim> claimsOfSteps(const json& report) {
  std::vector<Claim> claims;
  std::string last;  // The ids of the last step that was applied.
  for (const json& step : report["steps"]) {
    const std::string id = fmt::format("step-{}-", &step - &report["steps"][0] + 1);
    if (step["applied"]) last = id;
    for (const json& acl : step["acls"]) {
      Claim claim{"section", acl["state"] == "not-attached" ? "" : id, {}};
      addTexts(claim.texts, acl, {"direction", "name"});
      for (const json& ace : acl["aces"]) {
        addTexts(claim.texts, ace, {"name", "reason", "remedy"});
        for (const json& next : ace.value("next", json::array())) addTexts(claim.texts, next, {"reason", "remedy"});
      }
      claims.push_back(claim);
    }
    for (const json& each : step["differences"])
      claims.push_back({"section", id, {each["interface"], each["direction"], "lets through", each["packet"]}});
    for (const json& each : step["interfaces"]) {
      claims.push_back(
          {"tr",
           "",
           {each["interface"], each["acl"], each["state"], each.value("culprit", ""), each.value("unmatched", "")}});
    }
    for (const json& each : step["turns"])
      claims.push_back({"tr", "", {each["interface"], each["direction"], each["packet"]}});
    for (const json& each : step["deviations"])
      claims.push_back({"li", "", {each["interface"], each["direction"], each["why"]}});
  }
  for (const json& filter : report["filters"]) {
    Claim& claim = claims.emplace_back(Claim{"section", last, {filter["interface"], filter["direction"]}});
    for (const char* each : {"enable", "action", "tcp", "udp"}) {
      claim.texts.push_back(fmt::format("0x{:08x}", filter[each]["value"].get<uint32_t>()));
      claim.texts.push_back(filter[each]["words"]);
    }
    for (const json& rule : filter["rules"]) claim.texts.push_back(rule["words"]);
  }
  for (const json& note : report["notes"]) {
    for (const json& each : note["differences"])
      claims.push_back({"tr", "", {note["readings"][0]["meaning"], note["interface"], each["packet"]}});
  }
  return claims;
}

std::vector<Claim> claimsOfPackets(const json& report) {
  std::vector<Claim> claims;
  std::vector<std::string> failing, others;  // Which are shown first, and then.
  for (const json& packet : report["packets"]) {
    const std::string line = packet.contains("line") ? fmt::format("line {}", packet["line"].dump()) : "";
    const bool isWanted = packet.value("asWanted", true), isException = !isWanted || !packet["asConfigured"];
    Claim claim{"section", "", {line, packet["packet"], packet["interface"], packet["direction"]}};
    if (!line.empty()) {
      claim.texts.push_back(isWanted ? "as wanted, but not as configured" : "is wanted, and the device");
      claims.push_back({"tr",
                        "",
                        {packet["line"].dump(), packet["packet"], packet["interface"], packet["direction"],
                         packet["wanted"]["permits"] ? "permit" : "deny", isWanted ? "" : "not", "as",
                         packet["device"]["words"], packet["configured"]["words"]}});
    }
    for (const char* side : {"configured", "device"}) {
      const json permits = packet[side]["permits"];
      claim.texts.push_back(permits.is_null() ? "-" : permits ? "permit" : "deny");
      claim.texts.push_back(packet[side]["words"]);
    }
    for (const json& each : packet["inactive"]) addTexts(claim.texts, each, {"acl", "reason"});
    if (line.empty() || isException) claims.push_back(claim);
    if (!line.empty() && isException) (isWanted ? others : failing).push_back(line + ": ");
  }
  failing.insert(failing.end(), others.begin(), others.end());
  claims.push_back({"main", "", failing});
  return claims;
}

// As the page writes it, with commas.
std::string numberOf(const json& count, const char* what) {
  const auto number = count[what].get<uint64_t>();
  return number < 1000 ? std::to_string(number) : fmt::format("{},{:03}", number / 1000, number % 1000);
}

std::vector<Claim> claimsOfCapture(const json& capture) {
  std::vector<Claim> claims;
  const auto claimRow = [&](const json& first, const json& count) {
    claims.push_back({"tr", "", {first, numberOf(count, "packets"), numberOf(count, "bytes")}});
  };
  claims.push_back({"p",
                    "",
                    {capture["file"], capture["interface"], capture["direction"], capture["all"]["packets"].dump(),
                     capture["all"]["bytes"].dump()}});
  for (const json& acl : capture["acls"]) {
    for (const json& ace : acl["aces"]) claimRow(ace["ace"], ace["count"]);
  }
  for (const json& each : capture["filter"]) claimRow(each["words"], each["count"]);
  for (const char* kind : {"ipv4", "tagged", "laterFragments"}) claimRow("", capture["kinds"][kind]);
  for (const auto& [list, now] : {std::pair("differing", "device"), {"turned", "after"}}) {
    if (!capture.contains(list)) continue;
    for (const json& each : capture[list]["listed"]) {
      const char* const does = each[now]["permits"] ? "permitted" : "denied";
      claims.push_back({"tr", "", {fmt::format("packet {}", each["number"].dump()), each["packet"], does}});
    }
  }
  return claims;
}

// Of registers that are not as expected.
int differingBits(const json& report) {
  int bits = 0;
  if (!report.contains("filtersCompared")) return bits;
  for (const json& filter : report["filters"]) {
    for (const json& each : filter["registers"])
      bits += std::popcount(each["found"].get<uint32_t>() ^ each["expected"].get<uint32_t>());
  }
  return bits;
}

std::vector<Claim> claimsOfMismatches(const json& report) {
  std::vector<Claim> claims;
  for (const json& filter : report["filters"]) {
    Claim claim{"section", "", {filter["interfaces"][0], filter["direction"], filter["path"]}};
    for (const json& each : filter["registers"]) {
      claim.texts.push_back(fmt::format("0x{:08x}", each["found"].get<uint32_t>()));
      claim.texts.push_back(fmt::format("0x{:08x}", each["expected"].get<uint32_t>()));
      addTexts(claim.texts, each, {"missing", "unexpected"});
    }
    for (const json& each : filter["rules"]) addTexts(claim.texts, each, {"found", "expected"});
    for (const char* each : {"letsThrough", "stops"}) {
      if (!filter.contains(each)) continue;
      addTexts(claim.texts, filter[each], {"packet"});
      for (const char* side : {"found", "expected"}) claim.texts.push_back(filter[each][side]["words"]);
    }
    claims.push_back(claim);
  }
  for (const json& each : report["linkMonitors"])
    claims.push_back(
        {"tr",
         "",
         {each["interfaces"][0], each["path"], each["words"], each["expectedToBlock"] ? "blocked" : "not blocked"}});
  std::string repair;
  for (const json& each : report.value("repair", json::array()))
    repair += fmt::format("{} 0x{:08x}\n", each["path"].get<std::string>(), each["value"].get<uint32_t>());
  if (!repair.empty()) claims.push_back({"pre", "", {repair}});
  claims.push_back({"section", "", {"What was compared", "filters differ", "link monitors differ", "other registers"}});
  return claims;
}

std::vector<std::string> wordsOf(const std::string& command) {
  std::istringstream in("kestrix-sim " + command);
  std::vector<std::string> words;
  for (std::string word; in >> std::quoted(word, '\'');) words.push_back(word);
  return words;
}

// An example, an ACE that has two obstacles, or expectations of which the first
// one holds, but not as configured, and the last one fails.
std::string textOf(const std::string& file) {
  if (file == "obstacles") {
    const json two = ace("a", R"("ipv4": {"length": 40, "protocol": 47})", "drop");
    return document({acl("A", "ipv4", {two})}, {{"port-1", "ingress", {"A"}}});
  }
  if (file != "mixed") return example(file);
  return "permit port-1 ingress arp mac 00:00:5e:00:53:09 > ff:ff:ff:ff:ff:ff\npermit port-1 egress tcp\n"
         "permit port-1 ingress tcp 198.51.100.1 > 192.0.2.1\n";
}

struct PageRow {
  std::string command;
  std::string state;
  std::string headings;  // Between what is wrong with the documents and what is told of the whole run.
};
const std::string kCapture =
    " --interface port-1 --direction ingress --capture " KESTRIX_ROOT "examples/guest-traffic.pcap";
const PageRow kPages[] = {
    {"apply edge-switch.json shared-filter.json shared-filter-2.json", "all applied",
     "Step 1: shared-filter.json; Step 2: shared-filter-2.json; "},
    {"apply edge-switch.json access-edge.json access-edge.json --fail-write 120", "not all applied",
     "Step 1: access-edge.json; Step 2: access-edge.json; "},
    {"apply edge-switch.json access-edge.json --set outShadowFilter.shadowFilter[port-1].multicast=1",
     "not all applied", "Step 1: access-edge.json; Step 2: --set; "},
    {"apply edge-switch.json obstacles", "not all applied", "What the device does; "},
    {"apply small-switch.json refusals.json", "not all applied", "What the device does; "},
    {"apply edge-switch.json access-edge.json misread.json", "has errors",
     "Step 1: access-edge.json; Step 2: misread.json; "},
    {"packet edge-switch.json type-conflict.json --interface port-1 --direction ingress "
     "'arp 00:00:5e:00:53:09 > ff:ff:ff:ff:ff:ff'",
     "not as configured", "arp 00:00:5e:00:53:09 > ff:ff:ff:ff:ff:ff, port-1 ingress; What the device does; "},
    {"packet small-switch.json refusals.json --interface port-10 --direction egress tcp", "not known",
     "tcp 192.0.2.1:49152 > 198.51.100.1:443, port-10 egress; What the device does; "},
    {"packet edge-switch.json access-edge.json --expect access-edge.expect", "as wanted",
     "All expectations; What the device does; "},
    {"packet edge-switch.json type-conflict.json --expect mixed", "not as wanted",
     "Not as wanted, or not as configured; All expectations; What the device does; "},
    {"packet edge-switch.json access-edge.json deny-all.json" + kCapture, "not as configured",
     "What becomes of the packets; The device lets through what it should stop: 21 packets, 11152 bytes; Newly "
     "permitted "
     "by deny-all.json: 7 packets, 1930 bytes; Newly denied by deny-all.json: no packet; What they hit; "
     "Step 1: access-edge.json; Step 2: deny-all.json; "},
    {"packet edge-switch.json access-edge.json --fail-write 120" + kCapture, "not as configured",
     "What becomes of the packets; The device lets through what it should stop: 2 packets, 196 bytes; What they hit; "
     "What the device does; "},
    {"verify small-switch.json small-policy.json --dump small-switch.dump --repair", "differs",
     "Filters that differ; Link monitors that differ; What was compared; Repair; What the device does; "},
};

TEST(Pages, TellWhatTheReportsTellInTheSameSections) {
  for (const auto& [command, state, headings] : kPages) {
    SCOPED_TRACE(command);
    const RunResult result = resultOf(wordsOf(command + " --json --html p"), textOf);
    const json report = json::parse(result.output);
    const auto elements = elementsOf(result.files.at(0).text);
    expectSound(elements);
    EXPECT_THAT(textsOf(elements, "h2"), HasSubstr(headings));
    std::vector<Claim> claims = report.contains("steps")     ? claimsOfSteps(report)
                                : report.contains("packets") ? claimsOfPackets(report)
                                : report.contains("capture") ? claimsOfCapture(report["capture"])
                                                             : claimsOfMismatches(report);
    claims.push_back({"header", "", {state + " "}});
    // Bits that differ stand out in both words.
    EXPECT_EQ(std::ranges::count_if(elements, [](const Element& each) { return endsWith(each, "class", " other"); }),
              2 * differingBits(report));
    for (const json& each : report["diagnostics"])
      claims.push_back({"li", "", {each["file"], each["severity"], each["message"], each["remedy"]}});
    for (const Claim& each : claims)
      EXPECT_TRUE(holds(each, elements)) << each.element << testing::PrintToString(each.texts);
    // Each link leads to the one element that it names.
    for (const Element& each : elements) {
      if (each.name != "a") continue;
      const std::string id = each.attributes.at("href").substr(1);
      Claim place{"section", id, {}};
      std::istringstream in(each.text);
      for (std::string word; in >> word;) place.texts.push_back(word);
      EXPECT_TRUE(holds(place, elements)) << each.text << " leads to " << id;
      EXPECT_EQ(std::ranges::count_if(elements, [&](const Element& to) { return endsWith(to, "id", id); }), 1) << id;
    }
  }
}

TEST(Pages, ShowOnceWhatIsAlike) {
  const std::string others =
      "port-5, egress; port-1, port-2, port-3 and 4 more, egress; port-3, port-4, port-5 and 3 more, ingress; ";
  const struct {
    std::string command;
    std::string filters;
    const char* intf;
  } rows[] = {
      {"apply edge-switch.json access-edge.json", "port-1 and port-2, ingress; " + others, "port-1 and port-2"},
      // The first write to the second of them.
      {"apply edge-switch.json access-edge.json --fail-write 120", "port-1, ingress; port-2, ingress; " + others,
       "port-2"},
      {"apply edge-switch.json shared-filter-2.json",
       "port-1, ingress; port-2, ingress; port-1, port-2, port-3 and 5 more, egress; port-3, port-4, port-5 and 3 "
       "more, "
       "ingress; ",
       "port-3 blocked: passes no traffic"},
      // It is not told what a blocked one does otherwise.
      {"apply edge-switch.json shared-filter-2.json --set outShadowFilter.shadowFilter[port-3].multicast=1 --set "
       "outShadowFilter.shadowFilter[port-4].multicast=1",
       "port-4, egress; port-1, port-2, port-5 and 3 more, egress; port-3, port-4, port-5 and 3 more, ingress; "
       "port-3, egress; ",
       "port-3 blocked: passes no traffic"},
  };
  for (const auto& [command, filters, intf] : rows) {
    const auto elements = elementsOf(resultOf(wordsOf(command + " --html p"), textOf).files.at(0).text);
    EXPECT_THAT(textsOf(elements, "h3"), testing::EndsWith("; " + filters)) << command;
    EXPECT_THAT(textsOf(elements, "th"), HasSubstr(std::string("; ") + intf + "; ")) << command;
  }
}

TEST(Pages, NamesNeverBecomeMarkup) {
  const std::string hostile = "</title>\"><script>alert('1')</script>&lt;", plain = "plain";
  // The page where all names are that: its elements with their attributes, and how often it has the name.
  const auto shapeOf = [](const std::string& command, int exitStatus, const std::string& name) {
    const json refused = ace(name, R"("ipv4": {"length": 40})", "drop");
    const std::string acls = document({acl(name, "ipv4", {refused})}, {{name, "ingress", {name}}});
    const json port{{"name", name}, {"core", 1}, {"portGroup", 1}};
    const json device{{"inRules", 1}, {"outRules", 0}, {"interfaces", json::array({port})}};
    std::string registers;
    for (const char* each : {"enable", "action", "tcp", "udp", "rule[0]/mask_high", "rule[0]/mask_low",
                             "rule[0]/addr_high", "rule[0]/addr_low"})
      registers += fmt::format("msp_send[0]/i_filter[0]/{} 1\n", each);
    const std::map<std::string, std::string> texts{
        {"d" + name, device.dump()}, {"c" + name, acls}, {"r" + name, registers}};
    std::vector<std::string> words = wordsOf(command);
    for (std::string& each : words) {
      if (each.ends_with('~')) each.replace(each.size() - 1, 1, name);
    }
    words.insert(words.end(), {"--html", "p"});
    const RunResult result = resultOf(words, [&](const std::string& file) { return texts.at(file); });
    EXPECT_EQ(result.exitStatus, exitStatus) << result.output;
    std::string shape;
    const auto elements = elementsOf(result.files.at(0).text);
    for (const Element& each : elements) {
      shape += each.name + " ";
      for (const auto& [attribute, value] : each.attributes) shape += attribute + " ";
    }
    size_t names = 0;
    for (size_t at = 0; (at = elements[0].text.find(name, at)) != std::string::npos; ++at) ++names;
    return shape + std::to_string(names);
  };
  for (const auto& [command, exitStatus] : {std::pair("apply d~ c~", kNotAllApplied),
                                            {"apply c~ d~", kBadInput},
                                            {"verify d~ c~ --dump r~ --repair", kDiffers},
                                            {"packet d~ c~ --interface ~ --direction ingress tcp", kNotAllApplied},
                                            {"packet d~ c~ --interface ~ --direction ingress x~", kBadInput}}) {
    EXPECT_EQ(shapeOf(command, exitStatus, hostile), shapeOf(command, exitStatus, plain)) << command;
  }
}

}  // namespace
}  // namespace Sim
