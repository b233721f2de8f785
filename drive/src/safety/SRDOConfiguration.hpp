#ifndef TAV_DRIVE_SRC_SAFETY_SRDOCONFIGURATION_HPP
#define TAV_DRIVE_SRC_SAFETY_SRDOCONFIGURATION_HPP

#include <cstdint>

#include "node/Part.hpp"

namespace tav::drive {

/**
 * Rules for the configuration of safety-relevant data objects (EN 50325-5): parameters 0x1301 to 0x1340,
 * mapping 0x1381 to 0x13C0, signatures 0x13FF, and 0x13FE, which declares all of it valid. A wrong value is
 * refused when it is written; what only the whole can tell, when it is declared valid.
 */
class SRDOConfiguration : public Part {
 public:
  explicit SRDOConfiguration(Context& context);

 private:
  void watch_parameters(std::uint8_t number);
  void watch_mapping(std::uint8_t number);
  [[nodiscard]] Abort refuses_count(std::uint8_t number, std::uint64_t count) const;
  [[nodiscard]] Abort refuses_validity(std::uint64_t value) const;
  [[nodiscard]] std::uint32_t parameter(std::uint8_t number, std::uint8_t subindex) const;
  [[nodiscard]] std::uint8_t count_of(std::uint8_t number) const;
  [[nodiscard]] bool is_complete(std::uint8_t number) const;
  [[nodiscard]] bool is_mapped_in_its_direction(std::uint8_t number) const;
  [[nodiscard]] Object* mapped_by(std::uint8_t number, std::uint8_t subindex) const;
  [[nodiscard]] std::uint32_t entry_of(std::uint8_t number, std::uint8_t subindex) const;
  [[nodiscard]] bool shares_no_identifier(std::uint8_t number) const;
  [[nodiscard]] bool in_use(std::uint8_t number) const;
  [[nodiscard]] bool signature_agrees(std::uint8_t number) const;
  [[nodiscard]] Abort refuses_while_operational() const;
  void guard(Object& object);

  Context& context_;
  Variable<std::uint8_t> valid_;
};

}  // namespace tav::drive

#endif
