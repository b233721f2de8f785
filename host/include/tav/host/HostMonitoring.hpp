#ifndef TAV_HOST_HOSTMONITORING_HPP
#define TAV_HOST_HOSTMONITORING_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <cstdint>
#include <string>
#include <tavcore/IEMCYService.hpp>
#include <tavcore/IPDSService.hpp>
#include <vector>

namespace nkr::tavcore {
class CANOpenDispatcher;
}

namespace tav::host {

/** What the drive does when its host falls silent: who is watched (0x1016), and what follows (0x1029,
 * 0x6007). */
struct NKR_EXPORT HostMonitoring {
  /** One entry of the consumer heartbeat time: a node and the longest silence, in milliseconds. */
  struct Consumer {
    std::uint8_t subindex = 0;
    std::uint8_t node = 0;
    std::uint16_t time_ms = 0;
    [[nodiscard]] bool is_active() const { return node != 0 && time_ms != 0; }
  };
  std::vector<Consumer> consumers;
  nkr::tavcore::IEMCYService::ErrorBehavior behavior{};
  nkr::tavcore::IPDSService::AbortConnectionOptionCode abort_connection{};

  [[nodiscard]] bool watches_somebody() const;
  /** Whether an entry of that node is active. */
  [[nodiscard]] bool watches(std::uint8_t node) const;
  /** Why the drive would not stop when its host dies; empty when it would. */
  [[nodiscard]] std::string weakness() const;
};

/** Reads it from the drive; sends nothing else. @param action what failed, in words */
[[nodiscard]] NKR_EXPORT nkr_error_t read_host_monitoring(const nkr::tavcore::CANOpenDispatcher& drive,
                                                          HostMonitoring& monitoring, std::string& action);

/** Address of an entry of the consumer heartbeat time. */
[[nodiscard]] NKR_EXPORT std::uint32_t consumer_address(std::uint8_t subindex);

}  // namespace tav::host

#endif
