#include "network/BusConnection.hpp"

#include <algorithm>
#include <utility>

namespace tav::drive {
namespace {

using nkr::can::BusState;
using nkr::can::Frame;

// The server's command specifiers, in the upper three bits of a reply (CiA 301, 7.2.4.3).
constexpr std::uint8_t kUpload = 2;
constexpr std::uint8_t kDownload = 3;
constexpr std::uint8_t kBlockDownload = 5;
constexpr std::uint8_t kBlockUpload = 6;

constexpr std::uint8_t kExpedited = 0x02;
constexpr std::uint8_t kToggle = 0x10;

std::uint8_t specifier(const Frame& reply) {
  return static_cast<std::uint8_t>(reply.data[0] >> 5);
}

bool is_block(const Frame& reply) {
  return specifier(reply) == kBlockDownload || specifier(reply) == kBlockUpload;
}

void name_the_object_behind(Frame& reply) {
  if (++reply.data[1] == 0) ++reply.data[2];
}

/** One more than the number of bytes that are unused says that there is one byte less, and so on. */
void misstate_size(Frame& reply) {
  constexpr std::uint8_t kCutFrame = 4;
  const bool upload = specifier(reply) == kUpload;
  if (upload && (reply.data[0] & kExpedited) != 0) {
    const bool has_unused = (reply.data[0] & 0x0CU) != 0;
    reply.data[0] = static_cast<std::uint8_t>(has_unused ? reply.data[0] - 4U : reply.data[0] + 4U);
  } else if (upload || specifier(reply) == kBlockUpload) {
    ++reply.data[4];
  } else {
    reply.size = kCutFrame;
  }
}

}  // namespace

BusConnection::BusConnection(Context& context, Effects effects)
    : context_(context),
      effects_(std::move(effects)),
      turnaround_(context.settings.timing.seed, "turnaround") {}

void BusConnection::reset(Reset /*kind*/) {
  awaits_reply_ = false;
  fault_ = {};
  resets_on_request_ = false;
}

void BusConnection::disturb(const Access& access, const ReplyFault& fault) {
  access_ = access;
  fault_ = fault;
  awaits_reply_ = true;
  resets_on_request_ = false;
}

void BusConnection::silence(Duration duration) {
  silent_until_ = std::max(silent_until_, context_.now + duration);
}

void BusConnection::cut(BusState state, Duration duration) {
  const BusState before = std::exchange(state_, state);
  back_at_ = duration == Duration::zero() ? Time::max() : context_.now + duration;
  context_.on_bus = false;
  effects_.bus_state(state);
  if (state == BusState::BUS_OFF && before != state) effects_.lost();
}

void BusConnection::restore() {
  back_at_ = Time::max();
  const BusState before = std::exchange(state_, BusState::ERROR_ACTIVE);
  if (before == state_) return;
  context_.on_bus = true;
  effects_.bus_state(state_);
  if (before == BusState::BUS_OFF) effects_.returned();
}

bool BusConnection::accepts(const Frame& frame) {
  if (!context_.on_bus) return false;
  if (!resets_on_request_ || frame.id != access_.request_id) return true;
  resets_on_request_ = false;
  effects_.reset();
  return false;
}

void BusConnection::send(const Frame& frame, Duration delay) {
  if (delay > Duration::zero()) {
    // Replies stay in order.
    last_reply_ = std::max(last_reply_, context_.now + delay);
    late_.push_back({frame, last_reply_, false, false});
    return;
  }
  if (!context_.pass) return put_on_bus(frame);
  const Passage passage = context_.pass(frame);
  for (int copy = 0; copy < passage.copies; ++copy) {
    if (passage.delay > Duration::zero()) {
      late_.push_back({passage.frame, context_.now + passage.delay, true, false});
    } else {
      put_on_bus(passage.frame);
    }
  }
}

void BusConnection::put_on_bus(const Frame& frame) {
  if (context_.on_bus && context_.now >= silent_until_) effects_.transmit(frame);
}

void BusConnection::receive_from_bus(const Frame& frame) {
  if (!context_.on_bus) return;
  if (!context_.pass) return take_from_bus(frame);
  const Passage passage = context_.pass(frame);
  for (int copy = 0; copy < passage.copies; ++copy) {
    if (passage.delay > Duration::zero()) {
      late_.push_back({passage.frame, context_.now + passage.delay, true, true});
    } else {
      take_from_bus(passage.frame);
    }
  }
}

void BusConnection::take_from_bus(const Frame& frame) {
  if (accepts(frame)) effects_.received(frame);
}

void BusConnection::reply(const Frame& frame) {
  const Timing& timing = context_.settings.timing;
  Duration delay = timing.turnaround;
  if (timing.turnaround_jitter.count() > 0) {
    delay += turnaround_.up_to(2 * timing.turnaround_jitter) - timing.turnaround_jitter;
  }
  const Duration work = std::exchange(context_.work, Duration::zero());
  delay = std::max(delay, Duration::zero()) + work;
  transmit(frame, delay);
  if (work.count() > 0 && timing.silent_while_storing) silence(delay);
}

void BusConnection::transmit(const Frame& frame, Duration delay) {
  if ((awaits_reply_ || fault_.wrong_toggle) && frame.id == access_.reply_id) {
    send_reply(frame, delay);
  } else {
    send(frame, delay);
  }
}

/** Whether more exchanges of the transfer follow this first reply. */
bool BusConnection::goes_on(const Frame& reply) const {
  if (specifier(reply) == kUpload) return (reply.data[0] & kExpedited) == 0;
  return is_block(reply) || (specifier(reply) == kDownload && !access_.single);
}

/** The fault's reset in mid-transfer: now, when there is nothing more of it, else with the next request. */
bool BusConnection::resets(const Frame& reply) {
  if (!std::exchange(fault_.reset_amid, false)) return false;
  resets_on_request_ = goes_on(reply);
  if (!resets_on_request_) effects_.reset();
  return !resets_on_request_;
}

void BusConnection::send_reply(Frame reply, Duration delay) {
  constexpr std::uint8_t kAbort = 4;
  const bool first = std::exchange(awaits_reply_, false);
  if (fault_.wrong_toggle && (!first || !goes_on(reply)) && specifier(reply) != kAbort) {
    fault_.wrong_toggle = false;
    reply.data[0] ^= kToggle;
  }
  if (!first) return send(reply, delay);
  if (is_block(reply)) fault_.wrong_toggle = false;  // a block transfer has no toggle bit
  if (resets(reply)) return;
  const ReplyFault fault = fault_;
  if (fault.wrong_index) name_the_object_behind(reply);
  if (fault.wrong_size) misstate_size(reply);
  if (fault.lost) return;
  for (int copies = fault.twice ? 2 : 1; copies > 0; --copies) {
    if (fault.late == Duration::zero()) {
      send(reply, delay);
    } else {
      late_.push_back({reply, context_.now + delay + fault.late, false, false});
    }
  }
}

Time BusConnection::next_due() const {
  Time due = back_at_;
  for (const LateFrame& late : late_) due = std::min(due, late.due);
  return due;
}

void BusConnection::run() {
  if (back_at_ <= context_.now) restore();
  const auto waits = [this](const LateFrame& late) { return late.due > context_.now; };
  const auto first = std::stable_partition(late_.begin(), late_.end(), waits);
  const std::vector<LateFrame> due(first, late_.end());
  late_.erase(first, late_.end());
  for (const LateFrame& late : due) {
    if (late.incoming) {
      take_from_bus(late.frame);
    } else if (late.passed) {
      put_on_bus(late.frame);
    } else {
      send(late.frame);
    }
  }
}

}  // namespace tav::drive
