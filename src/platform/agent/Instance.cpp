#include "platform/agent/Instance.h"

#include <boost/signals2/connection.hpp>
#include <boost/signals2/dummy_mutex.hpp>
#include <boost/signals2/signal_type.hpp>

namespace Platform {
namespace {

struct BoostConnection final : Subscription::Connection {
  explicit BoostConnection(const boost::signals2::connection& connection) : scoped(connection) {}
  bool connected() const override { return scoped.connected(); }

  boost::signals2::scoped_connection scoped;
};

}  // namespace

struct Publisher::BoostSignal final : Signal {
  Subscription subscribe(const Callback& callback) override {
    return Subscription(std::make_unique<BoostConnection>(signal.connect(callback)));
  }
  size_t subscribers() const override { return signal.num_slots(); }
  void notify(AttributeId attribute) override { signal(attribute); }

  using Mutex = boost::signals2::keywords::mutex_type<boost::signals2::dummy_mutex>;  // One event thread.
  boost::signals2::signal_type<void(AttributeId), Mutex>::type signal;
};

Subscription Publisher::subscribe(const Callback& callback) const {
  if (!signal_) signal_ = std::make_unique<BoostSignal>();
  return signal_->subscribe(callback);
}

}  // namespace Platform
