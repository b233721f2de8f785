#ifndef NKR_LOG_REGISTRY_HPP
#define NKR_LOG_REGISTRY_HPP

#include <nkr/log_setup.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "Sink.hpp"

namespace nkr::log {

/** The sinks of the process, and whether messages are built for them. Any thread. */
class Registry {
 public:
  /** The one registry; it outlives every static object. */
  static Registry& instance();

  /** Switched on, and a sink to receive. */
  static bool is_enabled() noexcept { return building_.load(std::memory_order_relaxed); }

  void set_enabled(bool on);
  void set_level(std::uint32_t level);
  nkr_log_sink_t add(std::shared_ptr<Sink> sink);
  bool remove(nkr_log_sink_t number);
  void remove_all();

  /** Gives an encoded message to every sink whose level lets it pass. */
  void deliver(std::uint32_t context, std::uint32_t level, const std::uint8_t* encoded,
               std::size_t size) noexcept;

  /** Waits until every sink has what was logged before. False when the time was over. */
  bool flush(std::chrono::milliseconds timeout) const;

  std::uint64_t dropped() const { return dropped_.load(std::memory_order_relaxed) + Sink::lost_later(); }

 private:
  struct Entry {
    nkr_log_sink_t number;
    std::shared_ptr<Sink> sink;
  };
  using Entries = std::vector<Entry>;

  /** The sinks as they are now; a later change makes a new list. */
  std::shared_ptr<const Entries> entries() const;
  void replace(Entries entries);

  // Apart from the object, and constant-initialised: asking costs one load.
  static std::atomic<bool> building_;

  mutable std::mutex mutex_;
  std::shared_ptr<const Entries> entries_ = std::make_shared<const Entries>();
  bool enabled_ = false;
  nkr_log_sink_t last_number_ = 0;
  std::atomic<std::uint32_t> level_{0};
  std::atomic<std::uint64_t> dropped_{0};

  Registry();
};

}  // namespace nkr::log

#endif
