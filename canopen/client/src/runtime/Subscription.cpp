#include <nkr/canopen/Subscription.hpp>
#include <utility>

#include "runtime/EventQueue.hpp"

namespace nkr::canopen {

Subscription::Subscription(std::weak_ptr<EventQueue> events, int number)
    : events_(std::move(events)), number_(number) {}

Subscription::Subscription(Subscription&& other) noexcept
    : events_(std::move(other.events_)), number_(std::exchange(other.number_, 0)) {}

Subscription& Subscription::operator=(Subscription&& other) noexcept {
  if (this == &other) return *this;
  end();
  events_ = std::move(other.events_);
  number_ = std::exchange(other.number_, 0);
  return *this;
}

void Subscription::end() {
  const int number = std::exchange(number_, 0);
  if (const auto events = events_.lock(); events && number != 0) events->unsubscribe(number);
}

}  // namespace nkr::canopen
