#include "pdo/SyncProducer.hpp"

namespace nkr::canopen {

using can::Clock;

namespace {

constexpr std::uint32_t kSyncId = 0x080;
constexpr std::uint8_t kLeastOverflow = 2;
constexpr std::uint8_t kMostOverflow = 240;

}  // namespace

SyncProducer::SyncProducer(can::Port& port, Timers& timers, std::uint8_t counter_overflow)
    : port_(port), timers_(timers), counter_overflow_(counter_overflow) {}

void SyncProducer::start(std::chrono::microseconds period) {
  timers_.set(Timers::Slot::SYNC, Clock::now(), [this, period](Clock::time_point due) {
    send(due + period);
    return next_turn(due, period);
  });
}

void SyncProducer::stop() {
  timers_.cancel(Timers::Slot::SYNC);
}

nkr_error_t SyncProducer::send(Clock::time_point deadline) {
  return port_.send(next(), deadline);
}

can::Frame SyncProducer::next() {
  if (counter_overflow_ < kLeastOverflow || counter_overflow_ > kMostOverflow) return {kSyncId, {}};
  const std::lock_guard<std::mutex> lock(mutex_);
  counter_ = counter_ >= counter_overflow_ ? std::uint8_t{1} : static_cast<std::uint8_t>(counter_ + 1);
  return {kSyncId, {counter_}};
}

}  // namespace nkr::canopen
