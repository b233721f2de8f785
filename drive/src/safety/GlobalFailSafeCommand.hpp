#ifndef TAV_DRIVE_SRC_SAFETY_GLOBALFAILSAFECOMMAND_HPP
#define TAV_DRIVE_SRC_SAFETY_GLOBALFAILSAFECOMMAND_HPP

#include <cstdint>
#include <functional>
#include <utility>

#include "node/Part.hpp"

namespace tav::drive {

/**
 * The global fail-safe command (EN 50325-5): a frame without data on identifier 1 brings the drive into its
 * safe state, where 0x1300 is 1. SRDOs go on as they were.
 */
class GlobalFailSafeCommand : public Part {
 public:
  GlobalFailSafeCommand(Context& context, std::function<void()> safe_state)
      : context_(context), safe_state_(std::move(safe_state)), valid_(context.dictionary, 0x1300, 0) {}

  void receive(const nkr::can::Frame& frame) override {
    constexpr std::uint32_t kIdentifier = 1;
    const bool listens = context_.nmt == NMTState::OPERATIONAL && valid_.get() == 1;
    if (listens && frame.id == kIdentifier && frame.size == 0) safe_state_();
  }

 private:
  Context& context_;
  std::function<void()> safe_state_;
  Variable<std::uint8_t> valid_;
};

}  // namespace tav::drive

#endif
