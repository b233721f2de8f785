#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <nkr/can/open_bus.hpp>
#include <thread>

#include "can/unix/UnixBusFixture.hpp"

namespace nkr::can::test {
namespace {

using namespace std::chrono_literals;

/** Answers 0x581 to each 0x601 for ever, over losses of the bus. */
void serve(const std::string& name) {
  nkr_error_t result = NKR_OK;
  std::string explanation;
  const auto bus = nkr::can::open_bus(name, result, explanation);
  if (bus == nullptr) return;
  const auto port = bus->open({{0x601}}, result);
  if (port == nullptr) return;
  static_cast<void>(port->send({0x701, {0}}, soon()));
  Frame request;
  for (;;) {
    result = port->receive(request, kForever);
    if (result == NKR_OK) static_cast<void>(port->send({0x581, {request.data[0]}}, soon()));
  }
}

class UnixBusTest : public UnixBusFixture {
 protected:
  /** One request answered by a server, whatever answers of earlier requests are still on their way. */
  static bool answered(Port& client, std::uint8_t value) {
    if (client.send({0x601, {value}}, soon()) != NKR_OK) return false;
    Frame reply;
    const auto deadline = Clock::now() + 100ms;
    while (client.receive(reply, deadline) == NKR_OK) {
      if (reply.data[0] == value) return true;
    }
    return false;
  }
  static bool becomes_answered(Port& client, std::uint8_t value) {
    const auto deadline = soon();
    while (Clock::now() < deadline) {
      if (answered(client, value)) return true;
    }
    return false;
  }
};

TEST_F(UnixBusTest, EveryMemberHearsEveryOthersFramesInOrder) {
  const auto first = open_bus();
  const auto second = open_bus();
  EXPECT_EQ(first->name(), name);
  const auto a = open_port(*first);
  const auto b = open_port(*first);
  const auto c = open_port(*second);
  for (std::uint32_t i = 0; i < 100; ++i) EXPECT_EQ(a->send({0x100 + i, {1}}, soon()), NKR_OK);
  for (std::uint32_t i = 0; i < 100; ++i) {
    expect_receives(*b, {0x100 + i, {1}});
    expect_receives(*c, {0x100 + i, {1}});
  }
  EXPECT_EQ(c->send({0x200, {2}}, soon()), NKR_OK);
  expect_receives(*a, {0x200, {2}});
  expect_receives(*b, {0x200, {2}});
  Frame frame;
  EXPECT_EQ(c->receive(frame, Clock::now() + 50ms), NKR_CAN_TIMED_OUT) << "own frames are not received";
}

TEST_F(UnixBusTest, FiltersLetPassWhatMatches) {
  const auto bus = open_bus();
  const auto sender = open_port(*bus);
  const auto filtered = open_port(*bus, {{0x581}});
  static_cast<void>(sender->send({0x582, {}}, soon()));
  static_cast<void>(sender->send({0x581, {1}}, soon()));
  expect_receives(*filtered, {0x581, {1}});
}

TEST_F(UnixBusTest, ReceiveTimesOutAtTheDeadline) {
  const auto bus = open_bus();
  const auto port = open_port(*bus);
  Frame frame;
  const auto begin = Clock::now();
  EXPECT_EQ(port->receive(frame, begin + 50ms), NKR_CAN_TIMED_OUT);
  EXPECT_GE(Clock::now() - begin, 50ms);
  EXPECT_EQ(port->receive(frame, kNow), NKR_CAN_TIMED_OUT);
}

TEST_F(UnixBusTest, CloseWakesEveryWaiterAndLaterCallsAnswerClosed) {
  const auto bus = open_bus();
  const auto port = open_port(*bus);
  expect_close_wakes_every_receiver(*port);
}

TEST_F(UnixBusTest, WhenTheListenerGoesMembersAreToldOnceAndGoOnWithoutIt) {
  auto listening = open_bus();
  const auto other = open_bus();
  const auto third = open_bus();
  const auto a = open_port(*other);
  const auto b = open_port(*third);
  listening.reset();
  Frame frame;
  EXPECT_EQ(a->receive(frame, soon()), NKR_CAN_INTERFACE_GONE);
  EXPECT_EQ(a->status().state, BusState::INTERFACE_GONE);
  EXPECT_EQ(b->receive(frame, soon()), NKR_CAN_INTERFACE_GONE);
  EXPECT_EQ(a->receive(frame, Clock::now() + 50ms), NKR_CAN_TIMED_OUT);
  EXPECT_EQ(b->receive(frame, Clock::now() + 50ms), NKR_CAN_TIMED_OUT);
  EXPECT_EQ(a->status().state, BusState::ERROR_ACTIVE);
  EXPECT_EQ(a->send({0x123, {1}}, soon()), NKR_OK);
  expect_receives(*b, {0x123, {1}});
}

TEST_F(UnixBusTest, ASenderFindsTheListenerGoneAndGoesOn) {
  auto listening = open_bus();
  const auto other = open_bus();
  const auto port = open_port(*other);
  listening.reset();
  EXPECT_EQ(port->send({0x1, {}}, soon()), NKR_CAN_INTERFACE_GONE);
  EXPECT_EQ(port->send({0x2, {}}, soon()), NKR_OK);
  const auto newcomer_bus = open_bus();
  const auto newcomer = open_port(*newcomer_bus);
  EXPECT_EQ(port->send({0x3, {}}, soon()), NKR_OK);
  Frame frame;  // the one before may have been on its way still when the newcomer joined
  do ASSERT_EQ(newcomer->receive(frame, soon()), NKR_OK);
  while (frame.id == 0x2);
  EXPECT_EQ(frame, (Frame{0x3, {}}));
}

TEST_F(UnixBusTest, LeavesNoSocketFileBehind) {
  open_bus().reset();
  EXPECT_NE(::access(path.c_str(), F_OK), 0);
}

TEST_F(UnixBusTest, ReplacesTheSocketFileOfAKilledListener) {
  Process server([this] { serve(name); });
  while (::access(path.c_str(), F_OK) != 0) std::this_thread::sleep_for(1ms);
  server.kill();
  ASSERT_EQ(::access(path.c_str(), F_OK), 0);
  const auto bus = open_bus();
  ASSERT_NE(bus, nullptr);
  const auto a = open_port(*bus);
  const auto b = open_port(*bus);
  EXPECT_EQ(a->send({0x1, {}}, soon()), NKR_OK);
  expect_receives(*b, {0x1, {}});
}

TEST_F(UnixBusTest, AnswersComeFromAnotherProcess) {
  const Process server([this] { serve(name); });
  const auto bus = open_bus();
  const auto client = open_port(*bus, {{0x581}});
  EXPECT_TRUE(becomes_answered(*client, 1));
}

TEST_F(UnixBusTest, MembersOutliveAKilledListener) {
  Process listening([this] { serve(name); });
  while (::access(path.c_str(), F_OK) != 0) std::this_thread::sleep_for(1ms);
  const Process server([this] { serve(name); });
  const auto bus = open_bus();
  const auto client = open_port(*bus, {{0x581}});
  EXPECT_TRUE(becomes_answered(*client, 1));
  listening.kill();
  Frame frame;
  nkr_error_t result = NKR_OK;
  while (result == NKR_OK) result = client->receive(frame, soon());
  EXPECT_EQ(result, NKR_CAN_INTERFACE_GONE);
  EXPECT_TRUE(becomes_answered(*client, 2)) << "the other process has joined again as well";
}

TEST_F(UnixBusTest, AKilledMemberDisturbsNobody) {
  const Process server([this] { serve(name); });
  const auto bus = open_bus();
  const auto client = open_port(*bus, {{0x581}});
  ASSERT_TRUE(becomes_answered(*client, 1));
  for (std::uint8_t round = 2; round < 8; ++round) {
    Process chatty([this] {
      const auto own_bus = open_bus();
      const auto port = open_port(*own_bus);
      for (;;) static_cast<void>(port->send({0x7E0, {1, 2, 3}}, kNow));
    });
    std::this_thread::sleep_for(20ms);
    chatty.kill();
    EXPECT_TRUE(becomes_answered(*client, round));
    EXPECT_EQ(client->status().state, BusState::ERROR_ACTIVE);
  }
}

TEST_F(UnixBusTest, ASlowMemberBlocksNobodyAndLearnsWhatItLost) {
  const auto bus = open_bus();
  const auto sender = open_port(*bus);
  const auto quick = open_port(*bus);
  const auto slow = open_port(*bus);
  constexpr std::uint64_t kFrames = 30000;
  for (std::uint64_t i = 0; i < kFrames; ++i) {
    ASSERT_EQ(sender->send({static_cast<std::uint32_t>(i & 0x7FF), {}}, soon()), NKR_OK);
    Frame frame;
    ASSERT_EQ(quick->receive(frame, soon()), NKR_OK);
  }
  EXPECT_EQ(quick->status().dropped, 0U);
  std::uint64_t received = 0;
  Frame frame;
  const auto deadline = soon();
  while (received + slow->status().dropped < kFrames && Clock::now() < deadline) {
    if (slow->receive(frame, Clock::now() + 50ms) == NKR_OK) ++received;
  }
  EXPECT_GT(slow->status().dropped, 0U);
  EXPECT_EQ(received + slow->status().dropped, kFrames);
}

TEST_F(UnixBusTest, WhoBreaksTheFormatIsShownOut) {
  const auto bus = open_bus();
  const auto a = open_port(*bus);
  const auto b = open_port(*bus);
  const int stranger = ::socket(AF_UNIX, SOCK_SEQPACKET, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::copy(path.begin(), path.end(), address.sun_path);
  ASSERT_EQ(::connect(stranger, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  char bytes[64] = {};
  ASSERT_EQ(::recv(stranger, bytes, sizeof bytes, 0), 16) << "the welcome";
  ASSERT_EQ(::send(stranger, "FFFFFFFFFFFFFFFFF", 17, 0), 17);
  EXPECT_LE(::recv(stranger, bytes, sizeof bytes, 0), 0);
  ::close(stranger);
  EXPECT_EQ(a->send({0x1, {}}, soon()), NKR_OK);
  expect_receives(*b, {0x1, {}});
}

TEST_F(UnixBusTest, SaysWhyAPathCannotBeUsed) {
  const auto refused = [](const std::string& bus_name, nkr_error_t expected) {
    nkr_error_t result = NKR_OK;
    std::string explanation;
    EXPECT_EQ(nkr::can::open_bus(bus_name, result, explanation), nullptr);
    EXPECT_EQ(result, expected);
    EXPECT_NE(explanation.find(bus_name), std::string::npos);
    return explanation;
  };
  std::ofstream(path) << "somebody's notes";
  EXPECT_NE(refused(name, NKR_CAN_NO_INTERFACE).find("no socket"), std::string::npos);
  EXPECT_EQ(::access(path.c_str(), F_OK), 0) << "a file that is no socket stays";
  EXPECT_NE(refused("unix:/nonexistent/folder/bus", NKR_CAN_NO_INTERFACE).find("folder"), std::string::npos);
  EXPECT_NE(refused("unix:/tmp/" + std::string(120, 'x'), NKR_CAN_NO_INTERFACE).find("longer"),
            std::string::npos);
  EXPECT_NE(refused("unix:", NKR_CAN_NO_INTERFACE).find("empty"), std::string::npos);
}

TEST_F(UnixBusTest, MembersComeAndGoWhileOthersTalk) {
  const auto stable = open_bus();
  const auto server = open_port(*stable, {{0x601}});
  std::thread serving([&] {
    Frame request;
    nkr_error_t result = NKR_OK;
    while ((result = server->receive(request, kForever)) != NKR_CAN_CLOSED) {
      if (result == NKR_OK) static_cast<void>(server->send({0x581, {request.data[0]}}, soon()));
    }
  });
  std::atomic<bool> done{false};
  std::thread churn([&] {
    while (!done) {
      const auto bus = open_bus();
      const auto port = open_port(*bus);
      static_cast<void>(port->send({0x700, {}}, soon()));
    }
  });
  const auto bus = open_bus();
  const auto client = open_port(*bus, {{0x581}});
  for (std::uint8_t round = 0; round < 100; ++round) EXPECT_TRUE(becomes_answered(*client, round));
  done = true;
  churn.join();
  server->close();
  serving.join();
}

}  // namespace
}  // namespace nkr::can::test
