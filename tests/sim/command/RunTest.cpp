#include "command/Run.h"

#include <gmock/gmock.h>

#include <chrono>

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
  EXPECT_THAT(
      run({.configFiles = {"c"}}, example("edge-switch.json"), {document}, false).output,
      HasSubstr("ACL M (eth-acl-type, ingress): applied\n  all  no slot: denies everything that no slot matches; "
                "not on port-1, where the other ACL of the filter decides it\n"));
}

TEST(Run, ColourOnlyWhereAskedFor) {
  const std::string device = example("edge-switch.json");
  const std::string config = example("access-edge.json");
  EXPECT_EQ(run({.configFiles = {"c"}}, device, {config}, false).output.find('\033'), std::string::npos);
  EXPECT_NE(run({.configFiles = {"c"}}, device, {config}, true).output.find("\033[32mactive"), std::string::npos);
}

// The lines of progress when the clock advances by `step` whenever it is read.
std::vector<std::string> progressOf(std::chrono::milliseconds step) {
  std::vector<std::string> lines;
  auto now = Progress::Time();
  {
    Progress progress([&](std::string_view line) { lines.emplace_back(line); }, [&] { return now += step; });
    const std::string config = example("access-edge.json");
    run({.deviceFile = "d", .configFiles = {"v1", "v2"}}, example("edge-switch.json"), {config, config}, false,
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

TEST(CommandLine, RefusesWhatItDoesNotKnow) {
  using Words = std::vector<const char*>;
  for (Words bad :
       {Words{"d"}, {"d", "c", "--fail-write", "0"}, {"d", "c", "--trace", "x"}, {"d", "c", "--drop-delay", "1"}}) {
    int exitStatus = -1;
    bad.insert(bad.begin(), {"kestrix-sim", "apply"});
    EXPECT_FALSE(parseCommandLine(static_cast<int>(bad.size()), bad.data(), exitStatus));
    EXPECT_EQ(exitStatus, kBadInput);
  }
}

}  // namespace
}  // namespace Sim
