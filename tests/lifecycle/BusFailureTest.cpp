// Every operation that reaches the bus, with a failure at every single access and at every two in a row.
#include "instance/AclHelperInstanceConfigSm.h"
#include "support/HelperTest.h"

namespace Kestrix::Test {
namespace {

// What one run of an operation shows.
struct Shown {
  Lines accesses, told;
  std::map<IntfId, std::string> states;  // Of the ACL concerned, "active error 15".
  bool flag = false;                     // The transport's, afterwards.
  bool isForgotten = false;              // The ACL.
};

struct Scenario {
  const char* name;
  Ptr<AclData> acl;
  const char* stateWhenHit;  // Of an interface with a failed access to its filter; null where no ACL is concerned.
  std::function<void()> prepare, act, mend;
};

struct BusFailure : HelperTest {
  BusFailure() {
    for (const IntfId intf : all) vcsd->intfIs(intf, true);
  }
  std::string stateOf(const ShadowAcl& shadow, IntfId intf) const {
    std::string state = shadow.activeIntf(intf) ? "active " : "";
    if (shadow.applyingIntf(intf)) state += "applying ";
    if (shadow.deletingIntf(intf)) state += "deleting ";
    if (const auto error = shadow.errorIntf(intf)) state += fmt::format("error {}", int(*error));
    return state;
  }

  // On a new helper and device. `mended` gets the registers once all is mended.
  Shown runOf(const Scenario& scenario, const std::set<size_t>& failAt, std::map<std::string, uint32_t>& mended) {
    reactor = nullptr;
    build(2, 2);
    config->aclDropDelayIs(false);
    reactor = aclHelperInstanceConfigSmFactory(config, make<Platform::InstanceStatus>(), vcsd, helper);
    transport->registers.clear();
    scenario.prepare();
    Ptr<ShadowAcl> shadow = helper->allShadowAcl(scenario.acl->key());
    taken();
    transport->accesses = 0, transport->failAt = failAt;
    scenario.act();
    transport->failAt.clear();
    if (!shadow) shadow = helper->allShadowAcl(scenario.acl->key());
    Shown shown;
    for (const std::string& line : taken()) (line.starts_with("msp") ? shown.accesses : shown.told).push_back(line);
    for (const IntfId intf : {e1, e2, e3}) shown.states[intf] = shadow ? stateOf(*shadow, intf) : "";
    shown.flag = transport->error().error();
    shown.isForgotten = helper->allShadowAcl(scenario.acl->key()) == nullptr;
    scenario.mend();
    EXPECT_FALSE(transport->error().error());
    mended = transport->registers;
    return shown;
  }

  // The interface and direction of an access.
  std::pair<IntfId, Acl::AclDirection> filterOf(const std::string& access) const {
    const auto at = [&](const char* block) { return access.find(block) != access.npos; };
    const IntfId intf = at("_filter[3]") || at("/filter[3]") || at("rx[3]") ? e1 : at("filter[4]") ? e2 : e3;
    return {intf, at("msp_send") ? kIn : kOut};
  }

  // What the run shows by the rules, when the one without failures shows `good`: all accesses all the same, an error
  // for exactly the interfaces hit, the pass that hit one told as failed, the flag cleared by whoever reports it.
  Shown expected(const Shown& good, const Scenario& scenario, const std::set<size_t>& failAt) const {
    Shown shown = good;
    std::vector<std::pair<IntfId, Acl::AclDirection>> hit;
    for (const size_t k : failAt) {
      const auto filter = filterOf(good.accesses[k]);
      if (hit.empty() || hit.back() != filter) hit.push_back(filter);
    }
    const bool isBlocking = good.accesses[0].find("linkmon") != std::string::npos;
    shown.flag = isBlocking;
    for (const auto& [intf, direction] : hit) {
      if (scenario.stateWhenHit != nullptr) {
        shown.states[intf] = scenario.stateWhenHit;
      } else if (!isBlocking) {
        shown.told.push_back(
            fmt::format("0 AclHelperInstanceConfigSm::handleAclDropDelay: Failed to write registers "
                        "for already set {}filter",
                        direction == kIn ? "input " : ""));
      }
    }
    for (std::string& line : shown.told) {
      if (line.starts_with("status")) line.replace(line.size() - 1, 1, "15");
    }
    return shown;
  }

  void attach(const Ptr<AclData>& data, const std::vector<IntfId>& intfs) {
    attached(data, intfs);
    if (data->key().type == kMac) {
      EXPECT_EQ(translateMac(data, {.ethType = 0x0806}), kNoError);
    } else {
      EXPECT_EQ(translate(data, {.proto = 6, .dst = "10.1.0.0/255.255.0.0", .dstPort = 80}), kNoError);
    }
    finish(data);
  }
  void again(const Ptr<AclData>& data, const std::vector<IntfId>& intfs) {
    for (const IntfId intf : intfs) helper->addIntfToAcl({.intf = intf}, data, nullptr);
  }
  void remove(const Ptr<AclData>& data, IntfId intf) { helper->removeIntfFromAcl({.intf = intf}, data, false); }

  const Ptr<AclData> inAcl = make<AclData>(AclKey{"in", kIpv4, kIn});
  const Ptr<Platform::InstanceConfig> config = make<Platform::InstanceConfig>();
  Ptr<AclHelperInstanceConfigSm> reactor;
  const std::vector<IntfId> all = {e1, e2, e3};
};

TEST_F(BusFailure, IsReportedForExactlyTheInterfacesHitAndMendedByTheNextOperation) {
  const char *const kAttach = "error 15", *const kDetach = "active error 15";
  const auto nothing = [] {};
  const Scenario scenarios[] = {
      {"attach one", acl, kAttach, nothing, [&] { attach(acl, {e1}); }, [&] { again(acl, {e1}); }},
      {"attach several", acl, kAttach, nothing, [&] { attach(acl, all); }, [&] { again(acl, all); }},
      {"ingress", inAcl, kAttach, nothing, [&] { attach(inAcl, all); }, [&] { again(inAcl, all); }},
      {"attach to one more", acl, kAttach, [&] { attach(acl, {e1}); }, [&] { again(acl, {e2}); },
       [&] { again(acl, {e2}); }},
      {"share", macAcl, kAttach, [&] { attach(acl, all); }, [&] { attach(macAcl, all); }, [&] { again(macAcl, all); }},
      {"change", acl, kAttach, [&] { attach(acl, all), attach(macAcl, {e1}); }, [&] { attach(acl, {}); },
       [&] { again(acl, all); }},
      {"detach", acl, kDetach, [&] { attach(acl, all); }, [&] { remove(acl, e2); }, [&] { remove(acl, e2); }},
      {"leave to the other", acl, kDetach, [&] { attach(acl, all), attach(macAcl, all); }, [&] { remove(acl, e1); },
       [&] { remove(acl, e1); }},
      {"clean up", acl, kDetach, [&] { attach(acl, all); }, [&] { helper->cleanupAcl(acl); },
       [&] { attach(macAcl, all); }},
      {"drop delay", acl, nullptr, [&] { attach(acl, {e2}); }, [&] { config->aclDropDelayIs(true); },
       [&] { config->aclDropDelayIs(true); }},
      {"block", acl, nullptr, nothing, [&] { helper->blockIntf(e1, true, 0); },
       [&] { helper->blockIntf(e1, true, 0), attach(acl, {e1}), again(acl, {e1}); }},
  };
  for (const Scenario& scenario : scenarios) {
    std::map<std::string, uint32_t> registers, mended;
    const Shown good = runOf(scenario, {}, registers);
    ASSERT_FALSE(good.accesses.empty()) << scenario.name;
    for (size_t k = 0; k < good.accesses.size(); ++k) {
      for (const std::set<size_t>& failAt : {std::set{k}, std::set{k, std::min(k + 1, good.accesses.size() - 1)}}) {
        SCOPED_TRACE(fmt::format("{}, from access {} on: {}", scenario.name, k, failAt.size()));
        const Shown shown = runOf(scenario, failAt, mended), rules = expected(good, scenario, failAt);
        EXPECT_EQ(shown.accesses, rules.accesses);
        EXPECT_EQ(shown.told, rules.told);
        EXPECT_EQ(shown.states, rules.states);
        EXPECT_EQ(shown.flag, rules.flag);
        EXPECT_EQ(shown.isForgotten, rules.isForgotten);
        EXPECT_EQ(mended, registers);
        if (HasFailure()) return;
      }
    }
  }
}

}  // namespace
}  // namespace Kestrix::Test
