#ifndef NKR_CANOPEN_NMT_NMTMONITOR_HPP
#define NKR_CANOPEN_NMT_NMTMONITOR_HPP

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <nkr/can/Bus.hpp>
#include <nkr/can/Frame.hpp>
#include <nkr/canopen/Event.hpp>
#include <nkr/canopencore/NMT.hpp>

#include "nmt/HeartbeatRhythm.hpp"

namespace nkr::canopen {

/**
 * The NMT state of every node, as boot-up messages and heartbeats tell it (CiA 301, 7.2.8.3.2). Monitoring a
 * heartbeat starts with the first one, not before: so that it never comes has a time of its own (`expect`). A
 * node that is guarded instead (7.2.8.2.2) answers with its state and a toggle bit; it is monitored the same
 * way.
 *
 * What happens to a node is told while the monitor is locked, so in the order in which it happened, whichever
 * thread found it.
 */
class NmtMonitor {
 public:
  using Duration = std::chrono::milliseconds;
  using TimePoint = can::Clock::time_point;
  /** Must not call the monitor. */
  using Tell = std::function<void(const Event&)>;

  NmtMonitor(Duration heartbeat_timeout, Tell tell);

  /** A frame with identifier 701h to 77Fh arrived. True when that changed anything. */
  bool arrived(const can::Frame& frame, TimePoint now);
  /** Tells what the time that passed has brought about. */
  void check(TimePoint now);
  /** When `check` has something to tell at the earliest; TimePoint::max(): never. */
  [[nodiscard]] TimePoint next_check() const;

  /** UNKNOWN for a node never heard and for one whose heartbeat is lost. */
  [[nodiscard]] canopencore::NMTState state(std::uint8_t node, TimePoint now) const;
  /** True, and since when, for a node whose heartbeat was heard and stays away. */
  [[nodiscard]] bool is_lost(std::uint8_t node, TimePoint now, TimePoint& since) const;
  /** True, and when, for a node whose last message of this kind was its boot-up. */
  [[nodiscard]] bool is_booting(std::uint8_t node, TimePoint& when) const;

  /** Whether two nodes send heartbeats under that id. */
  [[nodiscard]] bool is_doubled(std::uint8_t node) const;

  /** The silence after which a node whose heartbeat was heard is lost; 0: it never is. */
  void set_heartbeat_timeout(std::uint8_t node, Duration timeout);
  /** The node is asked for its state from now on, and lost after so long without an answer. */
  void start_guarding(std::uint8_t node, Duration life_time, TimePoint now);
  void stop_guarding(std::uint8_t node);
  /** The node shall give a sign of life until then. */
  void expect(std::uint8_t node, TimePoint until);
  /** The node's next boot-up is no surprise. */
  void reset_commanded(std::uint8_t node);

 private:
  static constexpr std::uint8_t kNoToggle = 0xFF;
  struct Node {
    canopencore::NMTState state = canopencore::NMTState::UNKNOWN;
    Duration timeout{};
    TimePoint last;
    TimePoint expected_until = TimePoint::max();
    bool heard = false;
    bool monitored = false;  ///< a heartbeat was heard
    bool booting = false;    ///< the last message was a boot-up
    bool reset_commanded = false;
    Duration life_time{};                  ///< of a guarded node; 0: it is not guarded
    std::uint8_t last_toggle = kNoToggle;  ///< of its last answer
    bool lost = false;                     ///< its loss was told
    HeartbeatRhythm rhythm;

    [[nodiscard]] TimePoint lost_at() const;
    [[nodiscard]] TimePoint due() const;
    [[nodiscard]] bool is_repeated(std::uint8_t toggle);
  };
  void boot_up(Node& node, Event event);
  bool heartbeat(Node& node, canopencore::NMTState state, Event event);
  void see_rhythm(Node& node, Event event);

  const Tell tell_;
  mutable std::mutex mutex_;
  std::array<Node, 128> nodes_;
};

}  // namespace nkr::canopen

#endif
