// The agent's instance objects: the configuration that is followed, and where what was applied is published.
#pragma once

#include <cstdint>
#include <functional>

#include <boost/signals2/connection.hpp>
#include <boost/signals2/dummy_mutex.hpp>
#include <boost/signals2/signal_type.hpp>

#include "platform/network/IntfId.h"
#include "platform/object/Collections.h"
#include "platform/runtime/Ptr.h"

namespace Platform {

// The number under which a change of an attribute is told.
using AttributeId = uint32_t;

// A subscription: empty, or registered until it is destroyed or disconnected.
using Subscription = boost::signals2::scoped_connection;

// Tells its subscribers, synchronously, of the attributes that changed. A subscriber may leave, or end others'
// subscriptions, while it is being told.
class Publisher {
 public:
  // Takes the attribute that changed.
  using Callback = std::function<void(AttributeId)>;

  // Calls `callback` from now on, for as long as the subscription lives.
  [[nodiscard]] Subscription subscribe(const Callback& callback) const { return signal_.connect(callback); }
  // How many there are.
  size_t subscribers() const { return signal_.num_slots(); }
  // Tells all subscribers that `attribute` has changed.
  void notify(AttributeId attribute) const { signal_(attribute); }

 private:
  using Mutex = boost::signals2::keywords::mutex_type<boost::signals2::dummy_mutex>;  // One event thread.
  mutable boost::signals2::signal_type<void(AttributeId), Mutex>::type signal_;
};

// The configuration of one agent instance. Owned by the agent.
class InstanceConfig : public Node {
 public:
  // The id of `aclDropDelay`.
  static constexpr AttributeId kAclDropDelay = 387;

  // Whether the filters are to delay their drops. Initially false.
  bool aclDropDelay() const { return aclDropDelay_; }
  // Sets the flag and notifies kAclDropDelay, also when the value is the same.
  void aclDropDelayIs(bool aclDropDelay) {
    const Ptr<InstanceConfig> self(this);  // A subscriber may drop the last reference.
    aclDropDelay_ = aclDropDelay;
    publisher_.notify(kAclDropDelay);
  }

  // Where changes of this object are told, by attribute id.
  const Publisher& publisher() const { return publisher_; }

 private:
  bool aclDropDelay_ = false;
  Publisher publisher_;
};

// What was applied on one interface.
class DownstreamIntfStatus : public Node {
 public:
  // The flag of the InstanceConfig that was last applied on the interface.
  bool aclDropDelay() const { return aclDropDelay_; }
  void aclDropDelayIs(bool aclDropDelay) { aclDropDelay_ = aclDropDelay; }

 private:
  bool aclDropDelay_ = false;
};

// What was applied in the instance. Owned by the agent.
class InstanceStatus : public Node {
 public:
  // The flag of the InstanceConfig that was last applied.
  bool aclDropDelay() const { return aclDropDelay_; }
  void aclDropDelayIs(bool aclDropDelay) { aclDropDelay_ = aclDropDelay; }

  // The status of `intf`; null when it has none.
  Ptr<DownstreamIntfStatus> downstreamIntfStatus(IntfId intf) const {
    return lookUp<Ptr<DownstreamIntfStatus>>(downstreamIntfStatus_, intf);
  }
  // The status of `intf`, made when it has none.
  Ptr<DownstreamIntfStatus> downstreamIntfStatusIs(IntfId intf) {
    Ptr<DownstreamIntfStatus>& status = downstreamIntfStatus_[intf];
    if (!status) status = make<DownstreamIntfStatus>();
    return status;
  }

 private:
  bool aclDropDelay_ = false;
  Map<IntfId, Ptr<DownstreamIntfStatus>> downstreamIntfStatus_;
};

}  // namespace Platform
