// The second computation of the signatures. Its own byte layout, its own CRC: it must not share code with the
// computation that it checks.

#include <algorithm>
#include <tavcore/SignatureCalculator.hpp>

namespace nkr::tavcore {
namespace {

/** Fields one after the other, least significant byte first. */
class Layout {
 public:
  Layout& byte(std::uint32_t value) { return append(value, 1); }
  Layout& word(std::uint32_t value) { return append(value, 2); }
  Layout& long_word(std::uint32_t value) { return append(value, 4); }
  Layout& reserved(std::size_t size) {
    bytes_.insert(bytes_.end(), size, 0);
    return *this;
  }
  [[nodiscard]] std::uint16_t signature() const { return crc16_ccitt(bytes_); }

 private:
  Layout& append(std::uint32_t value, int size) {
    for (; size > 0; --size, value /= 256) bytes_.push_back(static_cast<std::uint8_t>(value % 256));
    return *this;
  }

  std::vector<std::uint8_t> bytes_;
};

std::uint16_t with_mapping(Layout fields, const SafetyConfiguration& configuration) {
  for (const std::uint32_t code : configuration.mapping) fields.long_word(code);
  return fields.signature();
}

Layout sto_fields(const ISafeMotionService::STOParameters& sto) {
  return Layout().byte(sto.restartAcknowledgeBehavior ? 1 : 0);
}

Layout sls_fields(const IPDSService::UnitParameters& units, const SLSConfiguration& sls) {
  return Layout()
      .long_word(units.time_unit)
      .long_word(units.velocity_unit)
      .long_word(units.acceleration_unit)
      .word(sls.time_to_velocity_monitoring)
      .reserved(2)
      .long_word(sls.velocity_limit)
      .word(sls.time_for_velocity_in_limits)
      .reserved(8)  // two words and a long word
      .long_word(sls.error_reaction);
}

Layout sdi_fields(const IPDSService::UnitParameters& units, const ISafeMotionService::SDIParameters& sdi) {
  return Layout()
      .long_word(units.position_unit)
      .long_word(units.velocity_unit)
      .reserved(8)  // a word, a long word and a word
      .long_word(sdi.velocityZeroWindow);
}

Layout sbc_fields(const IPDSService::UnitParameters& units, const ISafeMotionService::SBCParameters& sbc) {
  return Layout().long_word(units.time_unit).word(sbc.brakeTimeDelay);
}

}  // namespace

std::uint16_t crc16_ccitt(const std::vector<std::uint8_t>& bytes) {
  std::uint32_t remainder = 0;
  for (const std::uint8_t byte : bytes) {
    for (std::uint32_t mask = 0x80; mask != 0; mask /= 2) {
      const bool in = (byte & mask) != 0;
      const bool out = (remainder & 0x8000) != 0;
      remainder = (remainder * 2) & 0xFFFF;
      if (in != out) remainder ^= 0x1021;
    }
  }
  return static_cast<std::uint16_t>(remainder);
}

SLSConfiguration sls_configuration(const ISafeMotionService::SLSParameters& parameters) {
  SLSConfiguration sls;
  sls.time_to_velocity_monitoring = parameters.timeToVelocityMonitoring;
  sls.velocity_limit = parameters.velocityLimit;
  sls.time_for_velocity_in_limits = parameters.timeForVelocityInLimits;
  sls.error_reaction = parameters.errorReaction ? 0x66400000 : 0;
  return sls;
}

SafetySignatures compute_safety_signatures(const SafetyConfiguration& configuration) {
  SafetySignatures signatures;
  const auto& units = configuration.units;
  signatures.sto = with_mapping(sto_fields(configuration.sto), configuration);
  for (std::size_t i = 0; i < kSLSCount; ++i) {
    signatures.sls[i] = with_mapping(sls_fields(units, configuration.sls[i]), configuration);
  }
  for (std::size_t i = 0; i < kSDICount; ++i) {
    signatures.sdi[i] = with_mapping(sdi_fields(units, configuration.sdi[i]), configuration);
  }
  for (std::size_t i = 0; i < kSBCCount; ++i) {
    signatures.sbc[i] = with_mapping(sbc_fields(units, configuration.sbc[i]), configuration);
  }
  return signatures;
}

std::uint16_t compute_srdo_signature(const SRDOConfiguration& srdo) {
  const auto count = static_cast<std::uint32_t>(std::min<std::size_t>(srdo.mapping.size(), 255));
  Layout fields;
  fields.byte(srdo.direction)
      .word(srdo.refresh_time)
      .byte(srdo.validation_time)
      .long_word(srdo.cob_id_1)
      .long_word(srdo.cob_id_2)
      .byte(count);
  for (std::uint32_t i = 1; i <= count; ++i) fields.byte(i).long_word(srdo.mapping[i - 1]);
  return fields.signature();
}

}  // namespace nkr::tavcore
