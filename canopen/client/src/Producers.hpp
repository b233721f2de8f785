#ifndef NKR_CANOPEN_PRODUCERS_HPP
#define NKR_CANOPEN_PRODUCERS_HPP

#include <nkr/error.h>

#include <chrono>
#include <cstdint>
#include <mutex>
#include <nkr/can/Bus.hpp>

#include "Timers.hpp"

namespace nkr::canopen {

/** What the host sends by the clock: its own heartbeat and SYNC (CiA 301, 7.2.8.3.2 and 7.2.5). */
class Producers {
 public:
  /** `sync_counter_overflow`: 2 to 240 puts a counter from 1 to there into SYNC (object 1019h); else none. */
  Producers(can::Port& port, Timers& timers, std::uint8_t sync_counter_overflow);

  /** The host is node `node`, operational, and says so every period. */
  void start_heartbeat(std::uint8_t node, std::chrono::milliseconds period);
  void stop_heartbeat();
  void start_sync(std::chrono::microseconds period);
  void stop_sync();
  /** One SYNC; waits until the deadline at most when the bus cannot take it at once. */
  nkr_error_t send_sync(can::Clock::time_point deadline);

 private:
  [[nodiscard]] can::Frame next_sync();

  can::Port& port_;
  Timers& timers_;
  const std::uint8_t sync_counter_overflow_;
  std::mutex mutex_;
  std::uint8_t sync_counter_ = 0;
};

}  // namespace nkr::canopen

#endif
