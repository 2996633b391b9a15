// The pages of apply, packet and verify, taken apart as a browser does.
#include <gmock/gmock.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <iomanip>
#include <map>
#include <sstream>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "sim/Commands.h"
#include "sim/Examples.h"

namespace Sim {
namespace {

using nlohmann::json;

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
    for (const json& each : note["differences"]) claims.push_back({"td", "", {note["interface"], each["packet"]}});
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
  return claims;
}

std::vector<std::string> wordsOf(const std::string& command) {
  std::istringstream in("kestrix-sim " + command);
  std::vector<std::string> words;
  for (std::string word; in >> std::quoted(word, '\'');) words.push_back(word);
  return words;
}

// An example, or expectations of which the first one holds, but not as configured, and the last one fails.
std::string textOf(const std::string& file) {
  if (file != "mixed") return example(file);
  return "permit port-1 ingress arp mac 00:00:5e:00:53:09 > ff:ff:ff:ff:ff:ff\npermit port-1 egress tcp\n"
         "permit port-1 ingress tcp 198.51.100.1 > 192.0.2.1\n";
}

bool isOfClass(const Element& element, std::string_view ending) {
  const auto found = element.attributes.find("class");
  return found != element.attributes.end() && found->second.ends_with(ending);
}

bool isTo(const Element& element, const std::string& id) {
  const auto found = element.attributes.find("id");
  return found != element.attributes.end() && found->second == id;
}

TEST(Pages, TellWhatTheReportsTellInTheSameSections) {
  for (const auto& [command, state] : {
           std::pair("apply edge-switch.json shared-filter.json shared-filter-2.json", "all applied"),
           {"apply edge-switch.json access-edge.json access-edge.json --fail-write 120", "not all applied"},
           {"apply small-switch.json refusals.json", "not all applied"},
           {"apply edge-switch.json access-edge.json misread.json", "has errors"},
           {"packet edge-switch.json type-conflict.json --interface port-1 --direction ingress "
            "'arp 00:00:5e:00:53:09 > ff:ff:ff:ff:ff:ff'",
            "not as configured"},
           {"packet small-switch.json refusals.json --interface port-10 --direction egress tcp", "not known"},
           {"packet edge-switch.json access-edge.json --expect access-edge.expect", "as wanted"},
           {"packet edge-switch.json type-conflict.json --expect mixed", "not as wanted"},
           {"verify small-switch.json small-policy.json --dump small-switch.dump --repair", "differs"},
       }) {
    SCOPED_TRACE(command);
    const RunResult result = resultOf(wordsOf(command + std::string(" --json --html p")), textOf);
    const json report = json::parse(result.output);
    const auto elements = elementsOf(result.files.at(0).text);
    std::vector<Claim> claims = report.contains("steps")     ? claimsOfSteps(report)
                                : report.contains("packets") ? claimsOfPackets(report)
                                                             : claimsOfMismatches(report);
    claims.push_back({"header", "", {std::string(state) + " "}});
    // Bits that differ stand out in both words.
    EXPECT_EQ(std::ranges::count_if(elements, [](const Element& each) { return isOfClass(each, " other"); }),
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
      EXPECT_EQ(std::ranges::count_if(elements, [&](const Element& to) { return isTo(to, id); }), 1) << id;
    }
  }
}

TEST(Pages, NamesNeverBecomeMarkup) {
  const std::string hostile = "</title>\"><script>alert('1')</script>&lt;", plain = "plain";
  // The page where all names are that: its elements with their attributes, and how often it has the name.
  const auto shapeOf = [](const std::string& command, int exitStatus, const std::string& name) {
    const json ace{{"name", name}, {"actions", {{"forwarding", "drop"}}}, {"matches", {{"ipv4", {{"length", 40}}}}}};
    const json acl{{"name", name}, {"type", "ipv4-acl-type"}, {"aces", {{"ace", json::array({ace})}}}};
    const json set{{"acl-set", json::array({{{"name", name}}})}};
    const json place{{"interface-id", name}, {"ingress", {{"acl-sets", set}}}};
    const json acls{{"acl", json::array({acl})}, {"attachment-points", {{"interface", json::array({place})}}}};
    const json port{{"name", name}, {"core", 1}, {"portGroup", 1}};
    const json device{{"inRules", 1}, {"outRules", 0}, {"interfaces", json::array({port})}};
    std::string registers;
    for (const char* each : {"enable", "action", "tcp", "udp", "rule[0]/mask_high", "rule[0]/mask_low",
                             "rule[0]/addr_high", "rule[0]/addr_low"})
      registers += fmt::format("msp_send[0]/i_filter[0]/{} 1\n", each);
    const std::map<std::string, std::string> texts{{"d" + name, device.dump()},
                                                   {"c" + name, json{{"ietf-access-control-list:acls", acls}}.dump()},
                                                   {"r" + name, registers}};
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
