#include "InterruptWatch.hpp"

#include <chrono>
#include <tav/host/Interrupt.hpp>
#include <utility>

namespace tav::host {

namespace {

/** An end of the span is noticed within that time, and so is the destructor. */
constexpr std::chrono::milliseconds kLook{20};
/** A request may begin just after one was cancelled: they are repeated. */
constexpr std::chrono::milliseconds kUntilNext{2};

}  // namespace

void InterruptWatch::watch(const Interrupt* interrupt, std::shared_ptr<nkr::canopen::Client> client) {
  interrupt_ = interrupt;
  client_ = std::move(client);
}

InterruptWatch::~InterruptWatch() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
  }
  changed_.notify_all();
  thread_.end();
}

InterruptWatch::Span::Span(InterruptWatch& watch, std::uint8_t node, bool allowed)
    : watch_(watch), before_([&] {
        const std::lock_guard<std::mutex> lock(watch.mutex_);
        return watch.allowed_;
      }()) {
  if (watch_.interrupt_ == nullptr) return;
  const bool asked_before = !before_ && watch_.interrupt_->requested();
  const std::lock_guard<std::mutex> lock(watch_.mutex_);
  watch_.node_ = node;
  watch_.allowed_ = allowed && !asked_before;
  if (!watch_.allowed_) return;
  if (!watch_.thread_.is_started())
    static_cast<void>(watch_.thread_.start([&watch] { watch.run(); }, "tav-interrupt"));
  watch_.changed_.notify_all();
}

InterruptWatch::Span::~Span() {
  const std::lock_guard<std::mutex> lock(watch_.mutex_);
  watch_.allowed_ = before_;
}

/** Cancels with the lock held: not after the end of a span. */
void InterruptWatch::run() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!closed_) {
    if (!allowed_) {
      changed_.wait(lock);
      continue;
    }
    lock.unlock();
    const bool asked = !interrupt_->wait_for(kLook);
    lock.lock();
    if (!asked || !allowed_) continue;
    client_->cancelRequests(node_);
    changed_.wait_for(lock, kUntilNext);
  }
}

}  // namespace tav::host
