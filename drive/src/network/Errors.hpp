#ifndef TAV_DRIVE_SRC_NETWORK_ERRORS_HPP
#define TAV_DRIVE_SRC_NETWORK_ERRORS_HPP

#include <cstdint>
#include <vector>

#include "network/EmergencyProducer.hpp"
#include "node/Part.hpp"

namespace tav::drive {

/**
 * The errors that the drive has: error register 0x1001, error code 0x603F, pre-defined error field 0x1003, an
 * emergency message for each new one and one with the code 0x0000 when the last one is gone.
 */
class Errors : public Part {
 public:
  Errors(Context& context, EmergencyProducer& emergencies);

  // Bits of the error register (CiA 301, 7.5.2.2).
  static constexpr std::uint8_t kGenericBit = 1U << 0;
  static constexpr std::uint8_t kCurrentBit = 1U << 1;
  static constexpr std::uint8_t kVoltageBit = 1U << 2;
  static constexpr std::uint8_t kTemperatureBit = 1U << 3;
  static constexpr std::uint8_t kCommunicationBit = 1U << 4;
  static constexpr std::uint8_t kProfileBit = 1U << 5;
  static constexpr std::uint8_t kManufacturerBit = 1U << 7;
  /** The bit that an error code of that class sets besides the generic one; 0 for none. */
  [[nodiscard]] static std::uint8_t class_bit(std::uint16_t code);

  /** What an error needs to end: its cause gone, or acknowledged as well. */
  enum class Ends : std::uint8_t { WITH_ITS_CAUSE, ACKNOWLEDGED };

  /**
   * An error occurs. While it lasts it is not reported again.
   * @param lasting  its cause stays until clear(); else it was over at once
   */
  void raise(std::uint16_t code, const VendorBytes& vendor, Ends ends, bool lasting);
  /** The cause of an error is gone; false when there was no such cause. */
  bool clear(std::uint16_t code, const VendorBytes& vendor);
  /** The causes of all errors of that code are gone. */
  void clear_code(std::uint16_t code);
  /** The user has seen the errors. @return false when one still has its cause */
  bool acknowledge();
  [[nodiscard]] bool any() const { return !active_.empty(); }
  /** The code of the error that came last; 0 when there is none. */
  [[nodiscard]] std::uint16_t last_code() const {
    return active_.empty() ? std::uint16_t{0} : active_.back().code;
  }
  /** The value of the error register: generic, and the classes of the errors there are. */
  [[nodiscard]] std::uint8_t error_register() const;

  void reset(Reset kind) override;

 private:
  struct Error {
    std::uint16_t code;
    VendorBytes vendor;
    bool has_cause;
    bool wants_acknowledgement;
  };

  void drop_ended();
  void show();
  void record(const Error& error);
  [[nodiscard]] Abort entry_readable(std::uint8_t subindex) const;

  EmergencyProducer& emergencies_;
  Variable<std::uint8_t> register_;
  Variable<std::uint16_t> error_code_;
  Variable<std::uint8_t> count_;
  std::vector<Variable<std::uint32_t>> history_;
  std::vector<Error> active_;
};

}  // namespace tav::drive

#endif
