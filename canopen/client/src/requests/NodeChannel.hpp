#ifndef NKR_CANOPEN_REQUESTS_NODECHANNEL_HPP
#define NKR_CANOPEN_REQUESTS_NODECHANNEL_HPP

#include <nkr/error.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <nkr/can/Bus.hpp>
#include <nkr/canopen/ClientOptions.hpp>

#include "requests/HeldRequests.hpp"
#include "runtime/FifoGate.hpp"
#include "runtime/HeardTimes.hpp"
#include "sdo/Frames.hpp"
#include "sdo/LateReplies.hpp"
#include "sdo/Link.hpp"
#include "sdo/UploadSink.hpp"

namespace nkr::canopen {

/** What is asked of a channel. */
struct TransferRequest {
  sdo::Multiplexer object;
  std::chrono::milliseconds timeout{};
};

/** How a transfer ended. */
struct TransferResult {
  nkr_error_t code = NKR_OK;
  bool by_node = false;                    ///< the code is that of the node's abort
  can::Clock::time_point last_answer{};    ///< of the node, to any request; the epoch: it never answered
  can::Clock::time_point waiting_since{};  ///< when it first had to wait; the epoch: it never had to
};

/**
 * The SDO channel to one node: one transfer at a time, in the order in which callers came. The caller's own
 * thread sends and takes the answers, from a port that only hears this node's server. A request for an object
 * to which an answer is owed steps aside until that came or its time is over; the others go on.
 */
class NodeChannel final : private sdo::Link {
 public:
  using Duration = std::chrono::milliseconds;

  NodeChannel(can::Bus& bus, std::uint8_t node, const ClientOptions& options, HeardTimes& heard);

  /** `by_block`: the object may be long, so that a block transfer is worth trying. */
  TransferResult upload(const TransferRequest& request, sdo::UploadSink& sink, bool by_block);
  TransferResult download(const TransferRequest& request, const std::uint8_t* bytes, std::size_t size);

  /** The node restarted: what is known of its server may not hold any more. Any thread. */
  void node_restarted() { restarted_ = true; }

  /** Wakes and refuses everybody. */
  void close();

 private:
  template <class Transfer>
  TransferResult transfer(const TransferRequest& request, const Transfer& run);
  template <class Transfer>
  TransferResult transfer_later(const TransferRequest& request, HeldRequests::Place& place,
                                const Transfer& run);
  template <class Transfer>
  TransferResult perform(const TransferRequest& request, can::Clock::time_point waiting_since,
                         const Transfer& run);
  nkr_error_t upload_by_block(sdo::Multiplexer object, sdo::UploadSink& sink);
  nkr_error_t download_by_block(sdo::Multiplexer object, const std::uint8_t* bytes, std::size_t size);
  TransferResult finish(sdo::Multiplexer object, nkr_error_t code);
  nkr_error_t prepare();
  nkr_error_t open_port();
  std::unique_ptr<can::Port> new_port(nkr_error_t& result);
  void drop_what_is_left();
  nkr_error_t listen(HeldRequests::Place& place);
  static nkr_error_t await_late_reply(HeldRequests::Place& place, sdo::Multiplexer object,
                                      can::Clock::time_point until);
  bool is_late_reply_expected(sdo::Multiplexer object, can::Clock::time_point& until);
  void take_late_reply(sdo::Multiplexer object);
  nkr_error_t await_nameless_reply();
  nkr_error_t receive_until(can::Frame& frame, can::Clock::time_point deadline);
  void note(const can::Frame& frame);
  void note_wait();

  [[nodiscard]] std::uint8_t node() const override { return node_; }
  nkr_error_t send(const can::Frame& frame) override;
  nkr_error_t send_within(const can::Frame& frame) override;
  nkr_error_t receive(can::Frame& frame) override;
  void wait_anew() override;
  void send_abort(const can::Frame& frame) override;

  can::Bus& bus_;
  const std::uint8_t node_;
  const Duration late_reply_grace_;
  const std::size_t block_threshold_;
  HeardTimes& heard_;
  FifoGate gate_;
  HeldRequests held_;

  std::mutex port_mutex_;  ///< opening against closing; whoever is inside the gate reads port_ without it
  std::unique_ptr<can::Port> port_;
  bool closed_ = false;

  std::atomic<bool> restarted_{false};

  // Of the transfer that is inside the gate.
  Duration timeout_{};
  can::Deadline deadline_{Duration::zero()};  ///< of the last request's answer
  can::Clock::time_point waiting_since_;
  bool answered_ = false;        ///< a frame came since the last request
  bool answer_owed_ = false;     ///< the wait for the last answer ended without one
  bool knows_no_block_ = false;  ///< the node's server refuses block transfers, or does not answer to them
  sdo::Reply last_reply_ = sdo::Reply::UNKNOWN;
  can::Clock::time_point last_heard_;
  can::Clock::time_point last_answer_;
  sdo::LateReplies late_replies_;
  bool within_ = false;  ///< the transfer is opened: its answers name no object
  /** An answer that names no object may still come until then. */
  can::Clock::time_point nameless_until_;
};

}  // namespace nkr::canopen

#endif
