#include "NewestSet.hpp"

#include <algorithm>

namespace tav::host {

NewestSet::NewestSet(std::size_t units) {
  for (Slot& slot : slots_) slot.set.velocities.resize(units);
}

bool NewestSet::put(const int* velocities, std::uint64_t epoch, nkr::can::Clock::time_point at) {
  for (int i = 0; i < kSlots; ++i) {
    Slot& slot = slots_.at(static_cast<std::size_t>(i));
    if (slot.is_used.exchange(true, std::memory_order_acquire)) continue;
    std::transform(velocities, velocities + slot.set.velocities.size(), slot.set.velocities.begin(),
                   [](int velocity) { return static_cast<std::int16_t>(velocity); });
    slot.set.epoch = epoch;
    slot.set.at = at;
    const int replaced = newest_.exchange(i, std::memory_order_acq_rel);
    if (replaced != kNone) {
      slots_.at(static_cast<std::size_t>(replaced)).is_used.store(false, std::memory_order_release);
    }
    return true;
  }
  return false;
}

bool NewestSet::take(Set& set) {
  const int newest = newest_.exchange(kNone, std::memory_order_acq_rel);
  if (newest == kNone) return false;
  Slot& slot = slots_.at(static_cast<std::size_t>(newest));
  std::copy(slot.set.velocities.begin(), slot.set.velocities.end(), set.velocities.begin());
  set.epoch = slot.set.epoch;
  set.at = slot.set.at;
  slot.is_used.store(false, std::memory_order_release);
  return true;
}

}  // namespace tav::host
