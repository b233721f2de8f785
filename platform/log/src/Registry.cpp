#include "Registry.hpp"

#include <nkr/log.h>

#include <algorithm>
#include <ctime>
#include <utility>

#include "Line.hpp"

namespace nkr::log {
namespace {

std::int64_t now_ns() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<std::int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

}  // namespace

std::atomic<bool> Registry::building_{false};

Registry::Registry() : level_(NKR_LOG_TRACE) {}

Registry& Registry::instance() {
  static Registry& registry = *new Registry;  // never destroyed: destructors of static objects log too
  return registry;
}

std::shared_ptr<const Registry::Entries> Registry::entries() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return entries_;
}

void Registry::replace(Entries entries) {
  entries_ = std::make_shared<const Entries>(std::move(entries));
  building_.store(enabled_ && !entries_->empty(), std::memory_order_relaxed);
}

void Registry::set_enabled(bool on) {
  const std::lock_guard<std::mutex> lock(mutex_);
  enabled_ = on;
  building_.store(enabled_ && !entries_->empty(), std::memory_order_relaxed);
}

void Registry::set_level(std::uint32_t level) {
  level_.store(level, std::memory_order_relaxed);
}

nkr_log_sink_t Registry::add(std::shared_ptr<Sink> sink) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Entries changed = *entries_;
  changed.push_back({last_number_ + 1, std::move(sink)});
  replace(std::move(changed));
  return ++last_number_;
}

bool Registry::remove(nkr_log_sink_t number) {
  std::shared_ptr<Sink> removed;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    Entries changed = *entries_;
    const auto found = std::find_if(changed.begin(), changed.end(),
                                    [number](const Entry& entry) { return entry.number == number; });
    if (found == changed.end()) return false;
    removed = found->sink;
    changed.erase(found);
    replace(std::move(changed));
  }
  removed->close();
  return true;
}

void Registry::remove_all() {
  std::shared_ptr<const Entries> removed;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    removed = entries_;
    replace({});
  }
  for (const Entry& entry : *removed) entry.sink->close();
}

bool Registry::flush(std::chrono::milliseconds timeout) const {
  const auto until = std::chrono::steady_clock::now() + timeout;
  bool all = true;
  for (const Entry& entry : *entries()) all = entry.sink->flush(until) && all;
  return all;
}

void Registry::deliver(std::uint32_t context, std::uint32_t level, const std::uint8_t* encoded,
                       std::size_t size) noexcept {
  if (level > level_.load(std::memory_order_relaxed) || Sink::inside_a_sink()) return;
  const std::shared_ptr<const Entries> receivers = entries();
  const auto wants = [level](const Entry& entry) { return level <= entry.sink->level(); };
  if (std::none_of(receivers->begin(), receivers->end(), wants)) return;

  Line text;
  append_fields(text, encoded, size);
  const nkr_log_record_t record{now_ns(), context, level, text.c_str(), encoded, size};
  for (const Entry& entry : *receivers) {
    if (wants(entry) && !entry.sink->take(record)) dropped_.fetch_add(1, std::memory_order_relaxed);
  }
}

}  // namespace nkr::log
