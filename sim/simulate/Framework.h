// The ACL framework of the simulated device: it owns the desired configuration, makes the calls of the helper that the
// plan for it lists, and notes what became of every ACL, rule and interface.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "helper/AclHelper.h"
#include "instance/AclHelperInstanceConfigSm.h"
#include "platform/agent/Instance.h"
#include "read/Configuration.h"
#include "read/Device.h"
#include "simulate/Outcome.h"
#include "simulate/Plan.h"
#include "simulate/SimFpga.h"

namespace Sim {

// The framework of one device, for the device's whole life.
class Framework {
 public:
  // Told before each ACL of a desired state: its number, from 1, and how many there are.
  using AtAcl = std::function<void(size_t number, size_t total)>;

  // Starts the device up, as far as the drop delay in all filters. Raises Platform::RangeError for a device that the
  // helper refuses.
  Framework(const Device& device, const Platform::Ptr<SimFpga>& fpga, AtAcl atAcl);
  Framework(const Framework&) = delete;
  Framework& operator=(const Framework&) = delete;

  // Brings the device to the desired state, with the calls that the difference to the state before asks for. An
  // interface that is still not active is tried again.
  Outcome apply(const Configuration& desired);

  // Sets attributes of the helper's model, each given as for setByPath, and writes the filters anew whose registers are
  // to be others by that. Raises Platform::ModelError for one that cannot be set; those before it are set.
  Outcome set(const std::vector<std::string>& settings);

  const Platform::Ptr<Kestrix::AclHelper>& helper() const { return helper_; }

 private:
  // What the helper is given of an ACL.
  struct Published {
    Platform::Ptr<Platform::AclData> data;
    Platform::Ptr<Platform::AclDataStatus> status;
  };

  // Takes over what is wanted, as what is held from now on: the calls for it are still to be made.
  void holdWanted();
  std::map<Platform::IntfId, IntfStatus> statuses(const Platform::AclKey& key, const HeldAcl& acl) const;
  IntfStatus status(const Platform::AclKey& key, Platform::IntfId intf) const;

  void carryOut(const Plan& plan, Outcome& outcome);
  void make(const AddIntf& call);
  void make(const RemoveIntf& call);
  void make(const HandOver& call);
  void make(const Precreate& call);
  void make(const GiveRule& call);
  void make(const GiveFinalRule& call);
  void make(const RemoveAcl& call);
  void make(const BlockIntf& call);

  // What the rules of an ACL met, as far as they were given.
  TranslatedAcl translated(const Platform::AclKey& key) const;

  // The register images that the shadow filters ask for, by interface and direction.
  using Images = std::map<std::pair<Platform::IntfId, Acl::AclDirection>, Platform::Value>;
  Images images() const;
  // What all operations of a step tell in the end.
  void report(uint64_t writesBefore, Outcome& outcome);
  AclOutcome reportAcl(const WantedAcl& wanted, Outcome& outcome);

  const Device& device_;
  Platform::Ptr<SimFpga> fpga_;
  AtAcl atAcl_;
  Platform::Ptr<Platform::VelCommonSmData> vcsd_;
  Platform::Ptr<Platform::InstanceConfig> instanceConfig_;
  Platform::Ptr<Platform::InstanceStatus> instanceStatus_;
  Platform::Ptr<Kestrix::AclHelper> helper_;
  Platform::Ptr<Kestrix::AclHelperInstanceConfigSm> reactor_;
  Configuration desired_;  // By the last step,
  Wanted wanted_;          // and by its ACLs.
  HeldAcls held_;
  std::map<Platform::AclKey, Published, KeyOrder> published_;
  std::set<Platform::IntfId> blocked_;
};

}  // namespace Sim
