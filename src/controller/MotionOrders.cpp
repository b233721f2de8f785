// Motion orders in percent of the configured speed, and the snapshot of the drive.

#include <nkr/tools/HardwareHelper.hpp>
#include <tavcore/Controller.hpp>

#include "../logging/LogRecord.hpp"
#include "WrappingArithmetic.hpp"

namespace nkr::tavcore {
namespace {

constexpr int kPercent = 100;

IDiagnosticService::MoveEnum direction_of(int velocity) {
  if (velocity == 0) return IDiagnosticService::MoveEnum::STOP;
  return velocity > 0 ? IDiagnosticService::MoveEnum::FORWARD : IDiagnosticService::MoveEnum::BACKWARD;
}

}  // namespace

nkr_error_t Controller::getAxisData(int& position, int& velocity) const {
  if (ready_dispatcher() == nullptr) return NKR_NOT_AVAILABLE;
  const nkr_error_t result = getPositionValue(position);
  if (result != NKR_OK) return result;
  return getVelocityActualValue(velocity);
}

nkr_error_t Controller::getTavInfos(bool& operationEnabled, unsigned char& nmtState, bool& usbPresent,
                                    int& odometry, int& position, int& velocity, unsigned int& reserved,
                                    int& speedPercent, MoveEnum& move) const {
  if (!is_initialized()) return NKR_NOT_AVAILABLE;
  operationEnabled = false;
  nmtState = 0;
  usbPresent = false;
  odometry = 0;
  position = 0;
  velocity = 0;
  reserved = 0;
  speedPercent = 0;
  move = MoveEnum::STOP;
  if (!config_ || !dispatcher_) return NKR_NOT_AVAILABLE;

  const tools::HardwareHelper hardware(context());
  nkr_error_t result = hardware.checkUSB(config_->getUsbPort(), usbPresent);
  if (result != NKR_OK) return result;

  NMTState nmt_state{};
  result = dispatcher_->getNMTState(nmt_state);
  nmtState = static_cast<unsigned char>(nmt_state);
  if (result != NKR_OK || nmtState == 0) return result;

  PDSState pds_state{};
  result = getPDSState(pds_state);
  if (result != NKR_OK) return result;
  operationEnabled = pds_state == PDSState::OPERATION_ENABLED;

  result = getOdometryValue(odometry);
  if (result == NKR_OK) result = getPositionValue(position);
  if (result == NKR_OK) result = getVelocityActualValue(velocity);
  if (result != NKR_OK) return result;

  move = direction_of(velocity);
  const int maximum = config_->getMaxMaintenanceSpeedValue();
  if (maximum == 0) return NKR_ERROR;
  speedPercent = wrapping_quotient(wrapping_product(velocity, kPercent), maximum);
  return NKR_OK;
}

nkr_error_t Controller::setTavInfos(const int& speedPercent, const MoveEnum& order) {
  if (!is_initialized() || !config_) return NKR_NOT_AVAILABLE;

  const int maximum = config_->getMaxMaintenanceSpeedValue();
  int speed = wrapping_product(speedPercent, maximum) / kPercent;
  if (speed > maximum) {
    speed = maximum;
    log_record_with({context(), NKR_LOG_WARNING, Here::now(), "Controller"},
                    [&] { return "Trying to set a too high speed : limited to " + log_text_of(speed); });
  }
  switch (order) {
    case MoveEnum::STOP:
      speed = 0;
      break;
    case MoveEnum::FORWARD:
      break;
    case MoveEnum::BACKWARD:
      speed = wrapping_product(speed, -1);
      break;
    default:
      log_record_with({context(), NKR_LOG_FAILURE, Here::now(), "Controller"}, [&] {
        return "Invalid order received : " + log_text_of(static_cast<std::int32_t>(order));
      });
      return NKR_ERROR;
  }
  return setTargetVelocity(static_cast<short>(speed));
}

}  // namespace nkr::tavcore
