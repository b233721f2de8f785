#ifndef NKR_CANOPEN_SDO_EXCHANGE_HPP
#define NKR_CANOPEN_SDO_EXCHANGE_HPP

#include <nkr/error.h>

#include <initializer_list>
#include <nkr/can/Frame.hpp>

#include "sdo/Frames.hpp"
#include "sdo/Link.hpp"
#include "sdo/Multiplexer.hpp"

namespace nkr::canopen::sdo {

/**
 * The requests and answers of one transfer: sends, and picks the frame that answers out of what arrives.
 * Frames that belong to other transfers (another object, a doubled or late answer) are dropped. Whatever ends
 * the transfer early on this side is told to the server with an abort.
 */
class Exchange {
 public:
  Exchange(Link& link, Multiplexer object) : link_(link), object_(object) {}

  [[nodiscard]] std::uint8_t node() const { return link_.node(); }
  [[nodiscard]] Multiplexer object() const { return object_; }

  /** Opens the transfer; the reply is of one of the kinds and names the object. */
  nkr_error_t initiate(const can::Frame& request, std::initializer_list<Reply> wanted, can::Frame& reply);
  /** Sends within the opened transfer; the reply is of the kind `wanted` (these name no object). */
  nkr_error_t continue_with(const can::Frame& request, Reply wanted, can::Frame& reply);
  /** Sends within the opened transfer; the answer is taken by `next_segment`. */
  nkr_error_t send(const can::Frame& request) { return link_.send_within(request); }
  /** The next segment of a block upload. A segment may have any content: nothing is dropped but aborts of
   * other transfers. A time-out does not end the transfer: lost segments can be asked for. */
  nkr_error_t next_segment(can::Frame& segment);
  /** Ends the transfer from this side: sends an abort with the code and returns it. */
  nkr_error_t fail(nkr_error_t code);

 private:
  nkr_error_t next(can::Frame& frame);
  [[nodiscard]] bool is_stray(const can::Frame& frame) const;

  Link& link_;
  const Multiplexer object_;
  can::Frame opening_;       ///< the reply that opened the transfer: it may arrive doubled
  can::Frame last_segment_;  ///< may arrive doubled, too: the next one has another toggle bit
};

}  // namespace nkr::canopen::sdo

#endif
