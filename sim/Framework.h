// The ACL framework of the simulated device: it owns the desired configuration and drives the helper, and it notes what
// became of every ACL, rule and interface.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Configuration.h"
#include "Device.h"
#include "SimFpga.h"
#include "TraceCapture.h"
#include "helper/AclHelper.h"
#include "instance/AclHelperInstanceConfigSm.h"
#include "platform/Instance.h"

namespace Sim {

// What the helper made of a rule.
enum class AceState : uint8_t {
  programmed,   // In a slot.
  verdict,      // Folded into the verdict for everything that no slot matches.
  notReached,   // After that verdict: no packet comes this far.
  notEnforced,  // A fragment rule: accepted, though the hardware does not tell fragments apart.
  refused,
};

// Why something is not as configured.
struct Reason {
  std::string culprit;  // The ACE or interface that it comes from, when that is not the thing itself.
  std::string text;     // The helper's own words where it has any.

  bool empty() const { return text.empty(); }
  std::string words() const { return culprit.empty() ? text : culprit + ": " + text; }
};

struct AceOutcome {
  std::string name;
  AceState state = AceState::refused;
  std::optional<uint8_t> slot;  // When programmed.
  Platform::AclCreateError error = Platform::AclCreateError::noError;
  Reason reason;  // When refused.
};

enum class AclState : uint8_t {
  applied,
  notAttached,
  refused,  // By the helper: the ACL as a whole, or rules of it.
  failed,   // On some interface.
};

struct AclOutcome {
  Platform::AclKey key;
  std::string typeName;     // As configured.
  bool isAttached = false;  // To some interface in the key's direction.
  AclState state = AclState::applied;
  Platform::AclCreateError error = Platform::AclCreateError::noError;
  Reason reason;
  std::vector<AceOutcome> aces;
};

enum class IntfState : uint8_t { active, refused, failed };

// One ACL on one interface and direction.
struct IntfOutcome {
  Platform::IntfId intf;
  std::string acl;
  Acl::AclDirection direction = Acl::AclDirection::in;
  IntfState state = IntfState::active;
  Platform::AclCreateError error = Platform::AclCreateError::noError;
  Reason reason;
};

struct Outcome {
  std::vector<AclOutcome> acls;
  std::vector<IntfOutcome> intfs;
  uint64_t startupWrites = 0;
  bool startupFailed = false;  // Writing the drop delay failed somewhere.

  bool isAllApplied() const;
};

class Framework {
 public:
  // Starts the device up, as far as the drop delay in all filters. Raises Platform::RangeError for a device that the
  // helper refuses.
  Framework(const Device& device, const Platform::Ptr<SimFpga>& fpga, TraceCapture& traces);

  // Brings the device to the desired state.
  Outcome apply(const Configuration& desired);

 private:
  AclOutcome applyAcl(const AclConfiguration& acl, const Platform::AclKey& key,
                      const std::vector<Platform::IntfId>& intfs, std::vector<IntfOutcome>& intfOutcomes);
  AceOutcome translate(const Ace& ace, const Platform::Ptr<Platform::AclData>& aclData, uint32_t ruleNum);
  IntfOutcome outcomeOn(Platform::IntfId intf, const AclOutcome& acl) const;

  TraceCapture& traces_;
  Platform::Ptr<Platform::VelCommonSmData> vcsd_;
  Platform::Ptr<Platform::InstanceConfig> instanceConfig_;
  Platform::Ptr<Platform::InstanceStatus> instanceStatus_;
  Platform::Ptr<Kestrix::AclHelper> helper_;
  Platform::Ptr<Kestrix::AclHelperInstanceConfigSm> reactor_;
  uint64_t startupWrites_ = 0;
  bool startupFailed_ = false;
};

}  // namespace Sim

template <>
inline constexpr Platform::EnumName<Sim::AceState> Platform::enumNames<Sim::AceState>[] = {
    {Sim::AceState::programmed, "programmed"},
    {Sim::AceState::verdict, "verdict"},
    {Sim::AceState::notReached, "not-reached"},
    {Sim::AceState::notEnforced, "not-enforced"},
    {Sim::AceState::refused, "refused"}};
template <>
inline constexpr Platform::EnumName<Sim::AclState> Platform::enumNames<Sim::AclState>[] = {
    {Sim::AclState::applied, "applied"},
    {Sim::AclState::notAttached, "not-attached"},
    {Sim::AclState::refused, "refused"},
    {Sim::AclState::failed, "failed"}};
template <>
inline constexpr Platform::EnumName<Sim::IntfState> Platform::enumNames<Sim::IntfState>[] = {
    {Sim::IntfState::active, "active"}, {Sim::IntfState::refused, "refused"}, {Sim::IntfState::failed, "failed"}};
