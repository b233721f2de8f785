#include <gtest/gtest.h>

#include <cstring>
#include <tuple>
#include <type_traits>
#include <utility>

#include "support/ControllerFixture.hpp"

namespace {

using namespace nkr::tavcore;
using tavtest::ControllerFixture;

/** Calls `each(name, operation)` for every operation that the controller hands on unchanged. */
template <class Each>
void for_each_forwarded_operation(Each each) {
  each("_storeParameters", &IInternalService::_storeParameters);
  each("_restoreDefaultParameters", &IInternalService::_restoreDefaultParameters);
  each("_setDeviceParameters", &IInternalService::_setDeviceParameters);
  each("_getSelfTestStatus", &IInternalService::_getSelfTestStatus);
  each("_simulateSelfTestError", &IInternalService::_simulateSelfTestError);
  each("_getCalibrationParameters", &IInternalService::_getCalibrationParameters);
  each("_getSystemErrorConfig", &IInternalService::_getSystemErrorConfig);
  each("_setSystemErrorConfig", &IInternalService::_setSystemErrorConfig);
  each("_getLevel1Error", &IInternalService::_getLevel1Error);
  each("_setNodeId", &IInternalService::_setNodeId);
  each("getNMTState", &INMTService::getNMTState);
  each("setNMTState", &INMTService::setNMTState);
  each("getErrorBehavior", &IEMCYService::getErrorBehavior);
  each("setErrorBehavior", &IEMCYService::setErrorBehavior);
  each("clearErrorList", &IEMCYService::clearErrorList);
  each("getErrorCount", &IEMCYService::getErrorCount);
  each("getErrorRegister", &IEMCYService::getErrorRegister);
  each("getError", &IEMCYService::getError);
  each("getPeripheralStatus", &IPDSService::getPeripheralStatus);
  each("getPDSState", &IPDSService::getPDSState);
  each("disableVoltage", &IPDSService::disableVoltage);
  each("shutdown", &IPDSService::shutdown);
  each("quickStop", &IPDSService::quickStop);
  each("switchOn", &IPDSService::switchOn);
  each("enableOperation", &IPDSService::enableOperation);
  each("disableOperation", &IPDSService::disableOperation);
  each("faultReset", &IPDSService::faultReset);
  each("getAbortConnectionOptionCode", &IPDSService::getAbortConnectionOptionCode);
  each("setAbortConnectionOptionCode", &IPDSService::setAbortConnectionOptionCode);
  each("getQuickStopOptionCode", &IPDSService::getQuickStopOptionCode);
  each("setQuickStopOptionCode", &IPDSService::setQuickStopOptionCode);
  each("getShutdownOptionCode", &IPDSService::getShutdownOptionCode);
  each("setShutdownOptionCode", &IPDSService::setShutdownOptionCode);
  each("getDisableOperationOptionCode", &IPDSService::getDisableOperationOptionCode);
  each("setDisableOperationOptionCode", &IPDSService::setDisableOperationOptionCode);
  each("getHaltOptionCode", &IPDSService::getHaltOptionCode);
  each("setHaltOptionCode", &IPDSService::setHaltOptionCode);
  each("getFaultReactionOptionCode", &IPDSService::getFaultReactionOptionCode);
  each("setFaultReactionOptionCode", &IPDSService::setFaultReactionOptionCode);
  each("getOperationModes", &IPDSService::getOperationModes);
  each("isDriveModeSupported", &IPDSService::isDriveModeSupported);
  each("getUnitParameters", &IPDSService::getUnitParameters);
  each("setUnitParameters", &IPDSService::setUnitParameters);
  each("getPolarityParameters", &IPDSService::getPolarityParameters);
  each("setPolarityParameters", &IPDSService::setPolarityParameters);
  each("getSafetyControlWordMapping", &ISafeMotionService::getSafetyControlWordMapping);
  each("setSafetyControlWordMapping", &ISafeMotionService::setSafetyControlWordMapping);
  each("getSafetyStatusWordMapping", &ISafeMotionService::getSafetyStatusWordMapping);
  each("setSafetyStatusWordMapping", &ISafeMotionService::setSafetyStatusWordMapping);
  each("getSafetyFunctionCommand", &ISafeMotionService::getSafetyFunctionCommand);
  each("getSafetyFunctionStatus", &ISafeMotionService::getSafetyFunctionStatus);
  each("getSafetyControlWord", &ISafeMotionService::getSafetyControlWord);
  each("setSafetyControlWord", &ISafeMotionService::setSafetyControlWord);
  each("getSafetyStatusWord", &ISafeMotionService::getSafetyStatusWord);
  each("getSTOParameters", &ISafeMotionService::getSTOParameters);
  each("setSTOParameters", &ISafeMotionService::setSTOParameters);
  each("getSLSParameters", &ISafeMotionService::getSLSParameters);
  each("setSLSParameters", &ISafeMotionService::setSLSParameters);
  each("getSDIParameters", &ISafeMotionService::getSDIParameters);
  each("setSDIParameters", &ISafeMotionService::setSDIParameters);
  each("getSBCParameters", &ISafeMotionService::getSBCParameters);
  each("setSBCParameters", &ISafeMotionService::setSBCParameters);
  each("storeParameters", &ICommunicationService::storeParameters);
  each("restoreDefaultParameters", &ICommunicationService::restoreDefaultParameters);
  each("getIdentityParameters", &ICommunicationService::getIdentityParameters);
  each("getNetworkParameters", &ICommunicationService::getNetworkParameters);
  each("setNetworkParameters", &ICommunicationService::setNetworkParameters);
  each("getCommunicationParameters", &ICommunicationService::getCommunicationParameters);
  each("setCommunicationParameters", &ICommunicationService::setCommunicationParameters);
  each("getSDOCommunicationParameters", &ICommunicationService::getSDOCommunicationParameters);
  each("setSDOCommunicationParameters", &ICommunicationService::setSDOCommunicationParameters);
  each("getRPDOCommunicationParameters", &ICommunicationService::getRPDOCommunicationParameters);
  each("setRPDOCommunicationParameters", &ICommunicationService::setRPDOCommunicationParameters);
  each("getTPDOCommunicationParameters", &ICommunicationService::getTPDOCommunicationParameters);
  each("setTPDOCommunicationParameters", &ICommunicationService::setTPDOCommunicationParameters);
  each("getRPDOMappingParameters", &ICommunicationService::getRPDOMappingParameters);
  each("setRPDOMappingParameters", &ICommunicationService::setRPDOMappingParameters);
  each("getTPDOMappingParameters", &ICommunicationService::getTPDOMappingParameters);
  each("setTPDOMappingParameters", &ICommunicationService::setTPDOMappingParameters);
  each("getDeviceParameters", &IManufacturerService::getDeviceParameters);
  each("getVRXParameters", &IManufacturerService::getVRXParameters);
  each("setVRXParameters", &IManufacturerService::setVRXParameters);
  each("getCalibrationValidity", &IManufacturerService::getCalibrationValidity);
  each("getSystemErrorState", &IManufacturerService::getSystemErrorState);
  each("getSystemErrorProtectState", &IManufacturerService::getSystemErrorProtectState);
  each("setTargetVelocity", &IVelocityModeService::setTargetVelocity);
  each("getTargetVelocity", &IVelocityModeService::getTargetVelocity);
  each("getVelocityActualValue", &IVelocityModeService::getVelocityActualValue);
  each("getVelocityDemand", &IVelocityModeService::getVelocityDemand);
  each("getPositionValue", &IVelocityModeService::getPositionValue);
  each("getVelocityModeParameters", &IVelocityModeService::getVelocityModeParameters);
  each("setVelocityModeParameters", &IVelocityModeService::setVelocityModeParameters);
  each("getVelocityModeStatusword", &IVelocityModeService::getVelocityModeStatusword);
  each("getVelocityModeControlword", &IVelocityModeService::getVelocityModeControlword);
  each("setEnableRamp", &IVelocityModeService::setEnableRamp);
  each("setUnlockRamp", &IVelocityModeService::setUnlockRamp);
  each("setReferenceRamp", &IVelocityModeService::setReferenceRamp);
  each("setHalt", &IVelocityModeService::setHalt);
  each("getSRDOParameters", &ISRDOService::getSRDOParameters);
  each("setSRDOParameters", &ISRDOService::setSRDOParameters);
  each("getSRDOMapping", &ISRDOService::getSRDOMapping);
  each("getSRDOConfigurationValidity", &ISRDOService::getSRDOConfigurationValidity);
  each("setSRDOConfigurationValidity", &ISRDOService::setSRDOConfigurationValidity);
}

constexpr std::size_t kForwardedOperations = 103;

/** Likewise for the operations that the controller serves itself. */
template <class Each>
void for_each_own_operation(Each each) {
  using Text = nkr_error_t (IManufacturerService::*)(std::string&) const;
  each("getAxisData", &IDiagnosticService::getAxisData);
  each("getTavInfos", &IDiagnosticService::getTavInfos);
  each("setTavInfos", &IDiagnosticService::setTavInfos);
  each("enterInOperationEnabledState", &IPDSService::enterInOperationEnabledState);
  each("getSWVersion", Text{&IManufacturerService::getSWVersion});
  each("getHWVersion", Text{&IManufacturerService::getHWVersion});
  each("checkHWCompatibility", &IManufacturerService::checkHWCompatibility);
  each("getOdometryValue", &IManufacturerService::getOdometryValue);
}

template <class Parameters>
void fill_with_a_pattern(Parameters& parameters) {
  std::apply(
      [](auto&... argument) {
        [[maybe_unused]] const auto fill = [](auto& value) {
          if constexpr (std::is_trivially_copyable_v<std::decay_t<decltype(value)>>) {
            std::memset(static_cast<void*>(&value), 0x5A, sizeof value);
          }
        };
        (fill(argument), ...);
      },
      parameters);
}

template <class Parameters>
bool holds_the_pattern(const Parameters& parameters) {
  return std::apply(
      [](const auto&... argument) {
        [[maybe_unused]] const auto untouched = [](const auto& value) {
          using Value = std::decay_t<decltype(value)>;
          if constexpr (std::is_trivially_copyable_v<Value>) {
            unsigned char pattern[sizeof(Value)];
            std::memset(pattern, 0x5A, sizeof pattern);
            return std::memcmp(&value, pattern, sizeof pattern) == 0;
          }
          return true;
        };
        return (untouched(argument) && ... && true);
      },
      parameters);
}

/** A call through the view of one interface, on arguments that the caller owns. */
template <class Operation>
struct View;
template <class Interface, class... Parameters>
struct View<nkr_error_t (Interface::*)(Parameters...)> {
  using Arguments = std::tuple<std::decay_t<Parameters>...>;
  static nkr_error_t call(Controller& controller, nkr_error_t (Interface::*operation)(Parameters...),
                          Arguments& arguments) {
    Interface& view = controller;
    return std::apply([&](auto&... argument) { return (view.*operation)(argument...); }, arguments);
  }
};
template <class Interface, class... Parameters>
struct View<nkr_error_t (Interface::*)(Parameters...) const> {
  using Arguments = std::tuple<std::decay_t<Parameters>...>;
  static nkr_error_t call(Controller& controller, nkr_error_t (Interface::*operation)(Parameters...) const,
                          Arguments& arguments) {
    const Interface& view = controller;
    return std::apply([&](auto&... argument) { return (view.*operation)(argument...); }, arguments);
  }
};

template <class Arguments>
std::vector<const void*> addresses_of(const Arguments& arguments) {
  return std::apply(
      [](const auto&... argument) {
        return std::vector<const void*>{static_cast<const void*>(&argument)...};
      },
      arguments);
}

class ControllerForwarding : public ControllerFixture {};

TEST_F(ControllerForwarding, BeforeInitEveryOperationIsRefusedWithItsOwnRecordAndLeavesItsOutputs) {
  std::size_t operations = 0;
  for_each_forwarded_operation([&](const std::string& name, auto operation) {
    SCOPED_TRACE(name);
    ++operations;
    log.clear();
    Controller controller;
    typename View<decltype(operation)>::Arguments arguments;
    fill_with_a_pattern(arguments);
    EXPECT_EQ(View<decltype(operation)>::call(controller, operation, arguments), NKR_NOT_AVAILABLE);
    EXPECT_TRUE(holds_the_pattern(arguments));
    expect_single_record(0, 2, name, std::nullopt, "TAV Controller is not initialized");
    log.clear();
  });
  EXPECT_EQ(operations, kForwardedOperations);
}

TEST_F(ControllerForwarding, TheControllersOwnOperationsAreReachedThroughTheirInterfacesToo) {
  for_each_own_operation([&](const std::string& name, auto operation) {
    SCOPED_TRACE(name);
    log.clear();
    Controller controller;
    typename View<decltype(operation)>::Arguments arguments;
    fill_with_a_pattern(arguments);
    EXPECT_EQ(View<decltype(operation)>::call(controller, operation, arguments), NKR_NOT_AVAILABLE);
    EXPECT_TRUE(holds_the_pattern(arguments));
    expect_single_record(0, 2, name, std::nullopt, "TAV Controller is not initialized");
  });
}

TEST_F(ControllerForwarding, AfterInitEveryOperationHandsTheSameArgumentsOnAndReturnsTheResultUnchanged) {
  constexpr nkr_error_t kUnknownCode = 0x12345678;
  Controller& controller = initialized_controller();
  for_each_forwarded_operation([&](const std::string& name, auto operation) {
    SCOPED_TRACE(name);
    typename View<decltype(operation)>::Arguments arguments{};
    for (const nkr_error_t result : {NKR_OK, kUnknownCode}) {
      dispatcher->calls.clear();
      dispatcher->results[name] = {result};
      log.clear();
      EXPECT_EQ(View<decltype(operation)>::call(controller, operation, arguments), result);
      ASSERT_EQ(dispatcher->calls.size(), 1U);
      EXPECT_EQ(dispatcher->calls[0].operation, name);
      EXPECT_EQ(dispatcher->calls[0].arguments, addresses_of(arguments));
      EXPECT_TRUE(log.records().empty());
    }
    dispatcher->results.clear();
  });
}

TEST_F(ControllerForwarding, RecordsWithTextOrVectorsAreLeftBeforeInit) {
  Controller controller;
  IManufacturerService::DeviceParameters parameters{"a", "b", "c"};
  EXPECT_EQ(controller.getDeviceParameters(parameters), NKR_NOT_AVAILABLE);
  EXPECT_EQ(parameters.device_name + parameters.hardware_version + parameters.software_version, "abc");
  ICommunicationService::PDOMappingParameters mapping{1, {7}};
  EXPECT_EQ(controller.getRPDOMappingParameters(ICommunicationService::PDOId{1}, mapping), NKR_NOT_AVAILABLE);
  EXPECT_EQ(mapping.entries, std::vector<std::uint32_t>{7});
  std::string version = "old";
  EXPECT_EQ(controller.getSWVersion(version), NKR_NOT_AVAILABLE);
  EXPECT_EQ(controller.getHWVersion(version), NKR_NOT_AVAILABLE);
  EXPECT_EQ(version, "old");
}

TEST_F(ControllerForwarding, AnEmptyDispatcherFromASecondInitAnswersNotAvailable) {
  Controller& controller = initialized_controller();
  EXPECT_EQ(controller.init(config, nullptr), NKR_ERROR);
  EXPECT_EQ(controller.setHalt(true), NKR_NOT_AVAILABLE);
  EXPECT_EQ(controller.enterInOperationEnabledState(), NKR_NOT_AVAILABLE);
}

TEST_F(ControllerForwarding, ExceptionsOfTheDispatcherReachTheCaller) {
  Controller& controller = initialized_controller();
  dispatcher->throwing_operation = "getSafetyControlWord";
  ISafeMotionService::SafetyWordType word{};
  EXPECT_THROW(
      static_cast<void>(controller.getSafetyControlWord(ISafeMotionService::SafetyControlWordId{9}, word)),
      std::runtime_error);
}

}  // namespace
