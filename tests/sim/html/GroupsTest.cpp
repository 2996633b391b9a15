#include "html/Groups.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "command/Session.h"
#include "html/Parts.h"
#include "read/ConfigurationReader.h"
#include "sim/Examples.h"

namespace Sim {
namespace {

using testing::ElementsAre;

std::string namesOf(const std::vector<Platform::IntfId>& intfs) {
  std::string names;
  for (const Platform::IntfId intf : intfs) {
    if (!names.empty()) names += ' ';
    names += intf.toText();
  }
  return names;
}

// The groups of the interfaces after a configuration, and of their filters: ACLs, direction and interfaces.
struct Grouped {
  std::vector<std::string> intfs;
  std::vector<std::string> filters;
};

Grouped grouped(const std::string& device, const std::string& configuration, const CommandLine& line = {}) {
  Diagnostics diagnostics;
  const Device described = readDevice("d", example(device), diagnostics);
  const Configuration desired = readConfiguration("c", example(configuration), described, diagnostics);
  Progress none;
  auto session = startSession(line, described, Depth::meaning, none, diagnostics);
  session->take({&desired, "c"}, diagnostics);
  const Groups groups(session->steps().back());
  Grouped all;
  for (const IntfGroup& each : groups.intfs())
    all.intfs.push_back(namesOf(each.intfs) + (each.isBlocked ? " blocked" : ""));
  for (const FilterGroup& each : groups.filters()) {
    std::string acls;
    for (const AclHere& here : each.acls) acls += here.acl->key.name + " ";
    all.filters.push_back(acls + std::string(directionName(each.direction())) + ": " + namesOf(each.intfs));
  }
  return all;
}

TEST(Groups, FiltersThatAreAlikeAreShownOnce) {
  const Grouped policy = grouped("edge-switch.json", "access-edge.json");
  EXPECT_THAT(policy.intfs, ElementsAre("port-1 port-2", "port-3 port-4 port-6 port-7 port-8", "port-5"));
  EXPECT_THAT(policy.filters,
              ElementsAre("guest-in ingress: port-1 port-2", "egress: port-1 port-2 port-3 port-4 port-6 port-7 port-8",
                          "ingress: port-3 port-4 port-5 port-6 port-7 port-8", "server-out egress: port-5"));
}

TEST(Groups, AnotherStateOrBlockingIsAnotherGroup) {
  // The first write to the second filter of guest-in, which is then not as the first one.
  const Grouped failed = grouped("edge-switch.json", "access-edge.json", {.failWrites = {120}});
  EXPECT_THAT(failed.filters[0], "guest-in ingress: port-1");
  const Grouped blocked = grouped("edge-switch.json", "shared-filter-2.json");
  EXPECT_THAT(blocked.intfs, testing::Contains("port-3 blocked"));
}

TEST(Groups, ListsNameTheFirstFew) {
  const auto listOf = [](size_t count) {
    std::vector<Platform::IntfId> intfs;
    for (size_t i = 1; i <= count; ++i) intfs.emplace_back(fmt::format("e{}", i));
    return shortList(intfs);
  };
  EXPECT_EQ(listOf(1), "e1");
  EXPECT_EQ(listOf(2), "e1 and e2");
  EXPECT_EQ(listOf(4), "e1, e2, e3 and e4");
  EXPECT_EQ(listOf(1235), "e1, e2, e3 and 1,232 more");
}

}  // namespace
}  // namespace Sim
