#ifndef NKR_CANOPEN_TIMEOUTS_HPP
#define NKR_CANOPEN_TIMEOUTS_HPP

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>

#include "sdo/Object.hpp"

namespace nkr::canopen {

/** How long a request waits: the calling thread's scope, else the object's time, else the node's, else the
 * client's. */
class Timeouts {
 public:
  using Duration = std::chrono::milliseconds;

  Timeouts(Duration client, Duration store) : client_(client), store_(store) {}

  void set_client(Duration timeout);
  void set_node(std::uint8_t node, Duration timeout);
  void set_object(sdo::Object object, Duration timeout);

  [[nodiscard]] Duration of(std::uint8_t node, sdo::Object object) const;

 private:
  mutable std::mutex mutex_;
  Duration client_;
  const Duration store_;
  std::array<Duration, 128> nodes_{};  ///< 0: none of its own
  std::map<sdo::Object, Duration> objects_;
};

}  // namespace nkr::canopen

#endif
