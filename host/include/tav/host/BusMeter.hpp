#ifndef TAV_HOST_BUSMETER_HPP
#define TAV_HOST_BUSMETER_HPP

#include <nkr/export.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <nkr/can/Bus.hpp>
#include <nkr/time/Thread.hpp>

namespace tav::host {

/** Counts what goes over a bus, everybody's frames, from construction to stop(). */
class NKR_EXPORT BusMeter {
 public:
  /** Counts nothing when the bus gives no port: `result` tells. */
  BusMeter(nkr::can::Bus& bus, nkr_error_t& result);
  ~BusMeter();
  BusMeter(const BusMeter&) = delete;
  BusMeter& operator=(const BusMeter&) = delete;

  /** Waits until what was sent before has been counted, and ends. */
  void stop();
  [[nodiscard]] std::uint64_t frames() const { return frames_; }
  [[nodiscard]] std::uint64_t bits() const { return bits_; }
  /** State and error counters of the bus. */
  [[nodiscard]] nkr::can::BusStatus status() const { return port_->status(); }

 private:
  void run();

  std::unique_ptr<nkr::can::Port> port_;
  std::atomic<std::uint64_t> frames_{0};
  std::atomic<std::uint64_t> bits_{0};
  nkr::time::Thread thread_;
};

}  // namespace tav::host

#endif
