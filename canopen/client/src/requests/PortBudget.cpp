#include "requests/PortBudget.hpp"

#include "requests/NodeChannel.hpp"

namespace nkr::canopen {

bool PortBudget::take() {
  if (++open_ <= kMost) return true;
  const std::lock_guard<std::mutex> lock(mutex_);
  for (std::size_t asked = 0; asked < channels_.size() && is_exceeded(); ++asked) {
    channels_[next_]->give_up_idle_port();
    next_ = next_ + 1 == channels_.size() ? 0 : next_ + 1;
  }
  if (!is_exceeded()) return true;
  --open_;
  return false;
}

}  // namespace nkr::canopen
