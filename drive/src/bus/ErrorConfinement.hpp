#ifndef TAV_DRIVE_SRC_BUS_ERRORCONFINEMENT_HPP
#define TAV_DRIVE_SRC_BUS_ERRORCONFINEMENT_HPP

#include <algorithm>
#include <nkr/can/Bus.hpp>

namespace tav::drive {

/** Error counters of a controller and the state that follows from them (ISO 11898-1, fault confinement). */
class ErrorConfinement {
 public:
  void sent() { transmit_ = std::max(0, transmit_ - 1); }
  void received() { receive_ = receive_ > kPassive - 1 ? kBack : std::max(0, receive_ - 1); }
  void transmission_failed() { transmit_ += kSevere; }
  void reception_failed() { receive_ = std::min(receive_ + 1, kMost); }
  void restart() { transmit_ = receive_ = 0; }

  [[nodiscard]] nkr::can::BusState state() const {
    using nkr::can::BusState;
    if (transmit_ >= kBusOff) return BusState::BUS_OFF;
    const int worse = std::max(transmit_, receive_);
    if (worse >= kPassive) return BusState::ERROR_PASSIVE;
    return worse >= kWarning ? BusState::ERROR_WARNING : BusState::ERROR_ACTIVE;
  }
  [[nodiscard]] int transmit_errors() const { return transmit_; }
  [[nodiscard]] int receive_errors() const { return receive_; }

 private:
  static constexpr int kSevere = 8;
  static constexpr int kWarning = 96;
  static constexpr int kPassive = 128;
  static constexpr int kBusOff = 256;
  static constexpr int kMost = 255;
  static constexpr int kBack = 120;  // after a good frame: from above 127 to 119 .. 127

  int transmit_ = 0;
  int receive_ = 0;
};

}  // namespace tav::drive

#endif
