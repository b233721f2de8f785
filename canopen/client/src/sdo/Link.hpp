#ifndef NKR_CANOPEN_SDO_LINK_HPP
#define NKR_CANOPEN_SDO_LINK_HPP

#include <nkr/error.h>

#include <cstdint>
#include <nkr/can/Frame.hpp>

namespace nkr::canopen::sdo {

/** The way of one transfer's frames to a node's SDO server and back. */
class Link {
 public:
  virtual ~Link() = default;
  Link() = default;
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

  [[nodiscard]] virtual std::uint8_t node() const = 0;

  /** Sends a request; the time for its answer starts now. */
  virtual nkr_error_t send(const can::Frame& frame) = 0;
  /** Sends within an opened transfer: the answer names no object, so it waits until no such answer is owed to
   * an earlier transfer. */
  virtual nkr_error_t send_within(const can::Frame& frame) = 0;
  /** The next frame of the node's server; NKR_SDO_TIMED_OUT when the last request's time is over. */
  virtual nkr_error_t receive(can::Frame& frame) = 0;
  /** The time for the next answer starts anew: the server sends many frames for one request. */
  virtual void wait_anew() = 0;
  /** Tells the server that the transfer ends here; nothing waits for it and no failure is told. */
  virtual void send_abort(const can::Frame& frame) = 0;
};

}  // namespace nkr::canopen::sdo

#endif
