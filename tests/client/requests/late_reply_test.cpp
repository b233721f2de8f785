// An answer that comes too late is never taken for that of another request, whichever port of the bus sees it
// first.
#include <memory>
#include <utility>
#include <vector>

#include "client/ClientFixture.hpp"
#include "support/futures.hpp"

namespace tests::client {
namespace {

using nkr::can::Clock;
using nkr::can::Deadline;
using nkr::can::Frame;
using nkr::can::Port;
using nkr::canopen::Client;

/** A port that is handed its first frame, and all behind it, later than other ports are. */
class LaggingPort : public Port {
 public:
  explicit LaggingPort(std::unique_ptr<Port> port) : port_(std::move(port)) {}

  nkr_error_t send(const Frame& frame, const Deadline& deadline) override {
    return port_->send(frame, deadline);
  }
  nkr_error_t receive(Frame& frame, const Deadline& deadline,
                      std::chrono::system_clock::time_point* when) override {
    if (!has_lagged_ && first_.size == 0) {
      const nkr_error_t result = port_->receive(first_, deadline, when);
      if (result != NKR_OK) return result;
      handed_over_ = nkr::time::now() + 200ms;
    }
    if (!has_lagged_) {
      const Clock::time_point end = deadline.time();
      nkr::time::sleep_until(std::min(handed_over_, end));
      if (nkr::time::now() < handed_over_) return NKR_CAN_TIMED_OUT;
      has_lagged_ = true;
      frame = first_;
      return NKR_OK;
    }
    return port_->receive(frame, deadline, when);
  }
  void close() override { port_->close(); }

 private:
  const std::unique_ptr<Port> port_;
  Frame first_;
  Clock::time_point handed_over_;
  bool has_lagged_ = false;
};

/** A bus whose first port for the answers of a node's SDO server lags. */
class LaggingBus : public nkr::can::Bus {
 public:
  LaggingBus(std::shared_ptr<nkr::can::Bus> bus, std::uint32_t answers)
      : bus_(std::move(bus)), answers_(answers) {}

  std::unique_ptr<Port> open(const std::vector<nkr::can::Filter>& filters, nkr_error_t& result) override {
    auto port = bus_->open(filters, result);
    const bool lags = filters.size() == 1 && filters[0].id == answers_ && !std::exchange(opened_, true);
    return lags ? std::make_unique<LaggingPort>(std::move(port)) : std::move(port);
  }
  [[nodiscard]] std::string name() const override { return "lagging"; }

 private:
  const std::shared_ptr<nkr::can::Bus> bus_;
  const std::uint32_t answers_;
  bool opened_ = false;
};

class LateReply : public ClientTest {};

TEST_F(LateReply, IsNotTakenForThatOfTheNextRequestWhenTheOwnPortIsTheLastToReceiveIt) {
  nkr::canopen::ClientOptions options = short_times();
  options.late_reply_grace = 60s;
  Client patient(std::make_shared<LaggingBus>(bus, 0x580 + kNode), options);
  std::uint16_t value = 0;
  ASSERT_EQ(patient.getValue(kNode, 0x60410010, value), NKR_SDO_TIMED_OUT);
  node.on("40 41 60 00 00 00 00 00", {"4B 41 60 00 37 02 00 00"});
  Thread late([this] {
    nkr::time::sleep_for(50ms);
    node.reply("4B 41 60 00 99 99 00 00");
  });
  const nkr::canopen::SdoTimeoutScope timeout(30s);
  EXPECT_EQ(patient.getValue(kNode, 0x60410010, value), NKR_OK);
  EXPECT_EQ(value, 0x0237);
  late.join();
}

}  // namespace
}  // namespace tests::client
