#include "platform/agent/Instance.h"

#include <boost/signals2/connection.hpp>
#include <boost/signals2/dummy_mutex.hpp>
#include <boost/signals2/signal_type.hpp>

namespace Platform {
namespace {

struct BoostConnection final : Subscription::Connection {
  bool connected() const override { return scoped.connected(); }

  boost::signals2::scoped_connection scoped;
};

}  // namespace

struct Publisher::BoostSignal final : Signal {
  Subscription subscribe(const Callback& callback) override {
    auto connection = std::make_unique<BoostConnection>();  // First: without memory, nothing stays connected.
    connection->scoped = signal.connect(callback);
    return Subscription(std::move(connection));
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
