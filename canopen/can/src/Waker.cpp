#include "Waker.hpp"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <system_error>

namespace nkr::can {

Waker::Waker() : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (descriptor_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

Waker::~Waker() {
  ::close(descriptor_);
}

void Waker::raise(bool raised) {
  if (raised == raised_) return;
  raised_ = raised;
  std::uint64_t count = 1;
  // Neither can fail: the counter is 0 before it is raised and 1 after.
  if (raised) {
    static_cast<void>(!::write(descriptor_, &count, sizeof count));
  } else {
    static_cast<void>(!::read(descriptor_, &count, sizeof count));
  }
}

int poll_until(pollfd* descriptors, nfds_t count, Clock::time_point deadline) {
  if (deadline == Clock::time_point::max()) return ::ppoll(descriptors, count, nullptr, nullptr);
  const auto left = std::max(deadline - Clock::now(), Clock::duration::zero());
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
  timespec timeout{};
  timeout.tv_sec = static_cast<std::time_t>(seconds.count());
  timeout.tv_nsec = static_cast<long>(std::chrono::nanoseconds(left - seconds).count());
  return ::ppoll(descriptors, count, &timeout, nullptr);
}

}  // namespace nkr::can
