#ifndef TAVCTL_SESSION_HOSTMONITORING_HPP
#define TAVCTL_SESSION_HOSTMONITORING_HPP

#include <cstdint>
#include <string>
#include <tavcore/IEMCYService.hpp>
#include <tavcore/IPDSService.hpp>
#include <vector>

#include "session/Session.hpp"

namespace tavctl {

/** What the drive does when its host falls silent: who is watched (0x1016), and what follows (0x1029,
 * 0x6007). */
struct HostMonitoring {
  /** One entry of the consumer heartbeat time: a node and the longest silence, in milliseconds. */
  struct Consumer {
    std::uint8_t subindex;
    std::uint8_t node;
    std::uint16_t time_ms;
    [[nodiscard]] bool active() const { return node != 0 && time_ms != 0; }
  };
  std::vector<Consumer> consumers;
  nkr::tavcore::IEMCYService::ErrorBehavior behavior{};
  nkr::tavcore::IPDSService::AbortConnectionOptionCode abort_connection{};

  [[nodiscard]] bool watches_somebody() const;
  /** Why the drive would not stop when its host dies; empty when it would. */
  [[nodiscard]] std::string weakness() const;
};

/** Reads it from the drive; sends nothing else. */
[[nodiscard]] HostMonitoring read_host_monitoring(Session& session);

/** Address of an entry of the consumer heartbeat time. */
[[nodiscard]] unsigned int consumer_address(std::uint8_t subindex);

}  // namespace tavctl

#endif
