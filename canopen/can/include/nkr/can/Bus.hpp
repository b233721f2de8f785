#ifndef NKR_CAN_BUS_HPP
#define NKR_CAN_BUS_HPP

#include <nkr/error.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <nkr/can/Frame.hpp>
#include <string>
#include <vector>

namespace nkr::can {

using Clock = std::chrono::steady_clock;

/** What a port wants to receive: data and remote frames with (id & mask) == (filter id & mask), 11-bit ids.
 */
struct Filter {
  std::uint32_t id = 0;
  std::uint32_t mask = 0x7FF;
};

/**
 * One member of a bus: sends frames to all other members and receives theirs, in order.
 *
 * Any thread may call any operation. A port receives what its filters let pass (none given: everything); it
 * does not receive what it sent itself.
 */
class Port {
 public:
  virtual ~Port() = default;
  Port() = default;
  Port(const Port&) = delete;
  Port& operator=(const Port&) = delete;

  /**
   * Sends one frame; waits until the deadline at most when the bus cannot take it at once.
   * @return NKR_OK, NKR_CAN_TX_OVERFLOW, NKR_CAN_BUS_OFF, NKR_CAN_INTERFACE_GONE or NKR_CAN_CLOSED
   */
  virtual nkr_error_t send(const Frame& frame, Clock::time_point deadline) = 0;

  /**
   * Waits for one frame until the deadline (a deadline that has passed: takes what is there).
   * @return NKR_OK, NKR_CAN_TIMED_OUT, NKR_CAN_BUS_OFF, NKR_CAN_INTERFACE_GONE or NKR_CAN_CLOSED
   */
  virtual nkr_error_t receive(Frame& frame, Clock::time_point deadline) = 0;

  /** Wakes every waiter; all later calls answer NKR_CAN_CLOSED. */
  virtual void close() = 0;
};

/** A CAN bus: the place where ports are opened. */
class Bus {
 public:
  virtual ~Bus() = default;
  Bus() = default;
  Bus(const Bus&) = delete;
  Bus& operator=(const Bus&) = delete;

  /** Opens a port; null, and the reason in `result`, when the bus gives none. */
  virtual std::unique_ptr<Port> open(const std::vector<Filter>& filters, nkr_error_t& result) = 0;

  /** What people call this bus: "can0", "unix:/run/tav.sock", "virtual". */
  [[nodiscard]] virtual std::string name() const = 0;
};

/**
 * A bus inside one process. Delivery happens on the sender's thread: a frame is in every other port's queue,
 * and every handler has run, when send() returns. Ports keep the bus alive.
 */
class InProcessBus : public Bus {
 public:
  using Handler = std::function<void(const Frame&)>;

  InProcessBus();
  ~InProcessBus() override;

  std::unique_ptr<Port> open(const std::vector<Filter>& filters, nkr_error_t& result) override;
  /**
   * A port whose frames are handed to `handler` on the sender's thread instead of being queued. The handler
   * may send on this or any other port of the bus; it is never entered twice at once by the same thread's own
   * sends. Closing or destroying the port returns only after no handler runs any more (except from inside the
   * handler).
   */
  std::unique_ptr<Port> open(const std::vector<Filter>& filters, Handler handler, nkr_error_t& result);
  [[nodiscard]] std::string name() const override { return "virtual"; }

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace nkr::can

#endif
