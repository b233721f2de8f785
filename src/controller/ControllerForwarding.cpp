// The operations that the controller hands to the dispatcher unchanged: no check, conversion, retry or record
// of its own besides the not-initialized answer.

#include <tavcore/Controller.hpp>

namespace nkr::tavcore {

/** An operation of the dispatcher, to be called; or the refusal, recorded with the caller's name and line. */
template <class Operation>
auto Controller::forward(Operation operation, const char* function, std::uint32_t line) const {
  ICANOpenDispatcher* const dispatcher = ready_dispatcher(function, line);
  return [dispatcher, operation](auto&... arguments) -> nkr_error_t {
    return dispatcher != nullptr ? (dispatcher->*operation)(arguments...) : NKR_NOT_AVAILABLE;
  };
}

// IInternalService

nkr_error_t Controller::_storeParameters(const _BlocId& block) {
  return forward(&ICANOpenDispatcher::_storeParameters)(block);
}

nkr_error_t Controller::_restoreDefaultParameters(const _BlocId& block) {
  return forward(&ICANOpenDispatcher::_restoreDefaultParameters)(block);
}

nkr_error_t Controller::_setDeviceParameters(const _DeviceParameters& parameters) {
  return forward(&ICANOpenDispatcher::_setDeviceParameters)(parameters);
}

nkr_error_t Controller::_getSelfTestStatus(_SelfTestStatus& status) const {
  return forward(&ICANOpenDispatcher::_getSelfTestStatus)(status);
}

nkr_error_t Controller::_simulateSelfTestError(const _SelfTestStatus& status) const {
  return forward(&ICANOpenDispatcher::_simulateSelfTestError)(status);
}

nkr_error_t Controller::_getCalibrationParameters(_CalibrationParameters& parameters) const {
  return forward(&ICANOpenDispatcher::_getCalibrationParameters)(parameters);
}

nkr_error_t Controller::_getSystemErrorConfig(_SystemErrorConfig& config) const {
  return forward(&ICANOpenDispatcher::_getSystemErrorConfig)(config);
}

nkr_error_t Controller::_setSystemErrorConfig(const _SystemErrorConfig& config) {
  return forward(&ICANOpenDispatcher::_setSystemErrorConfig)(config);
}

nkr_error_t Controller::_getLevel1Error(unsigned int& error) const {
  return forward(&ICANOpenDispatcher::_getLevel1Error)(error);
}

nkr_error_t Controller::_setNodeId(const unsigned char& id) {
  return forward(&ICANOpenDispatcher::_setNodeId)(id);
}

// INMTService

nkr_error_t Controller::getNMTState(NMTState& state) const {
  return forward(&ICANOpenDispatcher::getNMTState)(state);
}

nkr_error_t Controller::setNMTState(const NMTCommand& command) {
  return forward(&ICANOpenDispatcher::setNMTState)(command);
}

// IEMCYService

nkr_error_t Controller::getErrorBehavior(const ErrorType& type, ErrorBehavior& behavior) const {
  return forward(&ICANOpenDispatcher::getErrorBehavior)(type, behavior);
}

nkr_error_t Controller::setErrorBehavior(const ErrorType& type, const ErrorBehavior& behavior) {
  return forward(&ICANOpenDispatcher::setErrorBehavior)(type, behavior);
}

nkr_error_t Controller::clearErrorList() {
  return forward(&ICANOpenDispatcher::clearErrorList)();
}

nkr_error_t Controller::getErrorCount(int& count) const {
  return forward(&ICANOpenDispatcher::getErrorCount)(count);
}

nkr_error_t Controller::getErrorRegister(unsigned char& reg) const {
  return forward(&ICANOpenDispatcher::getErrorRegister)(reg);
}

nkr_error_t Controller::getError(const int& index, unsigned int& code) const {
  return forward(&ICANOpenDispatcher::getError)(index, code);
}

// IPDSService

nkr_error_t Controller::getPeripheralStatus(PeripheralStatus& status) const {
  return forward(&ICANOpenDispatcher::getPeripheralStatus)(status);
}

nkr_error_t Controller::getPDSState(PDSState& state) const {
  return forward(&ICANOpenDispatcher::getPDSState)(state);
}

nkr_error_t Controller::disableVoltage() const {
  return forward(&ICANOpenDispatcher::disableVoltage)();
}

nkr_error_t Controller::shutdown() const {
  return forward(&ICANOpenDispatcher::shutdown)();
}

nkr_error_t Controller::quickStop() const {
  return forward(&ICANOpenDispatcher::quickStop)();
}

nkr_error_t Controller::switchOn() const {
  return forward(&ICANOpenDispatcher::switchOn)();
}

nkr_error_t Controller::enableOperation() const {
  return forward(&ICANOpenDispatcher::enableOperation)();
}

nkr_error_t Controller::disableOperation() const {
  return forward(&ICANOpenDispatcher::disableOperation)();
}

nkr_error_t Controller::faultReset(const bool& reset) const {
  return forward(&ICANOpenDispatcher::faultReset)(reset);
}

nkr_error_t Controller::getAbortConnectionOptionCode(AbortConnectionOptionCode& code) const {
  return forward(&ICANOpenDispatcher::getAbortConnectionOptionCode)(code);
}

nkr_error_t Controller::setAbortConnectionOptionCode(const AbortConnectionOptionCode& code) const {
  return forward(&ICANOpenDispatcher::setAbortConnectionOptionCode)(code);
}

nkr_error_t Controller::getQuickStopOptionCode(QuickStopOptionCode& code) const {
  return forward(&ICANOpenDispatcher::getQuickStopOptionCode)(code);
}

nkr_error_t Controller::setQuickStopOptionCode(const QuickStopOptionCode& code) const {
  return forward(&ICANOpenDispatcher::setQuickStopOptionCode)(code);
}

nkr_error_t Controller::getShutdownOptionCode(ShutdownOptionCode& code) const {
  return forward(&ICANOpenDispatcher::getShutdownOptionCode)(code);
}

nkr_error_t Controller::setShutdownOptionCode(const ShutdownOptionCode& code) const {
  return forward(&ICANOpenDispatcher::setShutdownOptionCode)(code);
}

nkr_error_t Controller::getDisableOperationOptionCode(DisableOperationOptionCode& code) const {
  return forward(&ICANOpenDispatcher::getDisableOperationOptionCode)(code);
}

nkr_error_t Controller::setDisableOperationOptionCode(const DisableOperationOptionCode& code) const {
  return forward(&ICANOpenDispatcher::setDisableOperationOptionCode)(code);
}

nkr_error_t Controller::getHaltOptionCode(HaltOptionCode& code) const {
  return forward(&ICANOpenDispatcher::getHaltOptionCode)(code);
}

nkr_error_t Controller::setHaltOptionCode(const HaltOptionCode& code) const {
  return forward(&ICANOpenDispatcher::setHaltOptionCode)(code);
}

nkr_error_t Controller::getFaultReactionOptionCode(FaultReactionOptionCode& code) const {
  return forward(&ICANOpenDispatcher::getFaultReactionOptionCode)(code);
}

nkr_error_t Controller::setFaultReactionOptionCode(const FaultReactionOptionCode& code) const {
  return forward(&ICANOpenDispatcher::setFaultReactionOptionCode)(code);
}

nkr_error_t Controller::getOperationModes(OperationMode& mode, OperationMode& mode_display) const {
  return forward(&ICANOpenDispatcher::getOperationModes)(mode, mode_display);
}

nkr_error_t Controller::isDriveModeSupported(const OperationMode& mode, bool& supported) const {
  return forward(&ICANOpenDispatcher::isDriveModeSupported)(mode, supported);
}

nkr_error_t Controller::getUnitParameters(UnitParameters& units) const {
  return forward(&ICANOpenDispatcher::getUnitParameters)(units);
}

nkr_error_t Controller::setUnitParameters(const UnitParameters& units) {
  return forward(&ICANOpenDispatcher::setUnitParameters)(units);
}

nkr_error_t Controller::getPolarityParameters(PolarityParameters& polarity) const {
  return forward(&ICANOpenDispatcher::getPolarityParameters)(polarity);
}

nkr_error_t Controller::setPolarityParameters(const PolarityParameters& polarity) {
  return forward(&ICANOpenDispatcher::setPolarityParameters)(polarity);
}

// ISafeMotionService

nkr_error_t Controller::getSafetyControlWordMapping(const SafetyControlWordId& word,
                                                    SafetyWordMapping& mapping) const {
  return forward(&ICANOpenDispatcher::getSafetyControlWordMapping)(word, mapping);
}

nkr_error_t Controller::setSafetyControlWordMapping(const SafetyControlWordId& word,
                                                    const SafetyWordMapping& mapping) {
  return forward(&ICANOpenDispatcher::setSafetyControlWordMapping)(word, mapping);
}

nkr_error_t Controller::getSafetyStatusWordMapping(const SafetyStatusWordId& word,
                                                   SafetyWordMapping& mapping) const {
  return forward(&ICANOpenDispatcher::getSafetyStatusWordMapping)(word, mapping);
}

nkr_error_t Controller::setSafetyStatusWordMapping(const SafetyStatusWordId& word,
                                                   const SafetyWordMapping& mapping) {
  return forward(&ICANOpenDispatcher::setSafetyStatusWordMapping)(word, mapping);
}

nkr_error_t Controller::getSafetyFunctionCommand(const SafetyFunctionId& function, bool& active) const {
  return forward(&ICANOpenDispatcher::getSafetyFunctionCommand)(function, active);
}

nkr_error_t Controller::getSafetyFunctionStatus(const SafetyFunctionId& function, bool& active) const {
  return forward(&ICANOpenDispatcher::getSafetyFunctionStatus)(function, active);
}

nkr_error_t Controller::getSafetyControlWord(const SafetyControlWordId& word, SafetyWordType& value) const {
  return forward(&ICANOpenDispatcher::getSafetyControlWord)(word, value);
}

nkr_error_t Controller::setSafetyControlWord(const SafetyControlWordId& word, const SafetyWordType& value) {
  return forward(&ICANOpenDispatcher::setSafetyControlWord)(word, value);
}

nkr_error_t Controller::getSafetyStatusWord(const SafetyStatusWordId& word, SafetyWordType& value) const {
  return forward(&ICANOpenDispatcher::getSafetyStatusWord)(word, value);
}

nkr_error_t Controller::getSTOParameters(const STOId& id, STOParameters& parameters,
                                         unsigned short& signature) const {
  return forward(&ICANOpenDispatcher::getSTOParameters)(id, parameters, signature);
}

nkr_error_t Controller::setSTOParameters(const STOId& id, const STOParameters& parameters) {
  return forward(&ICANOpenDispatcher::setSTOParameters)(id, parameters);
}

nkr_error_t Controller::getSLSParameters(const SLSId& id, SLSParameters& parameters,
                                         unsigned short& signature) const {
  return forward(&ICANOpenDispatcher::getSLSParameters)(id, parameters, signature);
}

nkr_error_t Controller::setSLSParameters(const SLSId& id, const SLSParameters& parameters) {
  return forward(&ICANOpenDispatcher::setSLSParameters)(id, parameters);
}

nkr_error_t Controller::getSDIParameters(const SDIId& id, SDIParameters& parameters,
                                         unsigned short& signature) const {
  return forward(&ICANOpenDispatcher::getSDIParameters)(id, parameters, signature);
}

nkr_error_t Controller::setSDIParameters(const SDIId& id, const SDIParameters& parameters) {
  return forward(&ICANOpenDispatcher::setSDIParameters)(id, parameters);
}

nkr_error_t Controller::getSBCParameters(const SBCId& id, SBCParameters& parameters,
                                         unsigned short& signature) const {
  return forward(&ICANOpenDispatcher::getSBCParameters)(id, parameters, signature);
}

nkr_error_t Controller::setSBCParameters(const SBCId& id, const SBCParameters& parameters) {
  return forward(&ICANOpenDispatcher::setSBCParameters)(id, parameters);
}

// ICommunicationService

nkr_error_t Controller::storeParameters(const BlocId& block) {
  return forward(&ICANOpenDispatcher::storeParameters)(block);
}

nkr_error_t Controller::restoreDefaultParameters(const BlocId& block) {
  return forward(&ICANOpenDispatcher::restoreDefaultParameters)(block);
}

nkr_error_t Controller::getIdentityParameters(IdentityParameters& parameters) const {
  return forward(&ICANOpenDispatcher::getIdentityParameters)(parameters);
}

nkr_error_t Controller::getNetworkParameters(NetworkParameters& parameters) const {
  return forward(&ICANOpenDispatcher::getNetworkParameters)(parameters);
}

nkr_error_t Controller::setNetworkParameters(const NetworkParameters& parameters) {
  return forward(&ICANOpenDispatcher::setNetworkParameters)(parameters);
}

nkr_error_t Controller::getCommunicationParameters(CommunicationParameters& parameters) const {
  return forward(&ICANOpenDispatcher::getCommunicationParameters)(parameters);
}

nkr_error_t Controller::setCommunicationParameters(const CommunicationParameters& parameters) {
  return forward(&ICANOpenDispatcher::setCommunicationParameters)(parameters);
}

nkr_error_t Controller::getSDOCommunicationParameters(const SDOId& sdo,
                                                      SDOCommunicationParameters& parameters) const {
  return forward(&ICANOpenDispatcher::getSDOCommunicationParameters)(sdo, parameters);
}

nkr_error_t Controller::setSDOCommunicationParameters(const SDOId& sdo,
                                                      const SDOCommunicationParameters& parameters) {
  return forward(&ICANOpenDispatcher::setSDOCommunicationParameters)(sdo, parameters);
}

nkr_error_t Controller::getRPDOCommunicationParameters(const PDOId& pdo,
                                                       PDOCommunicationParameters& parameters) const {
  return forward(&ICANOpenDispatcher::getRPDOCommunicationParameters)(pdo, parameters);
}

nkr_error_t Controller::setRPDOCommunicationParameters(const PDOId& pdo,
                                                       const PDOCommunicationParameters& parameters) {
  return forward(&ICANOpenDispatcher::setRPDOCommunicationParameters)(pdo, parameters);
}

nkr_error_t Controller::getTPDOCommunicationParameters(const PDOId& pdo,
                                                       PDOCommunicationParameters& parameters) const {
  return forward(&ICANOpenDispatcher::getTPDOCommunicationParameters)(pdo, parameters);
}

nkr_error_t Controller::setTPDOCommunicationParameters(const PDOId& pdo,
                                                       const PDOCommunicationParameters& parameters) {
  return forward(&ICANOpenDispatcher::setTPDOCommunicationParameters)(pdo, parameters);
}

nkr_error_t Controller::getRPDOMappingParameters(const PDOId& pdo, PDOMappingParameters& parameters) const {
  return forward(&ICANOpenDispatcher::getRPDOMappingParameters)(pdo, parameters);
}

nkr_error_t Controller::setRPDOMappingParameters(const PDOId& pdo, const PDOMappingParameters& parameters) {
  return forward(&ICANOpenDispatcher::setRPDOMappingParameters)(pdo, parameters);
}

nkr_error_t Controller::getTPDOMappingParameters(const PDOId& pdo, PDOMappingParameters& parameters) const {
  return forward(&ICANOpenDispatcher::getTPDOMappingParameters)(pdo, parameters);
}

nkr_error_t Controller::setTPDOMappingParameters(const PDOId& pdo, const PDOMappingParameters& parameters) {
  return forward(&ICANOpenDispatcher::setTPDOMappingParameters)(pdo, parameters);
}

// IManufacturerService

nkr_error_t Controller::getDeviceParameters(DeviceParameters& parameters) const {
  return forward(&ICANOpenDispatcher::getDeviceParameters)(parameters);
}

nkr_error_t Controller::getVRXParameters(VRXParameters& parameters) const {
  return forward(&ICANOpenDispatcher::getVRXParameters)(parameters);
}

nkr_error_t Controller::setVRXParameters(const VRXParameters& parameters) {
  return forward(&ICANOpenDispatcher::setVRXParameters)(parameters);
}

nkr_error_t Controller::getCalibrationValidity(bool& valid) const {
  return forward(&ICANOpenDispatcher::getCalibrationValidity)(valid);
}

nkr_error_t Controller::getSystemErrorState(SystemErrorStatus& batteryUnderVoltage,
                                            SystemErrorStatus& batteryOverVoltage,
                                            SystemErrorStatus& phaseOverCurrent,
                                            SystemErrorStatus& mosfetOverTemperature,
                                            SystemErrorStatus& driverOverTemperature) const {
  return forward(&ICANOpenDispatcher::getSystemErrorState)(batteryUnderVoltage, batteryOverVoltage,
                                                           phaseOverCurrent, mosfetOverTemperature,
                                                           driverOverTemperature);
}

nkr_error_t Controller::getSystemErrorProtectState(SystemErrorProtectState& previous,
                                                   SystemErrorProtectState& present) const {
  return forward(&ICANOpenDispatcher::getSystemErrorProtectState)(previous, present);
}

// IVelocityModeService

nkr_error_t Controller::setTargetVelocity(const short& velocity) {
  return forward(&ICANOpenDispatcher::setTargetVelocity)(velocity);
}

nkr_error_t Controller::getTargetVelocity(short& velocity) const {
  return forward(&ICANOpenDispatcher::getTargetVelocity)(velocity);
}

nkr_error_t Controller::getVelocityActualValue(int& velocity) const {
  return forward(&ICANOpenDispatcher::getVelocityActualValue)(velocity);
}

nkr_error_t Controller::getVelocityDemand(short& velocity) const {
  return forward(&ICANOpenDispatcher::getVelocityDemand)(velocity);
}

nkr_error_t Controller::getPositionValue(int& position) const {
  return forward(&ICANOpenDispatcher::getPositionValue)(position);
}

nkr_error_t Controller::getVelocityModeParameters(VelocityModeParameters& parameters) const {
  return forward(&ICANOpenDispatcher::getVelocityModeParameters)(parameters);
}

nkr_error_t Controller::setVelocityModeParameters(const VelocityModeParameters& parameters) {
  return forward(&ICANOpenDispatcher::setVelocityModeParameters)(parameters);
}

nkr_error_t Controller::getVelocityModeStatusword(VelocityModeStatusword& statusword) const {
  return forward(&ICANOpenDispatcher::getVelocityModeStatusword)(statusword);
}

nkr_error_t Controller::getVelocityModeControlword(VelocityModeControlword& controlword) const {
  return forward(&ICANOpenDispatcher::getVelocityModeControlword)(controlword);
}

nkr_error_t Controller::setEnableRamp(const bool& on) {
  return forward(&ICANOpenDispatcher::setEnableRamp)(on);
}

nkr_error_t Controller::setUnlockRamp(const bool& on) {
  return forward(&ICANOpenDispatcher::setUnlockRamp)(on);
}

nkr_error_t Controller::setReferenceRamp(const bool& on) {
  return forward(&ICANOpenDispatcher::setReferenceRamp)(on);
}

nkr_error_t Controller::setHalt(const bool& on) {
  return forward(&ICANOpenDispatcher::setHalt)(on);
}

// ISRDOService

nkr_error_t Controller::getSRDOParameters(const SRDOId& srdo, SRDODirection& direction,
                                          SRDOParameters& parameters, unsigned short& signature) const {
  return forward(&ICANOpenDispatcher::getSRDOParameters)(srdo, direction, parameters, signature);
}

nkr_error_t Controller::setSRDOParameters(const SRDOId& srdo, const SRDOParameters& parameters) {
  return forward(&ICANOpenDispatcher::setSRDOParameters)(srdo, parameters);
}

nkr_error_t Controller::getSRDOMapping(const SRDOId& srdo, SRDOMapping& mapping) const {
  return forward(&ICANOpenDispatcher::getSRDOMapping)(srdo, mapping);
}

nkr_error_t Controller::getSRDOConfigurationValidity(bool& valid) const {
  return forward(&ICANOpenDispatcher::getSRDOConfigurationValidity)(valid);
}

nkr_error_t Controller::setSRDOConfigurationValidity() {
  return forward(&ICANOpenDispatcher::setSRDOConfigurationValidity)();
}

}  // namespace nkr::tavcore
