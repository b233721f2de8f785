// Operations that the controller serves by itself: here each has one fixed answer, whatever the drive's
// state.
#include <tavcore/CANOpenDispatcher.hpp>

#include "../logging/LogRecord.hpp"
#include "../objects/DictionaryAccess.hpp"

namespace nkr::tavcore {

nkr_error_t CANOpenDispatcher::getAxisData(int& /*position*/, int& /*velocity*/) const {
  return NKR_ERROR;
}

nkr_error_t CANOpenDispatcher::getTavInfos(bool& /*operationEnabled*/, unsigned char& /*nmtState*/,
                                           bool& /*usbPresent*/, int& /*odometry*/, int& /*position*/,
                                           int& /*velocity*/, unsigned int& /*reserved*/,
                                           int& /*speedPercent*/, MoveEnum& /*move*/) const {
  return NKR_ERROR;
}

nkr_error_t CANOpenDispatcher::setTavInfos(const int& /*speedPercent*/, const MoveEnum& /*order*/) {
  return NKR_ERROR;
}

nkr_error_t CANOpenDispatcher::getSWVersion(std::string& /*version*/) const {
  return NKR_NOT_AVAILABLE;
}

nkr_error_t CANOpenDispatcher::getHWVersion(std::string& /*version*/) const {
  return NKR_NOT_AVAILABLE;
}

nkr_error_t CANOpenDispatcher::checkHWCompatibility(const std::string& /*hwConfigurationEntry*/,
                                                    bool& /*compatible*/) const {
  return NKR_NOT_AVAILABLE;
}

nkr_error_t CANOpenDispatcher::getOdometryValue(int& /*odometry*/) const {
  return NKR_NOT_AVAILABLE;
}

nkr_error_t CANOpenDispatcher::enterInOperationEnabledState() {
  log_record({dictionary_->context(), NKR_LOG_FAILURE, Here::now(), kDispatcherClass},
             "enterInOperationEnabledState() not implemented !");
  return NKR_NOT_AVAILABLE;
}

}  // namespace nkr::tavcore
