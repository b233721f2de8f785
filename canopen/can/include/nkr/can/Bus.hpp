#ifndef NKR_CAN_BUS_HPP
#define NKR_CAN_BUS_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <nkr/can/Deadline.hpp>
#include <nkr/can/Frame.hpp>
#include <string>
#include <vector>

namespace nkr::can {

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
enum class BusState { ERROR_ACTIVE, ERROR_WARNING, ERROR_PASSIVE, BUS_OFF, INTERFACE_GONE };

/** The state as people say it: "error active", "bus off", "interface gone" ... */
[[nodiscard]] NKR_EXPORT const char* to_string(BusState state);

/** What a port knows of its bus. */
struct BusStatus {
  BusState state = BusState::ERROR_ACTIVE;
  std::uint8_t tx_errors = 0;  ///< transmit error counter of the controller, as last reported
  std::uint8_t rx_errors = 0;  ///< receive error counter of the controller, as last reported
  std::uint64_t unacknowledged =
      0;                       ///< frames that no other node acknowledged: nobody there, or another bit rate
  std::uint64_t restarts = 0;  ///< returns from bus off
  std::uint64_t dropped = 0;   ///< frames that this port lost because nobody received them in time
};

/** Takes a frame. Must not throw: what it throws is caught and lost. */
using FrameHandler = std::function<void(const Frame&)>;

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
  NKR_NODISCARD virtual nkr_error_t send(const Frame& frame, const Deadline& deadline) = 0;

  /**
   * Waits for one frame until the deadline (one that has passed: takes what is there).
   *
   * Bus off and a lost interface are told once each, after the frames that came before; later calls wait for
   * the bus's return as on a silent bus, so that a loop around receive never spins. `status()` tells whether
   * it lasts.
   * @param when not null: the time of reception, the kernel's where there is one, else now
   * @return NKR_OK, NKR_CAN_TIMED_OUT, NKR_CAN_BUS_OFF, NKR_CAN_INTERFACE_GONE or NKR_CAN_CLOSED
   */
  NKR_NODISCARD virtual nkr_error_t receive(Frame& frame, const Deadline& deadline,
                                            std::chrono::system_clock::time_point* when = nullptr) = 0;

  /**
   * Takes the frames that were on their way to this port and hands them to `taken`, oldest first: no member
   * of the bus had received before this call what receive() answers with afterwards. What there is to be told
   * of the bus's past is taken, too. The deadline is for buses that keep frames outside of this process.
   * @return NKR_OK, NKR_CAN_TIMED_OUT: there may be more, or NKR_CAN_CLOSED
   */
  NKR_NODISCARD virtual nkr_error_t drain(const FrameHandler& taken, const Deadline& deadline);

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

  /**
   * Opens a port; null, and the reason in `result`, when the bus gives none: NKR_CAN_NO_INTERFACE,
   * NKR_CAN_INTERFACE_GONE, NKR_CAN_PERMISSION or NKR_CAN_NO_RESOURCES (no descriptor, thread or memory
   * left).
   */
  [[nodiscard]] virtual std::unique_ptr<Port> open(const std::vector<Filter>& filters,
                                                   nkr_error_t& result) = 0;

  /**
   * Opens a port whose frames are handed to `handler`; its receive() hears of its end alone.
   *
   * The handler runs on a thread of the port's own, unless the bus says otherwise, and perhaps before this
   * call returns. It may send on this or any other port. Closing or destroying the port returns only when the
   * handler runs no more; from inside the handler it returns at once.
   * @param result why the port is null: as of open, and NKR_ERROR for an empty handler
   */
  [[nodiscard]] virtual std::unique_ptr<Port> open_handler(const std::vector<Filter>& filters,
                                                           FrameHandler handler, nkr_error_t& result);

  /**
   * Puts the bus into a state, to try out what a program does then.
   * @return false, and nothing happens: the state of this bus is not the program's to decide
   */
  virtual bool set_state(BusState state);

  /** What people call this bus: "can0", "unix:/run/tav.sock", "virtual". */
  [[nodiscard]] virtual std::string name() const = 0;
};

}  // namespace nkr::can

#endif
