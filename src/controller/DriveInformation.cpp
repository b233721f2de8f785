// Raw values of the drive turned into user units or text: odometry, versions, compatibility.

#include <nkr/tools/HardwareHelper.hpp>
#include <tavcore/Controller.hpp>

#include "Odometry.hpp"

namespace nkr::tavcore {

nkr_error_t Controller::getOdometryValue(int& odometry) const {
  const ICANOpenDispatcher* const dispatcher = ready_dispatcher();
  if (dispatcher == nullptr || !config_) return NKR_NOT_AVAILABLE;
  int position = 0;
  const nkr_error_t result = dispatcher->getPositionValue(position);
  odometry = result == NKR_OK ? odometry_of(position, *config_) : 0;
  return result;
}

nkr_error_t Controller::getSWVersion(std::string& version) const {
  const ICANOpenDispatcher* const dispatcher = ready_dispatcher();
  if (dispatcher == nullptr) return NKR_NOT_AVAILABLE;
  unsigned int number = 0;
  const nkr_error_t result = dispatcher->getSWVersion(number);
  if (result == NKR_OK) version = tools::HardwareHelper(context()).convertVersionToString(number);
  return result;
}

nkr_error_t Controller::getHWVersion(std::string& version) const {
  const ICANOpenDispatcher* const dispatcher = ready_dispatcher();
  if (dispatcher == nullptr) return NKR_NOT_AVAILABLE;
  unsigned int number = 0;
  const nkr_error_t result = dispatcher->getHWVersion(number);
  if (result == NKR_OK) version = tools::HardwareHelper(context()).convertVersionToString(number);
  return result;
}

nkr_error_t Controller::checkHWCompatibility(const std::string& hwConfigurationEntry,
                                             bool& compatible) const {
  const ICANOpenDispatcher* const dispatcher = ready_dispatcher();
  if (dispatcher == nullptr || !config_) return NKR_NOT_AVAILABLE;
  unsigned int hw_version = 0;
  const nkr_error_t result = dispatcher->getHWVersion(hw_version);
  if (result != NKR_OK) return result;
  tools::HardwareHelper hardware(context());
  static_cast<void>(hardware.init(config_->getPath()));  // the check itself answers what is missing
  return hardware.checkHWCompatibility(hwConfigurationEntry, hw_version, compatible);
}

}  // namespace nkr::tavcore
