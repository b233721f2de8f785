#ifndef NKR_CANOPEN_REQUESTS_TIMEOUTS_HPP
#define NKR_CANOPEN_REQUESTS_TIMEOUTS_HPP

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>

#include "sdo/Multiplexer.hpp"

namespace nkr::canopen {

/** How long a request waits: the calling thread's scope, else the object's time, else the node's, else the
 * client's. */
class Timeouts {
 public:
  using Duration = std::chrono::milliseconds;

  Timeouts(Duration client, Duration store) : client_(client.count()), store_(store) {}

  void set_client(Duration timeout);
  void set_node(std::uint8_t node, Duration timeout);
  void set_object(sdo::Multiplexer object, Duration timeout);

  [[nodiscard]] Duration of(std::uint8_t node, sdo::Multiplexer object) const;

 private:
  using Ticks = Duration::rep;
  [[nodiscard]] Duration of_object(sdo::Multiplexer object) const;

  std::atomic<Ticks> client_;
  const Duration store_;
  std::array<std::atomic<Ticks>, 128> nodes_{};  ///< 0: none of its own
  std::atomic<bool> has_objects_{false};         ///< spares every request the lock
  mutable std::mutex mutex_;
  std::map<sdo::Multiplexer, Duration> objects_;
};

}  // namespace nkr::canopen

#endif
