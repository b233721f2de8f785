#ifndef NKR_CANOPEN_SDO_LINK_HPP
#define NKR_CANOPEN_SDO_LINK_HPP

#include <nkr/error.h>

#include <cstdint>
#include <nkr/can/Bus.hpp>
#include <nkr/can/Frame.hpp>

#include "sdo/Frames.hpp"
#include "sdo/Server.hpp"

namespace nkr::canopen::sdo {

/** How long one transfer may take. */
struct Timing {
  can::Deadline first;         ///< for the answer to the request that opens it
  can::Clock::duration each;   ///< for each answer after that
  can::Clock::duration grace;  ///< for answers that are late
  bool relies_on_sizes;        ///< a server that sends more or less than it stated is aborted
};

/** The way of one transfer's frames to a node's server and back. It lives on the stack of the transfer, as
 * does its timing. */
class Link {
 public:
  Link(can::Port& port, Server& server, const Timing& timing)
      : port_(port), server_(server), timing_(timing), deadline_(timing.first) {}
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

  [[nodiscard]] std::uint8_t node() const { return server_.node(); }
  [[nodiscard]] Server& server() { return server_; }
  [[nodiscard]] const Timing& timing() const { return timing_; }

  /** Sends the request that opens the transfer; its answer names the object. */
  nkr_error_t open(const can::Frame& frame);
  /** Sends within the opened transfer: the answer names no object, so it waits until no such answer is owed
   * to an earlier transfer. The time for the answer starts now. */
  nkr_error_t go_on(const can::Frame& frame);
  /** The next frame of the node's server; NKR_SDO_TIMED_OUT when the time for an answer is over: frames that
   * are none do not prolong it. */
  nkr_error_t receive(can::Frame& frame);
  /** The time for the next answer starts anew: the server sends many frames for one request. */
  void wait_anew();
  /** However often that is: nothing is waited for beyond this time. */
  void limit(can::Clock::time_point end) { limit_ = end; }
  /** The frame ends the transfer from the server's side; what its code stands for. */
  nkr_error_t aborted_with(const can::Frame& frame);
  /** Tells the server that the transfer ends here; nothing waits for it and no failure is told. */
  void abort(const can::Frame& frame);

  /** Waits for a short while by chance, and drops what comes. False when the time for new attempts is over.
   */
  bool pause();
  /** The transfer is made once more, in another way; what the server still sends for this one is dropped.
   * NKR_OK, or why it cannot be. */
  nkr_error_t start_anew();

  /** The wait for the last answer ended without one. */
  [[nodiscard]] bool answer_is_owed() const { return answer_owed_; }
  /** So does that of an earlier attempt, which may have been answered late until then; the epoch: none. */
  [[nodiscard]] can::Clock::time_point earlier_answer_until() const { return earlier_until_; }
  /** The transfer is opened: its answers name no object. */
  [[nodiscard]] bool is_opened() const { return opened_; }
  /** The server ended it. */
  [[nodiscard]] bool is_aborted() const { return aborted_; }
  /** The last frame was the late answer to an earlier request. */
  [[nodiscard]] bool last_was_owed() const { return last_was_owed_; }
  /** When it first had to wait; the epoch: it never had to. */
  [[nodiscard]] can::Clock::time_point waiting_since();

 private:
  nkr_error_t await_nameless_reply();
  nkr_error_t listen_until(can::Clock::time_point end);
  void note_wait();

  can::Port& port_;
  Server& server_;
  const Timing& timing_;
  can::Deadline deadline_;  ///< of the last request's answer
  can::Clock::time_point limit_ = can::Clock::time_point::max();
  can::Clock::time_point waiting_since_;
  can::Clock::time_point attempts_until_;  ///< the epoch: no attempt has failed
  can::Clock::time_point earlier_until_;
  unsigned pauses_ = 0;
  bool answered_ = false;  ///< a frame came since the last request
  bool answer_owed_ = false;
  bool opened_ = false;
  bool last_was_owed_ = false;
  bool aborted_ = false;
};

}  // namespace nkr::canopen::sdo

#endif
