#ifndef TAV_HOST_FRAME_LENGTH_HPP
#define TAV_HOST_FRAME_LENGTH_HPP

#include <nkr/export.h>

#include <nkr/can/Frame.hpp>

namespace tav::host {

/** Bits that a frame takes on the bus (ISO 11898-1), stuff bits and the pause behind it included. Error
 * frames count as 0: their length is not known. */
[[nodiscard]] NKR_EXPORT unsigned bits_on_bus(const nkr::can::Frame& frame);

}  // namespace tav::host

#endif
