#include "verdict/Probe.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "read/Quote.h"
#include "verdict/PacketText.h"

namespace Sim {
namespace {

// Adds errors of one place.
struct Faults {
  const std::string& file;
  const std::string& lead;
  Diagnostics& diagnostics;

  std::nullopt_t add(std::string code, const std::string& message, std::string remedy) const {
    Diagnostic fault;
    fault.code = std::move(code);
    fault.file = file;
    fault.message = lead + message;
    fault.remedy = std::move(remedy);
    diagnostics.add(std::move(fault));
    return std::nullopt;
  }
};

std::optional<Acl::AclDirection> directionOf(std::string_view name) {
  for (const auto direction : {Acl::AclDirection::in, Acl::AclDirection::out}) {
    if (directionName(direction) == name) return direction;
  }
  return {};
}

// Up to a # that begins a word.
std::string_view withoutComment(std::string_view line) {
  bool isQuoted = false;
  for (size_t i = 0; i < line.size(); ++i) {
    const bool beginsWord = i == 0 || line[i - 1] == ' ' || line[i - 1] == '\t';
    if (line[i] == '#' && beginsWord && !isQuoted) return line.substr(0, i);
    if (line[i] == '"') isQuoted = !isQuoted;
  }
  return line;
}

// The next word, or what is in quotes.
std::string_view takeName(std::string_view& rest) {
  rest.remove_prefix(std::min(rest.find_first_not_of(" \t"), rest.size()));
  const size_t end = rest.starts_with('"') ? rest.find('"', 1) : rest.npos;
  if (end == rest.npos) return takeWord(rest);
  const std::string_view name = rest.substr(1, end - 1);
  rest.remove_prefix(end + 1);
  return name;
}

// `line` is neither blank nor a comment.
std::optional<Probe> readExpectation(std::string_view line, const Device& device, const Faults& faults) {
  const std::string_view verdict = takeWord(line);
  if (verdict != "permit" && verdict != "deny") {
    return faults.add(
        "bad-expectation", inQuotes(verdict) + ": expected permit or deny",
        fmt::format("Write what is to become of the packet, as in permit port-1 ingress {}.", kPacketExample));
  }
  const std::string_view interface = takeName(line), direction = takeWord(line);
  auto probe = readProbe({interface, direction, line}, device, faults.file, faults.lead, faults.diagnostics);
  if (probe) probe->shouldPass = verdict == "permit";
  return probe;
}

}  // namespace

std::optional<Probe> readProbe(const ProbeText& text, const Device& device, const std::string& file,
                               const std::string& lead, Diagnostics& diagnostics) {
  const Faults faults{file, lead, diagnostics};
  const Interface* const interface = device.find(text.interface);
  if (interface == nullptr && device.namesKnown) {
    return faults.add("unknown-interface", fmt::format("the device has no interface {}", inQuotes(text.interface)),
                      "Correct the name, or add the interface to the device description.");
  }
  const auto direction = directionOf(text.direction);
  if (!direction) {
    return faults.add("bad-direction", inQuotes(text.direction) + ": expected ingress or egress",
                      "Write ingress for what comes in by the interface, or egress for what goes out.");
  }
  std::string fault;
  const auto packet = readPacket(text.packet, fault);
  if (!packet) return faults.add("bad-packet", fault, fmt::format("Write a packet like {}.", kPacketExample));
  if (interface == nullptr) return {};
  return Probe{interface->id, *direction, *packet};
}

std::vector<Probe> readExpectations(const std::string& file, std::string_view text, const Device& device,
                                    Diagnostics& diagnostics) {
  std::vector<Probe> probes;
  for (size_t number = 1; !text.empty(); ++number) {
    const std::string_view line = withoutComment(text.substr(0, text.find('\n')));
    text.remove_prefix(std::min(text.find('\n'), text.size() - 1) + 1);
    std::string_view words = line;
    if (takeWord(words).empty()) continue;
    const auto probe = readExpectation(line, device, {file, fmt::format("line {}: ", number), diagnostics});
    if (probe) probes.push_back(*probe);
    if (probe) probes.back().line = number;
  }
  return probes;
}

}  // namespace Sim
