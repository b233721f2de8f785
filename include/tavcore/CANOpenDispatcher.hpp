#ifndef TAVCORE_CANOPENDISPATCHER_HPP
#define TAVCORE_CANOPENDISPATCHER_HPP

#include <nkr/cia402.h>
#include <nkr/export.h>

#include <array>
#include <cstdint>
#include <memory>
#include <nkr/canopencore/IService.hpp>
#include <string>
#include <tavcore/Config.hpp>
#include <tavcore/ICANOpenDispatcher.hpp>
#include <type_traits>
#include <vector>

namespace nkr::tavcore {

class DictionaryAccess;
struct Here;
struct SafetyExpectation;
struct SafetyVerification;

class CANOpenDispatcher;
// Before it is a friend, so that the friend is exported. NOLINTNEXTLINE(readability-redundant-declaration)
[[nodiscard]] NKR_EXPORT SafetyVerification verify_safety(const CANOpenDispatcher& dispatcher,
                                                          const std::vector<std::int32_t>& srdos,
                                                          const SafetyExpectation& expected);

/**
 * Carries every service operation out as reads and writes of the drive's object dictionary, through an
 * injected CANopen client, by the object's name in the device description or by its address.
 *
 * An access that fails is made once more, and the operation ends with that second result: an operation that
 * answers NKR_OK after a repeat has left its later accesses and outputs out. Read back what must be certain.
 * Network management and emergency operations and the SYNC exchange are made once.
 *
 * Address: index << 16 | subindex << 8 | length in bits. No lock is taken: operations may run at once when
 * the client allows it, but not together with init(), _setNodeId(), setNMTState() and setNetworkParameters()
 * or restoreDefaultParameters(), which change the node id.
 */
class NKR_EXPORT CANOpenDispatcher : public ICANOpenDispatcher {
 public:
  /** Keeps both pointers; checks nothing and sends nothing. */
  CANOpenDispatcher(std::shared_ptr<Config> config, std::shared_ptr<canopencore::IService> client);
  ~CANOpenDispatcher() override;
  CANOpenDispatcher(const CANOpenDispatcher&) = delete;
  CANOpenDispatcher& operator=(const CANOpenDispatcher&) = delete;

  // IDiagnosticService
  NKR_NODISCARD nkr_error_t getAxisData(int& position, int& velocity) const override;
  NKR_NODISCARD nkr_error_t getTavInfos(bool& operationEnabled, unsigned char& nmtState, bool& usbPresent,
                                        int& odometry, int& position, int& velocity, unsigned int& reserved,
                                        int& speedPercent, MoveEnum& move) const override;
  NKR_NODISCARD nkr_error_t setTavInfos(const int& speedPercent, const MoveEnum& order) override;

  /**
   * Takes the node id from the configuration, then reads the device description that it names. May be called
   * again; a failure then leaves what was loaded before.
   * @return NKR_ERROR without configuration or client; NKR_NOT_AVAILABLE for a file that cannot be read
   */
  NKR_NODISCARD nkr_error_t init() override;
  [[nodiscard]] bool isConfigLoaded() const override;
  /** The client's isInitialized(); the client must not be null. */
  [[nodiscard]] bool isClientInitialized() const override;
  NKR_NODISCARD nkr_error_t syncTav(const int& order, bool flag, canopenservice::TavOut& out) override;
  NKR_NODISCARD nkr_error_t getSWVersion(unsigned int& version) const override;
  NKR_NODISCARD nkr_error_t getHWVersion(unsigned int& version) const override;
  NKR_NODISCARD nkr_error_t getHWConfig(unsigned int& config) const override;
  NKR_NODISCARD nkr_error_t getHWId(unsigned int& id) const override;

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

  /** @name Named access
   * T: bool, signed char (read only), unsigned char, short, unsigned short, int, unsigned int, float,
   * std::string. The type chooses the client's operation; it is not compared with the object's type. One
   * attempt, logged.
   * @return NKR_NOT_AVAILABLE for an unknown name (nothing is sent); else the client's result
   * @{ */
  NKR_NODISCARD nkr_error_t get_address(const std::string& name, unsigned int& address) const;
  template <class T>
  NKR_NODISCARD nkr_error_t get_value(const std::string& name, T& value) const;
  template <class T>
  NKR_NODISCARD nkr_error_t set_value(const std::string& name, const T& value) const;
  /** @} */

  /** @name Access by address; T: unsigned char, unsigned short, unsigned int. No look-up, no check.
   * @{ */
  template <class T>
  NKR_NODISCARD nkr_error_t get_value_by_address(unsigned int address, T& value) const;
  template <class T>
  NKR_NODISCARD nkr_error_t set_value_by_address(unsigned int address, const T& value) const;
  /** @} */

  /** @name Records of successful writes
   * T: bool, unsigned char, short, unsigned short, int, unsigned int, float; by address the unsigned types.
   * @{ */
  void log_set_success(const std::string& name, unsigned int address, const std::string& value) const;
  template <class T, class = std::enable_if_t<std::is_arithmetic_v<T>>>
  void log_set_success(const std::string& name, unsigned int address, const T& value) const;
  void log_set_success_address(unsigned int address, const std::string& value) const;
  template <class T, class = std::enable_if_t<std::is_arithmetic_v<T>>>
  void log_set_success_address(unsigned int address, const T& value) const;
  /** @} */

  /** Raw status word, object 0x6041. */
  NKR_NODISCARD nkr_error_t getCIA402StatusWord(std::uint16_t& word) const;
  /**
   * Encodes and writes the control word, object 0x6040, after reading the vendor id afresh.
   * @return NKR_NOT_AVAILABLE, silently and with nothing sent, for a drive of another vendor
   */
  NKR_NODISCARD nkr_error_t sendCIA402ControlWord(const nkr_cia402_control_word_t* command) const;

  /** @name PDO communication parameters at a base address (index << 16)
   * @param withTimes  inhibit time (read only) and event timer too
   * @{ */
  NKR_NODISCARD nkr_error_t getPDOCommunicationParameters(PDOCommunicationParameters& parameters,
                                                          unsigned int base, bool withTimes) const;
  NKR_NODISCARD nkr_error_t setPDOCommunicationParameters(const PDOCommunicationParameters& parameters,
                                                          unsigned int base, bool withTimes);
  /** @} */

  /** @name COB-ID conversions (CiA 301): identifier in the low 16 bits, bit 30, bit 31 (not valid)
   * @{ */
  [[nodiscard]] static COBID cobIdFromRaw(std::uint32_t raw);
  [[nodiscard]] static std::uint32_t cobIdToRaw(const COBID& cobId);
  [[nodiscard]] static std::uint32_t cobIdToRaw(bool valid, bool bit30, std::uint32_t id);
  /** @} */

  /** @name Configuration signatures of the safety functions (CRC-16-CCITT, least significant byte first)
   * Each update reads the units and the 128 mapping objects and writes one signature. A mapping read that
   * fails once and then succeeds ends the mapping's part early: the signature written is then short, and the
   * answer NKR_OK. A unit read that does so leaves the signature unwritten, with NKR_OK too. See
   * verify_safety().
   * @{ */
  /** Step table of CRC-16-CCITT (polynomial 0x1021, most significant bit first). */
  static const std::array<std::uint16_t, 256> CRC_PRECOMPUTED_VALUE;
  /** One CRC update over the bytes of a value; T: bool, uint8, uint16, uint32, each also const. */
  template <class T>
  [[nodiscard]] static std::uint16_t crcComputation(int crc, T& value);
  NKR_NODISCARD nkr_error_t updateSignature_STO(STOId id, STOParameters parameters) const;
  NKR_NODISCARD nkr_error_t updateSignature_SLS(SLSId id, SLSParameters parameters) const;
  NKR_NODISCARD nkr_error_t updateSignature_SDI(SDIId id, SDIParameters parameters) const;
  NKR_NODISCARD nkr_error_t updateSignature_SBC(SBCId id, SBCParameters parameters) const;
  /** Continues a CRC over the whole safety word mapping; `result` is written on success alone. */
  NKR_NODISCARD nkr_error_t computeMappingSignature(std::uint16_t seed, std::uint16_t& result) const;
  /** Recomputes and writes the signatures of STO, SDI, SLS and SBC, all instances, from what the drive holds.
   */
  NKR_NODISCARD nkr_error_t updateAllSafetySignatures() const;
  /** @} */

 private:
  friend SafetyVerification verify_safety(const CANOpenDispatcher& dispatcher,
                                          const std::vector<std::int32_t>& srdos,
                                          const SafetyExpectation& expected);

  /** Records the number of a parameter block that there is not, under the operation's name; NKR_ERROR. */
  NKR_NODISCARD nkr_error_t refuse_block(std::int32_t number, Here here) const;
  /** Takes the description's default node id as the one to address; NKR_NOT_AVAILABLE when it has none. */
  NKR_NODISCARD nkr_error_t follow_default_node_id();
  NKR_NODISCARD nkr_error_t get_pdo_mapping(std::uint32_t mapping, PDOMappingParameters& parameters,
                                            Here here) const;
  NKR_NODISCARD nkr_error_t set_pdo_mapping(std::uint32_t communication, std::uint32_t mapping,
                                            const PDOMappingParameters& parameters, Here here);

  std::unique_ptr<DictionaryAccess> dictionary_;
  std::uint32_t configured_node_id_ = 0;
};

}  // namespace nkr::tavcore

#endif
