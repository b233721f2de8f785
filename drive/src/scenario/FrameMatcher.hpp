#ifndef TAV_DRIVE_SRC_SCENARIO_FRAMEMATCHER_HPP
#define TAV_DRIVE_SRC_SCENARIO_FRAMEMATCHER_HPP

#include <nkr/can/Frame.hpp>
#include <tav/drive/Scenario.hpp>

#include "node/Part.hpp"

namespace tav::drive {

/** Whether a frame belongs to a class, by the identifiers that the drive's objects give now. */
[[nodiscard]] bool matches(const FrameClass& frame_class, const nkr::can::Frame& frame, Context& context);

}  // namespace tav::drive

#endif
