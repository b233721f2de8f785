// Commands that change a drive: settings, network management, power and motion.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <nkr/canopen/Client.hpp>
#include <string>
#include <thread>

#include "tavctl/Tool.hpp"

namespace {

using tool::DriveOnBus;
using tool::Process;
using tool::tavctl;

constexpr std::uint8_t kNode = 10;
constexpr std::uint32_t kStatusWord = 0x60410000;
constexpr std::uint32_t kVelocity = 0x606C0000;
constexpr std::uint32_t kConsumerHeartbeat = 0x10160100;

/** An observer beside the tool: reads the drive on a port of its own. */
class Observer {
 public:
  explicit Observer(DriveOnBus& drive)
      : client_(std::shared_ptr<nkr::can::Bus>(&drive.bus(), [](nkr::can::Bus*) {})) {}

  int velocity() { return read<std::int32_t>(kVelocity); }
  unsigned state_bits() { return read<std::uint16_t>(kStatusWord) & 0x6FU; }
  /** Gives the drive another name (0x1008). */
  void rename_drive(const std::string& name) { EXPECT_EQ(client_.setValue(kNode, 0x10080000, name), NKR_OK); }
  std::uint32_t consumer_heartbeat() { return read<std::uint32_t>(kConsumerHeartbeat); }

  /** Waits until the condition holds, at most ten seconds. */
  template <class Condition>
  bool sees(Condition condition) {
    for (int i = 0; i < 500; ++i) {
      if (condition()) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
  }

 private:
  template <class T>
  T read(std::uint32_t address) {
    T value{};
    EXPECT_EQ(client_.getValue(kNode, address, value), NKR_OK) << std::hex << address;
    return value;
  }

  nkr::canopen::Client client_;
};

TEST(Write, WritesAndReadsBack) {
  const DriveOnBus drive;
  const auto result = drive.tavctl({"--json", "write", "vl_target_velocity", "-300"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.json()["objects"][0]["value"], -300);
  EXPECT_EQ(drive.downloads(), 1);
}

TEST(Write, RefusesBeforeAnythingIsSent) {
  const DriveOnBus drive;
  EXPECT_EQ(drive.tavctl({"write", "statusword", "1"}).code, 6);
  EXPECT_EQ(drive.tavctl({"write", "Node ID", "128"}).code, 6);
  EXPECT_EQ(drive.tavctl({"write", "vl_target_velocity", "40000"}).code, 6);
  EXPECT_EQ(drive.tavctl({"write", "0x2999:1", "1"}).code, 3);
  EXPECT_EQ(drive.downloads(), 0);
}

TEST(Write, WritesStrings) {
  const DriveOnBus drive;
  EXPECT_EQ(drive.tavctl({"write", "Manufacturer device name", "left wheel of the cart"}).code, 0);
  const auto json = drive.tavctl({"info", "--json"}).json();
  EXPECT_EQ(json["device_name"], "left wheel of the cart");
}

TEST(TextOfADevice, ReachesTheTerminalWithoutControlCharacters) {
  DriveOnBus drive;
  const std::string name("\x1B[2J\n\0T", 7);
  const char* const shown = "\\x1B[2J\\x0A\\x00T";
  Observer(drive).rename_drive(name);
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"--trace", "read", "Manufacturer device name"},
        {"--trace", "info"},
        {"scan", "--from", "10", "--to", "10", "--listen", "0.2"},
        {"safety", "report"}}) {
    const auto result = drive.tavctl(command);
    EXPECT_NE(result.out.find(shown), std::string::npos) << result.out;
    EXPECT_EQ((result.out + result.err).find('\x1B'), std::string::npos) << command.front();
    EXPECT_EQ((result.out + result.err).find('\0'), std::string::npos) << command.front();
  }
}

TEST(Polarity, IsSetAndReadBack) {
  const DriveOnBus drive;
  const auto result = drive.tavctl({"polarity", "--velocity", "inverted", "--json"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.json()["velocity_inverted"], true);
  EXPECT_EQ(result.json()["position_inverted"], false);
}

TEST(OptionCodes, AreSetAndReadBack) {
  const DriveOnBus drive;
  const auto result = drive.tavctl({"option-codes", "--quick-stop", "6", "--halt", "4", "--json"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.json()["quick_stop"]["value"], 6);
  EXPECT_EQ(result.json()["halt"]["value"], 4);
}

TEST(OptionCodes, ThatTheDriveDoesNotHaveAreRefusedByIt) {
  const DriveOnBus drive;
  const auto result = drive.tavctl({"option-codes", "--halt", "-1"});
  EXPECT_EQ(result.code, 6);
  EXPECT_NE(result.err.find("0x06090030"), std::string::npos) << result.err;
}

TEST(Nmt, WaitsForTheStateThatFollows) {
  const DriveOnBus drive;
  EXPECT_EQ(drive.tavctl({"nmt", "start", "--json"}).json()["nmt_state"]["name"], "operational");
  EXPECT_EQ(drive.tavctl({"nmt", "pre-operational", "--json"}).json()["nmt_state"]["name"],
            "pre-operational");
  EXPECT_EQ(drive.tavctl({"nmt", "stop", "--json"}).json()["nmt_state"]["name"], "stopped");
  EXPECT_EQ(drive.tavctl({"nmt", "reset", "--discard", "--json"}).json()["nmt_state"]["name"],
            "pre-operational");
  EXPECT_EQ(drive.tavctl({"nmt", "sideways"}).code, 2);
}

TEST(Nmt, WaitsForAHeartbeatThatComesEveryFourSeconds) {
  const DriveOnBus drive;
  ASSERT_EQ(drive.tavctl({"comm", "set", "producer_heartbeat_time=4000"}).code, 0);
  const auto result = drive.tavctl({"nmt", "start", "--json"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.json()["nmt_state"]["name"], "operational");
}

TEST(Nmt, WaitsNoLongerThanAsked) {
  const DriveOnBus drive;
  ASSERT_EQ(drive.tavctl({"comm", "set", "producer_heartbeat_time=60000"}).code, 0);
  const auto result = drive.tavctl({"nmt", "start", "--timeout", "0.2"});
  EXPECT_EQ(result.code, 5) << result.out;
  EXPECT_NE(result.err.find("--timeout"), std::string::npos) << result.err;
}

TEST(Enable, TakesTheDriveToOperationEnabledAndDisableBack) {
  DriveOnBus drive;
  Observer observer(drive);
  const auto enabled = drive.tavctl({"enable", "--json"});
  EXPECT_EQ(enabled.code, 0) << enabled.err;
  EXPECT_EQ(enabled.json()["state"], "OPERATION_ENABLED");
  EXPECT_EQ(observer.state_bits(), 0x27u);
  const auto disabled = drive.tavctl({"disable", "--json"});
  EXPECT_EQ(disabled.code, 0) << disabled.err;
  EXPECT_EQ(disabled.json()["state"], "SWITCH_ON_DISABLED");
}

TEST(Velocity, TurnsForTheTimeAndLeavesTheDriveStoppedAndDisabled) {
  DriveOnBus drive;
  Observer observer(drive);
  const auto result = drive.tavctl({"velocity", "300", "--for", "1", "--json"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_NEAR(result.json_lines().back()["velocity"].get<int>(), 300, 30);
  EXPECT_EQ(observer.velocity(), 0);
  EXPECT_NE(observer.state_bits(), 0x27u);
}

TEST(Velocity, FollowsAProfile) {
  const auto result = tavctl({"--bus", "virtual", "--json", "velocity", "200", "-100", "--for", "0.8"});
  EXPECT_EQ(result.code, 0) << result.err;
  auto samples = result.json_lines();
  EXPECT_EQ(samples.back()["target_velocity"], -100);
  samples.pop_back();
  int highest = 0;
  int lowest = 0;
  for (const auto& sample : samples) {
    highest = std::max(highest, sample["velocity"].get<int>());
    lowest = std::min(lowest, sample["velocity"].get<int>());
  }
  EXPECT_NEAR(highest, 200, 20);
  EXPECT_NEAR(lowest, -100, 10);
  EXPECT_EQ(samples.back()["velocity"], 0);
}

TEST(Velocity, AsksForATimeForSeveralVelocities) {
  EXPECT_EQ(tavctl({"--bus", "virtual", "velocity", "200", "-100"}).code, 2);
}

TEST(Velocity, GivesTheDriveBackUnwatched) {
  DriveOnBus drive;
  Observer observer(drive);
  EXPECT_EQ(drive.tavctl({"velocity", "-200", "--for", "0.3"}).code, 0);
  EXPECT_EQ(observer.consumer_heartbeat(), 0u);
}

TEST(Velocity, DrawsDemandAndActual) {
  const auto result = tavctl({"--bus", "virtual", "velocity", "300", "--for", "0.5", "--plot"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_NE(result.out.find("- demanded   o actual"), std::string::npos) << result.out;
}

TEST(Velocity, IsStoppedByCtrlC) {
  DriveOnBus drive;
  Observer observer(drive);
  Process process({"--bus", drive.bus_name(), "velocity", "300"});
  ASSERT_TRUE(observer.sees([&] { return observer.velocity() > 200; }));
  process.send(SIGINT);
  EXPECT_EQ(process.wait(), 130);
  EXPECT_EQ(observer.velocity(), 0);
  EXPECT_NE(observer.state_bits(), 0x27u);
}

TEST(Velocity, KilledHostMakesTheDriveStopByItself) {
  DriveOnBus drive;
  Observer observer(drive);
  Process process({"--bus", drive.bus_name(), "velocity", "300"});
  ASSERT_TRUE(observer.sees([&] { return observer.velocity() > 200; }));
  process.send(SIGKILL);
  EXPECT_EQ(process.wait(), -SIGKILL);
  EXPECT_TRUE(observer.sees([&] { return observer.velocity() == 0; }));
  EXPECT_NE(observer.state_bits(), 0x27u);
}

TEST(Velocity, LeavesTheDriveRunningWhenTold) {
  DriveOnBus drive;
  Observer observer(drive);
  Process process({"--bus", drive.bus_name(), "velocity", "300", "--leave-running"});
  EXPECT_EQ(process.wait(), 0);
  EXPECT_TRUE(observer.sees([&] { return observer.velocity() > 250; }));
  EXPECT_EQ(drive.tavctl({"disable"}).code, 0);
  EXPECT_EQ(observer.velocity(), 0);
}

TEST(Velocity, SaysWhyTheDriveCannotBeEnabled) {
  const DriveOnBus drive;
  ASSERT_EQ(drive.tavctl({"write", "STO command", "0"}).code, 0);
  const auto result = drive.tavctl({"velocity", "100", "--for", "1"});
  EXPECT_EQ(result.code, 7);
  EXPECT_NE(result.err.find("transition 2"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("STO is demanded"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("switch_on_disabled"), std::string::npos) << result.err;
}

TEST(FaultReset, ClearsTheFaultThatADeadHostLeft) {
  DriveOnBus drive;
  Observer observer(drive);
  Process process({"--bus", drive.bus_name(), "velocity", "300"});
  ASSERT_TRUE(observer.sees([&] { return observer.velocity() > 200; }));
  process.send(SIGKILL);
  process.wait();
  ASSERT_TRUE(observer.sees([&] { return observer.state_bits() == 0x08; }));
  EXPECT_EQ(drive.tavctl({"errors"}).code, 1);
  EXPECT_EQ(drive.tavctl({"state"}).code, 1);
  const auto reset = drive.tavctl({"fault-reset", "--json"});
  EXPECT_EQ(reset.code, 0) << reset.err;
  EXPECT_EQ(reset.json()["state"], "SWITCH_ON_DISABLED");
  const auto errors = drive.tavctl({"errors", "--clear", "--json"});
  EXPECT_EQ(errors.code, 0) << errors.err;
  EXPECT_EQ(errors.json()["count"], 0);
}

TEST(QuickStop, StopsARunningDrive) {
  DriveOnBus drive;
  Observer observer(drive);
  Process process({"--bus", drive.bus_name(), "velocity", "300", "--leave-running"});
  ASSERT_EQ(process.wait(), 0);
  ASSERT_TRUE(observer.sees([&] { return observer.velocity() > 250; }));
  EXPECT_EQ(drive.tavctl({"quick-stop"}).code, 0);
  EXPECT_EQ(observer.velocity(), 0);
}

TEST(Velocity, IsStoppedWhenItsTerminalIsClosed) {
  DriveOnBus drive;
  Observer observer(drive);
  Process process({"--bus", drive.bus_name(), "velocity", "300"});
  ASSERT_TRUE(observer.sees([&] { return observer.velocity() > 200; }));
  process.send(SIGHUP);
  EXPECT_EQ(process.wait(), 130);
  EXPECT_EQ(observer.velocity(), 0);
}

TEST(Velocity, IsStoppedWhenNobodyReadsItsOutputAnyMore) {
  DriveOnBus drive;
  Observer observer(drive);
  Process process({"--bus", drive.bus_name(), "velocity", "300"});
  ASSERT_TRUE(observer.sees([&] { return observer.velocity() > 200; }));
  process.send(SIGPIPE);
  EXPECT_EQ(process.wait(), 130);
  EXPECT_EQ(observer.velocity(), 0);
}

TEST(Enable, DoesNotMoveADriveThatHasATargetVelocityFromBefore) {
  DriveOnBus drive;
  Observer observer(drive);
  ASSERT_EQ(drive.tavctl({"write", "vl_target_velocity", "300"}).code, 0);
  ASSERT_EQ(drive.tavctl({"enable"}).code, 0);
  EXPECT_EQ(drive.tavctl({"read", "vl_target_velocity", "--json"}).json()["objects"][0]["value"], 0);
  EXPECT_EQ(observer.velocity(), 0);
}

TEST(Move, EndsWithTheReasonWhenTheDriveLeavesOperationEnabled) {
  DriveOnBus drive;
  Observer observer(drive);
  std::thread fault([&] {
    EXPECT_TRUE(observer.sees([&] { return observer.velocity() > 50; }));
    drive.drive().raise_fault(0x3220);
  });
  const auto result = drive.tavctl({"move", "50", "forward", "--for", "30"});
  fault.join();
  EXPECT_EQ(result.code, 7) << result.err;
  EXPECT_NE(result.err.find("0x3220"), std::string::npos) << result.err;
}

TEST(QuickStop, IsTheFirstThingThatIsSent) {
  const DriveOnBus drive;
  const auto result = drive.tavctl({"--trace", "quick-stop"});
  EXPECT_EQ(result.code, 0) << result.err;
  const std::size_t first_write = result.err.find("  write ");
  ASSERT_NE(first_write, std::string::npos) << result.err;
  EXPECT_EQ(result.err.find("  write \"controlword\""), first_write) << result.err;
}

TEST(Velocity, IsRefusedInFaultAndNamesTheError) {
  DriveOnBus drive;
  Observer observer(drive);
  drive.drive().raise_fault(0x3220);
  ASSERT_TRUE(observer.sees([&] { return observer.state_bits() == 0x08; }));
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"velocity", "100", "--for", "1"}, {"enable"}, {"move", "10", "forward"}}) {
    const auto refused = drive.tavctl(command);
    EXPECT_EQ(refused.code, 7) << command[0];
    EXPECT_NE(refused.err.find("0x3220"), std::string::npos) << refused.err;
    EXPECT_NE(refused.err.find("fault-reset"), std::string::npos) << refused.err;
  }
  EXPECT_EQ(observer.state_bits(), 0x08u) << "nothing was reset";
  const auto reset = drive.tavctl({"velocity", "100", "--for", "0.2", "--fault-reset"});
  EXPECT_EQ(reset.code, 0) << reset.err;
}

/** Runs a long velocity and meddles with it when the drive turns; what the tool then says. */
template <class Meddle>
tool::Result meddled(DriveOnBus& drive, Meddle meddle) {
  Observer observer(drive);
  std::thread somebody([&] {
    EXPECT_TRUE(observer.sees([&] { return observer.velocity() > 100; }));
    meddle();
  });
  const auto result = drive.tavctl({"velocity", "300"});
  somebody.join();
  EXPECT_EQ(observer.velocity(), 0) << "it was stopped";
  return result;
}

TEST(Velocity, SaysThatAnotherHostSetTheTarget) {
  DriveOnBus drive;
  const auto result = meddled(drive, [&] {
    EXPECT_EQ(drive.tavctl({"write", "vl_target_velocity", "200"}).code, 0);
  });
  EXPECT_EQ(result.code, 7) << result.err;
  EXPECT_NE(result.err.find("somebody else set the target velocity to 200"), std::string::npos) << result.err;
}

TEST(Velocity, SaysThatAnotherHostSetTheHaltBit) {
  DriveOnBus drive;
  const auto result = meddled(drive, [&] {
    EXPECT_EQ(drive.tavctl({"write", "controlword", "0x17F"}).code, 0);
  });
  EXPECT_EQ(result.code, 7) << result.err;
  EXPECT_NE(result.err.find("halt bit"), std::string::npos) << result.err;
}

TEST(Velocity, SaysThatTheDriveRestarted) {
  DriveOnBus drive;
  const auto result = meddled(drive, [&] {
    nkr_error_t opened = NKR_OK;
    const auto master = drive.bus().open({{0x7FF, 0x7FF}}, opened);
    EXPECT_EQ(master->send({0x000, {0x81, kNode}}, nkr::can::Clock::now() + std::chrono::seconds(5)), NKR_OK);
  });
  EXPECT_EQ(result.code, 7) << result.err;
  EXPECT_NE(result.err.find("restarted"), std::string::npos) << result.err;
}

TEST(Velocity, SaysAfterAPauseOfTheHostThatTheDriveMissedIt) {
  DriveOnBus drive;
  Observer observer(drive);
  Process process({"--bus", drive.bus_name(), "velocity", "300"});
  ASSERT_TRUE(observer.sees([&] { return observer.velocity() > 100; }));
  process.send(SIGSTOP);
  EXPECT_TRUE(observer.sees([&] { return observer.state_bits() == 0x08 || observer.velocity() == 0; }));
  process.send(SIGCONT);
  EXPECT_EQ(process.wait(), 7);
}

TEST(Velocity, SaysThatTheLimitsKeptTheDriveFromItsTarget) {
  DriveOnBus drive;
  ASSERT_EQ(drive.tavctl({"write", "0x6046:2", "150"}).code, 0);
  const auto result = drive.tavctl({"velocity", "300", "--for", "0.5"});
  EXPECT_EQ(result.code, 1) << result.err;
  EXPECT_NE(result.err.find("limits"), std::string::npos) << result.err;
}

/** Somebody who sends heartbeats as a node until it is destroyed. */
class Beating {
 public:
  Beating(DriveOnBus& drive, std::uint8_t node) {
    nkr_error_t opened = NKR_OK;
    port_ = drive.bus().open({{0x7FF, 0x7FF}}, opened);
    thread_ = std::thread([this, node] {
      const nkr::can::Frame beat(0x700U + node, {0x05});
      while (!ended_) {
        static_cast<void>(port_->send(beat, nkr::can::Clock::now() + std::chrono::seconds(1)));
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
      }
    });
  }
  ~Beating() {
    ended_ = true;
    thread_.join();
  }
  Beating(const Beating&) = delete;
  Beating& operator=(const Beating&) = delete;

 private:
  std::unique_ptr<nkr::can::Port> port_;
  std::atomic<bool> ended_{false};
  std::thread thread_;
};

TEST(HostNode, IsAnotherOneThanThatOfAHostWhoIsThere) {
  DriveOnBus drive;
  Observer observer(drive);
  const Beating other(drive, 127);
  Process process({"--bus", drive.bus_name(), "velocity", "300"});
  ASSERT_TRUE(observer.sees([&] { return observer.velocity() > 100; }));
  EXPECT_EQ(observer.consumer_heartbeat() >> 16, 126u);
  process.send(SIGKILL);
  process.wait();
  EXPECT_TRUE(observer.sees([&] { return observer.velocity() == 0; })) << "though the other one beats on";
}

TEST(HostNode, ThatIsHeardIsRefusedAndFreeOnesAreNamed) {
  DriveOnBus drive;
  const Beating other(drive, 126);
  const auto refused = drive.tavctl({"--host-node", "126", "velocity", "100", "--for", "1"});
  EXPECT_EQ(refused.code, 6) << refused.err;
  EXPECT_NE(refused.err.find("127, 125, 124"), std::string::npos) << refused.err;
  const auto doctor = drive.tavctl({"doctor"});
  EXPECT_NE(doctor.out.find("10, 126"), std::string::npos) << doctor.out;
}

TEST(HostNode, ThatSomebodyElseTakesStopsTheDrive) {
  DriveOnBus drive;
  std::unique_ptr<Beating> other;
  const auto result = meddled(drive, [&] { other = std::make_unique<Beating>(drive, 127); });
  EXPECT_EQ(result.code, 7) << result.err;
  EXPECT_NE(result.err.find("somebody else sends heartbeats as node 127"), std::string::npos) << result.err;
}

}  // namespace
