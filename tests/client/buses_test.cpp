// A client on buses that keep frames, and take descriptors, outside of it.
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <nkr/can/open_bus.hpp>
#include <nkr/canopen/Client.hpp>
#include <string>
#include <thread>
#include <vector>

#include "socketcan/CanSystem.hpp"
#include "socketcan/SocketCanBus.hpp"

namespace tests::client {
namespace {

using nkr::can::Bus;
using nkr::can::Deadline;
using nkr::can::Frame;
using nkr::canopen::Client;
using namespace std::chrono_literals;

constexpr nkr::canopencore::ObjectAddress kObject{0x2000, 0, 32};

/** The answer of any node to an upload: a number that grows with every one. */
Frame answer_to(const Frame& request, std::uint32_t number) {
  return {request.id - 0x80,
          {0x43, request.data[1], request.data[2], request.data[3], static_cast<std::uint8_t>(number),
           static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number >> 16), 0}};
}

int descriptors() {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    static_cast<void>(entry);
    ++count;
  }
  return count;
}

/** Asks every node, one after the other and all of them at once; the most descriptors that were open. */
int descriptors_of_a_client_that_asks_127_nodes(const std::shared_ptr<Bus>& bus) {
  const int before = descriptors();
  Client client(bus);
  client.setTimeout(60s);
  std::uint32_t value = 0;
  for (std::uint8_t node = 1; node <= 127; ++node) EXPECT_EQ(client.getValue(node, kObject, value), NKR_OK);
  std::atomic<int> told{0};
  for (std::uint8_t node = 1; node <= 127; ++node) {
    const auto take = [&](nkr_error_t result, const std::vector<std::uint8_t>&) {
      EXPECT_EQ(result, NKR_OK);
      ++told;
    };
    EXPECT_EQ(client.readLater(node, kObject, take), NKR_OK);
  }
  int most = 0;
  while (told < 127) {
    most = std::max(most, descriptors());
    std::this_thread::sleep_for(1ms);
  }
  return std::max(most, descriptors()) - before;
}

/** Asks every node at once, each by a thread that waits, and nobody answers yet; the most descriptors. */
int descriptors_while_127_threads_wait(const std::shared_ptr<Bus>& bus) {
  nkr_error_t result = NKR_OK;
  const auto requests = bus->open({{0x600, 0x780}}, result);
  const int before = descriptors();
  Client client(bus);
  client.setTimeout(600s);
  std::vector<std::thread> threads;
  std::atomic<int> ended{0};
  for (std::uint8_t node = 1; node <= 127; ++node) {
    threads.emplace_back([&client, &ended, node] {
      std::uint32_t value = 0;
      EXPECT_EQ(client.getValue(node, kObject, value), NKR_CAN_CANCELLED);
      ++ended;
    });
  }
  Frame request;
  for (int i = 0; i < 127 && ended == 0; ++i) {
    EXPECT_EQ(requests->receive(request, nkr::can::Clock::now() + 60s), NKR_OK) << i;
  }
  std::this_thread::sleep_for(100ms);  // the last of them wait for their answers, too
  const int most = descriptors();
  while (ended < 127) {
    client.cancelRequests();
    std::this_thread::sleep_for(10ms);
  }
  for (std::thread& thread : threads) thread.join();
  return most - before;
}

/** Nodes 1 to 127 on a bus between processes. */
class UnixBus : public testing::Test {
 protected:
  void SetUp() override {
    nkr_error_t result = NKR_ERROR;
    std::string problem;
    bus = nkr::can::open_bus("unix:" + path_, result, problem);
    ASSERT_TRUE(bus) << problem;
    sender_ = bus->open({{0x7FF, 0x7FF}}, result);
    nodes_ = bus->open_handler(
        {{0x600, 0x780}},
        [this](const Frame& request) {
          if (request.data[0] != 0x40 && request.data[0] != 0xA4) return;
          static_cast<void>(sender_->send(answer_to(request, ++answers_), Deadline::never()));
        },
        result);
    ASSERT_TRUE(nodes_);
  }

  std::shared_ptr<Bus> bus;

 private:
  const std::string path_ = std::filesystem::temp_directory_path() /
                            ("client-" + std::to_string(::getpid()) + "-" +
                             std::string(testing::UnitTest::GetInstance()->current_test_info()->name()));
  std::atomic<std::uint32_t> answers_{0};
  std::unique_ptr<nkr::can::Port> sender_;
  std::unique_ptr<nkr::can::Port> nodes_;
};

TEST_F(UnixBus, TakesFewDescriptorsOfAClientThatAsks127Nodes) {
  EXPECT_LT(descriptors_of_a_client_that_asks_127_nodes(bus), 150);
}

TEST(SilentUnixBus, TakesFewDescriptorsWhile127ThreadsWaitForTheirAnswers) {
  nkr_error_t result = NKR_OK;
  std::string problem;
  const std::string path = testing::TempDir() + "tav-silent-" + std::to_string(::getpid()) + ".sock";
  const std::shared_ptr<Bus> bus = nkr::can::open_bus("unix:" + path, result, problem);
  ASSERT_NE(bus, nullptr) << problem;
  EXPECT_LT(descriptors_while_127_threads_wait(bus), 150);
  std::remove((path + ".lock").c_str());
}

TEST_F(UnixBus, Reads127NodesAtOnceByAsManyThreads) {
  Client client(bus);
  client.setTimeout(60s);
  std::vector<std::thread> threads;
  for (std::uint8_t node = 1; node <= 127; ++node) {
    threads.emplace_back([&client, node] {
      std::uint32_t last = 0;
      for (int i = 0; i < 20; ++i) {
        std::uint32_t value = 0;
        ASSERT_EQ(client.getValue(node, kObject, value), NKR_OK);
        ASSERT_GT(value, last) << "an answer of before";
        last = value;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST_F(UnixBus, AnswersToOtherClientsAreNotTakenForTheNextRequestsAnswer) {
  Client one(bus);
  Client other(bus);
  std::uint32_t value = 0;
  ASSERT_EQ(one.getValue(10, kObject, value), NKR_OK);
  std::uint32_t last = 0;
  for (int i = 0; i < 1500; ++i) ASSERT_EQ(other.getValue(10, kObject, last), NKR_OK);
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(one.getValue(10, kObject, value), NKR_OK);
    EXPECT_GT(value, last);
    last = value;
  }
}

/** A CAN stack whose nodes answer at once, each socket its own. */
class AnsweringSystem final : public nkr::can::CanSystem {
 public:
  int open() override { return ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC | EFD_SEMAPHORE); }
  int bind(int, const std::string&, const std::vector<nkr::can::Filter>&) override { return 0; }
  int read(int socket, nkr::can::ReceivedFrame& received) override {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::deque<Frame>& frames = frames_[socket];
    if (frames.empty()) return EAGAIN;
    eventfd_t one = 0;
    ::eventfd_read(socket, &one);
    received.frame = frames.front();
    frames.pop_front();
    return 0;
  }
  int write(int socket, const Frame& request) override {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (request.id <= 0x600 || request.data[0] == 0x80) return 0;
    frames_[socket].push_back(answer_to(request, 1));
    ::eventfd_write(socket, 1);
    return 0;
  }
  nkr::can::LinkState link(const std::string&) override { return nkr::can::LinkState::UP; }
  void close(int descriptor) override {
    const std::lock_guard<std::mutex> lock(mutex_);
    frames_.erase(descriptor);
    if (descriptor >= 0) ::close(descriptor);
  }

 private:
  std::mutex mutex_;
  std::map<int, std::deque<Frame>> frames_;
};

TEST(SocketCanBus, TakesFewDescriptorsOfAClientThatAsks127Nodes) {
  const auto bus = std::make_shared<nkr::can::SocketCanBus>("can9", std::make_shared<AnsweringSystem>());
  EXPECT_LT(descriptors_of_a_client_that_asks_127_nodes(bus), 150);
}

}  // namespace
}  // namespace tests::client
