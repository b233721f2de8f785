#include "system/Waker.hpp"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <limits>

namespace nkr::can {

bool Waker::open() {
  if (!descriptor_) descriptor_ = Descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  return static_cast<bool>(descriptor_);
}

void Waker::raise(bool raised) {
  if (raised == raised_ || !descriptor_) return;
  raised_ = raised;
  std::uint64_t count = 1;
  // Neither can fail: the counter is 0 before it is raised and 1 after.
  if (raised) {
    static_cast<void>(!::write(descriptor(), &count, sizeof count));
  } else {
    static_cast<void>(!::read(descriptor(), &count, sizeof count));
  }
}

int poll_until(pollfd* descriptors, nfds_t count, Clock::time_point deadline) {
  if (deadline == Clock::time_point::max()) return ::ppoll(descriptors, count, nullptr, nullptr);
  const Clock::time_point now = Clock::now();
  const auto left = deadline > now ? deadline - now : Clock::duration::zero();
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
  timespec timeout{};
  // Where time_t has 32 bits a longer wait would be one that is over.
  timeout.tv_sec = static_cast<std::time_t>(
      std::min<std::int64_t>(seconds.count(), std::numeric_limits<std::time_t>::max()));
  timeout.tv_nsec = static_cast<long>(std::chrono::nanoseconds(left - seconds).count());
  return ::ppoll(descriptors, count, &timeout, nullptr);
}

}  // namespace nkr::can
