#ifndef NKR_CANOPEN_NMTMONITOR_HPP
#define NKR_CANOPEN_NMTMONITOR_HPP

#include <array>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <nkr/can/Bus.hpp>
#include <nkr/can/Frame.hpp>
#include <nkr/canopencore/NMT.hpp>

namespace nkr::canopen {

/** The NMT state of every node, as boot-up messages and heartbeats tell it (CiA 301, 7.2.8.3.2). */
class NmtMonitor {
 public:
  using Duration = std::chrono::milliseconds;

  explicit NmtMonitor(Duration heartbeat_timeout);

  /** A frame with identifier 701h to 77Fh arrived. */
  void arrived(const can::Frame& frame, can::Clock::time_point now);
  /** UNKNOWN for a node never heard and for one whose heartbeat is lost. */
  [[nodiscard]] canopencore::NMTState state(std::uint8_t node, can::Clock::time_point now) const;
  /** The silence after which a node whose heartbeat was heard is lost; 0: it never is. */
  void set_heartbeat_timeout(std::uint8_t node, Duration timeout);

 private:
  struct Node {
    canopencore::NMTState state = canopencore::NMTState::UNKNOWN;
    Duration timeout{};
    can::Clock::time_point last;
    bool monitored = false;  ///< a heartbeat was heard: monitoring starts with the first, not before
  };

  mutable std::mutex mutex_;
  std::array<Node, 128> nodes_;
};

}  // namespace nkr::canopen

#endif
