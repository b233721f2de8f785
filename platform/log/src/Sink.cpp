#include "Sink.hpp"

#include <chrono>

namespace nkr::log {
namespace {

constexpr std::chrono::milliseconds kPatience{100};

// The sink whose write() the calling thread is in.
thread_local const Sink* current_sink = nullptr;

}  // namespace

bool Sink::inside_a_sink() {
  return current_sink != nullptr;
}

bool Sink::enter() {
  std::unique_lock<std::mutex> lock(mutex_);
  if (busy_ && stuck_) return false;
  const bool free = left_.wait_for(lock, kPatience, [this] { return !busy_; });
  if (!free) stuck_ = true;
  if (!free || closed_) return false;
  busy_ = true;
  return true;
}

void Sink::leave() {
  const std::lock_guard<std::mutex> lock(mutex_);
  busy_ = false;
  stuck_ = false;
  left_.notify_all();
}

bool Sink::take(const nkr_log_record_t& record) noexcept {
  if (!enter()) return false;
  current_sink = this;
  bool taken = false;
  try {
    taken = write(record);
  } catch (...) {  // lost, and counted by the caller
    taken = false;
  }
  current_sink = nullptr;
  leave();
  return taken;
}

void Sink::close() noexcept {
  std::unique_lock<std::mutex> lock(mutex_);
  closed_ = true;
  if (current_sink != this) left_.wait(lock, [this] { return !busy_; });
}

}  // namespace nkr::log
