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
  [[nodiscard]] Link& link() { return link_; }

  /** Opens the transfer; the reply is of one of the kinds and names the object. */
  nkr_error_t initiate(const can::Frame& request, std::initializer_list<Reply> wanted, can::Frame& reply);
  /** Sends within the opened transfer; the reply is of the kind `wanted` (these name no object). */
  nkr_error_t continue_with(const can::Frame& request, Reply wanted, can::Frame& reply);
  /** Sends within the opened transfer; the answer is taken by `next_segment`, or there is none. */
  nkr_error_t send(const can::Frame& request) { return link_.go_on(request); }
  /** The next segment of a block upload. A segment may have any content: nothing is dropped but aborts of
   * other transfers. A time-out does not end the transfer: lost segments can be asked for. */
  nkr_error_t next_segment(can::Frame& segment);
  /** Whether an upload failed as those do that another client of the same server disturbs: the server has one
   * transfer at a time, whoever opened it. */
  [[nodiscard]] bool is_disturbed(nkr_error_t result) const;
  /** Ends the transfer from this side: sends an abort with the code and returns it. */
  nkr_error_t fail(nkr_error_t code);

 private:
  nkr_error_t next(can::Frame& frame);
  [[nodiscard]] bool is_stray(const can::Frame& frame) const;
  bool is_taken_over(const can::Frame& frame);

  Link& link_;
  const Multiplexer object_;
  can::Frame opening_;         ///< the reply that opened the transfer: it may arrive doubled
  can::Frame last_segment_;    ///< may arrive doubled, too: the next one has another toggle bit
  bool foreign_seen_ = false;  ///< answers to another client came
  bool taken_over_ = false;    ///< the server has opened another client's transfer since
};

}  // namespace nkr::canopen::sdo

#endif
