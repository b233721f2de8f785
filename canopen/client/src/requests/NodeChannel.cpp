#include "requests/NodeChannel.hpp"

#include <algorithm>
#include <utility>

#include "runtime/coarse_clock.hpp"
#include "sdo/Download.hpp"
#include "sdo/DownloadByBlock.hpp"
#include "sdo/Upload.hpp"
#include "sdo/UploadByBlock.hpp"

namespace nkr::canopen {

using can::Clock;

namespace {

TransferResult failure(nkr_error_t code, Clock::time_point waiting_since) {
  return {code, false, {}, waiting_since};
}

}  // namespace

NodeChannel::NodeChannel(can::Bus& bus, std::uint8_t node, const ClientOptions& options, HeardTimes& heard)
    : bus_(bus),
      node_(node),
      late_reply_grace_(options.late_reply_grace),
      block_threshold_(options.block_threshold),
      heard_(heard) {}

template <class Transfer>
TransferResult NodeChannel::transfer(const TransferRequest& request, const Transfer& run) {
  HeldRequests::Place place(held_, request.object);
  {
    const GateStay stay(gate_);
    if (stay.result() != NKR_OK) return failure(stay.result(), stay.waiting_since());
    const nkr_error_t prepared = prepare();
    if (prepared != NKR_OK) return failure(prepared, stay.waiting_since());
    Clock::time_point until;
    if (!held_.holds(request.object) && !is_late_reply_expected(request.object, until))
      return perform(request, stay.waiting_since(), run);
    place.join();
  }
  return transfer_later(request, place, run);
}

template <class Transfer>
TransferResult NodeChannel::transfer_later(const TransferRequest& request, HeldRequests::Place& place,
                                           const Transfer& run) {
  const Clock::time_point since = Clock::now();
  nkr_error_t result = place.await_turn(!FifoGate::caller_is_inside());
  if (result == NKR_OK) result = listen(place);
  for (bool came = false; result == NKR_OK;) {
    Clock::time_point until;
    {
      const GateStay stay(gate_);
      result = stay.result();
      if (result == NKR_OK) result = prepare();
      if (result != NKR_OK) break;
      if (came) take_late_reply(request.object);
      if (!is_late_reply_expected(request.object, until)) return perform(request, since, run);
    }
    result = await_late_reply(place, request.object, until);
    came = result == NKR_OK;
    if (result != NKR_CAN_CLOSED) result = NKR_OK;
  }
  return failure(result, since);
}

/** Inside the gate. */
template <class Transfer>
TransferResult NodeChannel::perform(const TransferRequest& request, Clock::time_point waiting_since,
                                    const Transfer& run) {
  timeout_ = request.timeout;
  waiting_since_ = waiting_since;
  deadline_ = can::Deadline(timeout_);
  answer_owed_ = false;
  within_ = false;
  if (restarted_.load(std::memory_order_relaxed) && restarted_.exchange(false)) knows_no_block_ = false;
  last_reply_ = sdo::Reply::UNKNOWN;
  return finish(request.object, run());
}

TransferResult NodeChannel::finish(sdo::Multiplexer object, nkr_error_t code) {
  note_wait();
  TransferResult result{code, false, last_answer_, waiting_since_};
  if (answer_owed_) {
    const Clock::time_point until = Clock::now() + late_reply_grace_;
    late_replies_.expect(object, until);
    if (within_) nameless_until_ = until;
  } else {
    result.by_node = code != NKR_OK && last_reply_ == sdo::Reply::ABORT;
    last_answer_ = last_heard_;
  }
  return result;
}

TransferResult NodeChannel::upload(const TransferRequest& request, sdo::UploadSink& sink, bool by_block) {
  return transfer(request, [&] {
    const bool try_block = by_block && block_threshold_ > 0 && !knows_no_block_;
    return try_block ? upload_by_block(request.object, sink) : sdo::upload(*this, request.object, sink);
  });
}

TransferResult NodeChannel::download(const TransferRequest& request, const std::uint8_t* bytes,
                                     std::size_t size) {
  return transfer(request, [&] {
    const bool try_block = block_threshold_ > 0 && size >= block_threshold_ && !knows_no_block_;
    return try_block ? download_by_block(request.object, bytes, size)
                     : sdo::download(*this, request.object, bytes, size);
  });
}

/** A server that knows no block transfer says so, or does not answer. */
nkr_error_t NodeChannel::upload_by_block(sdo::Multiplexer object, sdo::UploadSink& sink) {
  constexpr std::size_t kMostThreshold = 255;
  const auto threshold = static_cast<std::uint8_t>(std::min(block_threshold_ - 1, kMostThreshold));
  const nkr_error_t result = sdo::block_upload(*this, object, threshold, sink, knows_no_block_);
  if (knows_no_block_) return sdo::upload(*this, object, sink);
  knows_no_block_ = answer_owed_ && !within_;
  return result;
}

/** Refused when it was opened, nothing has been written: only then is it made again, in segments. */
nkr_error_t NodeChannel::download_by_block(sdo::Multiplexer object, const std::uint8_t* bytes,
                                           std::size_t size) {
  const nkr_error_t result = sdo::block_download(*this, object, bytes, size, knows_no_block_);
  if (knows_no_block_) return sdo::download(*this, object, bytes, size);
  knows_no_block_ = answer_owed_ && !within_;
  return result;
}

nkr_error_t NodeChannel::prepare() {
  const nkr_error_t result = open_port();
  if (result == NKR_OK) drop_what_is_left();
  return result;
}

std::unique_ptr<can::Port> NodeChannel::new_port(nkr_error_t& result) {
  result = NKR_CAN_NOT_CONNECTED;
  auto port = bus_.open({{sdo::kReplyId + node_, 0x7FF}}, result);
  if (port) result = NKR_OK;
  return port;
}

nkr_error_t NodeChannel::open_port() {
  if (port_) return NKR_OK;
  nkr_error_t result = NKR_OK;
  auto port = new_port(result);
  const std::lock_guard<std::mutex> lock(port_mutex_);
  if (closed_) return NKR_CAN_CLOSED;
  port_ = std::move(port);
  return result;
}

void NodeChannel::close() {
  gate_.close();
  held_.close();
  const std::lock_guard<std::mutex> lock(port_mutex_);
  closed_ = true;
  if (port_) port_->close();
}

nkr_error_t NodeChannel::receive_until(can::Frame& frame, Clock::time_point deadline) {
  const nkr_error_t result = port_->receive(frame, deadline);
  if (result == NKR_OK) note(frame);
  return result;
}

void NodeChannel::note(const can::Frame& frame) {
  last_heard_ = coarse_now();
  last_reply_ = sdo::reply_kind(frame);
  heard_.heard(node_, last_heard_);
  if (!late_replies_.empty()) late_replies_.arrived(frame);
}

/** Answers that nobody waits for, and what the port still has to tell of the past. */
void NodeChannel::drop_what_is_left() {
  can::Frame frame;
  nkr_error_t result = NKR_OK;
  while (result != NKR_CAN_TIMED_OUT && result != NKR_CAN_CLOSED) {
    result = receive_until(frame, Clock::time_point{});
  }
}

nkr_error_t NodeChannel::listen(HeldRequests::Place& place) {
  nkr_error_t result = NKR_OK;
  auto port = new_port(result);
  return port ? place.listen(std::move(port)) : result;
}

/** Outside the gate: others go on meanwhile. */
nkr_error_t NodeChannel::await_late_reply(HeldRequests::Place& place, sdo::Multiplexer object,
                                          Clock::time_point until) {
  can::Frame frame;
  nkr_error_t result = NKR_OK;
  do {
    result = place.receive(frame, until);
  } while (result == NKR_OK && !sdo::LateReplies::answers(frame, object));
  return result;
}

bool NodeChannel::is_late_reply_expected(sdo::Multiplexer object, Clock::time_point& until) {
  return !late_replies_.empty() && late_replies_.is_expected(object, Clock::now(), until);
}

/** The late answer was seen on another port of the bus: it is on this one, or about to be. */
void NodeChannel::take_late_reply(sdo::Multiplexer object) {
  constexpr std::chrono::milliseconds kAbout{50};
  const Clock::time_point bound = Clock::now() + kAbout;
  can::Frame frame;
  Clock::time_point until;
  while (is_late_reply_expected(object, until) && receive_until(frame, bound) == NKR_OK) continue;
}

/** Another transfer's answer that names no object would be taken for one of this transfer. */
nkr_error_t NodeChannel::await_nameless_reply() {
  can::Frame frame;
  nkr_error_t result = NKR_OK;
  while (result != NKR_CAN_TIMED_OUT) {
    result = receive_until(frame, nameless_until_);
    if (result == NKR_CAN_CLOSED) return result;
  }
  nameless_until_ = {};
  return NKR_OK;
}

nkr_error_t NodeChannel::send_within(const can::Frame& frame) {
  const nkr_error_t result = nameless_until_ == Clock::time_point{} ? NKR_OK : await_nameless_reply();
  within_ = true;
  return result == NKR_OK ? send(frame) : result;
}

nkr_error_t NodeChannel::send(const can::Frame& frame) {
  wait_anew();
  return port_->send(frame, deadline_);
}

/** Frames that are no answer do not prolong the wait. */
nkr_error_t NodeChannel::receive(can::Frame& frame) {
  nkr_error_t result = NKR_CAN_TIMED_OUT;
  if (!answered_ || Clock::now() <= deadline_.time()) result = port_->receive(frame, deadline_);
  if (result == NKR_OK) note(frame);
  answered_ = true;
  if (result == NKR_CAN_TIMED_OUT) result = NKR_SDO_TIMED_OUT;
  answer_owed_ = result != NKR_OK;
  return result;
}

void NodeChannel::wait_anew() {
  note_wait();
  deadline_ = can::Deadline(timeout_);
  answered_ = false;
}

void NodeChannel::note_wait() {
  if (waiting_since_ == Clock::time_point{} && deadline_.is_fixed()) waiting_since_ = deadline_.begin();
}

void NodeChannel::send_abort(const can::Frame& frame) {
  port_->send(frame, Clock::now());
}

}  // namespace nkr::canopen
