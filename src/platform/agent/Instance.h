// The agent's instance objects: the configuration to follow, and the status that publishes what was applied.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "platform/network/IntfId.h"
#include "platform/object/Collections.h"
#include "platform/runtime/Export.h"
#include "platform/runtime/Ptr.h"

namespace Platform {

// The number of an attribute in notifications.
using AttributeId = uint32_t;

// A subscription: empty, or registered until it is destroyed or disconnected.
class Subscription {
 public:
  // One registration, which ends when it is destroyed.
  struct Connection {
    virtual ~Connection() = default;
    // Whether it has not ended by itself, with its publisher.
    virtual bool connected() const = 0;
  };

  // Empty, or holding `connection`.
  explicit Subscription(std::unique_ptr<Connection> connection = {}) : connection_(std::move(connection)) {}

  // Whether the callback is still called.
  bool connected() const { return connection_ && connection_->connected(); }
  // Ends the subscription; nothing happens when it is empty or ended.
  void disconnect() { connection_.reset(); }

 private:
  std::unique_ptr<Connection> connection_;
};

// Tells its subscribers, synchronously, of the attributes that changed. A subscriber may leave, or end others'
// subscriptions, while it is being told. An agent that links nothing of the library can have one: only `subscribe` is a
// function of the library.
class Publisher {
 public:
  // Takes the attribute that changed.
  using Callback = std::function<void(AttributeId)>;

  // Calls `callback` from now on, for as long as the subscription lives.
  [[nodiscard]] KESTRIX_API Subscription subscribe(const Callback& callback) const;
  // The number of live subscriptions.
  size_t subscribers() const { return signal_ ? signal_->subscribers() : 0; }
  // Tells all subscribers that `attribute` has changed.
  void notify(AttributeId attribute) const {
    if (signal_) signal_->notify(attribute);
  }

 private:
  struct Signal {
    virtual ~Signal() = default;
    virtual Subscription subscribe(const Callback& callback) = 0;
    virtual size_t subscribers() const = 0;
    virtual void notify(AttributeId attribute) = 0;
  };
  struct BoostSignal;

  mutable std::unique_ptr<Signal> signal_;  // None until something is subscribed.
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

  // Notifies of changes of this object, by attribute id.
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
