#ifndef TAVCTL_COMMANDS_SESSION_BUSINFO_HPP
#define TAVCTL_COMMANDS_SESSION_BUSINFO_HPP

#include <optional>
#include <string>

namespace tavctl {

/** What the system knows of a CAN interface; what is not known is absent. */
struct BusInfo {
  std::optional<unsigned> bit_rate;    ///< bit/s
  std::optional<std::string> state;    ///< of the controller: "ERROR-ACTIVE", "BUS-OFF" ...
  std::optional<unsigned> restart_ms;  ///< after bus off; 0: it does not restart by itself
  std::optional<unsigned> tx_errors;   ///< error counters
  std::optional<unsigned> rx_errors;
};

/** Whether the text can be an interface's name, and stand in a command line as it is. */
[[nodiscard]] bool is_interface_name(const std::string& name);

/** Takes what `ip -details -json link show` writes for one interface. */
[[nodiscard]] BusInfo parse_link(const std::string& json);

/** Asks that program; nothing is known of other buses than SocketCAN interfaces, or without the program. */
[[nodiscard]] BusInfo bus_info_of(const std::string& bus_name);

}  // namespace tavctl

#endif
