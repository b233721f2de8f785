#ifndef TAV_HOST_SRC_UNIT_UNITDISPATCHER_HPP
#define TAV_HOST_SRC_UNIT_UNITDISPATCHER_HPP

#include <atomic>
#include <tav/host/Interrupt.hpp>
#include <tavcore/CANOpenDispatcher.hpp>

namespace tav::host {

/**
 * The dispatcher of a unit. While the unit enables its drive, the walk of the state machine can be ended
 * between its steps, and resets no fault that nobody asked to reset: one may come on the way.
 */
class UnitDispatcher final : public nkr::tavcore::CANOpenDispatcher {
 public:
  using CANOpenDispatcher::CANOpenDispatcher;

  /** What holds from construction to destruction. */
  class Walk {
   public:
    Walk(UnitDispatcher* dispatcher, const Interrupt* interrupt, bool reset_fault) : dispatcher_(dispatcher) {
      if (dispatcher_ == nullptr) return;
      dispatcher_->interrupt_ = interrupt;
      dispatcher_->keeps_fault_ = !reset_fault;
    }
    ~Walk() {
      if (dispatcher_ == nullptr) return;
      dispatcher_->interrupt_ = nullptr;
      dispatcher_->keeps_fault_ = false;
    }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

   private:
    UnitDispatcher* dispatcher_;
  };

  [[nodiscard]] nkr_error_t getPDSState(PDSState& state) const override {
    const Interrupt* const interrupt = interrupt_;
    if (interrupt != nullptr && interrupt->requested()) return NKR_INTERRUPTED;
    return CANOpenDispatcher::getPDSState(state);
  }
  [[nodiscard]] nkr_error_t faultReset(const bool& reset) const override {
    return keeps_fault_ ? NKR_INVALID_STATE : CANOpenDispatcher::faultReset(reset);
  }

 private:
  std::atomic<const Interrupt*> interrupt_{nullptr};
  std::atomic<bool> keeps_fault_{false};
};

}  // namespace tav::host

#endif
