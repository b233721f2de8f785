#ifndef TAV_DRIVE_BUSMODEL_HPP
#define TAV_DRIVE_BUSMODEL_HPP

#include <nkr/export.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <nkr/can/Bus.hpp>
#include <nkr/can/Frame.hpp>
#include <string>
#include <string_view>
#include <tav/drive/Settings.hpp>
#include <vector>

namespace tav::drive {

/** How a frame with an 11-bit identifier lies on the wire (ISO 11898-1). */
struct FrameBits {
  std::uint16_t crc = 0;  ///< its 15 bits
  unsigned stuffed = 0;   ///< bits that were inserted
  unsigned bits = 0;      ///< all of it, with the intermission behind it
};
[[nodiscard]] NKR_EXPORT FrameBits frame_bits(const nkr::can::Frame& frame);

/** How long an adapter keeps a frame, either way. */
struct AdapterLatency {
  std::chrono::microseconds least{0};
  std::chrono::microseconds jitter{0};  ///< up to that more, at random
};
/** Names of what adapter_latency() knows: "ideal", "pcie", "usb-hs", "usb-fs", "slcan". */
[[nodiscard]] NKR_EXPORT std::vector<std::string> adapter_profiles();
/** Takes the latency of a profile. @return false, and nothing happens, for another name */
[[nodiscard]] NKR_EXPORT bool adapter_latency(std::string_view name, AdapterLatency& latency);

/**
 * A CAN bus with a bit rate, in stepped time: frames take their time, the lowest identifier wins, each node
 * has one queue, an error counter and a state, and errors on the wire are repaired by sending again.
 *
 * It is passive as a drive is: frames and time are handed in, frames come out by the nodes' handlers, at the
 * end of a frame. A node's controller tells of its states by error frames, as SocketCAN has them: `error` is
 * set, `id` holds the class, `data` the details and, in the bytes 6 and 7, the counters.
 */
class NKR_EXPORT BusModel {
 public:
  using Handler = std::function<void(const nkr::can::Frame&, Time)>;

  struct Options {
    std::uint32_t bit_rate = 1000000;  ///< in bit/s
    double error_probability = 0;      ///< that a frame is disturbed on the wire
    std::uint64_t seed = 1;
  };
  struct NodeOptions {
    bool fifo = false;              ///< frames wait in order; else the lowest identifier is sent first
    std::size_t queue_length = 64;  ///< frames that wait at most
    AdapterLatency latency;
    std::chrono::milliseconds restart{0};  ///< after bus off; 0: restart() alone
    bool tells_bus_errors = false;         ///< an error frame for each error on the wire, too
  };

  explicit BusModel(const Options& options);
  ~BusModel();
  BusModel(const BusModel&) = delete;
  BusModel& operator=(const BusModel&) = delete;

  /** Adds a node. @return its number, from 0 */
  std::size_t attach(const NodeOptions& options, Handler handler);
  /** Puts a frame into a node's queue. @return NKR_OK, NKR_CAN_TX_OVERFLOW or NKR_CAN_BUS_OFF */
  [[nodiscard]] nkr_error_t send(std::size_t node, const nkr::can::Frame& frame, Time now);
  /** Does everything that is due until then. @return when the next thing is due, Time::max() for nothing */
  Time advance(Time now);
  [[nodiscard]] Time next_due() const;

  /** So many frames from now on are disturbed on the wire. */
  void disturb(std::uint32_t frames);
  /** Lets a node that is bus off begin to recover: 128 times 11 recessive bits. */
  void restart(std::size_t node, Time now);
  [[nodiscard]] nkr::can::BusStatus status(std::size_t node) const;
  /** Bits that were on the wire, with those of errors and intermissions. */
  [[nodiscard]] std::uint64_t bits() const;
  /** Frames that were sent until their end, and that errors destroyed. */
  [[nodiscard]] std::uint64_t frames() const;
  [[nodiscard]] std::uint64_t errors() const;

 private:
  struct NKR_HIDDEN Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tav::drive

#endif
