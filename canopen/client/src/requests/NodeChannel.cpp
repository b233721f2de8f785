#include "requests/NodeChannel.hpp"

#include <algorithm>
#include <nkr/time/clock.hpp>
#include <utility>

#include "sdo/ObjectTransfer.hpp"

namespace nkr::canopen {

using can::Clock;

NodeChannel::NodeChannel(can::Bus& bus, can::Bus& shared, std::uint8_t node, const ClientOptions& options,
                         HeardTimes& heard, PortBudget& budget)
    : bus_(bus),
      shared_(shared),
      budget_(budget),
      late_reply_grace_(can::saturated(options.late_reply_grace)),
      block_threshold_(options.block_threshold),
      server_(node, heard),
      drop_([this](const can::Frame& frame) { server_.arrived(frame); }) {
  budget.join(*this);
}

TransferResult NodeChannel::upload(const TransferRequest& request, sdo::UploadSink& sink, bool by_block) {
  return transfer(request, [&](sdo::Link& link) {
    return sdo::read_object(link, request.object, sink, by_block ? block_threshold_ : 0);
  });
}

TransferResult NodeChannel::download(const TransferRequest& request, const std::uint8_t* bytes,
                                     std::size_t size) {
  return transfer(request, [&](sdo::Link& link) {
    return sdo::write_object(link, request.object, bytes, size, block_threshold_);
  });
}

template <class Transfer>
TransferResult NodeChannel::transfer(const TransferRequest& request, const Transfer& run) {
  const unsigned cancellations = cancellations_.load();
  const can::Deadline deadline(request.timeout);
  HeldRequests::Place place(held_, request.object);
  TimePoint since;
  {
    const GateStay stay(gate_, deadline);
    since = stay.waiting_since();
    if (stay.result() != NKR_OK) return not_sent(stay.result(), since);
    if (cancellations != cancellations_.load()) return not_sent(NKR_CAN_CANCELLED, since);
    const nkr_error_t prepared = prepare(deadline);
    if (prepared != NKR_OK) return not_sent(prepared, since);
    TimePoint until;
    if (!held_.holds(request.object) && !has_to_wait(request.object, until))
      return perform(request, deadline, since, run);
    place.join();
    if (cancellations != cancellations_.load()) return not_sent(NKR_CAN_CANCELLED, since);
  }
  return transfer_later(request, since == TimePoint{} ? time::now() : since, place, run);
}

template <class Transfer>
TransferResult NodeChannel::transfer_later(const TransferRequest& request, TimePoint since,
                                           HeldRequests::Place& place, const Transfer& run) {
  const TimePoint end = can::time_after(can::time_after(since, request.timeout), late_reply_grace_);
  nkr_error_t result = place.await_turn(!FifoGate::caller_is_inside(), end);
  if (result == NKR_OK) result = listen(place);
  can::Frame late;
  unsigned port = 0;
  while (result == NKR_OK) {
    TimePoint until;
    {
      const GateStay stay(gate_, end);
      result = stay.result();
      if (result == NKR_OK) result = prepare(end);
      if (result == NKR_OK && late.size > 0) result = take_late_reply(late, request.object, port, end);
      if (result != NKR_OK) break;
      port = ports_opened_;
      if (!has_to_wait(request.object, until))
        return perform(request, std::min(can::time_after(time::now(), request.timeout), end), since, run);
    }
    result = await_late_reply(place, request.object, until, late);
  }
  return not_sent(result, since);
}

/** Inside the gate. */
template <class Transfer>
TransferResult NodeChannel::perform(const TransferRequest& request, const can::Deadline& first,
                                    TimePoint waiting_since, const Transfer& run) {
  under_way_.store(request.object.address(), std::memory_order_relaxed);
  if (restarted_.load(std::memory_order_relaxed) && restarted_.exchange(false)) {
    server_.knows_no_block = false;
    server_.spoiled_blocks = 0;
  }
  const sdo::Timing timing{first, can::saturated(request.timeout), late_reply_grace_,
                           !ignores_sizes_.load(std::memory_order_relaxed)};
  sdo::Link link(*port_, server_, timing);
  const nkr_error_t code = run(link);
  return finish(link, request.object, code, waiting_since);
}

TransferResult NodeChannel::finish(sdo::Link& link, sdo::Multiplexer object, nkr_error_t code,
                                   TimePoint waiting_since) {
  under_way_.store(0, std::memory_order_relaxed);
  TransferResult result;
  result.code = code;
  result.last_answer = last_answer_;
  result.waiting_since = waiting_since == TimePoint{} ? link.waiting_since() : waiting_since;
  if (link.answer_is_owed()) {
    const TimePoint until = can::time_after(time::now(), late_reply_grace_);
    server_.late_replies.expect(object, until);
    if (link.is_opened()) server_.nameless_until = until;
  } else {
    if (link.earlier_answer_until() != TimePoint{})
      server_.late_replies.expect(object, link.earlier_answer_until());
    result.by_node = code != NKR_OK && link.is_aborted();
    last_answer_ = server_.last_heard();
  }
  if (code != NKR_OK && port_is_spent_.load()) result.code = closed_ ? NKR_CAN_CLOSED : NKR_CAN_CANCELLED;
  if (port_is_shared_) drop_port();
  return result;
}

TransferResult NodeChannel::not_sent(nkr_error_t code, TimePoint waiting_since) const {
  TransferResult result;
  result.queued = code == NKR_CAN_TIMED_OUT;
  result.code = result.queued ? NKR_SDO_TIMED_OUT : code;
  if (code == NKR_CAN_CLOSED || code == NKR_CAN_CANCELLED)
    result.code = closed_ ? NKR_CAN_CLOSED : NKR_CAN_CANCELLED;
  result.waiting_since = waiting_since;
  return result;
}

/** Answers that nobody waits for, and what the port still has to tell of the past, are gone afterwards. */
nkr_error_t NodeChannel::prepare(const can::Deadline& deadline) {
  nkr_error_t result = open_port();
  if (result == NKR_OK) result = port_->drain(drop_, deadline);
  return result == NKR_CAN_TIMED_OUT ? NKR_SDO_TIMED_OUT : result;
}

std::unique_ptr<can::Port> NodeChannel::new_port(can::Bus& bus, nkr_error_t& result) {
  result = NKR_CAN_NOT_CONNECTED;
  auto port = bus.open({{sdo::kReplyId + server_.node(), 0x7FF}}, result);
  if (port) {
    result = NKR_OK;
  } else if (result == NKR_OK) {
    result = NKR_CAN_NOT_CONNECTED;
  }
  return port;
}

nkr_error_t NodeChannel::open_port() {
  if (port_ && !port_is_spent_.load(std::memory_order_relaxed)) return NKR_OK;
  if (closed_) return NKR_CAN_CLOSED;
  drop_port();
  const bool is_shared = !budget_.take();
  nkr_error_t result = NKR_OK;
  auto port = new_port(is_shared ? shared_ : bus_, result);
  const std::lock_guard<std::mutex> lock(port_mutex_);
  if (closed_) result = NKR_CAN_CLOSED;
  if (result == NKR_OK) {
    port_ = std::move(port);
    port_is_shared_ = is_shared;
    ++ports_opened_;
  } else if (!is_shared) {
    budget_.give_back();
  }
  return result;
}

void NodeChannel::drop_port() {
  std::unique_ptr<can::Port> dropped;  // ends without the lock
  const std::lock_guard<std::mutex> lock(port_mutex_);
  if (!port_) return;
  dropped = std::move(port_);
  port_is_spent_ = closed_.load();
  if (!std::exchange(port_is_shared_, false)) budget_.give_back();
}

void NodeChannel::give_up_idle_port() {
  if (!gate_.try_enter()) return;
  drop_port();
  gate_.leave();
}

bool NodeChannel::end_requests(sdo::Multiplexer& object) {
  ++cancellations_;
  held_.cancel();
  if (!gate_.is_entered()) return false;
  const std::lock_guard<std::mutex> lock(port_mutex_);
  if (!port_) return false;
  const std::uint32_t address = under_way_.load();  // before the transfer learns of its end
  port_is_spent_ = true;
  port_->close();
  object = sdo::Multiplexer::of_address(address);
  return address != 0;
}

bool NodeChannel::cancel(sdo::Multiplexer& object) {
  return end_requests(object);
}

bool NodeChannel::close(sdo::Multiplexer& object) {
  {
    const std::lock_guard<std::mutex> lock(port_mutex_);
    closed_ = true;
  }
  const bool was_under_way = end_requests(object);
  gate_.close();
  held_.close();
  const std::lock_guard<std::mutex> lock(port_mutex_);
  port_is_spent_ = true;
  if (port_) port_->close();
  return was_under_way;
}

bool NodeChannel::has_to_wait(sdo::Multiplexer object, TimePoint& until) {
  return !server_.late_replies.empty() && server_.late_replies.holds_up(object, time::now(), until);
}

nkr_error_t NodeChannel::listen(HeldRequests::Place& place) {
  nkr_error_t result = NKR_OK;
  auto port = new_port(bus_, result);
  return port ? place.listen(std::move(port)) : result;
}

/** Outside the gate: others go on meanwhile. The answer that is seen here comes to the channel's own port,
 * too.
 */
nkr_error_t NodeChannel::await_late_reply(HeldRequests::Place& place, sdo::Multiplexer object,
                                          TimePoint until, can::Frame& late) {
  can::Frame frame;
  nkr_error_t result = NKR_OK;
  while (result == NKR_OK && time::now() < until) {
    result = place.receive(frame, until);
    if (result != NKR_OK || !sdo::LateReplies::answers(frame, object)) continue;
    late = frame;
    return NKR_OK;
  }
  return result == NKR_CAN_CLOSED ? result : NKR_OK;
}

/**
 * Inside the gate. A bus hands a frame to one port after the other: the answer that another port has received
 * may still be on its way to the channel's own, and would be taken there for that of the next request. One
 * that does not come at all was lost there, or came before the port was opened.
 * @param port the number of the channel's port while the answer came
 */
nkr_error_t NodeChannel::take_late_reply(const can::Frame& late, sdo::Multiplexer object, unsigned port,
                                         TimePoint end) {
  constexpr std::chrono::seconds kLongestDelivery{1};
  const TimePoint last = std::min(can::time_after(time::now(), kLongestDelivery), end);
  TimePoint until;
  can::Frame frame;
  while (has_to_wait(object, until)) {
    const nkr_error_t result =
        port == ports_opened_ ? port_->receive(frame, can::Deadline(last)) : NKR_CAN_TIMED_OUT;
    if (result == NKR_CAN_CLOSED) return result;
    server_.arrived(result == NKR_OK ? frame : late);
    if (result == NKR_CAN_TIMED_OUT) break;
  }
  return NKR_OK;
}

}  // namespace nkr::canopen
