#ifndef NKR_CANOPEN_RUNTIME_LISTENER_HPP
#define NKR_CANOPEN_RUNTIME_LISTENER_HPP

#include <functional>
#include <nkr/can/Bus.hpp>
#include <nkr/can/Thread.hpp>

namespace nkr::canopen {

/** A thread that hands what a port receives, frames and failures of the bus, to a function until the port is
 * closed. The port must be closed before it ends. */
class Listener {
 public:
  using Handler = std::function<void(nkr_error_t result, const can::Frame& frame)>;

  Listener() = default;
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  /** False when there is no thread for it. */
  bool start(can::Port& port, Handler handler);
  [[nodiscard]] bool is_started() const { return thread_.is_started(); }

 private:
  can::Thread thread_;
};

}  // namespace nkr::canopen

#endif
