#include "network/HeartbeatProducer.hpp"

#include <algorithm>

namespace tav::drive {

HeartbeatProducer::HeartbeatProducer(Context& context)
    : context_(context),
      period_(context.dictionary, 0x1017, 0),
      late_(context.settings.timing.seed, "heartbeat") {
  if (period_.object() != nullptr) period_.object()->when_written([this] { schedule(); });
}

void HeartbeatProducer::send(NMTState state) {
  constexpr std::uint32_t kErrorControl = 0x700;
  context_.transmit(nkr::can::Frame(kErrorControl + context_.node_id, {static_cast<std::uint8_t>(state)}));
}

void HeartbeatProducer::schedule() {
  nominal_ = context_.now;
  schedule_next();
}

/** Lateness does not add up: the next one keeps to the grid. */
void HeartbeatProducer::schedule_next() {
  const std::chrono::milliseconds period(period_.get());
  due_ = Time::max();
  if (period.count() == 0) return;
  nominal_ += period;
  due_ = nominal_ + late_.up_to(context_.settings.timing.heartbeat_jitter);
}

void HeartbeatProducer::send_boot_up() {
  send(NMTState::INITIALISING);
}

void HeartbeatProducer::reset(Reset /*kind*/) {
  schedule();
}

void HeartbeatProducer::run() {
  send(context_.nmt);
  nominal_ = std::max(nominal_, context_.now - std::chrono::milliseconds(period_.get()));
  schedule_next();
}

}  // namespace tav::drive
