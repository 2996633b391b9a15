#include "command/Run.h"

#include <gmock/gmock.h>

#include <chrono>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "command/ExitStatus.h"
#include "support/Docs.h"

namespace Sim {
namespace {

using nlohmann::json;
using testing::HasSubstr;

std::string example(const std::string& name) { return Kestrix::Test::textOfFile(KESTRIX_ROOT "examples/" + name); }

json jsonOf(const RunResult& result) { return json::parse(result.output); }

TEST(Run, AFailedWriteIsToldUntilALaterStepMendsIt) {
  const std::string config = example("access-edge.json");
  const json report = jsonOf(run({.configFiles = {"v1", "v2"}, .json = true, .failWrites = {120}},
                                 example("edge-switch.json"), {config, config}, /*colour=*/false));
  const json &first = report["steps"][0]["acls"][0], &second = report["steps"][1];
  EXPECT_EQ(first["state"].dump() + first["code"].dump(), R"("failed""write-failed")");
  EXPECT_EQ(report["failedWrites"][0]["number"], 120);
  EXPECT_EQ(second["changes"][0]["kind"], "retried");
  EXPECT_TRUE(second["acls"][0]["state"] == "applied" && second["deviations"].empty());
}

TEST(Run, TheVerdictOfAMacAclLosesAgainstThatOfTheIpv4Acl) {
  const std::string document = R"({"ietf-access-control-list:acls": {"acl": [
      {"name": "I", "type": "ipv4-acl-type", "aces": {"ace": [{"name": "all", "actions": {"forwarding": "accept"}}]}},
      {"name": "M", "type": "eth-acl-type", "aces": {"ace": [{"name": "all", "actions": {"forwarding": "drop"}}]}}],
    "attachment-points": {"interface": [
      {"interface-id": "port-1", "ingress": {"acl-sets": {"acl-set": [{"name": "I"}, {"name": "M"}]}}}]}}})";
  const std::string device = example("edge-switch.json");
  EXPECT_THAT(
      run({.configFiles = {"c"}}, device, {document}, false).output,
      AllOf(HasSubstr("I    active  0/24   permit\nport-1     ingress    M    active  0/24   permit     its deny of "
                      "what no slot matches is overruled\n"),
            HasSubstr("ACL M (eth-acl-type, ingress): applied, but its deny of what no slot matches is overruled "
                      "on port-1\n  all  no slot: denies everything that no slot matches; not on port-1, where the "
                      "other ACL of the filter decides it\n")));
  const json step = jsonOf(run({.configFiles = {"c"}, .json = true}, device, {document}, false))["steps"][0];
  EXPECT_TRUE(!step["interfaces"][0]["overruled"] && step["interfaces"][1]["overruled"]);
  EXPECT_EQ(step["acls"][0]["overruledOn"].dump() + step["acls"][1]["overruledOn"].dump(), R"([]["port-1"])");
}

TEST(Run, ARefusedAclFillsTheSlotsThatItsPreviousVersionKeeps) {
  // On port-1, an ACL of that name with one rule.
  const auto document = [](const std::string& name, const std::string& more) {
    return fmt::format(R"({{"ietf-access-control-list:acls": {{"acl": [{{"name": "{0}", "type": "ipv4-acl-type", "aces":
        {{"ace": [{{"name": "a", "actions": {{"forwarding": "accept"}}, "matches": {{"ipv4":
        {{"source-ipv4-network": "192.0.2.1/32"{1}}}}}}}]}}}}], "attachment-points": {{"interface": [
        {{"interface-id": "port-1", "ingress": {{"acl-sets": {{"acl-set": [{{"name": "{0}"}}]}}}}}}]}}}}}})",
                       name, more);
  };
  for (const auto& [name, slots] : {std::pair("A", 1), {"B", 0}}) {
    const json steps = jsonOf(run({.configFiles = {"v1", "v2"}, .json = true}, example("edge-switch.json"),
                                  {document("A", ""), document(name, R"(, "length": 40)")}, false))["steps"];
    EXPECT_EQ(steps[1]["interfaces"][0]["state"], "refused");
    EXPECT_EQ(steps[1]["interfaces"][0]["slotsUsed"], slots) << name;
  }
}

// The lines of progress when the clock advances by `step` whenever it is read.
std::vector<std::string> progressOf(std::chrono::milliseconds step) {
  std::vector<std::string> lines;
  auto now = Progress::Time();
  {
    Progress progress([&](std::string_view line) { lines.emplace_back(line); }, [&] { return now += step; });
    const std::string config = example("access-edge.json");
    run({.deviceFile = "d", .configFiles = {"v1", "v2"}}, {example("edge-switch.json")}, {{config}, {config}}, {},
        progress);
  }
  return lines;
}

TEST(Run, ProgressIsShownOnceItTakesLongAndTakenAwayInTheEnd) {
  EXPECT_THAT(progressOf(std::chrono::milliseconds(1)), testing::IsEmpty());
  const auto lines = progressOf(std::chrono::milliseconds(200));
  ASSERT_GT(lines.size(), 3u);
  EXPECT_THAT(lines, testing::Contains(HasSubstr("\r\033[Kapplying v2: 1 of ")));
  EXPECT_THAT(lines, testing::Not(testing::Contains(HasSubstr("reading"))));
  EXPECT_EQ(lines.back(), "\r\033[K");
  EXPECT_LT(progressOf(std::chrono::milliseconds(60)).size(), lines.size());
}

}  // namespace
}  // namespace Sim
