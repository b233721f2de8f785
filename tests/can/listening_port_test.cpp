#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <future>
#include <mutex>
#include <nkr/can/InProcessBus.hpp>
#include <stdexcept>
#include <thread>

#include "can/ports.hpp"

namespace nkr::can::test {
namespace {

/** A bus that knows queues alone: what Bus does for handlers. */
class QueueBus : public Bus {
 public:
  std::unique_ptr<Port> open(const std::vector<Filter>& filters, nkr_error_t& result) override {
    return inner_.open(filters, result);
  }
  [[nodiscard]] std::string name() const override { return "queues"; }

 private:
  InProcessBus inner_;
};

class HandlerOfAnyBus : public testing::Test {
 protected:
  std::unique_ptr<Port> open_handler(const std::vector<Filter>& filters, FrameHandler handler) {
    nkr_error_t result = NKR_ERROR;
    auto port = bus.open_handler(filters, std::move(handler), result);
    EXPECT_EQ(result, NKR_OK);
    return port;
  }

  QueueBus bus;
  Frame frame;
};

TEST_F(HandlerOfAnyBus, AnswersOnAThreadOfItsOwn) {
  std::promise<std::thread::id> answered_on;
  const auto client = open_port(bus, {{0x581}});
  const auto sender = open_port(bus, {{0x7FF}});
  const auto server = open_handler({{0x601}}, [&](const Frame&) {
    static_cast<void>(sender->send({0x581, {2}}, kForever));
    answered_on.set_value(std::this_thread::get_id());
  });
  EXPECT_EQ(client->send({0x601, {1}}, kNow), NKR_OK);
  EXPECT_EQ(client->receive(frame, soon()), NKR_OK);
  EXPECT_EQ(frame, (Frame{0x581, {2}}));
  EXPECT_NE(answered_on.get_future().get(), std::this_thread::get_id());
}

TEST_F(HandlerOfAnyBus, IsNotRunningAnyMoreWhenDestructionReturns) {
  std::promise<void> entered;
  std::promise<void> go_on;
  std::atomic<bool> left{false};
  auto slow = open_handler({}, [&](const Frame&) {
    entered.set_value();
    go_on.get_future().wait();
    left = true;
  });
  static_cast<void>(open_port(bus)->send({1, {}}, kNow));
  entered.get_future().wait();
  std::thread later([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    go_on.set_value();
  });
  slow.reset();
  EXPECT_TRUE(left);
  later.join();
}

TEST_F(HandlerOfAnyBus, MayCloseItsOwnPort) {
  std::promise<void> closed;
  std::unique_ptr<Port> once;
  std::promise<void> opened;
  once = open_handler({}, [&](const Frame&) {
    opened.get_future().wait();
    once->close();
    closed.set_value();
  });
  opened.set_value();
  const auto sender = open_port(bus);
  static_cast<void>(sender->send({1, {}}, kNow));
  closed.get_future().wait();
  static_cast<void>(sender->send({2, {}}, kNow));
  EXPECT_EQ(once->receive(frame, soon()), NKR_CAN_CLOSED);
}

TEST_F(HandlerOfAnyBus, MayDestroyItsOwnPort) {
  std::promise<void> destroyed;
  std::promise<void> opened;
  std::unique_ptr<Port> once;
  once = open_handler({}, [&](const Frame&) {
    opened.get_future().wait();
    once.reset();
    destroyed.set_value();
  });
  opened.set_value();
  static_cast<void>(open_port(bus)->send({1, {}}, kNow));
  destroyed.get_future().wait();
}

TEST_F(HandlerOfAnyBus, ThatThrowsGetsTheNextFrame) {
  std::promise<void> second;
  const auto throwing = open_handler({}, [&](const Frame& received) {
    if (received.id == 2) second.set_value();
    throw std::runtime_error("handler");
  });
  const auto sender = open_port(bus);
  static_cast<void>(sender->send({1, {}}, kNow));
  static_cast<void>(sender->send({2, {}}, kNow));
  second.get_future().wait();
}

TEST_F(HandlerOfAnyBus, LeavesNothingToReceive) {
  const auto port = open_handler({}, [](const Frame&) {});
  static_cast<void>(open_port(bus)->send({1, {}}, kNow));
  EXPECT_EQ(port->receive(frame, std::chrono::milliseconds(10)), NKR_CAN_TIMED_OUT);
  EXPECT_EQ(port->send({1, {}}, kNow), NKR_OK);
  expect_close_wakes_every_receiver(*port);
}

TEST_F(HandlerOfAnyBus, MustNotBeEmpty) {
  nkr_error_t result = NKR_OK;
  EXPECT_EQ(bus.open_handler({}, nullptr, result), nullptr);
  EXPECT_EQ(result, NKR_ERROR);
}

TEST_F(HandlerOfAnyBus, OnABusThatIsNotTheProgramsTheStateStays) {
  EXPECT_FALSE(bus.set_state(nkr::can::BusState::BUS_OFF));
  EXPECT_EQ(open_port(bus)->send({1, {}}, kNow), NKR_OK);
}

TEST(Drain, HandsOverWhatIsThereAndTakesWhatWasToBeTold) {
  InProcessBus bus;
  const auto sender = open_port(bus);
  const auto receiver = open_port(bus);
  static_cast<void>(sender->send({1, {}}, kNow));
  static_cast<void>(sender->send({2, {}}, kNow));
  bus.set_state(nkr::can::BusState::BUS_OFF);
  bus.set_state(nkr::can::BusState::ERROR_PASSIVE);
  bus.set_state(nkr::can::BusState::BUS_OFF);
  std::vector<std::uint32_t> ids;
  EXPECT_EQ(receiver->drain([&](const Frame& frame) { ids.push_back(frame.id); }, kNow), NKR_OK);
  EXPECT_EQ(ids, (std::vector<std::uint32_t>{1, 2}));
  Frame frame;
  EXPECT_EQ(receiver->receive(frame, kNow), NKR_CAN_TIMED_OUT);
  receiver->close();
  EXPECT_EQ(receiver->drain([](const Frame&) {}, kNow), NKR_CAN_CLOSED);
}

}  // namespace
}  // namespace nkr::can::test
