// Many clients on a bus between processes: members come and go, listeners are killed, descriptors and threads
// run out. Whatever a request answers, an answer that counts is of the request; and all of it ends.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <nkr/can/Thread.hpp>
#include <nkr/can/open_bus.hpp>
#include <nkr/canopen/Client.hpp>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace tests::stress {
namespace {

using nkr::can::Bus;
using nkr::can::Clock;
using nkr::can::Deadline;
using nkr::can::Frame;
using nkr::canopen::Client;
using namespace std::chrono_literals;

constexpr int kNodes = 40;
constexpr int kClients = 4;

std::chrono::seconds length() {
  const char* const asked = std::getenv("TAV_STRESS_SECONDS");
  return std::chrono::seconds(asked == nullptr ? 1 : std::atoi(asked));
}

std::shared_ptr<Bus> open_bus(const std::string& name) {
  nkr_error_t result = NKR_OK;
  std::string problem;
  return nkr::can::open_bus(name, result, problem);
}

/** How many answers were given so far, by whichever nodes. */
std::atomic<std::uint32_t> given{0};

/** Nodes 1 to kNodes: each answers an upload with the number of the answer. */
class Nodes {
 public:
  explicit Nodes(const std::shared_ptr<Bus>& bus) : bus_(bus) {
    nkr_error_t result = NKR_OK;
    port_ = bus_->open({{0x600, 0x780}}, result);
    if (port_) thread_ = std::thread([this] { serve(); });
  }
  ~Nodes() {
    if (!port_) return;
    port_->close();
    thread_.join();
  }
  Nodes(const Nodes&) = delete;
  Nodes& operator=(const Nodes&) = delete;

 private:
  void serve() {
    Frame request;
    nkr_error_t result = NKR_OK;
    while ((result = port_->receive(request, Deadline::never())) != NKR_CAN_CLOSED) {
      const bool is_upload = result == NKR_OK && request.size == 8 && request.data[0] == 0x40;
      if (!is_upload || (request.id & 0x7F) > kNodes) continue;
      const auto& asked = request.data;
      const std::uint32_t number = ++given;
      const auto byte = [number](unsigned shift) { return static_cast<std::uint8_t>(number >> shift); };
      const Frame answer(request.id - 0x80,
                         {0x43, asked[1], asked[2], asked[3], byte(0), byte(8), byte(16), byte(24)});
      static_cast<void>(port_->send(answer, 100ms));
    }
  }

  std::shared_ptr<Bus> bus_;
  std::unique_ptr<nkr::can::Port> port_;
  std::thread thread_;
};

class Stress : public testing::Test {
 protected:
  void SetUp() override {
    char folder[] = "/tmp/tav-stress-XXXXXX";
    ASSERT_NE(::mkdtemp(folder), nullptr);
    folder_ = folder;
    name = "unix:" + folder_ + "/bus";
  }
  void TearDown() override {
    nkr::can::Thread::allow(-1);
    std::filesystem::remove_all(folder_);
  }
  /** Runs all of them until the time is over; each is given a seed of its own. */
  void run(const std::vector<std::function<void(unsigned)>>& troubles) {
    std::vector<std::thread> threads;
    unsigned seed = 0;
    for (const auto& trouble : troubles) {
      threads.emplace_back([this, &trouble, number = ++seed] {
        while (!ended) trouble(number);
      });
    }
    std::this_thread::sleep_for(length());
    ended = true;
    for (std::thread& thread : threads) thread.join();
  }
  /** Reads an object of a node; counts what was answered, and what was the answer to an earlier request. */
  void ask(Client& client, std::mt19937& random) {
    const auto node = static_cast<std::uint8_t>(1 + random() % kNodes);
    const nkr::canopencore::ObjectAddress object{static_cast<std::uint16_t>(0x2000 + random() % 0x1000),
                                                 static_cast<std::uint8_t>(random() % 8), 32};
    const std::uint32_t before = given;
    std::uint32_t value = 0;
    if (client.getValue(node, object, value) != NKR_OK) return;
    ++answered;
    if (value <= before) ++wrong;
  }
  /** A client for a while, then another one. */
  void use_client(unsigned seed) {
    std::mt19937 random(seed * 1000003 + ++clients_);
    const std::shared_ptr<Bus> bus = open_bus(name);
    if (!bus) return;
    nkr::canopen::ClientOptions options;
    options.sdo_timeout = 50ms;
    options.late_reply_grace = 50ms;
    Client client(bus, options);
    static_cast<void>(client.subscribe([](const nkr::canopen::Event&) {}));
    for (int i = 0; i < 200 && !ended; ++i) {
      ask(client, random);
      if (random() % 50 == 0) client.cancelRequests();
      if (random() % 20 != 0) continue;
      static_cast<void>(
          client.readLater(5, {0x2000, 0}, [](nkr_error_t, const std::vector<std::uint8_t>&) {}));
    }
  }
  /** A process that may become the listener, and is killed. */
  void kill_a_process() {
    const pid_t child = ::fork();
    if (child == 0) {
      const std::shared_ptr<Bus> bus = open_bus(name);
      ::alarm(60);
      ::pause();
      ::_exit(bus ? 0 : 1);
    }
    std::this_thread::sleep_for(20ms);
    if (child < 0) return;
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
  }

  std::string name;
  std::atomic<bool> ended{false};
  std::atomic<std::uint64_t> answered{0};
  std::atomic<std::uint64_t> wrong{0};

 private:
  std::string folder_;
  std::atomic<unsigned> clients_{0};
};

/** Nodes that are there for a moment, so that listeners come and go with them. */
TEST_F(Stress, OfMembersThatComeAndGo) {
  std::vector<std::function<void(unsigned)>> troubles(kClients, [this](unsigned seed) { use_client(seed); });
  troubles.emplace_back([this](unsigned) {
    const std::shared_ptr<Bus> bus = open_bus(name);
    if (!bus) return;
    const Nodes nodes(bus);
    std::this_thread::sleep_for(100ms);
  });
  run(troubles);
  EXPECT_GT(answered, 0U);
  EXPECT_EQ(wrong, 0U);
}

TEST_F(Stress, OfOneClientThatManyThreadsUse) {
  const std::shared_ptr<Bus> bus = open_bus(name);
  ASSERT_NE(bus, nullptr);
  const Nodes nodes(bus);
  Client client(bus);
  std::vector<std::function<void(unsigned)>> troubles(48, [&](unsigned seed) {
    thread_local std::mt19937 random(seed);
    ask(client, random);
  });
  run(troubles);
  EXPECT_GT(answered, 0U);
  EXPECT_EQ(wrong, 0U);
}

TEST_F(Stress, OfThreadsThatRunOut) {
  const std::shared_ptr<Bus> bus = open_bus(name);
  ASSERT_NE(bus, nullptr);
  const Nodes nodes(bus);
  std::vector<std::function<void(unsigned)>> troubles(kClients, [this](unsigned seed) { use_client(seed); });
  troubles.emplace_back([](unsigned) {
    for (const int starts : {0, 3, -1}) {
      nkr::can::Thread::allow(starts);
      std::this_thread::sleep_for(5ms);
    }
  });
  run(troubles);
  EXPECT_EQ(wrong, 0U);
}

TEST_F(Stress, OfDescriptorsThatRunOut) {
  const std::shared_ptr<Bus> bus = open_bus(name);
  ASSERT_NE(bus, nullptr);
  const Nodes nodes(bus);
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  std::vector<std::function<void(unsigned)>> troubles(kClients, [this](unsigned seed) { use_client(seed); });
  troubles.emplace_back([&before](unsigned) {
    for (const rlim_t most : {rlim_t{20}, rlim_t{30}, before.rlim_cur}) {
      const rlimit scarce{most, before.rlim_max};
      EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &scarce), 0);
      std::this_thread::sleep_for(20ms);
    }
  });
  run(troubles);
  EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(wrong, 0U);
  Client client(bus);
  std::uint32_t value = 0;
  EXPECT_EQ(client.getValue(1, 0x20000020, value), NKR_OK) << "there are descriptors again";
}

TEST_F(Stress, OfListenersThatAreKilled) {
  std::vector<std::function<void(unsigned)>> troubles(2, [this](unsigned seed) { use_client(seed); });
  troubles.emplace_back([this](unsigned) { kill_a_process(); });
  troubles.emplace_back([this](unsigned) {
    const std::shared_ptr<Bus> bus = open_bus(name);
    if (!bus) return;
    const Nodes nodes(bus);
    std::this_thread::sleep_for(300ms);
  });
  run(troubles);
  EXPECT_EQ(wrong, 0U);
}

}  // namespace
}  // namespace tests::stress
