#include "pdo/TransmitPDO.hpp"

#include <algorithm>

namespace tav::drive {

TransmitPDO::TransmitPDO(Context& context, std::uint16_t number)
    : context_(context), parameters_(context, PDOParameters::Direction::TRANSMIT, number) {
  parameters_.when_changed([this] { start_over(); });
}

void TransmitPDO::start_over() {
  parameters_.take();
  sent_ = false;
  news_ = false;
  syncs_ = 0;
  allowed_from_ = Time::min();
  timer_ = Time::max();
  if (context_.nmt == NMTState::OPERATIONAL) sample(true);
}

nkr::can::Frame TransmitPDO::frame() {
  nkr::can::Frame frame;
  frame.id = parameters_.identifier();
  for (Object* object : parameters_.objects()) {
    ObjectDictionary::refresh(*object);
    for (const std::uint8_t byte : object->value) frame.data[frame.size++] = byte;
  }
  return frame;
}

void TransmitPDO::send(const nkr::can::Frame& frame) {
  context_.transmit(frame);
  last_ = frame;
  sent_ = true;
  news_ = false;
  syncs_ = 0;
  allowed_from_ = context_.now + parameters_.inhibit_time();
  const Duration timer = parameters_.event_timer();
  timer_ = timer == Duration::zero() ? Time::max() : context_.now + timer;
}

void TransmitPDO::sync() {
  if (!sends() || !parameters_.synchronous()) return;
  const nkr::can::Frame now = frame();
  if (parameters_.transmission_type() == 0) {
    if (!sent_ || now != last_) send(now);
  } else if (++syncs_ >= parameters_.transmission_type()) {
    send(now);
  }
}

bool TransmitPDO::has_news(const nkr::can::Frame& now, bool moving_too) const {
  if (!sent_) return true;
  auto value = now.data.begin();
  auto last = last_.data.begin();
  for (const Object* const object : parameters_.objects()) {
    const auto size = static_cast<std::ptrdiff_t>(object->size);
    if ((moving_too || !object->moves) && !std::equal(value, value + size, last)) return true;
    value += size;
    last += size;
  }
  return false;
}

void TransmitPDO::sample(bool moving_too) {
  if (!event_driven()) return;
  const nkr::can::Frame now = frame();
  if (!has_news(now, moving_too)) return;
  if (context_.now >= allowed_from_) {
    send(now);
  } else {
    news_ = true;
  }
}

Time TransmitPDO::next_due() const {
  if (!event_driven()) return Time::max();
  return std::min(std::max(timer_, allowed_from_), news_ ? allowed_from_ : Time::max());
}

void TransmitPDO::run() {
  if (!event_driven()) return;
  if (news_ && context_.now >= allowed_from_) {
    news_ = false;
    sample(true);
  }
  if (context_.now >= std::max(timer_, allowed_from_)) send(frame());
}

}  // namespace tav::drive
