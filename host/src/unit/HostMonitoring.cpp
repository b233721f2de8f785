#include <algorithm>
#include <tav/host/HostMonitoring.hpp>
#include <tavcore/CANOpenDispatcher.hpp>

namespace tav::host {

using nkr::tavcore::CANOpenDispatcher;

std::uint32_t consumer_address(std::uint8_t subindex) {
  return 0x10160000U + (static_cast<std::uint32_t>(subindex) << 8);
}

bool HostMonitoring::watches_somebody() const {
  return std::any_of(consumers.begin(), consumers.end(), [](const Consumer& c) { return c.is_active(); });
}

bool HostMonitoring::watches(std::uint8_t node) const {
  return std::any_of(consumers.begin(), consumers.end(),
                     [node](const Consumer& c) { return c.is_active() && c.node == node; });
}

std::string HostMonitoring::weakness() const {
  if (!watches_somebody()) return "it watches no host (0x1016 is empty)";
  if (abort_connection == CANOpenDispatcher::AbortConnectionOptionCode::NO_ACTION) {
    return "it does nothing when the host falls silent (0x6007 is 0)";
  }
  if (behavior == CANOpenDispatcher::ErrorBehavior::NO_CHANGE) {
    return "it stays as it is when the host falls silent (0x1029:1 is 1)";
  }
  return {};
}

nkr_error_t read_host_monitoring(const CANOpenDispatcher& drive, HostMonitoring& monitoring,
                                 std::string& action) {
  constexpr std::uint8_t kMostEntries = 127;
  monitoring = {};
  action = "read the consumer heartbeat times";
  std::uint8_t count = 0;
  nkr_error_t result = drive.get_value_by_address(consumer_address(0), count);
  for (std::uint8_t sub = 1; result == NKR_OK && sub <= count && sub <= kMostEntries; ++sub) {
    std::uint32_t raw = 0;
    result = drive.get_value_by_address(consumer_address(sub), raw);
    monitoring.consumers.push_back(
        {sub, static_cast<std::uint8_t>(raw >> 16), static_cast<std::uint16_t>(raw)});
  }
  if (result != NKR_OK) return result;
  action = "read the error behaviour";
  result = drive.getErrorBehavior(CANOpenDispatcher::ErrorType::COMMUNICATION, monitoring.behavior);
  if (result != NKR_OK) return result;
  action = "read the abort connection option code";
  return drive.getAbortConnectionOptionCode(monitoring.abort_connection);
}

}  // namespace tav::host
