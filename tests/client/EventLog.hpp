#ifndef TESTS_CLIENT_EVENTLOG_HPP
#define TESTS_CLIENT_EVENTLOG_HPP

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <nkr/canopen/Client.hpp>
#include <nkr/time/Condition.hpp>
#include <vector>

namespace tests::client {

/** What a client told, in order. */
class EventLog {
 public:
  using Event = nkr::canopen::Event;
  using Kind = Event::Kind;

  explicit EventLog(nkr::canopen::Client& client) : client_(client) {
    subscription_ = client.subscribe([this](const Event& event) {
      const std::lock_guard<std::mutex> lock(mutex_);
      seen_.push_back(event);
      changed_.notify_all();
    });
  }
  ~EventLog() { client_.unsubscribe(subscription_); }
  EventLog(const EventLog&) = delete;
  EventLog& operator=(const EventLog&) = delete;

  /** The nth event of that kind; the test fails when it does not come. */
  Event wait_for(Kind kind, std::size_t nth = 1) {
    std::unique_lock<std::mutex> lock(mutex_);
    const bool came =
        changed_.wait_for(lock, std::chrono::seconds(20), [&] { return find(kind, nth) != nullptr; });
    EXPECT_TRUE(came) << to_string(kind);
    return came ? *find(kind, nth) : Event();
  }
  std::size_t count(Kind kind) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<std::size_t>(
        std::count_if(seen_.begin(), seen_.end(), [&](const Event& event) { return event.kind == kind; }));
  }
  std::vector<Kind> kinds() {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<Kind> kinds;
    for (const Event& event : seen_) kinds.push_back(event.kind);
    return kinds;
  }
  void forget() {
    const std::lock_guard<std::mutex> lock(mutex_);
    seen_.clear();
  }

 private:
  const Event* find(Kind kind, std::size_t nth) const {
    for (const Event& event : seen_) {
      if (event.kind == kind && --nth == 0) return &event;
    }
    return nullptr;
  }

  nkr::canopen::Client& client_;
  int subscription_ = 0;
  std::mutex mutex_;
  nkr::time::Condition changed_;
  std::vector<Event> seen_;
};

}  // namespace tests::client

#endif
