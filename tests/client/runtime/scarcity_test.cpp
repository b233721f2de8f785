// What becomes of a client when the system has no thread, no port or no descriptor left for it.
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <nkr/can/Thread.hpp>
#include <string>
#include <thread>
#include <vector>

#include "client/BusDouble.hpp"
#include "client/ClientFixture.hpp"

namespace tests::client {
namespace {

using nkr::can::Thread;
using nkr::canopen::Client;
using nkr::canopen::Event;
using nkr::canopen::object_value;
using namespace std::chrono_literals;

constexpr std::uint8_t kNode = 10;
constexpr nkr::canopencore::ObjectAddress kStatusWord{0x6041, 0, 16};

/** Everything that a client may need threads and ports for. Whatever is refused, the next is tried. */
void use_all_of(Client& client) {
  client.setTimeout(20ms);
  client.subscribe([](const Event&) {});
  static_cast<void>(
      client.readLater(kNode, kStatusWord, [](nkr_error_t, const std::vector<std::uint8_t>&) {}));
  static_cast<void>(client.readLater(11, kStatusWord, [](nkr_error_t, const std::vector<std::uint8_t>&) {}));
  static_cast<void>(client.setNodeConfiguration(kNode, {object_value({0x1006, 0}, 1000U)}));
  static_cast<void>(client.setNodeConfiguration(11, {object_value({0x1006, 0}, 1000U)}));
  static_cast<void>(client.startHeartbeat(1, 10ms));
  static_cast<void>(client.startSync(10ms));
  static_cast<void>(client.expectNode(12, 10ms));
  static_cast<void>(client.setHeartbeatTimeout(kNode, 10ms));
  static_cast<void>(client.startNodeGuarding(13, 10ms, 3));
  std::uint16_t value = 0;
  for (std::uint8_t node = 9; node < 12; ++node) static_cast<void>(client.getValue(node, kStatusWord, value));
  nkr::canopenservice::TavOut out{};
  static_cast<void>(client.sync({kNode, kStatusWord, 0x60640020, 0x60440010, 0, false}, out));
}

class Scarcity : public testing::Test {
 protected:
  ~Scarcity() override { Thread::allow(-1); }
  std::shared_ptr<nkr::can::InProcessBus> bus = std::make_shared<nkr::can::InProcessBus>();
  ScriptedNode node{*bus, kNode};
};

TEST_F(Scarcity, WhicheverThreadIsMissingNothingThrowsAndClosingEnds) {
  for (int threads = 0; threads < 8; ++threads) {
    Thread::allow(threads);
    Client client(bus);
    use_all_of(client);
    client.close();
  }
}

TEST_F(Scarcity, WhicheverPortIsMissingNothingThrowsAndNoneIsLeft) {
  const auto scarce = std::make_shared<BusDouble>(bus);
  for (int ports = 0; ports < 8; ++ports) {
    scarce->allow(ports);
    {
      Client client(scarce);
      use_all_of(client);
      client.close();
    }
    EXPECT_EQ(scarce->open_ports(), 0) << ports;
  }
}

TEST_F(Scarcity, AClientWithoutItsThreadsIsNotInitialized) {
  Thread::allow(0);
  Client client(bus);
  EXPECT_FALSE(client.isInitialized());
  std::uint16_t value = 0;
  EXPECT_EQ(client.getValue(kNode, kStatusWord, value), NKR_CAN_NO_RESOURCES);
}

TEST_F(Scarcity, WhatNeedsAThreadAnswersThatThereIsNone) {
  Client client(bus);
  Thread::allow(0);
  EXPECT_EQ(client.subscribe([](const Event&) {}), 0);
  nkr::canopen::Subscription subscription;
  EXPECT_EQ(client.subscribe([](const Event&) {}, subscription), NKR_CAN_NO_RESOURCES);
  EXPECT_EQ(client.readLater(kNode, kStatusWord, [](nkr_error_t, const std::vector<std::uint8_t>&) {}),
            NKR_CAN_NO_RESOURCES);
  EXPECT_EQ(client.setNodeConfiguration(kNode, {object_value({0x1006, 0}, 1U)}), NKR_CAN_NO_RESOURCES);
  EXPECT_EQ(client.startHeartbeat(1, 10ms), NKR_CAN_NO_RESOURCES);
  EXPECT_EQ(client.startSync(10ms), NKR_CAN_NO_RESOURCES);
  EXPECT_EQ(client.expectNode(11, 10ms), NKR_CAN_NO_RESOURCES);
  EXPECT_EQ(client.startNodeGuarding(11, 10ms, 3), NKR_CAN_NO_RESOURCES);
  Thread::allow(-1);
  EXPECT_EQ(client.startHeartbeat(1, 10ms), NKR_OK) << "when it has one again";
}

TEST_F(Scarcity, APortThatIsMissingNowIsOpenedWhenThereIsOne) {
  const auto scarce = std::make_shared<BusDouble>(bus);
  Client client(scarce);
  scarce->allow(0);
  std::uint16_t value = 0;
  EXPECT_EQ(client.getValue(kNode, kStatusWord, value), NKR_CAN_NO_INTERFACE);
  scarce->allow(-1);
  node.on("40 41 60 00 00 00 00 00", {"4B 41 60 00 37 02 00 00"});
  EXPECT_EQ(client.getValue(kNode, kStatusWord, value), NKR_OK);
}

TEST_F(Scarcity, IdleNodesGiveTheirPortsToOthers) {
  const auto counted = std::make_shared<BusDouble>(bus);
  Client client(counted);
  std::vector<std::unique_ptr<ScriptedNode>> nodes;
  for (std::uint8_t id = 1; id <= 127; ++id) {
    nodes.push_back(std::make_unique<ScriptedNode>(*bus, id));
    nodes.back()->on("40 41 60 00 00 00 00 00", {"4B 41 60 00 37 02 00 00"});
  }
  for (int round = 0; round < 2; ++round) {
    for (std::uint8_t id = 1; id <= 127; ++id) {
      std::uint16_t value = 0;
      EXPECT_EQ(client.getValue(id, kStatusWord, value), NKR_OK);
    }
  }
  EXPECT_LE(counted->open_ports(), 33) << "32 and the one for all that is no SDO";
}

std::uint64_t blocked_signals_of(const std::filesystem::path& task) {
  std::ifstream status(task / "status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("SigBlk:", 0) == 0) return std::stoull(line.substr(7), nullptr, 16);
  }
  return 0;
}

bool is_blocked(std::uint64_t mask, int signal) {
  return (mask >> (signal - 1) & 1U) != 0;
}

TEST_F(Scarcity, TheProgramsSignalsAreNotTakenByTheClientsThreads) {
  std::vector<std::filesystem::path> before;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task"))
    before.push_back(task.path());
  sigset_t mask_before;
  ::pthread_sigmask(SIG_SETMASK, nullptr, &mask_before);
  Client client(bus);
  client.subscribe([](const Event&) {});
  static_cast<void>(client.startHeartbeat(1, 1s));
  int own = 0;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
    if (std::find(before.begin(), before.end(), task.path()) != before.end()) continue;
    ++own;
    std::uint64_t mask = blocked_signals_of(task.path());
    while (is_blocked(mask, SIGSEGV))
      mask = blocked_signals_of(task.path());  // a thread starts with all blocked
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGALRM, SIGUSR1, SIGCHLD})
      EXPECT_TRUE(is_blocked(mask, signal)) << signal;
  }
  EXPECT_EQ(own, 3);
  sigset_t mask_after;
  ::pthread_sigmask(SIG_SETMASK, nullptr, &mask_after);
  EXPECT_EQ(sigismember(&mask_after, SIGINT), sigismember(&mask_before, SIGINT))
      << "nor is the caller's mask changed";
}

TEST_F(Scarcity, ACallerWithoutAThreadKeepsItsSignals) {
  Client client(bus);
  Thread::allow(0);
  static_cast<void>(client.startHeartbeat(1, 1s));
  sigset_t mask;
  ::pthread_sigmask(SIG_SETMASK, nullptr, &mask);
  EXPECT_EQ(sigismember(&mask, SIGINT), 0);
}

}  // namespace
}  // namespace tests::client
