#include <gtest/gtest.h>

#include <tavcore/CANOpenDispatcher.hpp>
#include <tavcore/Controller.hpp>
#include <tavcore/Model.hpp>
#include <type_traits>

namespace {

using namespace nkr::tavcore;

template <class Enumeration, class Underlying>
constexpr bool is_enumeration_of() {
  return std::is_same_v<std::underlying_type_t<Enumeration>, Underlying> &&
         !std::is_convertible_v<Enumeration, Underlying>;
}

TEST(Enumerations, AreScopedAndOfTheirWidthAndSign) {
  EXPECT_TRUE((is_enumeration_of<IDiagnosticService::MoveEnum, std::int32_t>()));
  EXPECT_TRUE((is_enumeration_of<IInternalService::_BlocId, std::int32_t>()));
  EXPECT_TRUE((is_enumeration_of<INMTService::NMTState, std::uint32_t>()));
  EXPECT_TRUE((is_enumeration_of<INMTService::NMTCommand, std::uint32_t>()));
  EXPECT_TRUE((is_enumeration_of<IEMCYService::ErrorType, std::uint32_t>()));
  EXPECT_TRUE((is_enumeration_of<IEMCYService::ErrorBehavior, std::uint32_t>()));
  EXPECT_TRUE((is_enumeration_of<IPDSService::PDSState, std::int32_t>()));
  EXPECT_TRUE((is_enumeration_of<IPDSService::AbortConnectionOptionCode, std::int32_t>()));
  EXPECT_TRUE((is_enumeration_of<IPDSService::QuickStopOptionCode, std::int32_t>()));
  EXPECT_TRUE((is_enumeration_of<IPDSService::ShutdownOptionCode, std::int32_t>()));
  EXPECT_TRUE((is_enumeration_of<IPDSService::DisableOperationOptionCode, std::int32_t>()));
  EXPECT_TRUE((is_enumeration_of<IPDSService::HaltOptionCode, std::int32_t>()));
  EXPECT_TRUE((is_enumeration_of<IPDSService::FaultReactionOptionCode, std::int32_t>()));
  EXPECT_TRUE((is_enumeration_of<IPDSService::OperationMode, std::int32_t>()));
  EXPECT_TRUE((is_enumeration_of<ISafeMotionService::SafetyFunctionId, std::int32_t>()));
  EXPECT_TRUE((is_enumeration_of<ISafeMotionService::SafetyControlWordId, std::int32_t>()));
  EXPECT_TRUE((is_enumeration_of<ISafeMotionService::SafetyStatusWordId, std::int32_t>()));
  EXPECT_TRUE((is_enumeration_of<ISafeMotionService::STOId, std::int32_t>()));
  EXPECT_TRUE((is_enumeration_of<ISafeMotionService::SLSId, std::int32_t>()));
  EXPECT_TRUE((is_enumeration_of<ISafeMotionService::SDIId, std::int32_t>()));
  EXPECT_TRUE((is_enumeration_of<ISafeMotionService::SBCId, std::int32_t>()));
  EXPECT_TRUE((is_enumeration_of<ICommunicationService::BlocId, std::int32_t>()));
  EXPECT_TRUE((is_enumeration_of<ICommunicationService::SDOId, std::int32_t>()));
  EXPECT_TRUE((is_enumeration_of<ICommunicationService::PDOId, std::int32_t>()));
  EXPECT_TRUE((is_enumeration_of<IManufacturerService::SystemErrorStatus, std::uint32_t>()));
  EXPECT_TRUE((is_enumeration_of<IManufacturerService::SystemErrorProtectState, std::uint32_t>()));
  EXPECT_TRUE((is_enumeration_of<ISRDOService::SRDOId, std::int32_t>()));
  EXPECT_TRUE((is_enumeration_of<ISRDOService::SRDODirection, std::int32_t>()));
  EXPECT_TRUE((is_enumeration_of<_app_state, std::int32_t>()));
}

TEST(Enumerations, HaveTheirNumbers) {
  EXPECT_EQ(static_cast<int>(IDiagnosticService::MoveEnum::STOP), 0);
  EXPECT_EQ(static_cast<int>(IDiagnosticService::MoveEnum::FORWARD), 1);
  EXPECT_EQ(static_cast<int>(IDiagnosticService::MoveEnum::BACKWARD), 2);
  EXPECT_EQ(static_cast<int>(INMTService::NMTCommand::START_REMOTE_NODE), 1);
  EXPECT_EQ(static_cast<int>(INMTService::NMTCommand::STOP_REMOTE_NODE), 2);
  EXPECT_EQ(static_cast<int>(INMTService::NMTCommand::ENTER_PRE_OPERATIONAL), 128);
  EXPECT_EQ(static_cast<int>(INMTService::NMTCommand::RESET_NODE), 129);
  EXPECT_EQ(static_cast<int>(INMTService::NMTCommand::RESET_COMMUNICATION), 130);
  EXPECT_EQ(static_cast<int>(IPDSService::PDSState::NOT_READY_TO_SWITCH_ON), 0);
  EXPECT_EQ(static_cast<int>(IPDSService::PDSState::SWITCH_ON_DISABLED), 1);
  EXPECT_EQ(static_cast<int>(IPDSService::PDSState::READY_TO_SWITCH_ON), 2);
  EXPECT_EQ(static_cast<int>(IPDSService::PDSState::SWITCHED_ON), 3);
  EXPECT_EQ(static_cast<int>(IPDSService::PDSState::OPERATION_ENABLED), 4);
  EXPECT_EQ(static_cast<int>(IPDSService::PDSState::QUICK_STOP_ACTIVE), 5);
  EXPECT_EQ(static_cast<int>(IPDSService::PDSState::FAULT_REACTION_ACTIVE), 6);
  EXPECT_EQ(static_cast<int>(IPDSService::PDSState::FAULT), 7);
  EXPECT_EQ(static_cast<int>(ISafeMotionService::SafetyFunctionId::NONE), -1);
  EXPECT_EQ(static_cast<int>(ISafeMotionService::SafetyFunctionId::STO), 0);
  EXPECT_EQ(static_cast<int>(ISafeMotionService::SafetyFunctionId::SLS_8), 11);
  EXPECT_EQ(static_cast<int>(ISafeMotionService::SafetyFunctionId::SDIN_2), 15);
  EXPECT_EQ(static_cast<int>(ISafeMotionService::SafetyFunctionId::ERROR_ACKNOWLEDGE), 16);
  EXPECT_EQ(static_cast<int>(ISafeMotionService::SafetyFunctionId::RESTART_ACKNOWLEDGE), 17);
  EXPECT_EQ(static_cast<int>(ICommunicationService::BlocId::ALL), 1);
  EXPECT_EQ(static_cast<int>(ICommunicationService::BlocId::COMMUNICATION), 2);
  EXPECT_EQ(static_cast<int>(ICommunicationService::BlocId::APPLICATION), 3);
  EXPECT_EQ(static_cast<int>(ICommunicationService::BlocId::MANUFACTURER), 4);
}

TEST(Records, ArePlainAggregates) {
  EXPECT_TRUE(std::is_aggregate_v<IInternalService::_SystemErrorConfig>);
  EXPECT_TRUE(std::is_aggregate_v<IInternalService::_CalibrationParameters>);
  EXPECT_TRUE(std::is_aggregate_v<IManufacturerService::VRXParameters>);
  EXPECT_TRUE(std::is_aggregate_v<IManufacturerService::DeviceParameters>);
  EXPECT_TRUE(std::is_aggregate_v<IVelocityModeService::VelocityModeParameters>);
  EXPECT_TRUE(std::is_aggregate_v<ICommunicationService::NetworkParameters>);
  EXPECT_TRUE(std::is_aggregate_v<ICommunicationService::PDOMappingParameters>);
  EXPECT_TRUE(std::is_aggregate_v<ISRDOService::SRDOParameters>);
  EXPECT_TRUE(std::is_aggregate_v<ISafeMotionService::SafetyWordMapping>);
  EXPECT_EQ(sizeof(ICommunicationService::COBID), 4U);
}

TEST(Classes, DeriveAsTheirUsersRelyOn) {
  EXPECT_TRUE((std::is_base_of_v<IService, Controller>));
  EXPECT_TRUE((std::is_base_of_v<IService, ICANOpenDispatcher>));
  EXPECT_TRUE((std::is_base_of_v<ICANOpenDispatcher, CANOpenDispatcher>));
  EXPECT_FALSE(std::is_final_v<CANOpenDispatcher>);
  EXPECT_TRUE(std::has_virtual_destructor_v<Model>);
  EXPECT_TRUE(std::has_virtual_destructor_v<nkr::tools::Mutexed<int>>);
  EXPECT_TRUE((std::is_base_of_v<std::mutex, nkr::tools::Mutexed<int>>));
}

/** A call of both forms of the version operations, by overload resolution on the class itself. */
template <class Class>
constexpr bool has_both_version_forms(
    decltype(std::declval<const Class&>().getSWVersion(std::declval<std::string&>())) /*text*/,
    decltype(std::declval<const Class&>().getHWVersion(std::declval<unsigned int&>())) /*number*/) {
  return true;
}

TEST(Classes, ShowTheTextAndTheNumericFormOfTheVersions) {
  EXPECT_TRUE(has_both_version_forms<ICANOpenDispatcher>(1, 1));
  EXPECT_TRUE(has_both_version_forms<CANOpenDispatcher>(1, 1));
}

}  // namespace
