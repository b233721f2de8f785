#include <algorithm>
#include <limits>
#include <nkr/can/candump.hpp>
#include <nkr/can/trace.hpp>
#include <nkr/time/clock.hpp>
#include <ostream>
#include <utility>

#include "system/without_exceptions.hpp"

namespace nkr::can {
namespace {

using std::chrono::system_clock;

/** Shows what was received and hands it on. */
FrameHandler observing(const std::shared_ptr<const FrameObserver>& observer, const FrameHandler& handler) {
  return [observer, handler](const Frame& frame) {
    (*observer)({time::calendar_now(), Direction::RECEIVED, frame});
    handler(frame);
  };
}

class TracingPort : public Port {
 public:
  TracingPort(std::unique_ptr<Port> port, std::shared_ptr<const FrameObserver> observer)
      : port_(std::move(port)), observer_(std::move(observer)) {}

  nkr_error_t send(const Frame& frame, const Deadline& deadline) override {
    (*observer_)({time::calendar_now(), Direction::SENT, frame});
    const nkr_error_t result = port_->send(frame, deadline);
    if (result != NKR_OK) (*observer_)({time::calendar_now(), Direction::NOT_SENT, frame});
    return result;
  }

  nkr_error_t receive(Frame& frame, const Deadline& deadline, system_clock::time_point* when) override {
    system_clock::time_point stamp;
    const nkr_error_t result = port_->receive(frame, deadline, &stamp);
    if (result == NKR_OK) (*observer_)({stamp, Direction::RECEIVED, frame});
    if (when != nullptr) *when = stamp;
    return result;
  }

  nkr_error_t drain(const FrameHandler& taken, const Deadline& deadline) override {
    return port_->drain(
        [this, &taken](const Frame& frame) {
          (*observer_)({time::calendar_now(), Direction::RECEIVED, frame});
          taken(frame);
        },
        deadline);
  }

  [[nodiscard]] BusStatus status() const override { return port_->status(); }
  void close() override { port_->close(); }

 private:
  const std::unique_ptr<Port> port_;
  const std::shared_ptr<const FrameObserver> observer_;
};

std::unique_ptr<Port> traced(std::unique_ptr<Port> port, const std::shared_ptr<const FrameObserver>& observer,
                             nkr_error_t& result) {
  if (!port) return nullptr;
  return without_exceptions(result, [&]() -> std::unique_ptr<Port> {
    return std::make_unique<TracingPort>(std::move(port), observer);
  });
}

}  // namespace

TracingBus::TracingBus(std::shared_ptr<Bus> bus, FrameObserver observer)
    : bus_(std::move(bus)), observer_(std::make_shared<const FrameObserver>(std::move(observer))) {}

std::unique_ptr<Port> TracingBus::open(const std::vector<Filter>& filters, nkr_error_t& result) {
  return traced(bus_->open(filters, result), observer_, result);
}

std::unique_ptr<Port> TracingBus::open_handler(const std::vector<Filter>& filters, FrameHandler handler,
                                               nkr_error_t& result) {
  result = NKR_ERROR;
  if (!handler) return nullptr;
  auto port = without_exceptions(
      result, [&] { return bus_->open_handler(filters, observing(observer_, handler), result); });
  return traced(std::move(port), observer_, result);
}

FrameHistory::FrameHistory(std::size_t capacity) : ring_(std::max<std::size_t>(capacity, 1)) {}

/** The newest has age 0. */
TracedFrame& FrameHistory::at_age(std::uint64_t age) {
  return ring_[(recorded_ - 1 - age) % ring_.size()];
}

void FrameHistory::record(const TracedFrame& frame) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (frame.direction == Direction::NOT_SENT) {
    const std::uint64_t kept = std::min<std::uint64_t>(recorded_, ring_.size());
    for (std::uint64_t age = 0; age < kept; ++age) {
      TracedFrame& earlier = at_age(age);
      if (earlier.direction != Direction::SENT || earlier.frame != frame.frame) continue;
      earlier.direction = Direction::NOT_SENT;
      return;
    }
  }
  ring_[next_] = frame;
  next_ = next_ + 1 == ring_.size() ? 0 : next_ + 1;
  ++recorded_;
}

std::vector<TracedFrame> FrameHistory::frames() const {
  std::vector<TracedFrame> frames;
  frames.reserve(ring_.size());
  std::uint64_t next = 0;
  std::uint64_t end = std::numeric_limits<std::uint64_t>::max();
  while (copy_some(next, end, frames)) continue;
  return frames;
}

/** A few at a time: whoever sends meanwhile waits for that alone. False when there are no more before `end`.
 */
bool FrameHistory::copy_some(std::uint64_t& next, std::uint64_t& end,
                             std::vector<TracedFrame>& frames) const {
  constexpr std::uint64_t kAtOnce = 64;
  const std::lock_guard<std::mutex> lock(mutex_);
  end = std::min(end, recorded_);
  const std::uint64_t oldest = recorded_ - std::min<std::uint64_t>(recorded_, ring_.size());
  next = std::max(next, oldest);
  for (std::uint64_t i = 0; i < kAtOnce && next < end; ++i, ++next)
    frames.push_back(ring_[next % ring_.size()]);
  return next < end;
}

void FrameHistory::write(std::ostream& log, std::string_view bus_name) const {
  for (const TracedFrame& traced : frames()) {
    if (traced.direction == Direction::NOT_SENT) continue;
    log << to_string(LogLine{traced.when, std::string(bus_name), traced.frame}) << '\n';
  }
}

}  // namespace nkr::can
