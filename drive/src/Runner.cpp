#include <algorithm>
#include <atomic>
#include <mutex>
#include <nkr/can/Thread.hpp>
#include <nkr/time/Condition.hpp>
#include <nkr/time/clock.hpp>
#include <tav/drive/Runner.hpp>
#include <utility>

namespace tav::drive {
namespace {

using nkr::can::Clock;
using nkr::can::Frame;

/** Longest sleep of a thread that has nothing to do: keeps waits far from the clock's end. */
constexpr std::chrono::seconds kLongestSleep(10);
/** A frame that the bus does not take within that time is lost, as on a bus without listeners. */
constexpr std::chrono::milliseconds kSendTimeout(100);

Time wake_up_time(Time due) {
  return std::min(due, nkr::time::now() + kLongestSleep);
}

}  // namespace

struct Runner::Impl {
  explicit Impl(VirtualDrive& the_drive) : drive(the_drive) {}

  nkr_error_t start(nkr::can::Bus& bus);
  void stop();
  void run_timer();
  void take(const Frame& frame);
  void wake_at(Time due);

  VirtualDrive& drive;
  std::unique_ptr<nkr::can::Port> port;
  nkr::can::Thread timer;
  std::atomic<nkr_error_t> status{NKR_CAN_NOT_CONNECTED};

  // When the timer is wanted.
  std::mutex mutex;
  nkr::time::Condition wake;
  Time wanted = Time::max();
  bool stopping = false;
};

nkr_error_t Runner::Impl::start(nkr::can::Bus& bus) {
  if (port) return NKR_INVALID_STATE;
  nkr_error_t result = NKR_OK;
  stopping = false;
  port = bus.open_handler(
      {}, [this](const Frame& frame) { take(frame); }, result);
  if (!port) return result;
  status = NKR_OK;
  // A bus outside this program is not the drive's to switch off: there the drive alone falls silent.
  VirtualDrive::Events events{[&bus](nkr::can::BusState state) { bus.set_state(state); },
                              [this] { wake_at(Time::min()); }};
  drive.connect(
      [this](const Frame& frame) {
        const nkr_error_t sent = port->send(frame, nkr::time::now() + kSendTimeout);
        if (sent == NKR_CAN_CLOSED) status = sent;
      },
      std::move(events));
  drive.power_on(nkr::time::now());
  if (timer.start([this] { run_timer(); }, "tav-drive")) return NKR_OK;
  stop();
  return NKR_CAN_NO_RESOURCES;
}

void Runner::Impl::stop() {
  if (!port) return;
  {
    const std::lock_guard<std::mutex> lock(mutex);
    stopping = true;
  }
  wake.notify_one();
  port->close();
  timer.end();
  drive.connect({});
  port.reset();
  status = NKR_CAN_NOT_CONNECTED;
}

void Runner::Impl::take(const Frame& frame) {
  wake_at(drive.receive(frame, nkr::time::now()));
}

void Runner::Impl::wake_at(Time due) {
  {
    const std::lock_guard<std::mutex> lock(mutex);
    if (due >= wanted) return;
    wanted = due;
  }
  wake.notify_one();
}

void Runner::Impl::run_timer() {
  std::unique_lock<std::mutex> lock(mutex);
  while (!stopping) {
    wanted = Time::max();
    lock.unlock();
    const Time due = wake_up_time(drive.advance(nkr::time::now()));
    lock.lock();
    if (stopping) return;
    wanted = std::min(wanted, due);
    wake.wait_until(lock, wanted);
  }
}

Runner::Runner(VirtualDrive& drive) : impl_(std::make_unique<Impl>(drive)) {}

Runner::~Runner() {
  stop();
}

nkr_error_t Runner::start(nkr::can::Bus& bus) {
  return impl_->start(bus);
}

void Runner::stop() {
  impl_->stop();
}

nkr_error_t Runner::status() const {
  return impl_->status;
}

}  // namespace tav::drive
