#include <chrono>
#include <nkr/time/clock.hpp>
#include <tav/host/BusMeter.hpp>
#include <tav/host/frame_length.hpp>

namespace tav::host {

BusMeter::BusMeter(nkr::can::Bus& bus, nkr_error_t& result) : port_(bus.open({}, result)) {
  if (!port_ || thread_.start([this] { run(); }, "tav-bus-meter")) return;
  result = NKR_CAN_NO_RESOURCES;
  port_.reset();
}

BusMeter::~BusMeter() {
  stop();
}

void BusMeter::stop() {
  constexpr std::chrono::milliseconds kQuiet{20};  // what was sent has arrived by then
  if (!thread_.is_started()) return;
  nkr::time::sleep_for(kQuiet);
  port_->close();
  thread_.end();
}

void BusMeter::run() {
  nkr::can::Frame frame;
  while (true) {
    const nkr_error_t result = port_->receive(frame, nkr::time::now() + std::chrono::seconds(1));
    if (result == NKR_CAN_CLOSED) return;
    if (result != NKR_OK) continue;
    ++frames_;
    bits_ += bits_on_bus(frame);
  }
}

}  // namespace tav::host
