#include "nmt/HeartbeatProducer.hpp"

#include <nkr/time/clock.hpp>

namespace nkr::canopen {

using can::Clock;

namespace {

constexpr std::uint32_t kErrorControlId = 0x700;
constexpr std::uint8_t kOperational = 5;

}  // namespace

/** A beat that the bus cannot take before the next one is due is given up: late beats help nobody. */
bool HeartbeatProducer::start(std::uint8_t node, std::chrono::milliseconds period) {
  const can::Frame beat{kErrorControlId + node, {kOperational}};
  return timers_.set(
      Timers::Slot::HOST_HEARTBEAT, time::now(),
      periodic(can::saturated(period), [this, beat] { return port_.send(beat, Clock::time_point{}); }));
}

void HeartbeatProducer::stop() {
  timers_.cancel(Timers::Slot::HOST_HEARTBEAT);
}

}  // namespace nkr::canopen
