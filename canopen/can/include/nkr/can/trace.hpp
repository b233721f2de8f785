#ifndef NKR_CAN_TRACE_HPP
#define NKR_CAN_TRACE_HPP

#include <nkr/export.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <mutex>
#include <nkr/can/Bus.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace nkr::can {

/** What became of a frame at a port. */
enum class Direction {
  SENT,      ///< handed to the bus
  NOT_SENT,  ///< refused by the bus: follows the `SENT` of the same frame
  RECEIVED,
};

/** A frame as a port saw it. */
struct TracedFrame {
  std::chrono::system_clock::time_point
      when;  ///< of reception by the kernel, or before it was handed to the bus
  Direction direction = Direction::SENT;
  Frame frame;
};

/** Sees frames on the thread that sends or receives them; several threads may call at once. */
using FrameObserver = std::function<void(const TracedFrame&)>;

/**
 * A bus that shows every frame of its own ports to an observer, and is otherwise the bus it stands on. A
 * frame is shown before it is sent, so that no answer is seen before its request. A bus that nobody observes
 * is used without this one, at no cost.
 */
class NKR_EXPORT TracingBus : public Bus {
 public:
  TracingBus(std::shared_ptr<Bus> bus, FrameObserver observer);

  std::unique_ptr<Port> open(const std::vector<Filter>& filters, nkr_error_t& result) override;
  std::unique_ptr<Port> open_handler(const std::vector<Filter>& filters, FrameHandler handler,
                                     nkr_error_t& result) override;
  bool set_state(BusState state) override { return bus_->set_state(state); }
  [[nodiscard]] std::string name() const override { return bus_->name(); }

 private:
  const std::shared_ptr<Bus> bus_;
  const std::shared_ptr<const FrameObserver> observer_;
};

/** The last frames, for the time after something went wrong. Any thread may call; recording allocates
 * nothing. */
class NKR_EXPORT FrameHistory {
 public:
  static constexpr std::size_t kDefaultCapacity = 4096;
  explicit FrameHistory(std::size_t capacity = kDefaultCapacity);

  void record(const TracedFrame& frame);
  /** Oldest first; a frame that the bus refused stands once, as not sent. Holds up nobody who records. */
  [[nodiscard]] std::vector<TracedFrame> frames() const;
  /** As a candump log (candump.hpp), without the frames that the bus refused. */
  void write(std::ostream& log, std::string_view bus_name) const;

 private:
  TracedFrame& at_age(std::uint64_t age);
  bool copy_some(std::uint64_t& next, std::uint64_t& end, std::vector<TracedFrame>& frames) const;

  mutable std::mutex mutex_;
  std::vector<TracedFrame> ring_;
  std::size_t next_ = 0;  ///< the place of the next one
  std::uint64_t recorded_ = 0;
};

}  // namespace nkr::can

#endif
