#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <thread>
#include <unix/SocketFile.hpp>
#include <unix/unix_wire.hpp>
#include <vector>

#include "can/unix/UnixBusFixture.hpp"

namespace nkr::can::test {
namespace {

using namespace std::chrono_literals;

constexpr std::uint32_t kReply = 0x581;

/** Frames that wait for a port which nobody reads, some of them in the listener. */
class UnixDrainTest : public UnixBusFixture {
 protected:
  void SetUp() override {
    UnixBusFixture::SetUp();
    bus = open_bus();
    sender = open_port(*bus);
    witness = open_port(*bus, {{kReply}});
    port = open_port(*bus, {{kReply}});
  }
  void TearDown() override {
    for (auto* member : {&sender, &witness, &port}) member->reset();
    bus.reset();
    UnixBusFixture::TearDown();
  }
  /** Sends, and waits until another member has received it all: so it is on its way to the port, too. */
  void let_wait(std::uint32_t count) {
    Frame seen;
    for (std::uint32_t i = 0; i < count; ++i) {
      ASSERT_EQ(sender->send(numbered(i), soon()), NKR_OK);
      ASSERT_EQ(witness->receive(seen, soon()), NKR_OK);
    }
  }
  static Frame numbered(std::uint32_t number) {
    return {kReply, {static_cast<std::uint8_t>(number & 0xFF), static_cast<std::uint8_t>(number >> 8)}};
  }

  std::shared_ptr<Bus> bus;
  std::unique_ptr<Port> sender;
  std::unique_ptr<Port> witness;
  std::unique_ptr<Port> port;
  Frame frame;
};

TEST_F(UnixDrainTest, TakesWhatWaitsInTheListenerToo) {
  let_wait(4000);
  std::vector<Frame> taken;
  EXPECT_EQ(port->drain([&](const Frame& old) { taken.push_back(old); }, soon()), NKR_OK);
  ASSERT_EQ(taken.size(), 4000U);
  for (std::uint32_t i = 0; i < 4000; ++i) ASSERT_EQ(taken[i], numbered(i));
  EXPECT_EQ(port->receive(frame, kNow), NKR_CAN_TIMED_OUT);
  let_wait(1);
  EXPECT_EQ(port->receive(frame, soon()), NKR_OK);
  EXPECT_EQ(frame, numbered(0));
}

TEST_F(UnixDrainTest, OfTwoThatAskTheSameNodeNoneTakesTheOthersAnswers) {
  const auto server = open_port(*bus, {{0x601}});
  std::thread serving([&] {
    Frame request;
    while (server->receive(request, kForever) == NKR_OK)
      static_cast<void>(server->send({kReply, {request.data[0], request.data[1]}}, soon()));
  });
  const auto ask = [&](Port& asking, std::uint32_t number) {
    EXPECT_EQ(asking.drain([](const Frame&) {}, soon()), NKR_OK);
    Frame request = numbered(number);
    request.id = 0x601;
    EXPECT_EQ(asking.send(request, soon()), NKR_OK);
    EXPECT_EQ(asking.receive(frame, soon()), NKR_OK);
    return frame == numbered(number);
  };
  EXPECT_TRUE(ask(*port, 60000));
  for (std::uint32_t i = 0; i < 2000; ++i) ASSERT_TRUE(ask(*witness, i));
  for (std::uint32_t i = 50000; i < 50010; ++i) EXPECT_TRUE(ask(*port, i));
  server->close();
  serving.join();
}

TEST_F(UnixDrainTest, CountsWhatWasTooMuchForTheListener) {
  let_wait(20000);
  std::uint64_t taken = 0;
  EXPECT_EQ(port->drain([&](const Frame&) { ++taken; }, soon()), NKR_OK);
  EXPECT_EQ(taken + port->status().dropped, 20000U);
  EXPECT_GT(port->status().dropped, 0U);
  EXPECT_EQ(port->receive(frame, kNow), NKR_CAN_TIMED_OUT);
}

TEST_F(UnixDrainTest, DoesNotWaitWithoutTime) {
  let_wait(1000);
  EXPECT_EQ(port->drain([](const Frame&) {}, Deadline::passed()), NKR_CAN_TIMED_OUT) << "there may be more";
  EXPECT_EQ(port->drain([](const Frame&) {}, soon()), NKR_OK);
}

TEST_F(UnixDrainTest, OfALostConnectionIsDone) {
  const auto stranger = open_bus();
  const auto lost = open_port(*stranger, {{kReply}});
  let_wait(1000);
  for (auto* member : {&sender, &witness, &port}) member->reset();
  bus.reset();
  EXPECT_EQ(lost->drain([](const Frame&) {}, soon()), NKR_OK);
  EXPECT_EQ(lost->receive(frame, kNow), NKR_CAN_TIMED_OUT) << "that it was lost is of the past, too";
}

TEST_F(UnixDrainTest, OfAClosedPortSaysSo) {
  port->close();
  EXPECT_EQ(port->drain([](const Frame&) {}, soon()), NKR_CAN_CLOSED);
}

TEST_F(UnixDrainTest, WhatFiltersKeepOutIsNeitherKeptNorLost) {
  Frame seen;
  const auto all = open_port(*bus);
  for (std::uint32_t i = 0; i < 20000; ++i) {
    ASSERT_EQ(sender->send({0x100, {}}, soon()), NKR_OK);
    ASSERT_EQ(all->receive(seen, soon()), NKR_OK);
  }
  static_cast<void>(sender->send(numbered(7), soon()));
  EXPECT_EQ(port->receive(frame, soon()), NKR_OK);
  EXPECT_EQ(frame, numbered(7));
  EXPECT_EQ(port->status().dropped, 0U);
}

using UnixDrainElsewhereTest = UnixBusFixture;

TEST_F(UnixDrainElsewhereTest, EndsAtItsDeadlineWhenTheListenerDoesNotAnswer) {
  Process listening([this] {
    const auto own_bus = open_bus();
    const auto own_port = open_port(*own_bus, {{0x600}});
    Frame request;
    static_cast<void>(own_port->receive(request, kForever));
    for (std::uint32_t i = 0; i < 1000; ++i) static_cast<void>(own_port->send({kReply, {}}, soon()));
    static_cast<void>(own_port->send({0x602, {}}, soon()));
    ::pause();
  });
  while (::access(path.c_str(), F_OK) != 0) std::this_thread::sleep_for(1ms);
  const auto bus = open_bus();
  const auto port = open_port(*bus, {{kReply}});
  const auto ready = open_port(*bus, {{0x602}});
  Frame frame;
  do {
    ASSERT_EQ(port->send({0x600, {}}, soon()), NKR_OK);
  } while (ready->receive(frame, Clock::now() + 100ms) != NKR_OK);
  listening.stop();
  const auto begin = Clock::now();
  EXPECT_EQ(port->drain([](const Frame&) {}, begin + 50ms), NKR_CAN_TIMED_OUT);
  EXPECT_GE(Clock::now(), begin + 50ms);
}

/** A listener by hand: it sends the mark back, and at once a frame that came behind it. */
TEST_F(UnixDrainElsewhereTest, EndsWithItsMarkThoughMoreComesBehind) {
  const SocketFile file(path);
  SocketFile::Listener listener;
  ASSERT_EQ(file.listen(listener), 0);
  std::thread listening([&] {
    const auto write = [](int member, const UnixBytes& message) {
      EXPECT_EQ(::send(member, message.data(), message.size(), MSG_NOSIGNAL),
                static_cast<ssize_t>(message.size()));
    };
    std::vector<int> members;
    for (int i = 0; i < 2; ++i) {  // a bus that is opened joins once to see whether it can
      pollfd joining = {listener.socket.get(), POLLIN, 0};
      ASSERT_EQ(::poll(&joining, 1, 20000), 1);
      members.push_back(::accept(listener.socket.get(), nullptr, nullptr));
      write(members.back(), encode_welcome(1));
    }
    write(members.back(), encode_frame({kReply, {1}}));
    std::array<std::uint8_t, 64> bytes{};
    while (true) {
      const ssize_t size = ::recv(members.back(), bytes.data(), bytes.size(), 0);
      const auto message =
          decode_unix_message(bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
      if (size <= 0) break;
      if (!message || message->kind != UnixMessage::Kind::MARK) continue;
      write(members.back(), encode_mark(message->number));
      write(members.back(), encode_frame({kReply, {2}}));
    }
    for (const int member : members) ::close(member);
  });
  {
    const auto bus = open_bus();
    const auto port = open_port(*bus);
    Frame frame;
    EXPECT_EQ(port->receive(frame, soon()), NKR_OK);
    EXPECT_EQ(port->drain([](const Frame&) {}, soon()), NKR_OK);
  }
  listening.join();
}

}  // namespace
}  // namespace nkr::can::test
