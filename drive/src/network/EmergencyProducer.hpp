#ifndef TAV_DRIVE_SRC_NETWORK_EMERGENCYPRODUCER_HPP
#define TAV_DRIVE_SRC_NETWORK_EMERGENCYPRODUCER_HPP

#include <array>
#include <cstdint>
#include <deque>

#include "node/Part.hpp"

namespace tav::drive {

/** The manufacturer-specific part of an emergency message. */
using VendorBytes = std::array<std::uint8_t, 5>;

/**
 * Sends emergency messages (CiA 301, 7.2.7) on the identifier in 0x1014, not closer together than 0x1015
 * says. What comes while the node is stopped or boots waits until it may be sent.
 */
class EmergencyProducer : public Part {
 public:
  explicit EmergencyProducer(Context& context);

  void send(std::uint16_t code, std::uint8_t error_register, const VendorBytes& vendor);

  void reset(Reset kind) override;
  void nmt_changed(NMTState before) override;
  [[nodiscard]] Time next_due() const override;
  void run() override;

 private:
  [[nodiscard]] bool may_send() const;

  Context& context_;
  Variable<std::uint32_t> identifier_;
  Variable<std::uint16_t> inhibit_time_;
  std::deque<nkr::can::Frame> waiting_;
  Time allowed_from_ = Time::min();
};

}  // namespace tav::drive

#endif
