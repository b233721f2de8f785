#ifndef TAVCTL_COMMANDS_SESSION_REQUESTENDER_HPP
#define TAVCTL_COMMANDS_SESSION_REQUESTENDER_HPP

#include <atomic>
#include <memory>
#include <tav/host/Interrupt.hpp>
#include <thread>

namespace nkr::canopen {
class Client;
}

namespace tavctl {

/**
 * While it lives, Ctrl-C, SIGTERM and a closed terminal end the client's requests: a node that is at work on
 * one is sent an abort, and what is asked later ends at once, too. For commands that a drive needs not be
 * stopped after.
 */
class RequestEnder {
 public:
  explicit RequestEnder(std::shared_ptr<nkr::canopen::Client> client);
  ~RequestEnder();
  RequestEnder(const RequestEnder&) = delete;
  RequestEnder& operator=(const RequestEnder&) = delete;

  /** Whether a signal asked for the end. */
  [[nodiscard]] bool has_ended() const { return ended_; }

 private:
  void run();

  std::shared_ptr<nkr::canopen::Client> client_;
  tav::host::SignalInterrupt interrupt_;
  std::atomic<bool> done_{false};
  std::atomic<bool> ended_{false};
  std::thread thread_;
};

}  // namespace tavctl

#endif
