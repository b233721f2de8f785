// Random safety configurations through the library, the client and the bus into the virtual drive: three
// computations of every signature (the services', the calculator's, the drive's own) must agree.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <nkr/can/Bus.hpp>
#include <nkr/can/InProcessBus.hpp>
#include <nkr/canopen/Client.hpp>
#include <random>
#include <string>
#include <support/Doubles.hpp>
#include <tav/drive/Runner.hpp>
#include <tav/drive/VirtualDrive.hpp>
#include <tavcore/CANOpenDispatcher.hpp>
#include <tavcore/SafetyVerification.hpp>
#include <thread>

namespace {

using nkr::canopencore::NMTState;
using nkr::tavcore::CANOpenDispatcher;
using nkr::tavcore::SafetyVerification;
using nkr::tavcore::verify_safety;
using Safe = nkr::tavcore::ISafeMotionService;
using Clock = std::chrono::steady_clock;

class SafetyConfigurationOnADrive : public testing::Test {
 protected:
  void SetUp() override {
    log_.disable();
    ASSERT_EQ(config_->load("share/tav/tav.ini"), NKR_OK);
    tav::drive::Settings settings;
    settings.node_id = static_cast<std::uint8_t>(config_->getNodeId());
    std::string problem;
    drive_ = tav::drive::VirtualDrive::from_file("share/tav/tav.eds", settings, problem);
    ASSERT_TRUE(drive_) << problem;
    runner_ = std::make_unique<tav::drive::Runner>(*drive_);
    ASSERT_EQ(runner_->start(*bus_), NKR_OK);
    ASSERT_TRUE(is_heard(settings.node_id));
    ASSERT_EQ(library_.init(), NKR_OK);
  }
  void TearDown() override { client_->close(); }

  bool is_heard(std::uint8_t node) {
    const auto deadline = Clock::now() + std::chrono::seconds(20);
    NMTState state{};
    while (client_->getNMTState(node, state) == NKR_OK && state != NMTState::PRE_OPERATIONAL) {
      if (Clock::now() > deadline) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
  }

  std::uint32_t number() { return static_cast<std::uint32_t>(engine_()); }
  std::uint16_t word() { return static_cast<std::uint16_t>(number()); }
  bool flag() { return (number() & 1U) != 0; }
  Safe::SafetyFunctionId function() {
    return static_cast<Safe::SafetyFunctionId>(static_cast<int>(number() % 19) - 1);
  }
  Safe::SafetyWordMapping mapping() {
    return {function(), function(), function(), function(), function(), function(), function(), function()};
  }

  void set_random_parameters() {
    ASSERT_EQ(library_.setSTOParameters(Safe::STOId{1}, {flag(), number()}), NKR_OK);
    for (int n = 1; n <= 8; ++n) {
      ASSERT_EQ(library_.setSLSParameters(Safe::SLSId{n}, {word(), number(), word(), flag()}), NKR_OK);
    }
    for (int n = 1; n <= 2; ++n) ASSERT_EQ(library_.setSDIParameters(Safe::SDIId{n}, {number()}), NKR_OK);
    for (int n = 1; n <= 3; ++n) ASSERT_EQ(library_.setSBCParameters(Safe::SBCId{n}, {word()}), NKR_OK);
  }
  void set_random_mapping() {
    const auto which = static_cast<int>(number() % 8);
    ASSERT_EQ(library_.setSafetyControlWordMapping(Safe::SafetyControlWordId{which}, mapping()), NKR_OK);
    ASSERT_EQ(library_.setSafetyStatusWordMapping(Safe::SafetyStatusWordId{which}, mapping()), NKR_OK);
  }

  unsigned error_register() {
    unsigned char bits = 0xFF;
    EXPECT_EQ(library_.getErrorRegister(bits), NKR_OK);
    return bits;
  }
  void expect_all_agree() {
    const SafetyVerification verification = verify_safety(library_);
    EXPECT_EQ(verification.result, NKR_OK) << verification.failed_object;
    EXPECT_TRUE(verification.passed());
    EXPECT_EQ(error_register(), 0U) << "the drive computes another signature";
  }

  tavtest::RecordingLog log_;
  std::mt19937 engine_{20260601};
  std::shared_ptr<nkr::can::InProcessBus> bus_ = std::make_shared<nkr::can::InProcessBus>();
  std::shared_ptr<nkr::tavcore::Config> config_ = std::make_shared<nkr::tavcore::Config>();
  std::unique_ptr<tav::drive::VirtualDrive> drive_;
  std::unique_ptr<tav::drive::Runner> runner_;
  std::shared_ptr<nkr::canopen::Client> client_ = std::make_shared<nkr::canopen::Client>(bus_);
  CANOpenDispatcher library_{config_, client_};
};

TEST_F(SafetyConfigurationOnADrive, AsShippedAgrees) {
  expect_all_agree();
}

TEST_F(SafetyConfigurationOnADrive, RandomParametersAndMappingsAgreeInAllThreeComputations) {
  for (int round = 0; round < 8; ++round) {
    SCOPED_TRACE(round);
    set_random_parameters();
    if (HasFatalFailure()) return;
    expect_all_agree();
    set_random_mapping();
    if (HasFatalFailure()) return;
    expect_all_agree();
  }
}

TEST_F(SafetyConfigurationOnADrive, ChangedUnitsDisagreeUntilEverySignatureIsWrittenAnew) {
  for (int round = 0; round < 4; ++round) {
    SCOPED_TRACE(round);
    ASSERT_EQ(library_.setUnitParameters({number(), number(), number(), number()}), NKR_OK);
    EXPECT_NE(error_register(), 0U) << "the drive saw no difference";
    EXPECT_FALSE(verify_safety(library_).passed());
    ASSERT_EQ(library_.updateAllSafetySignatures(), NKR_OK);
    expect_all_agree();
  }
}

TEST_F(SafetyConfigurationOnADrive, SRDOsOfADriveAsShippedAreSetByTheLibraryAndDeclaredValid) {
  using SRDO = CANOpenDispatcher::SRDOId;
  CANOpenDispatcher::SRDODirection direction{};
  CANOpenDispatcher::SRDOParameters parameters{};
  std::uint16_t signature = 0;
  for (int number = 1; number <= 16; ++number) {
    ASSERT_EQ(library_.getSRDOParameters(SRDO{number}, direction, parameters, signature), NKR_OK) << number;
    EXPECT_EQ(library_.setSRDOParameters(SRDO{number}, parameters), NKR_OK) << number << ": as it is";
    parameters.enabled = true;
    parameters.cobId1 = static_cast<std::uint16_t>(0x101 + 2 * number);
    parameters.cobId2 = static_cast<std::uint16_t>(0x102 + 2 * number);
    EXPECT_EQ(library_.setSRDOParameters(SRDO{number}, parameters), NKR_OK) << number;
  }
  EXPECT_EQ(library_.setSRDOConfigurationValidity(), NKR_OK);
  bool valid = false;
  EXPECT_EQ(library_.getSRDOConfigurationValidity(valid), NKR_OK);
  EXPECT_TRUE(valid);
}

}  // namespace
