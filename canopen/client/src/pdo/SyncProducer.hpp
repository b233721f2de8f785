#ifndef NKR_CANOPEN_PDO_SYNCPRODUCER_HPP
#define NKR_CANOPEN_PDO_SYNCPRODUCER_HPP

#include <nkr/error.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <nkr/can/Bus.hpp>

#include "runtime/Timers.hpp"

namespace nkr::canopen {

/** SYNC (CiA 301, 7.2.5): by the clock, or one by one. */
class SyncProducer {
 public:
  /** `counter_overflow`: 2 to 240 puts a counter from 1 to there into SYNC (object 1019h); else none. */
  SyncProducer(can::Port& port, Timers& timers, std::uint8_t counter_overflow);

  /** False without a thread. */
  bool start(std::chrono::microseconds period);
  void stop();
  /** One SYNC; waits until the deadline at most when the bus cannot take it at once. One that was not sent
   * does not count. */
  nkr_error_t send(const can::Deadline& deadline);

 private:
  can::Port& port_;
  Timers& timers_;
  const std::uint8_t counter_overflow_;
  std::atomic<std::uint8_t> counter_{0};
};

}  // namespace nkr::canopen

#endif
