#include "sdo/LateReplies.hpp"

#include <algorithm>

#include "sdo/Frames.hpp"

namespace nkr::canopen::sdo {

void LateReplies::remove(std::size_t position) {
  std::move(entries_.begin() + static_cast<std::ptrdiff_t>(position) + 1,
            entries_.begin() + static_cast<std::ptrdiff_t>(count_),
            entries_.begin() + static_cast<std::ptrdiff_t>(position));
  --count_;
}

void LateReplies::expect(Multiplexer object, can::Clock::time_point until) {
  for (std::size_t i = 0; i < count_; ++i) {
    if (entries_[i].object == object) {
      remove(i);
      break;
    }
  }
  if (count_ == kCapacity) remove(0);
  entries_[count_++] = {object, until};
}

/** Segments name no object. */
bool LateReplies::answers(const can::Frame& frame, Multiplexer object) {
  const Reply kind = reply_kind(frame);
  return kind != Reply::UPLOAD_SEGMENT && kind != Reply::DOWNLOAD_SEGMENT && names_object(frame, object);
}

bool LateReplies::arrived(const can::Frame& frame) {
  for (std::size_t i = 0; i < count_; ++i) {
    if (!answers(frame, entries_[i].object)) continue;
    remove(i);
    return true;
  }
  return false;
}

bool LateReplies::holds_up(Multiplexer object, can::Clock::time_point now, can::Clock::time_point& until) {
  for (std::size_t i = 0; i < count_;) {
    if (entries_[i].until <= now) {
      remove(i);
      continue;
    }
    if (entries_[i].object == object) {
      until = entries_[i].until;
      return true;
    }
    ++i;
  }
  if (count_ < kCapacity) return false;
  until = entries_[0].until;
  return true;
}

}  // namespace nkr::canopen::sdo
