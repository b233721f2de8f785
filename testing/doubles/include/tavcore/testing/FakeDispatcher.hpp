#ifndef TAVCORE_TESTING_FAKEDISPATCHER_HPP
#define TAVCORE_TESTING_FAKEDISPATCHER_HPP

#include <deque>
#include <map>
#include <stdexcept>
#include <string>
#include <tavcore/ICANOpenDispatcher.hpp>
#include <vector>

namespace tav::doubles {

/**
 * A dispatcher that answers as told and records what it was asked: each call by its operation's name and the
 * addresses of its arguments, so that a test sees whether the very same objects arrived.
 */
class FakeDispatcher : public nkr::tavcore::ICANOpenDispatcher {
 public:
  struct Call {
    std::string operation;
    std::vector<const void*> arguments;
  };

  mutable std::vector<Call> calls;
  /** Results by operation, one a call; the last one stays. None given: NKR_OK. */
  mutable std::map<std::string, std::deque<nkr_error_t>> results;
  /** Throw std::runtime_error from this operation. */
  std::string throwing_operation;

  mutable std::deque<PDSState> states;  ///< answers of getPDSState; the last one stays
  NMTState nmt_state{};
  int axis_position = 0;
  int axis_velocity = 0;
  unsigned int sw_version = 0;
  unsigned int hw_version = 0;
  bool config_loaded = true;
  bool client_initialized = true;
  mutable std::vector<short> target_velocities;
  mutable std::vector<bool> fault_resets;
  std::vector<NMTCommand> nmt_commands;

  [[nodiscard]] std::vector<std::string> operations() const {
    std::vector<std::string> names;
    for (const Call& call : calls) names.push_back(call.operation);
    return names;
  }

  // ICANOpenDispatcher
  nkr_error_t init() override { return called("init"); }
  bool isConfigLoaded() const override {
    static_cast<void>(called("isConfigLoaded"));
    return config_loaded;
  }
  bool isClientInitialized() const override {
    static_cast<void>(called("isClientInitialized"));
    return client_initialized;
  }
  nkr_error_t syncTav(const int& order, bool flag, nkr::canopenservice::TavOut& out) override {
    return called("syncTav", order, flag, out);
  }
  nkr_error_t getSWVersion(unsigned int& version) const override {
    version = sw_version;
    return called("getSWVersion(number)", version);
  }
  nkr_error_t getHWVersion(unsigned int& version) const override {
    version = hw_version;
    return called("getHWVersion(number)", version);
  }
  nkr_error_t getHWConfig(unsigned int& config) const override { return called("getHWConfig", config); }
  nkr_error_t getHWId(unsigned int& id) const override { return called("getHWId", id); }

  // IDiagnosticService
  nkr_error_t getAxisData(int& position, int& velocity) const override {
    return called("getAxisData", position, velocity);
  }
  nkr_error_t getTavInfos(bool& operationEnabled, unsigned char& nmtState, bool& usbPresent, int& odometry,
                          int& position, int& velocity, unsigned int& reserved, int& speedPercent,
                          MoveEnum& move) const override {
    return called("getTavInfos", operationEnabled, nmtState, usbPresent, odometry, position, velocity,
                  reserved, speedPercent, move);
  }
  nkr_error_t setTavInfos(const int& speedPercent, const MoveEnum& order) override {
    return called("setTavInfos", speedPercent, order);
  }
  // IInternalService
  nkr_error_t _storeParameters(const _BlocId& block) override { return called("_storeParameters", block); }
  nkr_error_t _restoreDefaultParameters(const _BlocId& block) override {
    return called("_restoreDefaultParameters", block);
  }
  nkr_error_t _setDeviceParameters(const _DeviceParameters& parameters) override {
    return called("_setDeviceParameters", parameters);
  }
  nkr_error_t _getSelfTestStatus(_SelfTestStatus& status) const override {
    return called("_getSelfTestStatus", status);
  }
  nkr_error_t _simulateSelfTestError(const _SelfTestStatus& status) const override {
    return called("_simulateSelfTestError", status);
  }
  nkr_error_t _getCalibrationParameters(_CalibrationParameters& parameters) const override {
    return called("_getCalibrationParameters", parameters);
  }
  nkr_error_t _getSystemErrorConfig(_SystemErrorConfig& config) const override {
    return called("_getSystemErrorConfig", config);
  }
  nkr_error_t _setSystemErrorConfig(const _SystemErrorConfig& config) override {
    return called("_setSystemErrorConfig", config);
  }
  nkr_error_t _getLevel1Error(unsigned int& error) const override { return called("_getLevel1Error", error); }
  nkr_error_t _setNodeId(const unsigned char& id) override { return called("_setNodeId", id); }
  // INMTService
  nkr_error_t getNMTState(NMTState& state) const override {
    state = nmt_state;
    return called("getNMTState", state);
  }
  nkr_error_t setNMTState(const NMTCommand& command) override {
    nmt_commands.push_back(command);
    return called("setNMTState", command);
  }
  // IEMCYService
  nkr_error_t getErrorBehavior(const ErrorType& type, ErrorBehavior& behavior) const override {
    return called("getErrorBehavior", type, behavior);
  }
  nkr_error_t setErrorBehavior(const ErrorType& type, const ErrorBehavior& behavior) override {
    return called("setErrorBehavior", type, behavior);
  }
  nkr_error_t clearErrorList() override { return called("clearErrorList"); }
  nkr_error_t getErrorCount(int& count) const override { return called("getErrorCount", count); }
  nkr_error_t getErrorRegister(unsigned char& reg) const override { return called("getErrorRegister", reg); }
  nkr_error_t getError(const int& index, unsigned int& code) const override {
    return called("getError", index, code);
  }
  // IPDSService
  nkr_error_t getPeripheralStatus(PeripheralStatus& status) const override {
    return called("getPeripheralStatus", status);
  }
  nkr_error_t getPDSState(PDSState& state) const override {
    if (!states.empty()) {
      state = states.front();
      if (states.size() > 1) states.pop_front();
    }
    return called("getPDSState", state);
  }
  nkr_error_t disableVoltage() const override { return called("disableVoltage"); }
  nkr_error_t shutdown() const override { return called("shutdown"); }
  nkr_error_t quickStop() const override { return called("quickStop"); }
  nkr_error_t switchOn() const override { return called("switchOn"); }
  nkr_error_t enableOperation() const override { return called("enableOperation"); }
  nkr_error_t disableOperation() const override { return called("disableOperation"); }
  nkr_error_t faultReset(const bool& reset) const override {
    fault_resets.push_back(reset);
    return called("faultReset", reset);
  }
  nkr_error_t enterInOperationEnabledState() override { return called("enterInOperationEnabledState"); }
  nkr_error_t getAbortConnectionOptionCode(AbortConnectionOptionCode& code) const override {
    return called("getAbortConnectionOptionCode", code);
  }
  nkr_error_t setAbortConnectionOptionCode(const AbortConnectionOptionCode& code) const override {
    return called("setAbortConnectionOptionCode", code);
  }
  nkr_error_t getQuickStopOptionCode(QuickStopOptionCode& code) const override {
    return called("getQuickStopOptionCode", code);
  }
  nkr_error_t setQuickStopOptionCode(const QuickStopOptionCode& code) const override {
    return called("setQuickStopOptionCode", code);
  }
  nkr_error_t getShutdownOptionCode(ShutdownOptionCode& code) const override {
    return called("getShutdownOptionCode", code);
  }
  nkr_error_t setShutdownOptionCode(const ShutdownOptionCode& code) const override {
    return called("setShutdownOptionCode", code);
  }
  nkr_error_t getDisableOperationOptionCode(DisableOperationOptionCode& code) const override {
    return called("getDisableOperationOptionCode", code);
  }
  nkr_error_t setDisableOperationOptionCode(const DisableOperationOptionCode& code) const override {
    return called("setDisableOperationOptionCode", code);
  }
  nkr_error_t getHaltOptionCode(HaltOptionCode& code) const override {
    return called("getHaltOptionCode", code);
  }
  nkr_error_t setHaltOptionCode(const HaltOptionCode& code) const override {
    return called("setHaltOptionCode", code);
  }
  nkr_error_t getFaultReactionOptionCode(FaultReactionOptionCode& code) const override {
    return called("getFaultReactionOptionCode", code);
  }
  nkr_error_t setFaultReactionOptionCode(const FaultReactionOptionCode& code) const override {
    return called("setFaultReactionOptionCode", code);
  }
  nkr_error_t getOperationModes(OperationMode& mode, OperationMode& mode_display) const override {
    return called("getOperationModes", mode, mode_display);
  }
  nkr_error_t isDriveModeSupported(const OperationMode& mode, bool& supported) const override {
    return called("isDriveModeSupported", mode, supported);
  }
  nkr_error_t getUnitParameters(UnitParameters& units) const override {
    return called("getUnitParameters", units);
  }
  nkr_error_t setUnitParameters(const UnitParameters& units) override {
    return called("setUnitParameters", units);
  }
  nkr_error_t getPolarityParameters(PolarityParameters& polarity) const override {
    return called("getPolarityParameters", polarity);
  }
  nkr_error_t setPolarityParameters(const PolarityParameters& polarity) override {
    return called("setPolarityParameters", polarity);
  }
  // ISafeMotionService
  nkr_error_t getSafetyControlWordMapping(const SafetyControlWordId& word,
                                          SafetyWordMapping& mapping) const override {
    return called("getSafetyControlWordMapping", word, mapping);
  }
  nkr_error_t setSafetyControlWordMapping(const SafetyControlWordId& word,
                                          const SafetyWordMapping& mapping) override {
    return called("setSafetyControlWordMapping", word, mapping);
  }
  nkr_error_t getSafetyStatusWordMapping(const SafetyStatusWordId& word,
                                         SafetyWordMapping& mapping) const override {
    return called("getSafetyStatusWordMapping", word, mapping);
  }
  nkr_error_t setSafetyStatusWordMapping(const SafetyStatusWordId& word,
                                         const SafetyWordMapping& mapping) override {
    return called("setSafetyStatusWordMapping", word, mapping);
  }
  nkr_error_t getSafetyFunctionCommand(const SafetyFunctionId& function, bool& active) const override {
    return called("getSafetyFunctionCommand", function, active);
  }
  nkr_error_t getSafetyFunctionStatus(const SafetyFunctionId& function, bool& active) const override {
    return called("getSafetyFunctionStatus", function, active);
  }
  nkr_error_t getSafetyControlWord(const SafetyControlWordId& word, SafetyWordType& value) const override {
    return called("getSafetyControlWord", word, value);
  }
  nkr_error_t setSafetyControlWord(const SafetyControlWordId& word, const SafetyWordType& value) override {
    return called("setSafetyControlWord", word, value);
  }
  nkr_error_t getSafetyStatusWord(const SafetyStatusWordId& word, SafetyWordType& value) const override {
    return called("getSafetyStatusWord", word, value);
  }
  nkr_error_t getSTOParameters(const STOId& id, STOParameters& parameters,
                               unsigned short& signature) const override {
    return called("getSTOParameters", id, parameters, signature);
  }
  nkr_error_t setSTOParameters(const STOId& id, const STOParameters& parameters) override {
    return called("setSTOParameters", id, parameters);
  }
  nkr_error_t getSLSParameters(const SLSId& id, SLSParameters& parameters,
                               unsigned short& signature) const override {
    return called("getSLSParameters", id, parameters, signature);
  }
  nkr_error_t setSLSParameters(const SLSId& id, const SLSParameters& parameters) override {
    return called("setSLSParameters", id, parameters);
  }
  nkr_error_t getSDIParameters(const SDIId& id, SDIParameters& parameters,
                               unsigned short& signature) const override {
    return called("getSDIParameters", id, parameters, signature);
  }
  nkr_error_t setSDIParameters(const SDIId& id, const SDIParameters& parameters) override {
    return called("setSDIParameters", id, parameters);
  }
  nkr_error_t getSBCParameters(const SBCId& id, SBCParameters& parameters,
                               unsigned short& signature) const override {
    return called("getSBCParameters", id, parameters, signature);
  }
  nkr_error_t setSBCParameters(const SBCId& id, const SBCParameters& parameters) override {
    return called("setSBCParameters", id, parameters);
  }
  // ICommunicationService
  nkr_error_t storeParameters(const BlocId& block) override { return called("storeParameters", block); }
  nkr_error_t restoreDefaultParameters(const BlocId& block) override {
    return called("restoreDefaultParameters", block);
  }
  nkr_error_t getIdentityParameters(IdentityParameters& parameters) const override {
    return called("getIdentityParameters", parameters);
  }
  nkr_error_t getNetworkParameters(NetworkParameters& parameters) const override {
    return called("getNetworkParameters", parameters);
  }
  nkr_error_t setNetworkParameters(const NetworkParameters& parameters) override {
    return called("setNetworkParameters", parameters);
  }
  nkr_error_t getCommunicationParameters(CommunicationParameters& parameters) const override {
    return called("getCommunicationParameters", parameters);
  }
  nkr_error_t setCommunicationParameters(const CommunicationParameters& parameters) override {
    return called("setCommunicationParameters", parameters);
  }
  nkr_error_t getSDOCommunicationParameters(const SDOId& sdo,
                                            SDOCommunicationParameters& parameters) const override {
    return called("getSDOCommunicationParameters", sdo, parameters);
  }
  nkr_error_t setSDOCommunicationParameters(const SDOId& sdo,
                                            const SDOCommunicationParameters& parameters) override {
    return called("setSDOCommunicationParameters", sdo, parameters);
  }
  nkr_error_t getRPDOCommunicationParameters(const PDOId& pdo,
                                             PDOCommunicationParameters& parameters) const override {
    return called("getRPDOCommunicationParameters", pdo, parameters);
  }
  nkr_error_t setRPDOCommunicationParameters(const PDOId& pdo,
                                             const PDOCommunicationParameters& parameters) override {
    return called("setRPDOCommunicationParameters", pdo, parameters);
  }
  nkr_error_t getTPDOCommunicationParameters(const PDOId& pdo,
                                             PDOCommunicationParameters& parameters) const override {
    return called("getTPDOCommunicationParameters", pdo, parameters);
  }
  nkr_error_t setTPDOCommunicationParameters(const PDOId& pdo,
                                             const PDOCommunicationParameters& parameters) override {
    return called("setTPDOCommunicationParameters", pdo, parameters);
  }
  nkr_error_t getRPDOMappingParameters(const PDOId& pdo, PDOMappingParameters& parameters) const override {
    return called("getRPDOMappingParameters", pdo, parameters);
  }
  nkr_error_t setRPDOMappingParameters(const PDOId& pdo, const PDOMappingParameters& parameters) override {
    return called("setRPDOMappingParameters", pdo, parameters);
  }
  nkr_error_t getTPDOMappingParameters(const PDOId& pdo, PDOMappingParameters& parameters) const override {
    return called("getTPDOMappingParameters", pdo, parameters);
  }
  nkr_error_t setTPDOMappingParameters(const PDOId& pdo, const PDOMappingParameters& parameters) override {
    return called("setTPDOMappingParameters", pdo, parameters);
  }
  // IManufacturerService
  nkr_error_t getDeviceParameters(DeviceParameters& parameters) const override {
    return called("getDeviceParameters", parameters);
  }
  nkr_error_t getVRXParameters(VRXParameters& parameters) const override {
    return called("getVRXParameters", parameters);
  }
  nkr_error_t setVRXParameters(const VRXParameters& parameters) override {
    return called("setVRXParameters", parameters);
  }
  nkr_error_t getCalibrationValidity(bool& valid) const override {
    return called("getCalibrationValidity", valid);
  }
  nkr_error_t getSystemErrorState(SystemErrorStatus& batteryUnderVoltage,
                                  SystemErrorStatus& batteryOverVoltage, SystemErrorStatus& phaseOverCurrent,
                                  SystemErrorStatus& mosfetOverTemperature,
                                  SystemErrorStatus& driverOverTemperature) const override {
    return called("getSystemErrorState", batteryUnderVoltage, batteryOverVoltage, phaseOverCurrent,
                  mosfetOverTemperature, driverOverTemperature);
  }
  nkr_error_t getSystemErrorProtectState(SystemErrorProtectState& previous,
                                         SystemErrorProtectState& present) const override {
    return called("getSystemErrorProtectState", previous, present);
  }
  nkr_error_t getSWVersion(std::string& version) const override { return called("getSWVersion", version); }
  nkr_error_t getHWVersion(std::string& version) const override { return called("getHWVersion", version); }
  nkr_error_t checkHWCompatibility(const std::string& hwConfigurationEntry, bool& compatible) const override {
    return called("checkHWCompatibility", hwConfigurationEntry, compatible);
  }
  nkr_error_t getOdometryValue(int& odometry) const override { return called("getOdometryValue", odometry); }
  // IVelocityModeService
  nkr_error_t setTargetVelocity(const short& velocity) override {
    target_velocities.push_back(velocity);
    return called("setTargetVelocity", velocity);
  }
  nkr_error_t getTargetVelocity(short& velocity) const override {
    return called("getTargetVelocity", velocity);
  }
  nkr_error_t getVelocityActualValue(int& velocity) const override {
    velocity = axis_velocity;
    return called("getVelocityActualValue", velocity);
  }
  nkr_error_t getVelocityDemand(short& velocity) const override {
    return called("getVelocityDemand", velocity);
  }
  nkr_error_t getPositionValue(int& position) const override {
    position = axis_position;
    return called("getPositionValue", position);
  }
  nkr_error_t getVelocityModeParameters(VelocityModeParameters& parameters) const override {
    return called("getVelocityModeParameters", parameters);
  }
  nkr_error_t setVelocityModeParameters(const VelocityModeParameters& parameters) override {
    return called("setVelocityModeParameters", parameters);
  }
  nkr_error_t getVelocityModeStatusword(VelocityModeStatusword& statusword) const override {
    return called("getVelocityModeStatusword", statusword);
  }
  nkr_error_t getVelocityModeControlword(VelocityModeControlword& controlword) const override {
    return called("getVelocityModeControlword", controlword);
  }
  nkr_error_t setEnableRamp(const bool& on) override { return called("setEnableRamp", on); }
  nkr_error_t setUnlockRamp(const bool& on) override { return called("setUnlockRamp", on); }
  nkr_error_t setReferenceRamp(const bool& on) override { return called("setReferenceRamp", on); }
  nkr_error_t setHalt(const bool& on) override { return called("setHalt", on); }
  // ISRDOService
  nkr_error_t getSRDOParameters(const SRDOId& srdo, SRDODirection& direction, SRDOParameters& parameters,
                                unsigned short& signature) const override {
    return called("getSRDOParameters", srdo, direction, parameters, signature);
  }
  nkr_error_t setSRDOParameters(const SRDOId& srdo, const SRDOParameters& parameters) override {
    return called("setSRDOParameters", srdo, parameters);
  }
  nkr_error_t getSRDOMapping(const SRDOId& srdo, SRDOMapping& mapping) const override {
    return called("getSRDOMapping", srdo, mapping);
  }
  nkr_error_t getSRDOConfigurationValidity(bool& valid) const override {
    return called("getSRDOConfigurationValidity", valid);
  }
  nkr_error_t setSRDOConfigurationValidity() override { return called("setSRDOConfigurationValidity"); }

 private:
  template <class... Arguments>
  nkr_error_t called(const std::string& operation, const Arguments&... arguments) const {
    calls.push_back({operation, {static_cast<const void*>(&arguments)...}});
    if (operation == throwing_operation) throw std::runtime_error(operation);
    std::deque<nkr_error_t>& scripted = results[operation];
    if (scripted.empty()) return NKR_OK;
    const nkr_error_t result = scripted.front();
    if (scripted.size() > 1) scripted.pop_front();
    return result;
  }
};

}  // namespace tav::doubles

#endif
