#ifndef NKR_CANOPEN_NMT_HEARTBEATPRODUCER_HPP
#define NKR_CANOPEN_NMT_HEARTBEATPRODUCER_HPP

#include <chrono>
#include <cstdint>
#include <nkr/can/Bus.hpp>

#include "runtime/Timers.hpp"

namespace nkr::canopen {

/** The host's own heartbeat (CiA 301, 7.2.8.3.2). */
class HeartbeatProducer {
 public:
  HeartbeatProducer(can::Port& port, Timers& timers) : port_(port), timers_(timers) {}

  /** The host is node `node`, operational, and says so every period. False without a thread. */
  bool start(std::uint8_t node, std::chrono::milliseconds period);
  void stop();

 private:
  can::Port& port_;
  Timers& timers_;
};

}  // namespace nkr::canopen

#endif
