#include "platform/agent/Instance.h"

#include <utility>

#include <boost/signals2/connection.hpp>
#include <boost/signals2/dummy_mutex.hpp>
#include <boost/signals2/signal_type.hpp>

namespace Platform {

struct Subscription::Connection {
  boost::signals2::scoped_connection scoped;
};

Subscription::Subscription() = default;
Subscription::Subscription(Subscription&& other) noexcept = default;
Subscription& Subscription::operator=(Subscription&& other) noexcept = default;
Subscription::~Subscription() = default;

bool Subscription::connected() const { return connection_ && connection_->scoped.connected(); }

void Subscription::disconnect() {
  if (connection_) connection_->scoped.disconnect();
}

struct Publisher::Signal {
  using Mutex = boost::signals2::keywords::mutex_type<boost::signals2::dummy_mutex>;  // One event thread.
  boost::signals2::signal_type<void(AttributeId), Mutex>::type signal;
};

Publisher::Publisher() : signal_(std::make_unique<Signal>()) {}
Publisher::~Publisher() = default;

Subscription Publisher::subscribe(const Callback& callback) const {
  Subscription subscription;
  subscription.connection_ = std::make_unique<Subscription::Connection>();
  subscription.connection_->scoped = signal_->signal.connect(callback);
  return subscription;
}

size_t Publisher::subscribers() const { return signal_->signal.num_slots(); }

void Publisher::notify(AttributeId attribute) const { signal_->signal(attribute); }

}  // namespace Platform
