// Several clients at one SDO server, which has one transfer at a time.
#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "client/ClientFixture.hpp"

namespace tests::client {
namespace {

using nkr::can::Clock;
using nkr::can::Frame;
using nkr::canopen::Client;
using namespace std::chrono_literals;

/** A server of texts, object 2000h:nn. Whoever opens a transfer ends the one that was open, and every client
 * hears every answer. */
class TextServer {
 public:
  TextServer(nkr::can::InProcessBus& bus, std::uint8_t node) : id_(0x580U + node) {
    nkr_error_t result = NKR_ERROR;
    sender_ = bus.open({{0x7FF, 0x7FF}}, result);
    port_ = bus.open_handler(
        {{0x600U + node, 0x7FF}}, [this](const Frame& frame) { received(frame.data); }, result);
  }
  static std::string text(std::uint8_t number) { return std::string(40, static_cast<char>('a' + number)); }
  /** How often a transfer was opened before the one before had ended. */
  [[nodiscard]] int collisions() const { return collisions_; }

 private:
  using Data = std::array<std::uint8_t, 8>;

  void received(const Data& data) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (data[0] == 0x40) {
      if (!rest_.empty()) ++collisions_;
      object_ = data[3];
      rest_ = text(object_);
      toggle_ = 0;
      send({0x41, data[1], data[2], data[3], 40, 0, 0, 0});
    } else if (data[0] == 0x60 || data[0] == 0x70) {
      segment(data[0] & 0x10);
    } else if (data[0] == 0x80) {
      rest_.clear();
    }
  }
  void segment(std::uint8_t toggle) {
    if (rest_.empty() || toggle != toggle_) {
      rest_.clear();
      return send({0x80, 0, 0x20, object_, 0, 0, 3, 5});
    }
    const std::size_t size = std::min<std::size_t>(7, rest_.size());
    Data data{};
    data[0] = static_cast<std::uint8_t>(toggle | (7 - size) << 1 | (size == rest_.size() ? 1 : 0));
    std::copy_n(rest_.begin(), size, data.begin() + 1);
    rest_.erase(0, size);
    toggle_ ^= 0x10;
    send(data);
  }
  void send(const Data& data) {
    Frame frame{id_, {}};
    frame.size = 8;
    frame.data = data;
    static_cast<void>(sender_->send(frame, Clock::time_point::max()));
  }

  const std::uint32_t id_;
  std::mutex mutex_;
  std::string rest_;
  std::uint8_t object_ = 0;
  std::uint8_t toggle_ = 0;
  std::atomic<int> collisions_{0};
  std::unique_ptr<nkr::can::Port> sender_;
  std::unique_ptr<nkr::can::Port> port_;
};

class Collisions : public testing::Test {
 protected:
  static constexpr std::uint8_t kNode = 10;
  std::shared_ptr<nkr::can::InProcessBus> bus = std::make_shared<nkr::can::InProcessBus>();
};

TEST_F(Collisions, TwoClientsThatReadAtOnceBothGetTheirOwnTexts) {
  TextServer server(*bus, kNode);
  std::array<std::thread, 2> threads;
  std::atomic<int> ready{0};
  for (std::uint8_t number = 0; number < threads.size(); ++number) {
    threads.at(number) = std::thread([&, number] {
      Client client(bus);
      client.setTimeout(60s);
      ++ready;
      while (ready < 2) std::this_thread::yield();
      for (int i = 0; i < 150; ++i) {
        std::string text;
        EXPECT_EQ(client.getValue(kNode, 0x20000000U | std::uint32_t{number} << 8, text), NKR_OK);
        EXPECT_EQ(text, TextServer::text(number));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

/** The same, frame by frame: the other client's requests come in between where the test says. */
class Disturbed : public ClientTest {
 protected:
  Disturbed() {
    node.on(kRead, {"41 08 10 00 09 00 00 00"});
    node.on(kSecond, {"1B 76 65 00 00 00 00 00"});
  }
  nkr_error_t read() { return client.getValue(kNode, 0x10080000, text); }

  const std::string kRead = "40 08 10 00 00 00 00 00";
  const std::string kFirst = "60 00 00 00 00 00 00 00";
  const std::string kSecond = "70 00 00 00 00 00 00 00";
  const std::string kSegment = "00 54 61 76 20 64 72 69";
  std::string text;
};

TEST_F(Disturbed, ByAnAbortOfTheToggleBitAnUploadIsMadeAgain) {
  node.on(kFirst, {"80 08 10 00 00 00 03 05"});
  node.on(kFirst, {kSegment});
  client.setTimeout(30s);
  EXPECT_EQ(read(), NKR_OK);
  EXPECT_EQ(text, "Tav drive");
}

TEST_F(Disturbed, ByAnotherClientsTransferAnUploadGivesWayAndIsMadeAgain) {
  node.on(kFirst, {"41 09 10 00 09 00 00 00", "00 58 58 58 58 58 58 58"});
  node.on(kFirst, {kSegment});
  client.setTimeout(30s);
  EXPECT_EQ(read(), NKR_OK);
  EXPECT_EQ(text, "Tav drive") << "and not with the other's segment";
  for (const std::string& request : node.requests())
    EXPECT_NE(request.substr(0, 2), "80") << "an abort would end the other's transfer";
}

TEST_F(Disturbed, ByAnExpeditedAnswerToAnotherClientAnUploadGoesOn) {
  node.on(kFirst, {"43 09 10 00 01 02 03 04", kSegment});
  EXPECT_EQ(read(), NKR_OK);
  EXPECT_EQ(text, "Tav drive");
  EXPECT_EQ(node.requests().size(), 3U);
}

TEST_F(Disturbed, AnUploadIsMadeAgainNoLongerThanItsTimeOut) {
  node.on(kFirst, {"80 08 10 00 00 00 03 05"});
  const auto start = Clock::now();
  EXPECT_EQ(read(), NKR_SDO_TOGGLE_BIT);
  EXPECT_LT(Clock::now() - start, 10s) << "the time-out is 60 ms";
}

TEST_F(Disturbed, ADownloadIsNotMadeAgain) {
  node.on("21 08 10 00 09 00 00 00", {"60 08 10 00 00 00 00 00"});
  node.on("00 54 61 76 20 64 72 69", {"80 08 10 00 00 00 03 05"});
  EXPECT_EQ(client.setValue(kNode, 0x10080000, std::string("Tav drive")), NKR_SDO_TOGGLE_BIT);
  EXPECT_EQ(node.requests().size(), 2U);
}

}  // namespace
}  // namespace tests::client
