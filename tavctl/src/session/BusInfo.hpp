#ifndef TAVCTL_SESSION_BUSINFO_HPP
#define TAVCTL_SESSION_BUSINFO_HPP

#include <optional>
#include <string>

namespace tavctl {

/** Bit rate of a SocketCAN interface in bit/s, as `ip -details -json link show` tells; none for other buses,
 * virtual interfaces, or without that program. */
[[nodiscard]] std::optional<unsigned> bit_rate_of(const std::string& bus_name);

}  // namespace tavctl

#endif
