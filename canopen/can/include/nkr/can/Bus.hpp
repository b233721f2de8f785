#ifndef NKR_CAN_BUS_HPP
#define NKR_CAN_BUS_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <nkr/can/Frame.hpp>
#include <string>
#include <vector>

namespace nkr::can {

using Clock = std::chrono::steady_clock;

/** The end of a wait that begins now. It is fixed when it is first asked for: what is there at once costs no
 * look at the clock. */
class NKR_EXPORT Deadline {
 public:
  explicit Deadline(Clock::duration wait) : wait_(wait) {}
  Clock::time_point time() {
    if (!is_fixed()) time_ = Clock::now() + wait_;
    return time_;
  }
  [[nodiscard]] bool is_fixed() const { return time_ != Clock::time_point{}; }
  /** When the wait began; only when it is fixed. */
  [[nodiscard]] Clock::time_point begin() const { return time_ - wait_; }

 private:
  Clock::duration wait_;
  Clock::time_point time_;
};

/**
 * What a port wants to receive: data and remote frames with (id & mask) == (filter id & mask), 11-bit ids.
 * Frames with 29-bit identifiers and error frames reach ports without filters alone.
 */
struct Filter {
  std::uint32_t id = 0;
  std::uint32_t mask = 0x7FF;
};

/** Whether one of the filters lets the frame pass; no filters let everything pass. */
[[nodiscard]] NKR_EXPORT bool passes(const std::vector<Filter>& filters, const Frame& frame);

/** The fault confinement state of the CAN controller (ISO 11898-1), or that there is no controller to ask. */
enum class BusState { error_active, error_warning, error_passive, bus_off, interface_gone };

/** The state as people say it: "error active", "bus off", "interface gone" ... */
[[nodiscard]] NKR_EXPORT const char* to_string(BusState state);

/** What a port knows of its bus. */
struct BusStatus {
  BusState state = BusState::error_active;
  std::uint8_t tx_errors = 0;  ///< transmit error counter of the controller, as last reported
  std::uint8_t rx_errors = 0;  ///< receive error counter of the controller, as last reported
  std::uint64_t unacknowledged =
      0;                       ///< frames that no other node acknowledged: nobody there, or another bit rate
  std::uint64_t restarts = 0;  ///< returns from bus off
  std::uint64_t dropped = 0;   ///< frames that this port lost because nobody received them in time
};

/**
 * One member of a bus: sends frames to all other members and receives theirs, in order.
 *
 * Any thread may call any operation. A port receives what its filters let pass (none given: everything); it
 * does not receive what it sent itself.
 */
class NKR_EXPORT Port {
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
   *
   * Bus off and a lost interface are told once each, after the frames that came before; later calls wait for
   * the bus's return as on a silent bus, so that a loop around receive never spins. `status()` tells whether
   * it lasts.
   * @return NKR_OK, NKR_CAN_TIMED_OUT, NKR_CAN_BUS_OFF, NKR_CAN_INTERFACE_GONE or NKR_CAN_CLOSED
   */
  virtual nkr_error_t receive(Frame& frame, Clock::time_point deadline) = 0;

  /** Like receive; `when` is the time of reception: the kernel's where there is one, else now. */
  virtual nkr_error_t receive_stamped(Frame& frame, Clock::time_point deadline,
                                      std::chrono::system_clock::time_point& when);

  /** Like send; the deadline is looked at only when the bus cannot take the frame at once. */
  virtual nkr_error_t send_within(const Frame& frame, Deadline& deadline);
  /** Like receive, and receive_stamped where `when` is not null; the deadline is looked at only to wait. */
  virtual nkr_error_t receive_within(Frame& frame, Deadline& deadline,
                                     std::chrono::system_clock::time_point* when);

  /** The state of the bus and what this port lost, without waiting. */
  [[nodiscard]] virtual BusStatus status() const { return {}; }

  /** Wakes every waiter; all later calls answer NKR_CAN_CLOSED. */
  virtual void close() = 0;
};

/** A CAN bus: the place where ports are opened. */
class NKR_EXPORT Bus {
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
 * and every handler has run, when send() returns; send() never waits. Queues get the frame before handlers.
 * A port keeps up to 16,384 frames; what comes after is dropped and counted. Ports keep the bus alive.
 */
class NKR_EXPORT InProcessBus : public Bus {
 public:
  using Handler = std::function<void(const Frame&)>;

  InProcessBus();
  ~InProcessBus() override;

  std::unique_ptr<Port> open(const std::vector<Filter>& filters, nkr_error_t& result) override;

  /**
   * A port whose frames are handed to `handler` on the sender's thread instead of being queued.
   *
   * The handler may send on this or any other port of the bus, and may run on several threads at once when
   * several send; it may run before this call returns. A frame that its own sends bring back to it is handed
   * over when it has returned, on the same thread: it is never inside itself. Closing or destroying the port
   * returns only when the handler runs no more; from inside the handler it returns at once.
   */
  std::unique_ptr<Port> open(const std::vector<Filter>& filters, Handler handler, nkr_error_t& result);

  [[nodiscard]] std::string name() const override { return "virtual"; }

  /**
   * Puts the bus into a state, to try out what a program does then. In bus_off and interface_gone every send
   * is refused with that code and every queue port is told; any other state lets frames through again.
   */
  void set_state(BusState state);

 private:
  struct NKR_HIDDEN State;
  class NKR_HIDDEN MemberPort;
  std::shared_ptr<State> state_;
};

}  // namespace nkr::can

#endif
