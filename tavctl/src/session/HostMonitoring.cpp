#include "session/HostMonitoring.hpp"

#include <algorithm>

namespace tavctl {

using nkr::tavcore::CANOpenDispatcher;

unsigned int consumer_address(std::uint8_t subindex) {
  return 0x10160000U + (static_cast<unsigned>(subindex) << 8);
}

bool HostMonitoring::watches_somebody() const {
  return std::any_of(consumers.begin(), consumers.end(), [](const Consumer& c) { return c.active(); });
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

HostMonitoring read_host_monitoring(Session& session) {
  const CANOpenDispatcher& drive = *session.dispatcher();
  HostMonitoring monitoring;
  unsigned char count = 0;
  session.check(drive.get_value_by_address(consumer_address(0), count), "read the consumer heartbeat times");
  for (std::uint8_t sub = 1; sub <= count && sub < 128; ++sub) {
    unsigned int raw = 0;
    session.check(drive.get_value_by_address(consumer_address(sub), raw),
                  "read the consumer heartbeat times");
    monitoring.consumers.push_back(
        {sub, static_cast<std::uint8_t>(raw >> 16), static_cast<std::uint16_t>(raw)});
  }
  session.check(drive.getErrorBehavior(CANOpenDispatcher::ErrorType::COMMUNICATION, monitoring.behavior),
                "read the error behaviour");
  session.check(drive.getAbortConnectionOptionCode(monitoring.abort_connection),
                "read the abort connection option code");
  return monitoring;
}

}  // namespace tavctl
