#ifndef NKR_CAN_ERROR_FRAME_HPP
#define NKR_CAN_ERROR_FRAME_HPP

#include <nkr/can/Bus.hpp>

namespace nkr::can {

/** Brings `status` up to date with an error frame of the kernel (linux/can/error.h). */
void apply_error_frame(const Frame& frame, BusStatus& status);

}  // namespace nkr::can

#endif
