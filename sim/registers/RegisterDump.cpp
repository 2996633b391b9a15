#include "registers/RegisterDump.h"

#include <algorithm>
#include <charconv>
#include <unordered_map>
#include <utility>

#include <fmt/compile.h>
#include <fmt/format.h>

#include "read/Quote.h"

namespace Sim {
namespace {

namespace Layout = Kestrix::Layout;

constexpr size_t kMostFaults = 1000;  // Of one dump that are named.
constexpr size_t kMostQuoted = 256;   // Bytes of a line.
constexpr std::string_view kLineRemedy =
    "A line is a path and a value of 32 bits, as in: msp_send[0]/i_filter[0]/enable 0x103. A # begins a comment.";

constexpr bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }
constexpr bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

// Takes the first word off `text`; empty where there is none.
std::string_view takeWord(std::string_view& text) {
  const auto* const begin = std::ranges::find_if_not(text, isBlank);
  const auto* const end = std::find_if(begin, text.end(), isBlank);
  text.remove_prefix(static_cast<size_t>(end - text.begin()));
  return {begin, end};
}

std::optional<uint32_t> valueOf(std::string_view word) {
  const bool isHex = word.starts_with("0x") || word.starts_with("0X");
  if (isHex) word.remove_prefix(2);
  uint32_t value = 0;
  const auto [end, error] = std::from_chars(word.begin(), word.end(), value, isHex ? 16 : 10);
  return error == std::errc() && end == word.end() ? std::optional(value) : std::nullopt;
}

// Adds what is `shared` by path to `list`, or the interface to the one that has it.
template <class Shared>
void addTo(std::vector<SharedBy<Shared>>& list, std::unordered_map<std::string, size_t>& places,
           const std::string& path, Shared shared, Platform::IntfId intf) {
  const auto [place, isNew] = places.try_emplace(path, list.size());
  if (isNew) list.push_back({std::move(shared), {}});
  list[place->second].intfs.push_back(intf);
}

}  // namespace

std::string lineOf(const Register& each) { return fmt::format("{} 0x{:08x}", each.path, each.value); }

std::vector<Register> registersOf(const FilterDump& filter) {
  std::vector<Register> registers;
  registers.reserve(Layout::kFilterRegisters.size() + filter.slots.size() * Layout::kSlotRegisters.size());
  for (const auto& row : Layout::kFilterRegisters)
    registers.push_back({fmt::format("{}{}", filter.path, row.name), filter.value(row)});
  for (const SlotDump& slot : filter.slots) {
    const std::string path = filter.path + fmt::format(Layout::kRuleSlot, slot.slot);
    for (const auto& row : Layout::kSlotRegisters)
      registers.push_back({fmt::format("{}{}", path, row.name), slot.value(row)});
  }
  return registers;
}

std::string linkMonitorPath(const Interface& interface) {
  return fmt::format(Layout::kLinkMonitor, interface.core - 1, interface.portGroup - 1);
}

std::vector<SharedBy<const FilterDump*>> distinct(const FilterDumps& filters) {
  std::vector<SharedBy<const FilterDump*>> list;
  std::unordered_map<std::string, size_t> places;
  for (const FilterDump& filter : filters.all()) {
    if (!filter.slots.empty()) addTo(list, places, filter.path, &filter, filter.intf);
  }
  return list;
}

std::vector<SharedBy<std::string>> linkMonitors(const Device& device) {
  std::vector<SharedBy<std::string>> list;
  std::unordered_map<std::string, size_t> places;
  for (const Interface& each : device.interfaces) {
    const std::string path = linkMonitorPath(each);
    addTo(list, places, path, path, each.id);
  }
  return list;
}

std::string dumpText(const Device& device, const RegisterAt& registerAt) {
  std::string text = "# Filters and link monitors: path and value of each register.\n";
  const FilterDumps filters(registerAt, device);
  for (const auto& filter : distinct(filters)) {
    for (const Register& each : registersOf(*filter.shared)) text += lineOf(each) + '\n';
  }
  for (const auto& monitor : linkMonitors(device)) text += lineOf({monitor.shared, registerAt(monitor.shared)}) + '\n';
  return text;
}

// Reads one dump, line by line.
class RegisterDump::Reader {
 public:
  Reader(RegisterDump& dump, const std::string& file, Diagnostics& diagnostics)
      : dump_(dump), file_(file), diagnostics_(diagnostics) {}

  void read(std::string_view text) {
    for (size_t number = 1; !text.empty(); ++number) {
      const size_t end = std::min(text.find('\n'), text.size());
      readLine(number, text.substr(0, end));
      text.remove_prefix(std::min(end + 1, text.size()));
    }
  }

  // What of a filter has no line.
  void lookForMissing(const std::vector<Register>& registers) {
    std::string missing;
    size_t count = 0;
    for (const Register& each : registers) {
      if (dump_.value(each.path)) continue;
      ++count;
      missing += (missing.empty() ? "" : ", ") + each.path;
    }
    if (count == 0) return;
    if (count == registers.size())
      missing = fmt::format("any of the {} registers from {} on", count, registers.front().path);
    fault("missing-register", "there is no line of " + missing, "Dump every register of the filters of this device.");
  }

  // Faults that were not named are counted.
  void end() {
    if (faults_ <= kMostFaults) return;
    add("more-faults", fmt::format("{} more faults are not named", faults_ - kMostFaults), "Mend those named first.");
  }

 private:
  void readLine(size_t number, std::string_view line) {
    std::string_view rest = line.substr(0, line.find('#'));
    const std::string_view path = takeWord(rest), word = takeWord(rest);
    if (path.empty()) return;
    const auto value = valueOf(word);
    if (!value || !takeWord(rest).empty() || std::ranges::any_of(path, isControl)) {
      const std::string quoted = cut(line.substr(0, kMostQuoted), kMostQuoted / 4);
      return fault("malformed-line", fmt::format("line {}, \"{}\", is no path and value", number, quoted), kLineRemedy);
    }
    const auto known = dump_.lines_.find(path);
    if (known == dump_.lines_.end()) {
      ++dump_.others_;
    } else if (known->second.number != 0) {
      fault("doubled-register", fmt::format("line {}: line {} has {}, too", number, known->second.number, path),
            "Leave one line for each register.");
    } else {
      known->second = {number, *value};
    }
  }

  void fault(std::string_view code, std::string message, std::string_view remedy) {
    if (++faults_ <= kMostFaults) add(code, std::move(message), remedy);
  }
  void add(std::string_view code, std::string message, std::string_view remedy) {
    Diagnostic diagnostic;
    diagnostic.code = code;
    diagnostic.file = file_;
    diagnostic.message = std::move(message);
    diagnostic.remedy = remedy;
    diagnostics_.add(std::move(diagnostic));
  }

  RegisterDump& dump_;
  const std::string& file_;
  Diagnostics& diagnostics_;
  size_t faults_ = 0;
};

RegisterDump::RegisterDump(const std::string& file, std::string_view text, const Device& device,
                           Diagnostics& diagnostics) {
  const FilterDumps blank([](const std::string&) { return 0; }, device);
  const auto filters = distinct(blank);
  for (const auto& filter : filters) {
    for (Register& each : registersOf(*filter.shared)) lines_.try_emplace(std::move(each.path));
  }
  for (const auto& monitor : linkMonitors(device)) lines_.try_emplace(monitor.shared);
  Reader reader(*this, file, diagnostics);
  reader.read(text);
  for (const auto& filter : filters) reader.lookForMissing(registersOf(*filter.shared));
  reader.end();
}

std::optional<uint32_t> RegisterDump::value(const std::string& path) const {
  const auto found = lines_.find(path);
  return found != lines_.end() && found->second.number != 0 ? std::optional(found->second.value) : std::nullopt;
}

RegisterAt RegisterDump::reader() const {
  return [this](const std::string& path) { return value(path).value_or(0); };
}

}  // namespace Sim
