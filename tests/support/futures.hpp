#ifndef TESTS_SUPPORT_FUTURES_HPP
#define TESTS_SUPPORT_FUTURES_HPP

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <nkr/time/Condition.hpp>
#include <nkr/time/Thread.hpp>
#include <optional>
#include <type_traits>
#include <utility>

namespace tests {

/** What std::promise, std::future, std::thread and std::async are, in the time in which the test lives. */
template <class T>
class Outcome {
 public:
  void set(T value) {
    const std::lock_guard<std::mutex> lock(mutex_);
    value_ = std::move(value);
    changed_.notify_all();
  }
  T get() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return value_.has_value(); });
    return *value_;
  }
  std::future_status wait_for(std::chrono::milliseconds wait) {
    std::unique_lock<std::mutex> lock(mutex_);
    const bool came = changed_.wait_for(lock, wait, [this] { return value_.has_value(); });
    return came ? std::future_status::ready : std::future_status::timeout;
  }

 private:
  std::mutex mutex_;
  nkr::time::Condition changed_;
  std::optional<T> value_;
};

class Thread {
 public:
  template <class Body>
  explicit Thread(Body body) {
    EXPECT_TRUE(thread_.start(std::move(body), "test"));
  }
  void join() { thread_.end(); }

 private:
  nkr::time::Thread thread_;
};

/** Waits for its thread at its end, when it has one. */
template <class T>
class Future {
 public:
  explicit Future(std::shared_ptr<Outcome<T>> outcome) : outcome_(std::move(outcome)) {}
  Future(std::shared_ptr<Outcome<T>> outcome, std::unique_ptr<Thread> thread)
      : outcome_(std::move(outcome)), thread_(std::move(thread)) {}
  T get() { return outcome_->get(); }
  std::future_status wait_for(std::chrono::milliseconds wait) { return outcome_->wait_for(wait); }

 private:
  std::shared_ptr<Outcome<T>> outcome_;
  std::unique_ptr<Thread> thread_;
};

template <class T>
class Promise {
 public:
  void set_value(T value) { outcome_->set(std::move(value)); }
  Future<T> get_future() { return Future<T>(outcome_); }

 private:
  std::shared_ptr<Outcome<T>> outcome_ = std::make_shared<Outcome<T>>();
};

/** That something has happened. */
class Signal {
 public:
  void set_value() { promise_.set_value(true); }
  Future<bool> get_future() { return promise_.get_future(); }

 private:
  Promise<bool> promise_;
};

template <class Body>
auto in_background(Body body) {
  using T = std::invoke_result_t<Body>;
  auto outcome = std::make_shared<Outcome<T>>();
  auto thread = std::make_unique<Thread>([outcome, run = std::move(body)] { outcome->set(run()); });
  return Future<T>(outcome, std::move(thread));
}

}  // namespace tests

#endif
