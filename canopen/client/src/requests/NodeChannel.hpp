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
#include "requests/PortBudget.hpp"
#include "runtime/FifoGate.hpp"
#include "runtime/HeardTimes.hpp"
#include "sdo/Link.hpp"
#include "sdo/Multiplexer.hpp"
#include "sdo/Server.hpp"
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
  bool queued = false;                     ///< its time was over before it was sent: others were at work
  can::Clock::time_point last_answer{};    ///< of the node, to any request; the epoch: it never answered
  can::Clock::time_point waiting_since{};  ///< when it first had to wait; the epoch: it never had to
};

/**
 * The queue of the requests to one node's SDO server: one transfer at a time, in the order in which callers
 * came, on the caller's own thread, from a port that only hears this server. A request for an object to which
 * an answer is owed steps aside until that came or its time is over; the others go on. What a transfer needs
 * to know of itself is in the sdo::Link on its stack.
 *
 * A request's time-out covers its wait here; where an answer about its object is owed, the grace time is
 * added.
 */
class NodeChannel final {
 public:
  /** @param shared  gives a port when the budget is spent */
  NodeChannel(can::Bus& bus, can::Bus& shared, std::uint8_t node, const ClientOptions& options,
              HeardTimes& heard, PortBudget& budget);

  /** `by_block`: the object may be long, so that a block transfer is worth trying. */
  TransferResult upload(const TransferRequest& request, sdo::UploadSink& sink, bool by_block);
  TransferResult download(const TransferRequest& request, const std::uint8_t* bytes, std::size_t size);

  /** The sizes that this server states are wrong. Any thread. */
  void ignore_stated_sizes(bool ignored) { ignores_sizes_ = ignored; }
  /** The node restarted: what is known of its server may not hold any more. Any thread. */
  void node_restarted() { restarted_ = true; }

  /** Ends the requests that are there with NKR_CAN_CANCELLED. True when one was under way: its object. Any
   * thread. */
  bool cancel(sdo::Multiplexer& object);
  /** The same with NKR_CAN_CLOSED, and so end all that come later. */
  bool close(sdo::Multiplexer& object);
  /** Closes the port when no transfer is under way. */
  void give_up_idle_port();

 private:
  using TimePoint = can::Clock::time_point;

  template <class Transfer>
  TransferResult transfer(const TransferRequest& request, const Transfer& run);
  template <class Transfer>
  TransferResult transfer_later(const TransferRequest& request, TimePoint since, HeldRequests::Place& place,
                                const Transfer& run);
  template <class Transfer>
  TransferResult perform(const TransferRequest& request, const can::Deadline& first, TimePoint waiting_since,
                         const Transfer& run);
  TransferResult finish(sdo::Link& link, sdo::Multiplexer object, nkr_error_t code, TimePoint waiting_since);
  [[nodiscard]] TransferResult not_sent(nkr_error_t code, TimePoint waiting_since) const;

  nkr_error_t prepare(const can::Deadline& deadline);
  nkr_error_t open_port();
  std::unique_ptr<can::Port> new_port(can::Bus& bus, nkr_error_t& result);
  void drop_port();
  bool end_requests(sdo::Multiplexer& object);
  [[nodiscard]] bool has_to_wait(sdo::Multiplexer object, TimePoint& until);
  nkr_error_t listen(HeldRequests::Place& place);
  static nkr_error_t await_late_reply(HeldRequests::Place& place, sdo::Multiplexer object, TimePoint until,
                                      can::Frame& late);
  nkr_error_t take_late_reply(const can::Frame& late, sdo::Multiplexer object, unsigned port, TimePoint end);

  can::Bus& bus_;
  can::Bus& shared_;
  PortBudget& budget_;
  const can::Clock::duration late_reply_grace_;
  const std::size_t block_threshold_;
  FifoGate gate_;
  HeldRequests held_;

  std::mutex port_mutex_;  ///< opening against closing; whoever is inside the gate reads port_ without it
  std::unique_ptr<can::Port> port_;
  bool port_is_shared_ = false;
  unsigned ports_opened_ = 0;               ///< so far; of whoever is inside the gate
  std::atomic<bool> port_is_spent_{false};  ///< it was closed to end a transfer
  std::atomic<bool> closed_{false};
  std::atomic<std::uint32_t> under_way_{0};  ///< the object of the transfer inside the gate; 0: none
  std::atomic<unsigned> cancellations_{0};

  std::atomic<bool> ignores_sizes_{false};
  std::atomic<bool> restarted_{false};

  // Of whoever is inside the gate:
  sdo::Server server_;
  const can::FrameHandler drop_;
  TimePoint last_answer_;
};

}  // namespace nkr::canopen

#endif
