#include "pdo/SyncProducer.hpp"

#include <nkr/time/clock.hpp>

namespace nkr::canopen {

using can::Clock;

namespace {

constexpr std::uint32_t kSyncId = 0x080;
constexpr std::uint8_t kLeastOverflow = 2;
constexpr std::uint8_t kMostOverflow = 240;

}  // namespace

SyncProducer::SyncProducer(can::Port& port, Timers& timers, std::uint8_t counter_overflow)
    : port_(port), timers_(timers), counter_overflow_(counter_overflow) {}

bool SyncProducer::start(std::chrono::microseconds period) {
  return timers_.set(Timers::Slot::SYNC, time::now(),
                     periodic(can::saturated(period), [this] { return send(Clock::time_point{}); }));
}

void SyncProducer::stop() {
  timers_.cancel(Timers::Slot::SYNC);
}

nkr_error_t SyncProducer::send(const can::Deadline& deadline) {
  if (counter_overflow_ < kLeastOverflow || counter_overflow_ > kMostOverflow)
    return port_.send({kSyncId, {}}, deadline);
  std::uint8_t before = counter_;
  std::uint8_t counter = 0;
  do {
    counter = before >= counter_overflow_ ? std::uint8_t{1} : static_cast<std::uint8_t>(before + 1);
  } while (!counter_.compare_exchange_weak(before, counter));
  const nkr_error_t result = port_.send({kSyncId, {counter}}, deadline);
  if (result != NKR_OK) counter_.compare_exchange_strong(counter, before);
  return result;
}

}  // namespace nkr::canopen
