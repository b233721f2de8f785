#include "LateReplies.hpp"

#include <algorithm>

#include "Frames.hpp"

namespace nkr::canopen::sdo {

void LateReplies::remove(std::size_t position) {
  std::move(entries_.begin() + static_cast<std::ptrdiff_t>(position) + 1,
            entries_.begin() + static_cast<std::ptrdiff_t>(count_),
            entries_.begin() + static_cast<std::ptrdiff_t>(position));
  --count_;
}

void LateReplies::expect(Object object, can::Clock::time_point until) {
  for (std::size_t i = 0; i < count_; ++i) {
    if (entries_[i].object == object) {
      remove(i);
      break;
    }
  }
  if (count_ == kCapacity) remove(0);
  entries_[count_++] = {object, until};
}

void LateReplies::arrived(const can::Frame& frame) {
  const Reply kind = reply_kind(frame);
  if (kind == Reply::upload_segment || kind == Reply::download_segment) return;
  for (std::size_t i = 0; i < count_; ++i) {
    if (names_object(frame, entries_[i].object)) return remove(i);
  }
}

bool LateReplies::is_expected(Object object, can::Clock::time_point now,
                              can::Clock::time_point& until) const {
  for (std::size_t i = 0; i < count_; ++i) {
    if (entries_[i].object != object || entries_[i].until <= now) continue;
    until = entries_[i].until;
    return true;
  }
  return false;
}

}  // namespace nkr::canopen::sdo
