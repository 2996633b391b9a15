// The ACL framework of the simulated device: it owns the desired configuration and drives the helper, and it notes what
// became of every ACL, rule and interface.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "helper/AclHelper.h"
#include "instance/AclHelperInstanceConfigSm.h"
#include "platform/agent/Instance.h"
#include "read/Configuration.h"
#include "read/Device.h"
#include "simulate/Outcome.h"
#include "simulate/Progress.h"
#include "simulate/SimFpga.h"
#include "simulate/TraceCapture.h"

namespace Sim {

// The framework of one device, for the device's whole life.
class Framework {
 public:
  // Starts the device up, as far as the drop delay in all filters. Raises Platform::RangeError for a device that the
  // helper refuses.
  Framework(const Device& device, const Platform::Ptr<SimFpga>& fpga, TraceCapture& traces, Progress& progress);

  // Brings the device to the desired state, with the calls that the difference to the state before asks for. An
  // interface that is still not active is tried again.
  Outcome apply(const Configuration& desired);

  // Sets attributes of the helper's model, each given as for setByPath, and writes the filters anew whose registers are
  // to be others by that. Raises Platform::ModelError for one that cannot be set; those before it are set.
  Outcome set(const std::vector<std::string>& settings);

  const Platform::Ptr<Kestrix::AclHelper>& helper() const { return helper_; }

 private:
  // An ACL in one direction, as it was last desired.
  struct Held {
    AclConfiguration config;
    Platform::Ptr<Platform::AclData> data;
    Platform::Ptr<Platform::AclDataStatus> status;
    std::set<Platform::IntfId> intfs;
    std::set<Platform::IntfId> notDetached;  // Taking it off failed; tried again in the next step.
    AclOutcome outcome;
  };
  struct Wanted {
    Platform::AclKey key;
    const AclConfiguration* config;
    std::set<Platform::IntfId> intfs;
  };
  struct Move {
    Platform::AclKey from;
    Platform::AclKey to;
    Platform::IntfId intf;
  };
  // In an order that does not change from run to run.
  struct KeyOrder {
    bool operator()(const Platform::AclKey& left, const Platform::AclKey& right) const {
      return std::tie(left.name, left.type, left.direction) < std::tie(right.name, right.type, right.direction);
    }
  };
  using HeldAcls = std::map<Platform::AclKey, Held, KeyOrder>;

  // All that is wanted, in the order of the configuration, and where to find it.
  struct Wish {
    std::vector<Wanted> all;
    std::map<Platform::AclKey, size_t, KeyOrder> byKey;  // Positions in `all`.
    // The ACL of a type that an interface is to have in a direction.
    std::map<std::tuple<Platform::IntfId, Acl::AclType, Acl::AclDirection>, size_t> byIntf;
  };

  static Wish wantedBy(const Configuration& desired);
  void block(const Configuration& desired, Outcome& outcome);
  std::vector<Move> detach(const Wish& wanted, Outcome& outcome);
  void attach(const Wanted& wanted, Outcome& outcome);
  void finish(const Move& move);
  void retry(const Wanted& wanted, const std::set<Platform::IntfId>& inactive, Outcome& outcome);
  void takeOff(Held& held, Platform::IntfId intf);
  void removeGone(const Wish& wanted, Outcome& outcome);
  void addIntfs(Held& held, const std::set<Platform::IntfId>& intfs, ChangeKind kind, Outcome& outcome);
  void translate(Held& held);
  // The rules of the ACL, one by one; whether the helper has accepted all of them.
  bool giveRules(Held& held);
  AceOutcome translate(const Ace& ace, const Platform::Ptr<Platform::AclData>& aclData, uint32_t ruleNum);
  // The register images that the shadow filters ask for, as text, by interface and direction.
  using Images = std::map<std::pair<Platform::IntfId, Acl::AclDirection>, Platform::Value>;
  Images images() const;
  // What all operations of a step tell in the end.
  void report(uint64_t writesBefore, Outcome& outcome);
  std::set<Platform::IntfId> inactiveIntfs(const Wanted& wanted) const;
  bool isKnownByName(const Platform::AclKey& key) const;
  bool isActive(const Platform::AclKey& key, Platform::IntfId intf) const;
  bool isInError(const Platform::AclKey& key, Platform::IntfId intf) const;
  bool isInFilter(const Platform::AclKey& key, Platform::IntfId intf) const;
  IntfOutcome outcomeOn(Platform::IntfId intf, const AclOutcome& acl) const;

  const Device& device_;
  Platform::Ptr<SimFpga> fpga_;
  TraceCapture& traces_;
  Progress& progress_;
  Platform::Ptr<Platform::VelCommonSmData> vcsd_;
  Platform::Ptr<Platform::InstanceConfig> instanceConfig_;
  Platform::Ptr<Platform::InstanceStatus> instanceStatus_;
  Platform::Ptr<Kestrix::AclHelper> helper_;
  Platform::Ptr<Kestrix::AclHelperInstanceConfigSm> reactor_;
  Configuration desired_;  // By the last step.
  HeldAcls held_;
  std::set<Platform::IntfId> blocked_;
};

}  // namespace Sim
