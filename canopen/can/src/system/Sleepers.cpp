#include "system/Sleepers.hpp"

#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <utility>

#include "system/Waker.hpp"

namespace nkr::can {
namespace {

constexpr std::chrono::milliseconds kLookAround{5};

/** Wakers that nobody sleeps with at this moment: as many descriptors as threads sleep at once, and a few. */
class Wakers {
 public:
  static Wakers& all() {
    static Wakers* const kept = std::make_unique<Wakers>().release();  // threads may outlive statics
    return *kept;
  }

  /** Null without memory. */
  std::unique_ptr<Waker> take() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      for (std::unique_ptr<Waker>& idle : idle_) {
        if (idle) return std::move(idle);
      }
    }
    return std::unique_ptr<Waker>(new (std::nothrow) Waker);
  }
  void give_back(std::unique_ptr<Waker> waker) {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (std::unique_ptr<Waker>& idle : idle_) {
      if (idle || !waker) continue;
      idle = std::move(waker);
      return;
    }
  }

 private:
  static constexpr std::size_t kKept = 8;
  std::mutex mutex_;
  std::array<std::unique_ptr<Waker>, kKept> idle_;
};

}  // namespace

bool Sleepers::sleep(std::unique_lock<std::mutex>& lock, int descriptor, short events,
                     Clock::time_point until) {
  std::unique_ptr<Waker> own = Wakers::all().take();
  Waker none;
  Waker& waker = own ? *own : none;
  const bool can_be_woken = own && waker.open();
  Sleeper sleeper{waker, false, first_};
  first_ = &sleeper;
  lock.unlock();
  pollfd descriptors[] = {{descriptor, events, 0}, {waker.descriptor(), POLLIN, 0}};
  const auto at_most = can_be_woken ? until : std::min(until, Clock::now() + kLookAround);
  const int ready = poll_until(descriptors, 2, at_most);
  lock.lock();
  leave(sleeper);
  waker.raise(false);
  Wakers::all().give_back(std::move(own));
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
