#include "Sink.hpp"

#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <exception>
#include <thread>
#include <utility>

namespace nkr::log {
namespace {

using Clock = std::chrono::steady_clock;

/** A sink that takes longer for a message is slow. */
constexpr std::chrono::milliseconds kPatience{10};
constexpr std::size_t kWaitingBound = 1024;
/** How long a sink that is closed still gets what waits for it. */
constexpr std::chrono::seconds kFarewell{1};

// The sink whose write() the calling thread is in.
thread_local const Sink* current_sink = nullptr;

std::atomic<std::uint64_t> lost_later_count{0};

/** A thread starts with the mask of its creator: it takes no signals but its own faults. */
class BlockedSignals {
 public:
  BlockedSignals() {
    sigset_t all;
    sigfillset(&all);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGPROF})
      sigdelset(&all, fault);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace

bool Sink::inside_a_sink() {
  return current_sink != nullptr;
}

std::uint64_t Sink::lost_later() {
  return lost_later_count;
}

bool Sink::take(const nkr_log_record_t& record) noexcept {
  Lock lock(mutex_);
  const auto is_free = [this] { return !busy_ || slow_ || closed_; };
  if (!is_free() && !changed_.wait_for(lock, kPatience, is_free)) slow_ = true;
  if (closed_) return false;
  if (!slow_ && !serving_) return call(lock, record);
  return keep(record) && (serving_ || start_thread());
}

bool Sink::call(Lock& lock, const nkr_log_record_t& record) {
  busy_ = true;
  lock.unlock();
  const Clock::time_point begin = Clock::now();
  current_sink = this;
  bool taken = false;
  try {
    taken = write(record);
  } catch (...) {  // lost, and counted by the caller
    taken = false;
  }
  current_sink = nullptr;
  const bool was_slow = Clock::now() - begin > kPatience;
  lock.lock();
  slow_ = was_slow;
  busy_ = false;
  changed_.notify_all();
  return taken;
}

const nkr_log_record_t& Sink::Waiting::complete() {
  record.text = text.c_str();
  record.encoded = encoded.data();
  return record;
}

bool Sink::keep(const nkr_log_record_t& record) {
  if (waiting_.size() == kWaitingBound) return false;
  try {
    waiting_.push_back({record, record.text, {record.encoded, record.encoded + record.encoded_size}});
  } catch (const std::exception&) {
    return false;
  }
  return true;
}

/** It ends when nothing waits any more. Without one, the next message is tried by whoever logs it. */
bool Sink::start_thread() {
  const BlockedSignals blocked;
  try {
    std::thread([sink = shared_from_this()] { sink->serve(); }).detach();
    serving_ = true;
  } catch (const std::exception&) {
    waiting_.clear();
    slow_ = false;
  }
  return serving_;
}

void Sink::serve() {
  Lock lock(mutex_);
  while (!waiting_.empty()) {
    changed_.wait(lock, [this] { return !busy_; });
    if (waiting_.empty()) break;  // it was closed meanwhile
    Waiting next = std::move(waiting_.front());
    waiting_.pop_front();
    if (!call(lock, next.complete())) ++lost_later_count;
  }
  serving_ = false;
  changed_.notify_all();
}

bool Sink::flush(Clock::time_point until) noexcept {
  if (inside_a_sink()) return false;
  Lock lock(mutex_);
  return changed_.wait_until(lock, until, [this] { return waiting_.empty() && !busy_; });
}

void Sink::close() noexcept {
  Lock lock(mutex_);
  closed_ = true;
  const bool is_inside = current_sink == this;
  if (!is_inside) changed_.wait_for(lock, kFarewell, [this] { return waiting_.empty(); });
  lost_later_count += waiting_.size();
  waiting_.clear();
  if (!is_inside) changed_.wait(lock, [this] { return !busy_ && !serving_; });
}

}  // namespace nkr::log
