#ifndef TAVCTL_COMMANDS_SESSION_OPENBUS_HPP
#define TAVCTL_COMMANDS_SESSION_OPENBUS_HPP

#include <memory>
#include <nkr/can/Bus.hpp>
#include <string>

namespace tavctl {

/** The bus with drives inside this program. */
inline constexpr const char* kVirtualBus = "virtual";

/** The bus of that name; Failure(USAGE) for none, Failure(CONNECTION) when it cannot be opened. */
[[nodiscard]] std::shared_ptr<nkr::can::Bus> open_bus(const std::string& name);

}  // namespace tavctl

#endif
