#include "session/HostProtection.hpp"

#include <algorithm>
#include <chrono>

namespace tavctl {

using nkr::tavcore::CANOpenDispatcher;

namespace {

/** Node id of this host's heartbeat; the one below it when the drive has it. */
constexpr std::uint8_t kHostNode = 127;
constexpr std::chrono::milliseconds kHeartbeatPeriod{100};
/** Five heartbeats: one or two lost ones stop nothing. */
constexpr std::uint16_t kLongestSilenceMs = 500;

unsigned int raw_of(std::uint8_t node, std::uint16_t time_ms) {
  return static_cast<unsigned>(node) << 16 | time_ms;
}

}  // namespace

HostProtection::HostProtection(Session& session)
    : session_(session), host_node_(session.node() == kHostNode ? std::uint8_t{kHostNode - 1} : kHostNode) {
  std::string weakness;
  try {
    session_.check(session_.client().startHeartbeat(host_node_, kHeartbeatPeriod),
                   "send the host's heartbeat");
    const HostMonitoring before = read_host_monitoring(session_);
    see_reaction(before);
    watch_host(before);
    const HostMonitoring after = read_host_monitoring(session_);
    const auto watches_host = [this](const HostMonitoring::Consumer& c) {
      return c.active() && c.node == host_node_;
    };
    weakness = std::any_of(after.consumers.begin(), after.consumers.end(), watches_host)
                   ? after.weakness()
                   : "it watches no host (no free entry in 0x1016)";
  } catch (const Failure& failure) {
    weakness = failure.what();
  }
  active_ = weakness.empty();
  if (!active_) {
    session_.output().note("WARNING: the drive would NOT stop if this program died: " + weakness);
    session_.output().note("         keep an emergency stop within reach");
  }
}

HostProtection::~HostProtection() {
  if (replaced_) stop_watching();
  session_.client().stopHeartbeat();
}

void HostProtection::stop_watching() {
  const unsigned int raw = raw_of(replaced_->node, replaced_->time_ms);
  const nkr_error_t result =
      session_.dispatcher()->set_value_by_address(consumer_address(replaced_->subindex), raw);
  if (result != NKR_OK) {
    session_.output().note("WARNING: the drive still watches this host and will report it lost");
  }
}

void HostProtection::watch_host(const HostMonitoring& before) {
  const auto end = before.consumers.end();
  auto entry =
      std::find_if(before.consumers.begin(), end, [this](const auto& c) { return c.node == host_node_; });
  if (entry == end) {
    entry = std::find_if(before.consumers.begin(), end, [](const auto& c) { return !c.active(); });
  }
  if (entry == end) return;
  const unsigned int raw = raw_of(host_node_, kLongestSilenceMs);
  session_.check(session_.dispatcher()->set_value_by_address(consumer_address(entry->subindex), raw),
                 "let the drive watch this host");
  replaced_ = *entry;
}

void HostProtection::see_reaction(const HostMonitoring& before) {
  CANOpenDispatcher& drive = *session_.dispatcher();
  if (before.behavior == CANOpenDispatcher::ErrorBehavior::NO_CHANGE) {
    session_.check(drive.setErrorBehavior(CANOpenDispatcher::ErrorType::COMMUNICATION,
                                          CANOpenDispatcher::ErrorBehavior::PRE_OPERATIONAL),
                   "set the error behaviour");
  }
  if (before.abort_connection == CANOpenDispatcher::AbortConnectionOptionCode::NO_ACTION) {
    session_.check(
        drive.setAbortConnectionOptionCode(CANOpenDispatcher::AbortConnectionOptionCode::QUICK_STOP),
        "set the abort connection option code");
  }
}

}  // namespace tavctl
