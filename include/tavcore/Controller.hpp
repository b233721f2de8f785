#ifndef TAVCORE_CONTROLLER_HPP
#define TAVCORE_CONTROLLER_HPP

#include <nkr/export.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <tavcore/Config.hpp>
#include <tavcore/ICANOpenDispatcher.hpp>
#include <tavcore/IService.hpp>

namespace nkr::tavcore {

/**
 * What an application holds: all service operations of the drive, refused until init() and then handed to the
 * dispatcher. Its destructor commands a target velocity of 0.
 *
 * No lock is taken. Several threads may call operations when the client allows it; init() comes before
 * sharing.
 */
class NKR_EXPORT Controller : public IService {
 public:
  Controller();
  /** Ends run(), commands a target velocity of 0, and releases dispatcher and configuration. Never throws. */
  ~Controller() override;
  Controller(const Controller&) = delete;
  Controller& operator=(const Controller&) = delete;

  /** Parks the calling thread until the controller is destroyed: flushes standard output every 100 ms. */
  void run();
  /** The configuration given to init(); empty before. */
  [[nodiscard]] std::shared_ptr<Config> getConfig() const;

  // IDiagnosticService
  NKR_NODISCARD nkr_error_t getAxisData(int& position, int& velocity) const override;
  NKR_NODISCARD nkr_error_t getTavInfos(bool& operationEnabled, unsigned char& nmtState, bool& usbPresent,
                                        int& odometry, int& position, int& velocity, unsigned int& reserved,
                                        int& speedPercent, MoveEnum& move) const override;
  NKR_NODISCARD nkr_error_t setTavInfos(const int& speedPercent, const MoveEnum& order) override;

  /**
   * Takes a loaded configuration and a dispatcher whose own init() succeeded. Both are kept also on failure.
   * @return NKR_ERROR without configuration, or with a dispatcher that is missing or not ready
   */
  NKR_NODISCARD virtual nkr_error_t init(std::shared_ptr<Config> config,
                                         std::shared_ptr<ICANOpenDispatcher> dispatcher);

  // IInternalService
  NKR_NODISCARD nkr_error_t _storeParameters(const _BlocId& block) override;
  NKR_NODISCARD nkr_error_t _restoreDefaultParameters(const _BlocId& block) override;
  NKR_NODISCARD nkr_error_t _setDeviceParameters(const _DeviceParameters& parameters) override;
  NKR_NODISCARD nkr_error_t _getSelfTestStatus(_SelfTestStatus& status) const override;
  NKR_NODISCARD nkr_error_t _simulateSelfTestError(const _SelfTestStatus& status) const override;
  NKR_NODISCARD nkr_error_t _getCalibrationParameters(_CalibrationParameters& parameters) const override;
  NKR_NODISCARD nkr_error_t _getSystemErrorConfig(_SystemErrorConfig& config) const override;
  NKR_NODISCARD nkr_error_t _setSystemErrorConfig(const _SystemErrorConfig& config) override;
  NKR_NODISCARD nkr_error_t _getLevel1Error(unsigned int& error) const override;
  NKR_NODISCARD nkr_error_t _setNodeId(const unsigned char& id) override;

  // INMTService
  NKR_NODISCARD nkr_error_t getNMTState(NMTState& state) const override;
  NKR_NODISCARD nkr_error_t setNMTState(const NMTCommand& command) override;

  // IEMCYService
  NKR_NODISCARD nkr_error_t getErrorBehavior(const ErrorType& type, ErrorBehavior& behavior) const override;
  NKR_NODISCARD nkr_error_t setErrorBehavior(const ErrorType& type, const ErrorBehavior& behavior) override;
  NKR_NODISCARD nkr_error_t clearErrorList() override;
  NKR_NODISCARD nkr_error_t getErrorCount(int& count) const override;
  NKR_NODISCARD nkr_error_t getErrorRegister(unsigned char& reg) const override;
  NKR_NODISCARD nkr_error_t getError(const int& index, unsigned int& code) const override;

  // IPDSService
  NKR_NODISCARD nkr_error_t getPeripheralStatus(PeripheralStatus& status) const override;
  NKR_NODISCARD nkr_error_t getPDSState(PDSState& state) const override;
  NKR_NODISCARD nkr_error_t disableVoltage() const override;
  NKR_NODISCARD nkr_error_t shutdown() const override;
  NKR_NODISCARD nkr_error_t quickStop() const override;
  NKR_NODISCARD nkr_error_t switchOn() const override;
  NKR_NODISCARD nkr_error_t enableOperation() const override;
  NKR_NODISCARD nkr_error_t disableOperation() const override;
  NKR_NODISCARD nkr_error_t faultReset(const bool& reset) const override;
  NKR_NODISCARD nkr_error_t enterInOperationEnabledState() override;
  NKR_NODISCARD nkr_error_t getAbortConnectionOptionCode(AbortConnectionOptionCode& code) const override;
  NKR_NODISCARD nkr_error_t
  setAbortConnectionOptionCode(const AbortConnectionOptionCode& code) const override;
  NKR_NODISCARD nkr_error_t getQuickStopOptionCode(QuickStopOptionCode& code) const override;
  NKR_NODISCARD nkr_error_t setQuickStopOptionCode(const QuickStopOptionCode& code) const override;
  NKR_NODISCARD nkr_error_t getShutdownOptionCode(ShutdownOptionCode& code) const override;
  NKR_NODISCARD nkr_error_t setShutdownOptionCode(const ShutdownOptionCode& code) const override;
  NKR_NODISCARD nkr_error_t getDisableOperationOptionCode(DisableOperationOptionCode& code) const override;
  NKR_NODISCARD nkr_error_t
  setDisableOperationOptionCode(const DisableOperationOptionCode& code) const override;
  NKR_NODISCARD nkr_error_t getHaltOptionCode(HaltOptionCode& code) const override;
  NKR_NODISCARD nkr_error_t setHaltOptionCode(const HaltOptionCode& code) const override;
  NKR_NODISCARD nkr_error_t getFaultReactionOptionCode(FaultReactionOptionCode& code) const override;
  NKR_NODISCARD nkr_error_t setFaultReactionOptionCode(const FaultReactionOptionCode& code) const override;
  NKR_NODISCARD nkr_error_t getOperationModes(OperationMode& mode,
                                              OperationMode& mode_display) const override;
  NKR_NODISCARD nkr_error_t isDriveModeSupported(const OperationMode& mode, bool& supported) const override;
  NKR_NODISCARD nkr_error_t getUnitParameters(UnitParameters& units) const override;
  NKR_NODISCARD nkr_error_t setUnitParameters(const UnitParameters& units) override;
  NKR_NODISCARD nkr_error_t getPolarityParameters(PolarityParameters& polarity) const override;
  NKR_NODISCARD nkr_error_t setPolarityParameters(const PolarityParameters& polarity) override;

  // ISafeMotionService
  NKR_NODISCARD nkr_error_t getSafetyControlWordMapping(const SafetyControlWordId& word,
                                                        SafetyWordMapping& mapping) const override;
  NKR_NODISCARD nkr_error_t setSafetyControlWordMapping(const SafetyControlWordId& word,
                                                        const SafetyWordMapping& mapping) override;
  NKR_NODISCARD nkr_error_t getSafetyStatusWordMapping(const SafetyStatusWordId& word,
                                                       SafetyWordMapping& mapping) const override;
  NKR_NODISCARD nkr_error_t setSafetyStatusWordMapping(const SafetyStatusWordId& word,
                                                       const SafetyWordMapping& mapping) override;
  NKR_NODISCARD nkr_error_t getSafetyFunctionCommand(const SafetyFunctionId& function,
                                                     bool& active) const override;
  NKR_NODISCARD nkr_error_t getSafetyFunctionStatus(const SafetyFunctionId& function,
                                                    bool& active) const override;
  NKR_NODISCARD nkr_error_t getSafetyControlWord(const SafetyControlWordId& word,
                                                 SafetyWordType& value) const override;
  NKR_NODISCARD nkr_error_t setSafetyControlWord(const SafetyControlWordId& word,
                                                 const SafetyWordType& value) override;
  NKR_NODISCARD nkr_error_t getSafetyStatusWord(const SafetyStatusWordId& word,
                                                SafetyWordType& value) const override;
  NKR_NODISCARD nkr_error_t getSTOParameters(const STOId& id, STOParameters& parameters,
                                             unsigned short& signature) const override;
  NKR_NODISCARD nkr_error_t setSTOParameters(const STOId& id, const STOParameters& parameters) override;
  NKR_NODISCARD nkr_error_t getSLSParameters(const SLSId& id, SLSParameters& parameters,
                                             unsigned short& signature) const override;
  NKR_NODISCARD nkr_error_t setSLSParameters(const SLSId& id, const SLSParameters& parameters) override;
  NKR_NODISCARD nkr_error_t getSDIParameters(const SDIId& id, SDIParameters& parameters,
                                             unsigned short& signature) const override;
  NKR_NODISCARD nkr_error_t setSDIParameters(const SDIId& id, const SDIParameters& parameters) override;
  NKR_NODISCARD nkr_error_t getSBCParameters(const SBCId& id, SBCParameters& parameters,
                                             unsigned short& signature) const override;
  NKR_NODISCARD nkr_error_t setSBCParameters(const SBCId& id, const SBCParameters& parameters) override;

  // ICommunicationService
  NKR_NODISCARD nkr_error_t storeParameters(const BlocId& block) override;
  NKR_NODISCARD nkr_error_t restoreDefaultParameters(const BlocId& block) override;
  NKR_NODISCARD nkr_error_t getIdentityParameters(IdentityParameters& parameters) const override;
  NKR_NODISCARD nkr_error_t getNetworkParameters(NetworkParameters& parameters) const override;
  NKR_NODISCARD nkr_error_t setNetworkParameters(const NetworkParameters& parameters) override;
  NKR_NODISCARD nkr_error_t getCommunicationParameters(CommunicationParameters& parameters) const override;
  NKR_NODISCARD nkr_error_t setCommunicationParameters(const CommunicationParameters& parameters) override;
  NKR_NODISCARD nkr_error_t
  getSDOCommunicationParameters(const SDOId& sdo, SDOCommunicationParameters& parameters) const override;
  NKR_NODISCARD nkr_error_t
  setSDOCommunicationParameters(const SDOId& sdo, const SDOCommunicationParameters& parameters) override;
  NKR_NODISCARD nkr_error_t
  getRPDOCommunicationParameters(const PDOId& pdo, PDOCommunicationParameters& parameters) const override;
  NKR_NODISCARD nkr_error_t
  setRPDOCommunicationParameters(const PDOId& pdo, const PDOCommunicationParameters& parameters) override;
  NKR_NODISCARD nkr_error_t
  getTPDOCommunicationParameters(const PDOId& pdo, PDOCommunicationParameters& parameters) const override;
  NKR_NODISCARD nkr_error_t
  setTPDOCommunicationParameters(const PDOId& pdo, const PDOCommunicationParameters& parameters) override;
  NKR_NODISCARD nkr_error_t getRPDOMappingParameters(const PDOId& pdo,
                                                     PDOMappingParameters& parameters) const override;
  NKR_NODISCARD nkr_error_t setRPDOMappingParameters(const PDOId& pdo,
                                                     const PDOMappingParameters& parameters) override;
  NKR_NODISCARD nkr_error_t getTPDOMappingParameters(const PDOId& pdo,
                                                     PDOMappingParameters& parameters) const override;
  NKR_NODISCARD nkr_error_t setTPDOMappingParameters(const PDOId& pdo,
                                                     const PDOMappingParameters& parameters) override;

  // IManufacturerService
  NKR_NODISCARD nkr_error_t getDeviceParameters(DeviceParameters& parameters) const override;
  NKR_NODISCARD nkr_error_t getVRXParameters(VRXParameters& parameters) const override;
  NKR_NODISCARD nkr_error_t setVRXParameters(const VRXParameters& parameters) override;
  NKR_NODISCARD nkr_error_t getCalibrationValidity(bool& valid) const override;
  NKR_NODISCARD nkr_error_t getSystemErrorState(SystemErrorStatus& batteryUnderVoltage,
                                                SystemErrorStatus& batteryOverVoltage,
                                                SystemErrorStatus& phaseOverCurrent,
                                                SystemErrorStatus& mosfetOverTemperature,
                                                SystemErrorStatus& driverOverTemperature) const override;
  NKR_NODISCARD nkr_error_t getSystemErrorProtectState(SystemErrorProtectState& previous,
                                                       SystemErrorProtectState& present) const override;
  NKR_NODISCARD nkr_error_t getSWVersion(std::string& version) const override;
  NKR_NODISCARD nkr_error_t getHWVersion(std::string& version) const override;
  NKR_NODISCARD nkr_error_t checkHWCompatibility(const std::string& hwConfigurationEntry,
                                                 bool& compatible) const override;
  NKR_NODISCARD nkr_error_t getOdometryValue(int& odometry) const override;

  // IVelocityModeService
  NKR_NODISCARD nkr_error_t setTargetVelocity(const short& velocity) override;
  NKR_NODISCARD nkr_error_t getTargetVelocity(short& velocity) const override;
  NKR_NODISCARD nkr_error_t getVelocityActualValue(int& velocity) const override;
  NKR_NODISCARD nkr_error_t getVelocityDemand(short& velocity) const override;
  NKR_NODISCARD nkr_error_t getPositionValue(int& position) const override;
  NKR_NODISCARD nkr_error_t getVelocityModeParameters(VelocityModeParameters& parameters) const override;
  NKR_NODISCARD nkr_error_t setVelocityModeParameters(const VelocityModeParameters& parameters) override;
  NKR_NODISCARD nkr_error_t getVelocityModeStatusword(VelocityModeStatusword& statusword) const override;
  NKR_NODISCARD nkr_error_t getVelocityModeControlword(VelocityModeControlword& controlword) const override;
  NKR_NODISCARD nkr_error_t setEnableRamp(const bool& on) override;
  NKR_NODISCARD nkr_error_t setUnlockRamp(const bool& on) override;
  NKR_NODISCARD nkr_error_t setReferenceRamp(const bool& on) override;
  NKR_NODISCARD nkr_error_t setHalt(const bool& on) override;

  // ISRDOService
  NKR_NODISCARD nkr_error_t getSRDOParameters(const SRDOId& srdo, SRDODirection& direction,
                                              SRDOParameters& parameters,
                                              unsigned short& signature) const override;
  NKR_NODISCARD nkr_error_t setSRDOParameters(const SRDOId& srdo, const SRDOParameters& parameters) override;
  NKR_NODISCARD nkr_error_t getSRDOMapping(const SRDOId& srdo, SRDOMapping& mapping) const override;
  NKR_NODISCARD nkr_error_t getSRDOConfigurationValidity(bool& valid) const override;
  NKR_NODISCARD nkr_error_t setSRDOConfigurationValidity() override;

 private:
  // The caller's own name and line go into the not-initialized record.
  [[nodiscard]] bool is_initialized(const char* function = __builtin_FUNCTION(),
                                    std::uint32_t line = __builtin_LINE()) const;
  [[nodiscard]] ICANOpenDispatcher* ready_dispatcher(const char* function = __builtin_FUNCTION(),
                                                     std::uint32_t line = __builtin_LINE()) const {
    if (initialized_) return dispatcher_.get();
    static_cast<void>(is_initialized(function, line));  // records the refusal
    return nullptr;
  }
  template <class Operation>
  [[nodiscard]] auto forward(Operation operation, const char* function = __builtin_FUNCTION(),
                             std::uint32_t line = __builtin_LINE()) const;
  [[nodiscard]] std::uint32_t context() const;

  std::shared_ptr<Config> config_;
  std::shared_ptr<std::atomic<bool>>
      running_;  // shared with run(), which may outlive the controller by one sleep
  bool initialized_ = false;
  std::shared_ptr<ICANOpenDispatcher> dispatcher_;
};

}  // namespace nkr::tavcore

#endif
