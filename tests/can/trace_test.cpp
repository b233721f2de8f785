#include <gtest/gtest.h>

#include <atomic>
#include <nkr/can/InProcessBus.hpp>
#include <nkr/can/trace.hpp>
#include <sstream>
#include <thread>

#include "can/ports.hpp"

namespace nkr::can::test {
namespace {

using namespace std::chrono_literals;
using std::chrono::system_clock;

std::vector<std::pair<Direction, Frame>> directions(const std::vector<TracedFrame>& traced) {
  std::vector<std::pair<Direction, Frame>> pairs;
  for (const TracedFrame& frame : traced) pairs.emplace_back(frame.direction, frame.frame);
  return pairs;
}

class TracingBusTest : public testing::Test {
 protected:
  std::shared_ptr<InProcessBus> bus = std::make_shared<InProcessBus>();
  std::vector<TracedFrame> traced;
  TracingBus tracing{bus, [this](const TracedFrame& frame) { traced.push_back(frame); }};
  nkr_error_t result = NKR_ERROR;
};

TEST_F(TracingBusTest, ShowsTheRequestBeforeItsAnswer) {
  std::unique_ptr<nkr::can::Port> server;
  server = bus->open_handler(
      {{0x601}},
      [&](const Frame&) {
        static_cast<void>(server->send({0x581, {2}}, kNow));
      },
      result);
  const auto client = tracing.open({{0x581}}, result);
  ASSERT_EQ(result, NKR_OK);
  const auto before = system_clock::now();
  EXPECT_EQ(client->send({0x601, {1}}, kNow), NKR_OK);
  Frame reply;
  EXPECT_EQ(client->receive(reply, kNow), NKR_OK);
  EXPECT_EQ(reply, (Frame{0x581, {2}}));
  const std::vector<std::pair<Direction, Frame>> expected{{Direction::SENT, {0x601, {1}}},
                                                          {Direction::RECEIVED, {0x581, {2}}}};
  EXPECT_EQ(directions(traced), expected);
  EXPECT_GE(traced[0].when, before);
  EXPECT_LE(traced[1].when, system_clock::now());
}

TEST_F(TracingBusTest, ShowsWhatAHandlerGetsAndWhatIsDrained) {
  int handled = 0;
  const auto handling = tracing.open_handler(
      {{0x601}}, [&](const Frame&) { ++handled; }, result);
  ASSERT_EQ(result, NKR_OK);
  const auto queue = tracing.open({{0x602}}, result);
  const auto sender = open_port(*bus);
  static_cast<void>(sender->send({0x601, {1}}, kNow));
  static_cast<void>(sender->send({0x602, {2}}, kNow));
  int drained = 0;
  EXPECT_EQ(queue->drain([&](const Frame&) { ++drained; }, kNow), NKR_OK);
  EXPECT_EQ(handled, 1);
  EXPECT_EQ(drained, 1);
  const std::vector<std::pair<Direction, Frame>> expected{{Direction::RECEIVED, {0x601, {1}}},
                                                          {Direction::RECEIVED, {0x602, {2}}}};
  EXPECT_EQ(directions(traced), expected);
}

TEST_F(TracingBusTest, SaysWhatTheBusRefused) {
  const auto client = tracing.open({}, result);
  bus->set_state(BusState::BUS_OFF);
  EXPECT_EQ(client->send({0x601, {1}}, kNow), NKR_CAN_BUS_OFF);
  const std::vector<std::pair<Direction, Frame>> expected{{Direction::SENT, {0x601, {1}}},
                                                          {Direction::NOT_SENT, {0x601, {1}}}};
  EXPECT_EQ(directions(traced), expected);
}

TEST_F(TracingBusTest, IsOtherwiseTheBusItStandsOn) {
  EXPECT_EQ(tracing.name(), "virtual");
  const auto port = tracing.open({}, result);
  bus->set_state(BusState::BUS_OFF);
  EXPECT_EQ(port->status().state, BusState::BUS_OFF);
  Frame frame;
  EXPECT_EQ(port->receive(frame, kNow), NKR_CAN_BUS_OFF);
  EXPECT_EQ(port->receive(frame, kNow), NKR_CAN_TIMED_OUT);
  port->close();
  EXPECT_EQ(port->receive(frame, kNow), NKR_CAN_CLOSED);
  EXPECT_TRUE(traced.empty());
}

TEST(FrameHistory, KeepsTheLastFramesOldestFirst) {
  FrameHistory history(3);
  for (std::uint32_t id = 1; id <= 5; ++id) history.record({{}, Direction::RECEIVED, {id, {}}});
  const std::vector<std::pair<Direction, Frame>> expected{
      {Direction::RECEIVED, {3, {}}}, {Direction::RECEIVED, {4, {}}}, {Direction::RECEIVED, {5, {}}}};
  EXPECT_EQ(directions(history.frames()), expected);
}

TEST(FrameHistory, KeepsFourThousandAndNinetySixUnlessToldOtherwise) {
  FrameHistory history;
  for (std::uint32_t i = 0; i < 5000; ++i) history.record({{}, Direction::SENT, {i & 0x7FF, {}}});
  EXPECT_EQ(history.frames().size(), 4096U);
}

TEST(FrameHistory, WritesACandumpLogOfWhatWasOnTheBus) {
  FrameHistory history;
  const system_clock::time_point when(1436509052s + 249713us);
  history.record({when, Direction::SENT, {0x60A, {0x40}}});
  history.record({when + 1ms, Direction::RECEIVED, {0x58A, {0x4F}}});
  history.record({when + 2ms, Direction::SENT, {0x60B, {0x40}}});
  history.record({when + 3ms, Direction::NOT_SENT, {0x60B, {0x40}}});
  std::ostringstream log;
  history.write(log, "can0");
  EXPECT_EQ(log.str(), "(1436509052.249713) can0 60A#40\n(1436509052.250713) can0 58A#4F\n");
  EXPECT_EQ(history.frames().size(), 3U);
}

TEST(FrameHistory, IsWrittenAndReadByManyThreads) {
  FrameHistory history(100);
  std::vector<std::thread> writers;
  for (std::uint32_t id = 1; id <= 3; ++id)
    writers.emplace_back([&history, id] {
      for (int i = 0; i < 1000; ++i) history.record({{}, Direction::SENT, {id, {}}});
    });
  for (int i = 0; i < 50; ++i) EXPECT_LE(history.frames().size(), 100U);
  for (std::thread& writer : writers) writer.join();
  EXPECT_EQ(history.frames().size(), 100U);
}

TEST(FrameHistory, ReadingHoldsNobodyUp) {
  FrameHistory history(std::size_t{1} << 20);
  for (std::size_t i = 0; i < std::size_t{1} << 20; ++i) history.record({{}, Direction::SENT, {1, {}}});
  std::atomic<bool> done{false};
  std::atomic<int> recorded{0};
  std::thread recording([&] {
    for (; !done; ++recorded) history.record({{}, Direction::SENT, {2, {}}});
  });
  bool went_on = false;
  for (const auto deadline = soon(); !went_on && Clock::now() < deadline;) {
    const int before = recorded;
    const auto frames = history.frames();
    went_on = recorded > before + 100;
    ASSERT_LE(frames.size(), std::size_t{1} << 20);
  }
  done = true;
  recording.join();
  EXPECT_TRUE(went_on);
}

}  // namespace
}  // namespace nkr::can::test
