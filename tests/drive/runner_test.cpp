#include <gtest/gtest.h>

#include <nkr/can/InProcessBus.hpp>
#include <nkr/can/Thread.hpp>
#include <sstream>
#include <string>
#include <tav/drive/Runner.hpp>
#include <tav/drive/VirtualDrive.hpp>
#include <thread>

#include "drive/DriveBench.hpp"

namespace tav::drive::test {
namespace {

using nkr::can::Clock;
using nkr::can::Frame;

/** The in-process bus behind a face that hides its handler ports: what a bus between processes looks like. */
class QueueOnlyBus : public nkr::can::Bus {
 public:
  std::unique_ptr<nkr::can::Port> open(const std::vector<nkr::can::Filter>& filters,
                                       nkr_error_t& result) override {
    return inner_.open(filters, result);
  }
  [[nodiscard]] std::string name() const override { return "queues"; }

 private:
  nkr::can::InProcessBus inner_;
};

/** A bus that nobody gets on. */
class ClosedBus : public nkr::can::Bus {
 public:
  std::unique_ptr<nkr::can::Port> open(const std::vector<nkr::can::Filter>& /*filters*/,
                                       nkr_error_t& result) override {
    result = NKR_CAN_PERMISSION;
    return nullptr;
  }
  [[nodiscard]] std::string name() const override { return "closed"; }
};

std::unique_ptr<VirtualDrive> make_drive() {
  std::string problem;
  auto drive = VirtualDrive::from_file("share/tav/tav.eds", as_node(1), problem);
  EXPECT_NE(drive, nullptr) << problem;
  return drive;
}

/** The next frame with that identifier within five seconds; empty text when there is none. */
std::string next_frame(nkr::can::Port& port, std::uint32_t id) {
  const auto deadline = Clock::now() + std::chrono::seconds(5);
  Frame frame;
  while (port.receive(frame, deadline) == NKR_OK) {
    if (frame.id == id) return nkr::can::to_string(frame);
  }
  return "";
}

void answers_and_beats(nkr::can::Bus& bus) {
  auto drive = make_drive();
  nkr_error_t result = NKR_OK;
  auto port = bus.open({}, result);
  ASSERT_NE(port, nullptr);
  Runner runner(*drive);
  ASSERT_EQ(runner.start(bus), NKR_OK);
  EXPECT_EQ(runner.status(), NKR_OK);
  EXPECT_EQ(next_frame(*port, 0x701), "701#00");
  EXPECT_EQ(next_frame(*port, 0x701), "701#7F");
  ASSERT_EQ(port->send(frame_of("601#4000100000000000"), Clock::now() + std::chrono::seconds(1)), NKR_OK);
  EXPECT_EQ(next_frame(*port, 0x581), "581#4300100092010200");
  runner.stop();
  EXPECT_NE(runner.status(), NKR_OK);
}

TEST(Runner, AnswersAndBeatsOnTheInProcessBus) {
  nkr::can::InProcessBus bus;
  answers_and_beats(bus);
}

TEST(Runner, AnswersAndBeatsOnAnyOtherBus) {
  QueueOnlyBus bus;
  answers_and_beats(bus);
}

TEST(Runner, AnswersOnTheSendersThreadOfTheInProcessBus) {
  nkr::can::InProcessBus bus;
  auto drive = make_drive();
  Runner runner(*drive);
  ASSERT_EQ(runner.start(bus), NKR_OK);
  nkr_error_t result = NKR_OK;
  std::thread::id answered_on;
  auto port = bus.open_handler(
      {{0x581, 0x7FF}}, [&](const Frame&) { answered_on = std::this_thread::get_id(); }, result);
  ASSERT_NE(port, nullptr);
  // A heartbeat may be going out at that moment, on the drive's own thread; it then carries the answer out.
  for (int attempt = 0; attempt < 100 && answered_on != std::this_thread::get_id(); ++attempt) {
    static_cast<void>(port->send(frame_of("601#4000100000000000"), Clock::now()));
  }
  EXPECT_EQ(answered_on, std::this_thread::get_id());
  port->close();
}

TEST(Runner, WakesUpForATimeThatAFrameMadeEarlier) {
  nkr::can::InProcessBus bus;
  auto drive = make_drive();
  nkr_error_t result = NKR_OK;
  auto port = bus.open({{0x701, 0x7FF}}, result);
  ASSERT_NE(port, nullptr);
  Runner runner(*drive);
  ASSERT_EQ(runner.start(bus), NKR_OK);
  static_cast<void>(port->send(frame_of("601#2B17100000000000"), Clock::now()));
  static_cast<void>(port->send(frame_of("601#2B1710000A000000"), Clock::now()));
  EXPECT_EQ(next_frame(*port, 0x701), "701#00");
  EXPECT_EQ(next_frame(*port, 0x701), "701#7F");
  EXPECT_EQ(next_frame(*port, 0x701), "701#7F");
}

/** A scenario of these lines; fails the test when it is none. */
void play(VirtualDrive& drive, const std::string& text) {
  std::istringstream lines(text);
  Scenario scenario;
  std::string problem;
  ASSERT_TRUE(read_scenario(lines, scenario, problem) && drive.play(scenario, problem)) << problem;
}

void happens_in_time(nkr::can::Bus& bus) {
  auto drive = make_drive();
  nkr_error_t result = NKR_OK;
  auto port = bus.open({{0x081, 0x7FF}}, result);
  ASSERT_NE(port, nullptr);
  Runner runner(*drive);
  ASSERT_EQ(runner.start(bus), NKR_OK);
  play(*drive, "set 0x1017 0");  // without a heartbeat nothing else wakes the runner
  play(*drive, "at 30ms emcy 0x1234");
  EXPECT_EQ(next_frame(*port, 0x081), "081#3412000000000000");
}

TEST(Runner, WakesUpForWhatAScenarioHasInStore) {
  nkr::can::InProcessBus handlers;
  happens_in_time(handlers);
  QueueOnlyBus queues;
  happens_in_time(queues);
}

TEST(Runner, LetsAScenarioSwitchTheInProcessBusOff) {
  nkr::can::InProcessBus bus;
  auto drive = make_drive();
  nkr_error_t result = NKR_OK;
  auto port = bus.open({{0x581, 0x7FF}}, result);
  ASSERT_NE(port, nullptr);
  Runner runner(*drive);
  ASSERT_EQ(runner.start(bus), NKR_OK);
  play(*drive, "access 1 read 0x1000 bus off\naccess 2 read 0x1000 bus gone 20ms");
  const Frame request = frame_of("601#4000100000000000");
  const auto soon = Clock::now() + std::chrono::seconds(20);
  Frame frame;
  EXPECT_EQ(port->send(request, soon), NKR_OK);
  EXPECT_EQ(port->receive(frame, soon), NKR_CAN_BUS_OFF);
  EXPECT_EQ(port->send(request, soon), NKR_CAN_BUS_OFF);
  play(*drive, "bus back");
  EXPECT_EQ(port->send(request, soon), NKR_OK);
  EXPECT_EQ(port->receive(frame, soon), NKR_CAN_INTERFACE_GONE);
  while (port->send(request, soon) == NKR_CAN_INTERFACE_GONE && Clock::now() < soon) {
    std::this_thread::sleep_for(milliseconds(1));
  }
  EXPECT_EQ(port->receive(frame, soon), NKR_OK) << "it came back by itself";
}

TEST(Runner, ManyThreadsMayAskAtOnce) {
  nkr::can::InProcessBus bus;
  auto drive = make_drive();
  Runner runner(*drive);
  ASSERT_EQ(runner.start(bus), NKR_OK);
  nkr_error_t result = NKR_OK;
  auto answers = bus.open({{0x581, 0x7FF}}, result);
  auto senders = bus.open({{0, 0}, {0x7FF, 0x7FF}}, result);
  constexpr int kThreads = 4;
  constexpr int kRequests = 200;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int k = 0; k < kRequests; ++k)
        static_cast<void>(senders->send(frame_of("601#4000100000000000"), Clock::now()));
    });
  }
  for (std::thread& thread : threads) thread.join();
  Frame frame;
  int count = 0;
  while (answers->receive(frame, Clock::now() + std::chrono::milliseconds(
                                                    count < kThreads * kRequests ? 2000 : 0)) == NKR_OK) {
    ++count;
  }
  EXPECT_EQ(count, kThreads * kRequests);
}

TEST(Runner, SaysWhyABusGivesNoPlace) {
  ClosedBus bus;
  auto drive = make_drive();
  Runner runner(*drive);
  EXPECT_EQ(runner.start(bus), NKR_CAN_PERMISSION);
  EXPECT_NE(runner.status(), NKR_OK);
  runner.stop();
}

TEST(Runner, SaysWhenTheSystemHasNoThreadAndStartsWhenItHas) {
  nkr::can::InProcessBus bus;
  auto drive = make_drive();
  Runner runner(*drive);
  nkr::can::Thread::allow(0);
  EXPECT_EQ(runner.start(bus), NKR_CAN_NO_RESOURCES);
  nkr::can::Thread::allow(-1);
  EXPECT_NE(runner.status(), NKR_OK);
  EXPECT_EQ(runner.start(bus), NKR_OK);
}

TEST(Runner, LeavesTheBusWhenItIsDestroyed) {
  nkr::can::InProcessBus bus;
  auto drive = make_drive();
  nkr_error_t result = NKR_OK;
  auto port = bus.open({{0x581, 0x7FF}}, result);
  {
    Runner runner(*drive);
    ASSERT_EQ(runner.start(bus), NKR_OK);
  }
  static_cast<void>(port->send(frame_of("601#4000100000000000"), Clock::now()));
  Frame frame;
  EXPECT_NE(port->receive(frame, Clock::now()), NKR_OK);
}

}  // namespace
}  // namespace tav::drive::test
