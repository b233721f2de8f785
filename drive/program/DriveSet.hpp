#ifndef TAV_DRIVE_PROGRAM_DRIVESET_HPP
#define TAV_DRIVE_PROGRAM_DRIVESET_HPP

#include <string>
#include <tav/drive/Fleet.hpp>

#include "Arguments.hpp"

namespace tav::drive {

/**
 * Makes the drives that the user asks for, and plays the scenario on each of them.
 * @param wrong_scenario  whether it is the scenario that has a mistake
 * @return false, and the reason in `problem`
 */
bool make_drives(const Arguments& arguments, const Scenario& scenario, Fleet& fleet, std::string& problem,
                 bool& wrong_scenario);

/** What the drives are, for people: "drive 1", "drives 1 to 10 (10)". */
[[nodiscard]] std::string names_of(Fleet& fleet);

}  // namespace tav::drive

#endif
