// Block transfers between the client and the virtual drive, also on a bus that loses frames.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <nkr/can/Bus.hpp>
#include <nkr/can/InProcessBus.hpp>
#include <nkr/canopen/Client.hpp>
#include <sstream>
#include <tav/drive/Runner.hpp>
#include <tav/drive/VirtualDrive.hpp>
#include <utility>
#include <vector>

namespace {

using nkr::can::Clock;
using nkr::can::Frame;
using Bytes = std::vector<std::uint8_t>;
using namespace std::chrono_literals;

constexpr std::uint8_t kNode = 5;
constexpr std::uint32_t kRequests = 0x600 + kNode;
constexpr std::uint32_t kReplies = 0x580 + kNode;

constexpr const char* kDescription = R"([DeviceInfo]
VendorName=test
[MandatoryObjects]
SupportedObjects=1
1=0x1000
[1000]
ParameterName=Device type
DataType=0x0007
AccessType=ro
[ManufacturerObjects]
SupportedObjects=1
1=0x2000
[2000]
ParameterName=Data
ObjectType=0x2
DataType=0x000F
AccessType=rw
)";

/** Tells whether a frame is lost on its way; asked for each. */
using Loses = std::function<bool(const Frame&)>;

class LossyPort : public nkr::can::Port {
 public:
  LossyPort(std::unique_ptr<nkr::can::Port> port, const Loses& loses)
      : port_(std::move(port)), loses_(loses) {}
  nkr_error_t send(const Frame& frame, const nkr::can::Deadline& deadline) override {
    return loses_(frame) ? NKR_OK : port_->send(frame, deadline);
  }
  nkr_error_t receive(Frame& frame, const nkr::can::Deadline& deadline,
                      std::chrono::system_clock::time_point* when) override {
    nkr_error_t result = NKR_OK;
    do {
      result = port_->receive(frame, deadline, when);
    } while (result == NKR_OK && loses_(frame));
    return result;
  }
  [[nodiscard]] nkr::can::BusStatus status() const override { return port_->status(); }
  void close() override { port_->close(); }

 private:
  std::unique_ptr<nkr::can::Port> port_;
  const Loses& loses_;
};

/** A bus that loses frames between its ports and the others of the inner bus. */
class LossyBus : public nkr::can::Bus {
 public:
  explicit LossyBus(nkr::can::Bus& inner) : inner_(inner) {}
  std::unique_ptr<nkr::can::Port> open(const std::vector<nkr::can::Filter>& filters,
                                       nkr_error_t& result) override {
    return std::make_unique<LossyPort>(inner_.open(filters, result), loses_);
  }
  [[nodiscard]] std::string name() const override { return "lossy"; }

  /** Loses those frames with the identifier whose number, from 1 and from now on, is one of these. */
  void lose(std::uint32_t id, const std::vector<int>& numbers) {
    loses_ = [id, numbers, count = 0](const Frame& frame) mutable {
      if (frame.id != id) return false;
      ++count;
      for (const int number : numbers)
        if (number == count) return true;
      return false;
    };
  }

 private:
  nkr::can::Bus& inner_;
  Loses loses_ = [](const Frame& /*frame*/) { return false; };
};

class BlockTransfer : public testing::Test {
 protected:
  BlockTransfer() {
    tav::drive::Settings settings;
    settings.node_id = kNode;
    std::istringstream description(kDescription);
    std::string problem;
    drive = tav::drive::VirtualDrive::create(description, settings, problem);
    EXPECT_TRUE(drive) << problem;
    runner = std::make_unique<tav::drive::Runner>(*drive);
    EXPECT_EQ(runner->start(inner), NKR_OK);
    nkr::canopen::ClientOptions options;
    options.sdo_timeout = 100ms;
    options.late_reply_grace = 100ms;
    client = std::make_unique<nkr::canopen::Client>(bus, options);
  }

  static Bytes some_bytes(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(i * 31 + (i >> 8));
    return bytes;
  }
  nkr_error_t write(const Bytes& bytes) { return client->setBytes(kNode, 0x20000000, bytes); }
  Bytes read() {
    Bytes bytes;
    EXPECT_EQ(client->getBytes(kNode, 0x20000000, bytes), NKR_OK);
    return bytes;
  }

  nkr::can::InProcessBus inner;
  std::unique_ptr<tav::drive::VirtualDrive> drive;
  std::unique_ptr<tav::drive::Runner> runner;
  std::shared_ptr<LossyBus> bus = std::make_shared<LossyBus>(inner);
  std::unique_ptr<nkr::canopen::Client> client;
};

TEST_F(BlockTransfer, CarriesValuesOfAnyLengthBothWays) {
  for (const std::size_t size : {64U, 70U, 888U, 889U, 890U, 10000U, 65536U}) {
    const Bytes bytes = some_bytes(size);
    EXPECT_EQ(write(bytes), NKR_OK) << size;
    EXPECT_EQ(read(), bytes) << size;
  }
}

TEST_F(BlockTransfer, GoesByBlockNotInSegments) {
  ASSERT_EQ(write(some_bytes(889)), NKR_OK);
  nkr_error_t result = NKR_OK;
  int requests = 0;
  const auto tap = inner.open({{kRequests, 0x7FF}}, result);
  read();
  Frame frame;
  while (tap->receive(frame, Clock::now()) == NKR_OK) ++requests;
  EXPECT_EQ(requests, 4) << "initiate, start, one acknowledgement, end";
}

TEST_F(BlockTransfer, SendsAgainWhatTheDriveMissed) {
  const Bytes bytes = some_bytes(3000);
  bus->lose(kRequests, {2, 7, 90, 250});  // the first segment, others, one of what is sent again
  EXPECT_EQ(write(bytes), NKR_OK);
  bus->lose(kRequests, {});
  EXPECT_EQ(read(), bytes);
}

TEST_F(BlockTransfer, AsksAgainForWhatItMissed) {
  const Bytes bytes = some_bytes(3000);
  ASSERT_EQ(write(bytes), NKR_OK);
  for (const int lost : {2, 60, 128, 129}) {
    bus->lose(kReplies, {lost});
    EXPECT_EQ(read(), bytes) << lost;
  }
}

TEST_F(BlockTransfer, AfterALostEndTheNextTransferWorks) {
  const Bytes bytes = some_bytes(100);
  bus->lose(kReplies, {3});
  EXPECT_EQ(write(bytes), NKR_SDO_TIMED_OUT) << "initiate, acknowledgement, end";
  EXPECT_EQ(write(bytes), NKR_OK);
  EXPECT_EQ(read(), bytes);
}

TEST_F(BlockTransfer, TooMuchIsRefusedByTheDrive) {
  EXPECT_EQ(write(some_bytes(65537)), NKR_SDO_LENGTH_HIGH);
}

}  // namespace
