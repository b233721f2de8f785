#ifndef TAVCTL_MODEL_FRAMELENGTH_HPP
#define TAVCTL_MODEL_FRAMELENGTH_HPP

#include <nkr/can/Frame.hpp>

namespace tavctl {

/** Bits that a frame takes on the bus (ISO 11898-1), stuff bits and the pause behind it included. Error
 * frames count as 0: their length is not known. */
[[nodiscard]] unsigned bits_on_bus(const nkr::can::Frame& frame);

}  // namespace tavctl

#endif
