// Devices whose registers are not as configured.
#include <gmock/gmock.h>

#include <map>
#include <random>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "command/Run.h"
#include "command/VerifyCommand.h"
#include "sim/Examples.h"

namespace Sim {
namespace {

using testing::HasSubstr;

using Registers = std::map<std::string, uint32_t>;

CommandLine lineOf(std::optional<VerifyOptions> verify) {
  return {.configFiles = {"v1", "v2"}, .json = true, .dumpFile = "d", .verify = std::move(verify)};
}

RunResult verifyDump(const std::string& dump) {
  Progress none;
  return runVerify(lineOf(VerifyOptions{.dumpFile = "d", .repair = true}), {example("edge-switch.json")},
                   {{example("shared-filter.json")}, {example("shared-filter-2.json")}}, {dump}, {}, none);
}

RunResult verifyRegisters(const Registers& registers) {
  std::string dump;
  for (const auto& [path, value] : registers) dump += fmt::format("{} {}\r\n", path, value);
  return verifyDump(dump);
}

// What the simulated device ends with.
std::string dumped() {
  return run(lineOf({}), example("edge-switch.json"), {example("shared-filter.json"), example("shared-filter-2.json")},
             false)
      .files.at(0)
      .text;
}

Registers registersIn(const std::string& dump) {
  Registers registers;
  std::istringstream lines(dump.substr(dump.find('\n')));
  for (std::string path, value; lines >> path >> value;)
    registers[path] = static_cast<uint32_t>(std::stoul(value, {}, 16));
  return registers;
}

TEST(Verify, AnyFlippedBitsAreSeenAndMended) {
  std::mt19937 engine(3);
  // The device after both configurations is not a fresh one: its filters keep what earlier ACLs left.
  const Registers clean = registersIn(dumped());
  ASSERT_EQ(verifyRegisters(clean).exitStatus, kEqual);
  for (int round = 0; round < 40; ++round) {
    Registers found = clean;
    bool differs = false;
    for (int flips = round % 4; flips >= 0; --flips) {
      // One flip of four is of a link monitor, which are the last in the order of paths of each core.
      auto flipped = std::next(found.begin(), static_cast<std::ptrdiff_t>(engine() % found.size()));
      if (engine() % 4 == 0) flipped = found.find(fmt::format("msp_send[0]/rx[{}]/linkmon_ctl", engine() % 4));
      const uint32_t bit = uint32_t{1} << engine() % (flipped->first.ends_with("linkmon_ctl") ? 5 : 32);
      differs = differs || !flipped->first.ends_with("linkmon_ctl") || bit > 4;
      flipped->second |= bit & ~clean.at(flipped->first);
      if ((clean.at(flipped->first) & bit) != 0) flipped->second &= ~bit;
    }
    const RunResult result = verifyRegisters(found);
    ASSERT_EQ(result.exitStatus, differs ? kDiffers : kEqual) << result.output;
    const auto repair = nlohmann::json::parse(result.output)["repair"];
    for (const auto& write : repair) {
      uint32_t& value = found.at(write["path"]);
      const bool isMonitor = write["path"].get<std::string>().ends_with("linkmon_ctl");
      EXPECT_TRUE(!isMonitor || (value & 7) == (write["value"].get<uint32_t>() & 7)) << write;
      value = write["value"];
    }
    EXPECT_EQ(verifyRegisters(found).exitStatus, kEqual);
  }
}

TEST(Verify, WhatIsWrongWithADumpIsNamed) {
  const std::string dump = dumped(), first = "msp_send[0]/i_filter[0]/enable";
  const auto without = [&](std::initializer_list<std::string_view> paths) {
    std::string rest = dump;
    for (const std::string_view path : paths) {
      const size_t at = rest.find(path);
      rest.erase(at, rest.find('\n', at) + 1 - at);
    }
    return rest;
  };
  std::string faulty = dump;
  for (int i = 0; i < 1003; ++i) faulty += "a\n";
  const std::pair<std::string, const char*> cases[] = {
      {without({first}), "there is no line of msp_send[0]/i_filter[0]/enable\""},
      {without({"msp_send[0]/rx[2]/linkmon_ctl"}),
       "there is no line of msp_send[0]/rx[2]/linkmon_ctl, which is to block port-3"},
      {without({first, "msp_send[0]/i_filter[0]/tcp"}),
       "there is no line of msp_send[0]/i_filter[0]/enable, msp_send[0]/i_filter[0]/tcp\""},
      {faulty, "\"3 more faults are not named"},
      {"", "there is no line of any of the 100 registers from msp_return[1]/filter[3]/enable on"},
      {dump + first + " 1", "line 1610: line 2 has msp_send[0]/i_filter[0]/enable, too"},
      {"a\n" + dump, R"(line 1, \"a\", is no path and value)"},
      {"a 0x100000000\n" + dump, "is no path and value"},
      {"a 1 2\n" + dump, "is no path and value"},
      {"a -1\n" + dump, "is no path and value"},
      {"a 0x\n" + dump, "is no path and value"},
      {std::string("a\0b 1\n", 6) + dump, "is no path and value"},
      {std::string(1 << 20, '\x80') + "\n" + dump, "is no path and value"},
  };
  for (const auto& [text, message] : cases) {
    const RunResult result = verifyDump(text);
    EXPECT_EQ(result.exitStatus, kBadInput) << message;
    EXPECT_THAT(result.output, HasSubstr(message));
    EXPECT_THAT(result.output, testing::Not(HasSubstr("\"remedy\": \"\"")));
    EXPECT_LT(result.output.size(), text == faulty ? 400000u : 20000u);
  }
  const RunResult more = verifyDump("other 7 # counted\n\n \t# " + std::string(3, '\0') + "\n" + dump);
  EXPECT_EQ(more.exitStatus, kEqual) << more.output;
  EXPECT_THAT(more.output, HasSubstr(R"("others": 1,)"));
}

}  // namespace
}  // namespace Sim
