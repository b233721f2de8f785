#include <algorithm>
#include <atomic>
#include <functional>
#include <mutex>
#include <nkr/can/Thread.hpp>
#include <nkr/time/Condition.hpp>
#include <nkr/time/clock.hpp>
#include <tav/drive/FleetRunner.hpp>
#include <utility>
#include <vector>

namespace tav::drive {
namespace {

using nkr::can::Clock;
using nkr::can::Frame;

constexpr std::chrono::seconds kLongestSleep(10);
/** A frame that the bus does not take within that time is lost, as on a bus without listeners. */
constexpr std::chrono::milliseconds kSendTimeout(100);

}  // namespace

struct FleetRunner::Impl {
  explicit Impl(Fleet& the_fleet) : fleet(the_fleet) {}

  nkr_error_t start(nkr::can::Bus& bus);
  void stop();
  void run_timer();
  void take(const Frame& frame);
  void send_all(std::unique_lock<std::mutex>& lock);

  Fleet& fleet;
  std::unique_ptr<nkr::can::Port> port;
  nkr::can::Thread timer;
  std::atomic<nkr_error_t> status{NKR_CAN_NOT_CONNECTED};
  Time began{};

  std::mutex mutex;
  nkr::time::Condition wake;
  Time wanted = Time::max();
  bool stopping = false;
  std::function<void(const Frame&, Time)> sent;
  std::vector<Frame> outbox;  // sent without the lock: an answer may come on the same thread
  bool sending = false;
  // A drive that wants to be looked at says so on any thread, perhaps with the lock held.
  std::atomic<bool> woken{false};
};

nkr_error_t FleetRunner::Impl::start(nkr::can::Bus& bus) {
  if (port) return NKR_INVALID_STATE;
  nkr_error_t result = NKR_OK;
  stopping = false;
  port = bus.open_handler(
      {}, [this](const Frame& frame) { take(frame); }, result);
  if (!port) return result;
  status = NKR_OK;
  {
    std::unique_lock<std::mutex> lock(mutex);
    fleet.connect([this](const Frame& frame, Time when, std::size_t) {
      outbox.push_back(frame);
      if (sent) sent(frame, when);
    });
    fleet.when_woken([this] { woken = true; });
    began = nkr::time::now();
    wanted = fleet.power_on(began);
    send_all(lock);
  }
  if (timer.start([this] { run_timer(); }, "tav-drive")) return NKR_OK;
  stop();
  return NKR_CAN_NO_RESOURCES;
}

void FleetRunner::Impl::stop() {
  if (!port) return;
  {
    const std::lock_guard<std::mutex> lock(mutex);
    stopping = true;
  }
  wake.notify_one();
  port->close();
  timer.end();
  fleet.connect({});
  fleet.when_woken({});
  port.reset();
  status = NKR_CAN_NOT_CONNECTED;
}

void FleetRunner::Impl::send_all(std::unique_lock<std::mutex>& lock) {
  if (sending) return;
  sending = true;
  while (!outbox.empty()) {
    const std::vector<Frame> frames = std::exchange(outbox, {});
    lock.unlock();
    for (const Frame& frame : frames) {
      const nkr_error_t result = port->send(frame, nkr::time::now() + kSendTimeout);
      if (result == NKR_CAN_CLOSED) status = result;
    }
    lock.lock();
  }
  sending = false;
}

void FleetRunner::Impl::take(const Frame& frame) {
  std::unique_lock<std::mutex> lock(mutex);
  if (stopping) return;
  const Time due = fleet.receive(frame, nkr::time::now());
  const bool sooner = due < wanted;
  wanted = std::min(wanted, due);
  send_all(lock);
  if (sooner) wake.notify_one();
}

void FleetRunner::Impl::run_timer() {
  constexpr std::chrono::milliseconds kLook(20);  // for drives that were woken from outside
  std::unique_lock<std::mutex> lock(mutex);
  while (!stopping) {
    woken = false;
    wanted = fleet.advance(nkr::time::now());
    send_all(lock);
    const Time until = std::min(wanted, nkr::time::now() + kLongestSleep);
    while (!stopping && !woken && nkr::time::now() < std::min(until, wanted)) {
      wake.wait_until(lock, std::min({until, wanted, nkr::time::now() + kLook}));
    }
  }
}

FleetRunner::FleetRunner(Fleet& fleet) : impl_(std::make_unique<Impl>(fleet)) {}

FleetRunner::~FleetRunner() {
  stop();
}

void FleetRunner::when_sent(std::function<void(const Frame&, Time)> action) {
  impl_->sent = std::move(action);
}

nkr_error_t FleetRunner::start(nkr::can::Bus& bus) {
  return impl_->start(bus);
}

void FleetRunner::stop() {
  impl_->stop();
}

nkr_error_t FleetRunner::status() const {
  return impl_->status;
}

Time FleetRunner::began() const {
  return impl_->began;
}

}  // namespace tav::drive
