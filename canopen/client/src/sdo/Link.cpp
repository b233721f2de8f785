#include "sdo/Link.hpp"

#include <unistd.h>

#include <algorithm>
#include <nkr/time/clock.hpp>
#include <random>

namespace nkr::canopen::sdo {

using can::Clock;

namespace {

/** Other in every process and thread: two that collide shall not collide again. */
std::minstd_rand& chance() {
  thread_local std::minstd_rand random(static_cast<std::uint32_t>(time::now().time_since_epoch().count()) ^
                                       static_cast<std::uint32_t>(::getpid()) << 16);
  return random;
}

}  // namespace

nkr_error_t Link::open(const can::Frame& frame) {
  answered_ = aborted_ = false;
  return port_.send(frame, deadline_);
}

nkr_error_t Link::go_on(const can::Frame& frame) {
  const nkr_error_t result = server_.nameless_until == Clock::time_point{} ? NKR_OK : await_nameless_reply();
  opened_ = true;
  if (result != NKR_OK) return result;
  wait_anew();
  return port_.send(frame, deadline_);
}

nkr_error_t Link::receive(can::Frame& frame) {
  nkr_error_t result = NKR_CAN_TIMED_OUT;
  if (!answered_ || time::now() <= deadline_.time()) result = port_.receive(frame, deadline_);
  if (result == NKR_OK) last_was_owed_ = server_.arrived(frame);
  answered_ = true;
  if (result == NKR_CAN_TIMED_OUT) result = NKR_SDO_TIMED_OUT;
  answer_owed_ = result != NKR_OK;
  return result;
}

void Link::wait_anew() {
  note_wait();
  answered_ = false;
  if (limit_ == Clock::time_point::max()) {
    deadline_ = can::Deadline(timing_.each);
  } else {
    deadline_ = std::min(can::time_after(time::now(), timing_.each), limit_);
  }
}

nkr_error_t Link::aborted_with(const can::Frame& frame) {
  aborted_ = true;
  return abort_result(frame);
}

void Link::abort(const can::Frame& frame) {
  static_cast<void>(port_.send(frame, can::Deadline::passed()));
}

nkr_error_t Link::listen_until(Clock::time_point end) {
  can::Frame frame;
  nkr_error_t result = NKR_OK;
  while (result != NKR_CAN_TIMED_OUT && time::now() < end) {
    result = port_.receive(frame, end);
    if (result == NKR_OK) server_.arrived(frame);
    if (result == NKR_CAN_CLOSED) return result;
  }
  return NKR_OK;
}

/** Another transfer's answer that names no object would be taken for one of this transfer. */
nkr_error_t Link::await_nameless_reply() {
  constexpr std::chrono::seconds kMost{2};
  const Clock::time_point end = can::time_after(can::time_after(time::now(), timing_.each), kMost);
  const nkr_error_t result = listen_until(std::min(server_.nameless_until, end));
  if (result != NKR_OK) return result;
  if (end < server_.nameless_until) return NKR_SDO_TIMED_OUT;
  server_.nameless_until = {};
  return NKR_OK;
}

bool Link::pause() {
  constexpr unsigned kFirstMost = 8;
  constexpr unsigned kMost = 128;
  const Clock::time_point now = time::now();
  if (attempts_until_ == Clock::time_point{}) attempts_until_ = can::time_after(now, timing_.each);
  const unsigned most = std::min(kFirstMost << std::min(pauses_++, 4U), kMost);
  std::uniform_int_distribution<unsigned> milliseconds(1, most);
  const Clock::time_point end = now + std::chrono::milliseconds(milliseconds(chance()));
  if (end >= attempts_until_ || listen_until(end) != NKR_OK) return false;
  deadline_ = can::Deadline(timing_.each);
  opened_ = answer_owed_ = false;
  return true;
}

nkr_error_t Link::start_anew() {
  note_wait();
  const Clock::time_point until = can::time_after(time::now(), timing_.grace);
  if (answer_owed_) earlier_until_ = until;
  if (opened_ && !aborted_) {  // it may still send segments
    const nkr_error_t result = listen_until(std::min(until, can::time_after(time::now(), timing_.each)));
    if (result != NKR_OK) return result;
  }
  limit_ = Clock::time_point::max();
  deadline_ = can::Deadline(timing_.each);
  opened_ = answer_owed_ = false;
  return NKR_OK;
}

Clock::time_point Link::waiting_since() {
  note_wait();
  return waiting_since_;
}

void Link::note_wait() {
  if (waiting_since_ == Clock::time_point{} && deadline_.is_fixed()) waiting_since_ = deadline_.begin();
}

}  // namespace nkr::canopen::sdo
