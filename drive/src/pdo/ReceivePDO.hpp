#ifndef TAV_DRIVE_SRC_PDO_RECEIVEPDO_HPP
#define TAV_DRIVE_SRC_PDO_RECEIVEPDO_HPP

#include <cstdint>
#include <optional>

#include "network/Errors.hpp"
#include "pdo/PDOParameters.hpp"

namespace tav::drive {

/**
 * Takes values out of the frames of one RPDO: at once, or with the next SYNC. A wrong length, and that it
 * stays away, is an error until a frame says otherwise.
 */
class ReceivePDO {
 public:
  ReceivePDO(Context& context, Errors& errors, std::uint16_t number);
  ReceivePDO(const ReceivePDO&) = delete;
  ReceivePDO& operator=(const ReceivePDO&) = delete;

  void start_over();
  void receive(const nkr::can::Frame& frame);
  void sync();
  [[nodiscard]] Time next_due() const { return deadline_; }
  void run();

 private:
  void apply(const nkr::can::Frame& frame);
  void raise(std::uint16_t code);
  void clear(std::uint16_t code);
  [[nodiscard]] VendorBytes vendor_bytes() const;

  Context& context_;
  Errors& errors_;
  std::uint16_t number_;
  PDOParameters parameters_;
  std::optional<nkr::can::Frame> waiting_;  ///< for a SYNC
  Time deadline_ = Time::max();             ///< of the next frame, where an event timer is set
  Bytes value_;
};

}  // namespace tav::drive

#endif
