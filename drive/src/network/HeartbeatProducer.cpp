#include "network/HeartbeatProducer.hpp"

namespace tav::drive {

HeartbeatProducer::HeartbeatProducer(Context& context)
    : context_(context), period_(context.dictionary, 0x1017, 0) {
  if (period_.object() != nullptr) period_.object()->when_written([this] { schedule(); });
}

void HeartbeatProducer::send(NMTState state) {
  constexpr std::uint32_t kErrorControl = 0x700;
  context_.transmit(nkr::can::Frame(kErrorControl + context_.node_id, {static_cast<std::uint8_t>(state)}));
}

void HeartbeatProducer::schedule() {
  const std::chrono::milliseconds period(period_.get());
  due_ = period.count() == 0 ? Time::max() : context_.now + period;
}

void HeartbeatProducer::send_boot_up() {
  send(NMTState::INITIALISING);
}

void HeartbeatProducer::reset(Reset /*kind*/) {
  schedule();
}

void HeartbeatProducer::run() {
  send(context_.nmt);
  schedule();
}

}  // namespace tav::drive
