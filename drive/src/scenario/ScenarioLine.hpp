#ifndef TAV_DRIVE_SRC_SCENARIO_SCENARIOLINE_HPP
#define TAV_DRIVE_SRC_SCENARIO_SCENARIOLINE_HPP

#include <optional>
#include <string_view>
#include <tav/drive/Scenario.hpp>

namespace tav::drive {

/** The event of a line; nothing for a line without one. Throws a Mistake (scenario/Words.hpp). */
[[nodiscard]] std::optional<ScenarioEvent> event_in(std::string_view line);

}  // namespace tav::drive

#endif
