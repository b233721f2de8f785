#ifndef TESTS_CLIENT_BUSDOUBLE_HPP
#define TESTS_CLIENT_BUSDOUBLE_HPP

#include <atomic>
#include <functional>
#include <memory>
#include <nkr/can/InProcessBus.hpp>
#include <string>
#include <utility>
#include <vector>

namespace tests::client {

/** An in-process bus that gives no ports, or takes no frames, when the test wants it so. */
class BusDouble : public nkr::can::Bus {
 public:
  using Frame = nkr::can::Frame;
  using Port = nkr::can::Port;
  /** True for a frame that the bus has no room for. */
  using Full = std::function<bool(const Frame&)>;

  explicit BusDouble(std::shared_ptr<nkr::can::InProcessBus> bus, Full full = {})
      : bus_(std::move(bus)), full_(std::make_shared<const Full>(std::move(full))) {}

  /** So many ports more are given, then none. Below 0: any number. */
  void allow(int ports) { allowed_ = ports; }
  /** Ports that are open now. */
  [[nodiscard]] int open_ports() const { return *open_; }

  std::unique_ptr<Port> open(const std::vector<nkr::can::Filter>& filters, nkr_error_t& result) override {
    if (allowed_ == 0) {
      result = NKR_CAN_NO_INTERFACE;
      return nullptr;
    }
    if (allowed_ > 0) --allowed_;
    auto port = bus_->open(filters, result);
    return port ? std::make_unique<PortDouble>(std::move(port), full_, open_) : nullptr;
  }
  [[nodiscard]] std::string name() const override { return "double"; }

 private:
  class PortDouble : public Port {
   public:
    PortDouble(std::unique_ptr<Port> port, std::shared_ptr<const Full> full,
               std::shared_ptr<std::atomic<int>> open)
        : port_(std::move(port)), full_(std::move(full)), open_(std::move(open)) {
      ++*open_;
    }
    ~PortDouble() override { --*open_; }
    nkr_error_t send(const Frame& frame, const nkr::can::Deadline& deadline) override {
      if (!*full_ || !(*full_)(frame)) return port_->send(frame, deadline);
      Frame nothing;  // waits as long as a sender would
      const nkr_error_t result = port_->receive(nothing, deadline);
      return result == NKR_CAN_TIMED_OUT ? NKR_CAN_TX_OVERFLOW : result;
    }
    nkr_error_t receive(Frame& frame, const nkr::can::Deadline& deadline,
                        std::chrono::system_clock::time_point* when) override {
      return port_->receive(frame, deadline, when);
    }
    void close() override { port_->close(); }

   private:
    const std::unique_ptr<Port> port_;
    const std::shared_ptr<const Full> full_;
    const std::shared_ptr<std::atomic<int>> open_;
  };

  const std::shared_ptr<nkr::can::InProcessBus> bus_;
  const std::shared_ptr<const Full> full_;
  const std::shared_ptr<std::atomic<int>> open_ = std::make_shared<std::atomic<int>>(0);
  std::atomic<int> allowed_{-1};
};

}  // namespace tests::client

#endif
