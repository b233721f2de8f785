#ifndef NKR_CANOPEN_RUNTIME_DEFERREDPORT_HPP
#define NKR_CANOPEN_RUNTIME_DEFERREDPORT_HPP

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <nkr/can/Bus.hpp>
#include <nkr/time/Condition.hpp>
#include <vector>

namespace nkr::canopen {

/**
 * A port of a bus whose interface may be missing: opened when the interface is there, at once or later. Until
 * then sending answers why there is none; a receiver is told it once and then waits, as on a silent bus. A
 * send that may not wait does not try to open it.
 */
class DeferredPort final : public can::Port {
 public:
  DeferredPort(can::Bus& bus, std::vector<can::Filter> filters);

  /** NKR_OK when it is open, if need be by trying it now; else why it is not. */
  nkr_error_t open() { return open_.load(std::memory_order_acquire) != nullptr ? NKR_OK : open_now(); }

  nkr_error_t send(const can::Frame& frame, const can::Deadline& deadline) override;
  nkr_error_t receive(can::Frame& frame, const can::Deadline& deadline,
                      std::chrono::system_clock::time_point* when) override;
  [[nodiscard]] can::BusStatus status() const override;
  void close() override;

 private:
  nkr_error_t open_now();
  nkr_error_t try_to_open(can::Clock::time_point now);
  nkr_error_t await_opening(const can::Deadline& deadline);

  can::Bus& bus_;
  const std::vector<can::Filter> filters_;
  std::atomic<can::Port*> open_{nullptr};  ///< spares the lock
  std::mutex mutex_;
  time::Condition changed_;
  std::unique_ptr<can::Port> port_;  ///< never replaced
  nkr_error_t reason_ = NKR_CAN_NOT_CONNECTED;
  can::Clock::time_point tried_;
  bool told_ = false;  ///< a receiver knows the reason
  bool closed_ = false;
};

}  // namespace nkr::canopen

#endif
