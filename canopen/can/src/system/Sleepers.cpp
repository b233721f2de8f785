#include "system/Sleepers.hpp"

#include <algorithm>

#include "system/Waker.hpp"

namespace nkr::can {
namespace {

constexpr std::chrono::milliseconds kLookAround{5};

}  // namespace

bool Sleepers::sleep(std::unique_lock<std::mutex>& lock, int descriptor, short events,
                     Clock::time_point until) {
  thread_local Waker waker;
  const bool can_be_woken = waker.open();
  Sleeper sleeper{waker, false, first_};
  first_ = &sleeper;
  lock.unlock();
  pollfd descriptors[] = {{descriptor, events, 0}, {waker.descriptor(), POLLIN, 0}};
  const auto at_most = can_be_woken ? until : std::min(until, Clock::now() + kLookAround);
  const int ready = poll_until(descriptors, 2, at_most);
  lock.lock();
  leave(sleeper);
  waker.raise(false);
  return ready != 0 || sleeper.woken || at_most != until;
}

void Sleepers::leave(const Sleeper& sleeper) {
  Sleeper** link = &first_;
  while (*link != &sleeper) link = &(*link)->next;
  *link = sleeper.next;
}

void Sleepers::wake() {
  for (Sleeper* sleeper = first_; sleeper != nullptr; sleeper = sleeper->next) {
    sleeper->woken = true;
    sleeper->waker.raise(true);
  }
}

}  // namespace nkr::can
