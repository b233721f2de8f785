#ifndef NKR_CANOPEN_RUNTIME_LISTENER_HPP
#define NKR_CANOPEN_RUNTIME_LISTENER_HPP

#include <functional>
#include <nkr/can/Bus.hpp>
#include <thread>

namespace nkr::canopen {

/** A thread that hands what a port receives, frames and failures of the bus, to a function until the port is
 * closed. */
class Listener {
 public:
  using Handler = std::function<void(nkr_error_t result, const can::Frame& frame)>;

  Listener(can::Port& port, Handler handler);
  /** The port must have been closed. */
  ~Listener();
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

 private:
  std::thread thread_;
};

}  // namespace nkr::canopen

#endif
