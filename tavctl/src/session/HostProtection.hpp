#ifndef TAVCTL_SESSION_HOSTPROTECTION_HPP
#define TAVCTL_SESSION_HOSTPROTECTION_HPP

#include <cstdint>
#include <optional>
#include <string>

#include "session/HostMonitoring.hpp"
#include "session/Session.hpp"

namespace tavctl {

/**
 * Makes the drive stop by itself when this program dies: sends the host's heartbeat, lets the drive watch it
 * (an entry of 0x1016), sees that it reacts (0x1029, 0x6007), and reads all of it back. What cannot be had is
 * a loud warning, not a failure. The destructor takes the watching back, so that an orderly end raises no
 * fault.
 */
class HostProtection {
 public:
  explicit HostProtection(Session& session);
  ~HostProtection();
  HostProtection(const HostProtection&) = delete;
  HostProtection& operator=(const HostProtection&) = delete;

  /** Whether the drive is known to stop when this program dies. */
  [[nodiscard]] bool active() const { return active_; }

 private:
  void stop_watching();
  void watch_host(const HostMonitoring& before);
  void see_reaction(const HostMonitoring& before);

  Session& session_;
  std::uint8_t host_node_;
  std::optional<HostMonitoring::Consumer> replaced_;  ///< the entry as it was before
  bool active_ = false;
};

}  // namespace tavctl

#endif
