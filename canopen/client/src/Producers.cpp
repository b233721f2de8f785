#include "Producers.hpp"

namespace nkr::canopen {
namespace {

using can::Clock;

constexpr std::uint32_t kErrorControlId = 0x700;
constexpr std::uint32_t kSyncId = 0x080;
constexpr std::uint8_t kOperational = 5;
constexpr std::uint8_t kLeastOverflow = 2;
constexpr std::uint8_t kMostOverflow = 240;

}  // namespace

Producers::Producers(can::Port& port, Timers& timers, std::uint8_t sync_counter_overflow)
    : port_(port), timers_(timers), sync_counter_overflow_(sync_counter_overflow) {}

/** A beat that the bus cannot take before the next one is due is given up: late beats help nobody. */
void Producers::start_heartbeat(std::uint8_t node, std::chrono::milliseconds period) {
  timers_.set(Timers::Slot::host_heartbeat, Clock::now(), [this, node, period](Clock::time_point due) {
    port_.send({kErrorControlId + node, {kOperational}}, due + period);
    return next_turn(due, period);
  });
}

void Producers::stop_heartbeat() {
  timers_.cancel(Timers::Slot::host_heartbeat);
}

void Producers::start_sync(std::chrono::microseconds period) {
  timers_.set(Timers::Slot::sync, Clock::now(), [this, period](Clock::time_point due) {
    send_sync(due + period);
    return next_turn(due, period);
  });
}

void Producers::stop_sync() {
  timers_.cancel(Timers::Slot::sync);
}

nkr_error_t Producers::send_sync(Clock::time_point deadline) {
  return port_.send(next_sync(), deadline);
}

can::Frame Producers::next_sync() {
  if (sync_counter_overflow_ < kLeastOverflow || sync_counter_overflow_ > kMostOverflow) return {kSyncId, {}};
  const std::lock_guard<std::mutex> lock(mutex_);
  sync_counter_ = sync_counter_ >= sync_counter_overflow_ ? std::uint8_t{1}
                                                          : static_cast<std::uint8_t>(sync_counter_ + 1);
  return {kSyncId, {sync_counter_}};
}

}  // namespace nkr::canopen
