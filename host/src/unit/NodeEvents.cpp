#include "NodeEvents.hpp"

#include <nkr/canopen/RequestFailure.hpp>
#include <utility>

namespace tav::host {

using nkr::canopen::Event;

namespace {

constexpr std::size_t kMostEmergencies = 16;
constexpr std::uint8_t kLastNode = 127;

/** The lowest other node that was heard; 0: none. */
std::uint8_t other_node(nkr::canopen::Client& client, std::uint8_t node) {
  std::uint32_t age = 0;
  for (std::uint8_t other = 1; other <= kLastNode; ++other) {
    if (other != node && client.getTimeSinceHeard(other, age) == NKR_OK) return other;
  }
  return 0;
}

}  // namespace

NodeEvents::NodeEvents(std::shared_ptr<nkr::canopen::Client> client, std::uint8_t node)
    : client_(std::move(client)), node_(node) {
  subscription_ = client_->subscribe([this](const Event& event) { note(event); });
}

NodeEvents::~NodeEvents() {
  client_->unsubscribe(subscription_);
}

void NodeEvents::begin_operation() {
  const std::lock_guard<std::mutex> lock(mutex_);
  boot_up_ = is_working_ = false;
  emergencies_.clear();
}

void NodeEvents::begin_work() {
  const std::lock_guard<std::mutex> lock(mutex_);
  is_working_ = true;
}

void NodeEvents::note(const Event& event) {
  if (event.node != node_) return;
  const std::lock_guard<std::mutex> lock(mutex_);
  switch (event.kind) {
    case Event::Kind::BOOT_UP:  // the one of its power-on, as long as it is not at work
      boot_up_ = boot_up_ || is_working_;
      break;
    case Event::Kind::UNEXPECTED_BOOT_UP:
      boot_up_ = true;
      break;
    case Event::Kind::HEARTBEAT_LOST:
      heartbeat_lost_ = true;
      break;
    case Event::Kind::HEARTBEAT_RETURNED:
      heartbeat_lost_ = false;
      break;
    case Event::Kind::EMERGENCY:
      if (!event.emergency.is_reset() && emergencies_.size() < kMostEmergencies) {
        emergencies_.push_back(event.emergency.code);
      }
      break;
    default:
      break;
  }
}

Heard NodeEvents::heard() const {
  Heard heard;
  std::uint32_t age = 0;
  if (client_->getTimeSinceHeard(node_, age) == NKR_OK) {
    heard.last = std::chrono::milliseconds(age);
  } else {
    heard.other_node = other_node(*client_, node_);
  }
  static_cast<void>(client_->getNMTState(node_, heard.nmt));
  heard.two_nodes = client_->hearsTwoNodes(node_);
  const std::lock_guard<std::mutex> lock(mutex_);
  heard.boot_up = boot_up_;
  heard.heartbeat_lost = heartbeat_lost_;
  heard.emergencies = emergencies_;
  return heard;
}

}  // namespace tav::host
