// Eight threads, sixteen nodes, and everything that can happen to an answer. Run under the thread sanitizer,
// too.
#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "client/ClientFixture.hpp"

namespace tests::client {
namespace {

using nkr::can::Clock;
using nkr::can::Frame;
using nkr::can::InProcessBus;
using nkr::canopen::Client;
using nkr::canopen::Event;
using namespace std::chrono_literals;

constexpr auto kTimeout = 40ms;
constexpr auto kGrace = 400ms;
constexpr std::uint8_t kNodes = 16;
constexpr unsigned kThreads = 8;
constexpr unsigned kObjects = 24;
constexpr nkr_error_t kRefused = NKR_SDO_DEVICE_STATE;

/** Delivers answers when they come too late, but within the grace time: what comes later still is another
 * matter. */
class SlowPost {
 public:
  explicit SlowPost(InProcessBus& bus) {
    nkr_error_t result = NKR_ERROR;
    port_ = bus.open({{0x7FF, 0x7FF}}, result);
    thread_ = std::thread([this] { run(); });
  }
  ~SlowPost() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      ends_ = true;
    }
    changed_.notify_one();
    thread_.join();
  }
  SlowPost(const SlowPost&) = delete;
  SlowPost& operator=(const SlowPost&) = delete;

  void send(const Frame& frame) {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      letters_.push_back({Clock::now() + 2 * kTimeout, frame});
    }
    changed_.notify_one();
  }

 private:
  struct Letter {
    Clock::time_point when;
    Frame frame;
  };
  void run() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!ends_) {
      if (letters_.empty()) {
        changed_.wait(lock);
        continue;
      }
      const Letter letter = letters_.front();
      if (Clock::now() < letter.when) {
        changed_.wait_until(lock, letter.when);
        continue;
      }
      letters_.pop_front();
      lock.unlock();
      if (Clock::now() < letter.when + kGrace / 4)
        static_cast<void>(port_->send(letter.frame, Clock::time_point::max()));
      lock.lock();
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Letter> letters_;
  bool ends_ = false;
  std::unique_ptr<nkr::can::Port> port_;
  std::thread thread_;
};

enum Fault { NONE, LOST, LATE, DOUBLED, ABORT, WRONG_TOGGLE, RESET, KINDS };

/**
 * A node whose objects tell which of their requests it was that they answer: number n of object 2000h:00 is
 * n. The objects 2100h:xx tell it as a text, in segments.
 */
class FaultyNode {
 public:
  FaultyNode(InProcessBus& bus, SlowPost& post, std::uint8_t id) : id_(id), post_(post), random_(id) {
    nkr_error_t result = NKR_ERROR;
    sender_ = bus.open({{0x7FF, 0x7FF}}, result);
    port_ = bus.open_handler(
        {{0x600U + id, 0x7FF}}, [this](const Frame& frame) { received(frame); }, result);
  }

  /** How often the object was asked for so far. */
  std::uint32_t asked(unsigned object) { return asked_.at(object); }
  [[nodiscard]] unsigned injected(Fault fault) const { return injected_.at(fault); }
  static std::string text(std::uint32_t number) { return "answer number " + std::to_string(number); }

 private:
  using Data = std::array<std::uint8_t, 8>;

  void received(const Frame& request) {
    if (request.data[0] == 0x80) return;
    const Frame answer = answer_to(request.data);
    const Fault fault = next_fault(answer);
    ++injected_.at(fault);
    switch (fault) {
      case LOST:
        return;
      case LATE:
        return post_.send(answer);
      case ABORT:
        return send(refusal(request.data));
      case WRONG_TOGGLE:
        return send(toggled(answer));
      case RESET:
        return send({0x700U + id_, {0}});
      default:
        send(answer);
        if (fault == DOUBLED) send(answer);
    }
  }
  Fault next_fault(const Frame& answer) {
    const auto roll = random_() % 60;
    const bool is_segment = answer.data[0] < 0x40;
    if (roll == WRONG_TOGGLE) return is_segment ? WRONG_TOGGLE : NONE;
    if (roll == ABORT) return is_segment ? NONE : ABORT;
    return roll < KINDS ? static_cast<Fault>(roll) : NONE;
  }

  Frame answer_to(const Data& data) {
    if (data[0] == 0x60 || data[0] == 0x70) return segment(data[0] & 0x10);
    const std::uint32_t number = ++asked_.at(data[3]);
    Frame answer{0x580U + id_, {0, data[1], data[2], data[3], 0, 0, 0, 0}};
    if (data[0] == 0x23) {
      answer.data[0] = 0x60;
    } else if (data[2] == 0x21) {
      answer.data[0] = 0x40;
      text_ = text(number);
    } else {
      answer.data[0] = 0x43;
      for (unsigned i = 0; i < 4; ++i) answer.data.at(4 + i) = static_cast<std::uint8_t>(number >> (8 * i));
    }
    return answer;
  }
  Frame segment(std::uint8_t toggle) {
    const std::size_t size = std::min<std::size_t>(7, text_.size());
    Frame answer{0x580U + id_, {0, 0, 0, 0, 0, 0, 0, 0}};
    answer.data[0] = static_cast<std::uint8_t>(toggle | (7 - size) << 1 | (size == text_.size() ? 1 : 0));
    std::copy_n(text_.begin(), size, answer.data.begin() + 1);
    text_.erase(0, size);
    return answer;
  }
  Frame refusal(const Data& data) const {
    return {0x580U + id_, {0x80, data[1], data[2], data[3], 0x22, 0, 0, 8}};
  }
  static Frame toggled(Frame frame) {
    frame.data[0] ^= 0x10;
    return frame;
  }
  void send(const Frame& frame) { static_cast<void>(sender_->send(frame, Clock::time_point::max())); }

  const std::uint8_t id_;
  SlowPost& post_;
  std::minstd_rand
      random_;  ///< of the one request that the client has under way at this node, as is the text
  std::string text_;
  std::array<std::atomic<std::uint32_t>, kObjects> asked_{};
  std::array<std::atomic<unsigned>, KINDS> injected_{};
  std::unique_ptr<nkr::can::Port> sender_;
  std::unique_ptr<nkr::can::Port> port_;
};

class RandomFaults : public testing::Test {
 protected:
  static nkr::canopen::ClientOptions options() {
    nkr::canopen::ClientOptions options;
    options.sdo_timeout = kTimeout;
    options.late_reply_grace = kGrace;
    return options;
  }
  RandomFaults() {
    for (std::uint8_t id = 1; id <= kNodes; ++id)
      nodes.push_back(std::make_unique<FaultyNode>(*bus, post, id));
  }
  ~RandomFaults() override { client.close(); }

  static bool is_expected(nkr_error_t result) {
    return result == NKR_OK || result == NKR_SDO_TIMED_OUT || result == NKR_SDO_TOGGLE_BIT ||
           result == kRefused;
  }

  /** One request: whatever became of it, no answer of an earlier one is taken for its own. */
  nkr_error_t ask(std::minstd_rand& random) {
    const auto id = static_cast<std::uint8_t>(1 + random() % kNodes);
    const auto object = static_cast<std::uint32_t>(random() % kObjects);
    FaultyNode& node = *nodes[id - 1U];
    const std::uint32_t before = node.asked(object);
    switch (random() % 3) {
      case 0: {
        std::string text;
        const nkr_error_t result = client.getValue(id, 0x21000000U | object << 8, text);
        EXPECT_TRUE(result != NKR_OK || std::stoul(text.substr(14)) > before) << text;
        return result;
      }
      case 1:
        return client.setValue(id, 0x20000000U | object << 8, std::uint32_t{1});
      default: {
        std::uint32_t number = 0;
        const nkr_error_t result = client.getValue(id, 0x20000000U | object << 8, number);
        EXPECT_TRUE(result != NKR_OK || number > before) << number;
        return result;
      }
    }
  }

  std::shared_ptr<InProcessBus> bus = std::make_shared<InProcessBus>();
  SlowPost post{*bus};
  std::vector<std::unique_ptr<FaultyNode>> nodes;
  Client client{bus, options()};
};

TEST_F(RandomFaults, EightThreadsGetTheirOwnAnswersAndCallbacksMayRead) {
  constexpr unsigned kRequests = 60;
  std::atomic<unsigned> answered{0};
  std::atomic<unsigned> read_in_callbacks{0};
  client.subscribe([&](const Event& event) {
    std::uint32_t number = 0;
    if (client.getValue(event.node, 0x20000000U, number) == NKR_OK) ++read_in_callbacks;
    std::string text;
    static_cast<void>(client.getLastFailureText(event.node, text));
  });
  client.setObjectNameResolver(
      [&](std::uint8_t id, std::uint32_t) { return std::to_string(client.getEmergencies(id).size()); });
  ASSERT_EQ(client.setNodeConfiguration(3, {{{0x2000, 5}, {1, 0, 0, 0}}}), NKR_OK);
  std::vector<std::thread> threads;
  for (unsigned thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      std::minstd_rand random(thread + 1);
      for (unsigned i = 0; i < kRequests; ++i) {
        const nkr_error_t result = ask(random);
        EXPECT_TRUE(is_expected(result)) << std::hex << result;
        if (result == NKR_OK) ++answered;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  client.close();
  EXPECT_GT(answered.load(), kThreads * kRequests / 2);
  EXPECT_GT(read_in_callbacks.load(), 0U);
  for (unsigned fault = NONE; fault < KINDS; ++fault) {
    unsigned times = 0;
    for (const auto& node : nodes) times += node->injected(static_cast<Fault>(fault));
    EXPECT_GT(times, 0U) << "fault " << fault << " never happened";
  }
}

TEST_F(RandomFaults, ClosingEndsWhateverIsUnderWay) {
  std::atomic<unsigned> ended{0};
  std::vector<std::thread> threads;
  for (unsigned thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      std::minstd_rand random(thread + 100);
      nkr_error_t result = NKR_OK;
      while (result != NKR_CAN_CLOSED) {
        result = ask(random);
        EXPECT_TRUE(is_expected(result) || result == NKR_CAN_CLOSED) << std::hex << result;
      }
      ++ended;
    });
  }
  std::this_thread::sleep_for(300ms);
  client.close();
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(ended.load(), kThreads);
}

}  // namespace
}  // namespace tests::client
