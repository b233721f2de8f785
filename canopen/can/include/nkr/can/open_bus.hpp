#ifndef NKR_CAN_OPEN_BUS_HPP
#define NKR_CAN_OPEN_BUS_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <memory>
#include <nkr/can/Bus.hpp>
#include <string>

namespace nkr::can {

/**
 * The bus that people mean by a name: "virtual" (a new InProcessBus), "unix:PATH" (a bus between the
 * processes of this machine that name the same socket file) or a SocketCAN interface such as "can0".
 * A unix bus is for its owner alone; "unix:PATH?mode=0660" gives its files that mode when it is made.
 *
 * @param result NKR_OK, NKR_CAN_NO_INTERFACE (unknown, no CAN interface, or no CAN in this kernel),
 *        NKR_CAN_INTERFACE_GONE (the interface is down, the listener of a unix bus does not answer),
 *        NKR_CAN_PERMISSION or NKR_CAN_NO_RESOURCES
 * @param explanation empty on success, else what is wrong and the command that helps
 * @return null on failure
 */
[[nodiscard]] NKR_EXPORT std::shared_ptr<Bus> open_bus(const std::string& name, nkr_error_t& result,
                                                       std::string& explanation);

/**
 * The same bus without a look whether it is there: a client on it works as soon as the interface comes.
 * Opening its ports says what open_bus would.
 */
[[nodiscard]] NKR_EXPORT std::shared_ptr<Bus> make_bus(const std::string& name);

/**
 * What a user can do about a bus that answers `code` (NKR_CAN_BUS_OFF, NKR_CAN_INTERFACE_GONE,
 * NKR_CAN_TX_OVERFLOW ...), in one sentence with the command that helps; empty when there is nothing to say.
 */
[[nodiscard]] NKR_EXPORT std::string bus_advice(const std::string& bus_name, nkr_error_t code);

}  // namespace nkr::can

#endif
