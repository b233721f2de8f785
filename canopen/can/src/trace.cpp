#include <algorithm>
#include <nkr/can/candump.hpp>
#include <nkr/can/trace.hpp>
#include <ostream>
#include <utility>

namespace nkr::can {
namespace {

using std::chrono::system_clock;

/** Shows what was received and hands it on. */
FrameHandler observing(const std::shared_ptr<const FrameObserver>& observer, const FrameHandler& handler) {
  return [observer, handler](const Frame& frame) {
    (*observer)({system_clock::now(), Direction::RECEIVED, frame});
    handler(frame);
  };
}

class TracingPort : public Port {
 public:
  TracingPort(std::unique_ptr<Port> port, std::shared_ptr<const FrameObserver> observer)
      : port_(std::move(port)), observer_(std::move(observer)) {}

  nkr_error_t send(const Frame& frame, const Deadline& deadline) override {
    (*observer_)({system_clock::now(), Direction::SENT, frame});
    const nkr_error_t result = port_->send(frame, deadline);
    if (result != NKR_OK) (*observer_)({system_clock::now(), Direction::NOT_SENT, frame});
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
          (*observer_)({system_clock::now(), Direction::RECEIVED, frame});
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

}  // namespace

TracingBus::TracingBus(std::shared_ptr<Bus> bus, FrameObserver observer)
    : bus_(std::move(bus)), observer_(std::make_shared<const FrameObserver>(std::move(observer))) {}

std::unique_ptr<Port> TracingBus::open(const std::vector<Filter>& filters, nkr_error_t& result) {
  auto port = bus_->open(filters, result);
  if (!port) return nullptr;
  return std::make_unique<TracingPort>(std::move(port), observer_);
}

std::unique_ptr<Port> TracingBus::open_handler(const std::vector<Filter>& filters, FrameHandler handler,
                                               nkr_error_t& result) {
  auto port = bus_->open_handler(filters, handler ? observing(observer_, handler) : nullptr, result);
  if (!port) return nullptr;
  return std::make_unique<TracingPort>(std::move(port), observer_);
}

FrameHistory::FrameHistory(std::size_t capacity) : ring_(std::max<std::size_t>(capacity, 1)) {}

/** The newest has age 0. */
TracedFrame& FrameHistory::at_age(std::size_t age) {
  return ring_[(next_ + ring_.size() - 1 - age) % ring_.size()];
}

void FrameHistory::record(const TracedFrame& frame) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (frame.direction == Direction::NOT_SENT) {
    for (std::size_t age = 0; age < count_; ++age) {
      TracedFrame& earlier = at_age(age);
      if (earlier.direction != Direction::SENT || earlier.frame != frame.frame) continue;
      earlier.direction = Direction::NOT_SENT;
      return;
    }
  }
  ring_[next_] = frame;
  next_ = next_ + 1 == ring_.size() ? 0 : next_ + 1;
  if (count_ < ring_.size()) ++count_;
}

std::vector<TracedFrame> FrameHistory::frames() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<TracedFrame> frames;
  frames.reserve(count_);
  for (std::size_t i = 0; i < count_; ++i)
    frames.push_back(ring_[(next_ + ring_.size() - count_ + i) % ring_.size()]);
  return frames;
}

void FrameHistory::write(std::ostream& log, std::string_view bus_name) const {
  for (const TracedFrame& traced : frames()) {
    if (traced.direction == Direction::NOT_SENT) continue;
    log << to_string(LogLine{traced.when, std::string(bus_name), traced.frame}) << '\n';
  }
}

}  // namespace nkr::can
