#include "Reference.hpp"

#include <tavcore/SignatureCalculator.hpp>

// An access that fails is made once more, and that ends the operation.
#define STEP(access)                         \
  do {                                       \
    if ((access) != NKR_OK) return (access); \
  } while (false)

namespace tavtest {

namespace {

using Bytes = Reference::Bytes;

void append(Bytes& bytes, std::uint32_t value, int size) {
  for (int i = 0; i < size; ++i) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

std::string numbered(const std::string& text, int n) {
  return text + " " + std::to_string(n);
}

std::string signature_of(const std::string& function, int n) {
  return numbered(function + " safety application configuration signature " + function +
                      " safety application configuration signature",
                  n);
}

}  // namespace

nkr_error_t Reference::get_sto(Safe::STOParameters& parameters, std::uint16_t& signature) {
  STEP(read("STO restart acknowledge behavior", parameters.restartAcknowledgeBehavior));
  STEP(read("STO activate SBC", parameters.activateSBC));
  STEP(read(signature_of("STO", 1), signature));
  return NKR_OK;
}

nkr_error_t Reference::get_sls(int n, Safe::SLSParameters& parameters, std::uint16_t& signature) {
  std::uint32_t reaction = 0;
  STEP(read(numbered("SLS time to velocity monitoring SLS time to velocity monitoring", n),
            parameters.timeToVelocityMonitoring));
  STEP(read(numbered("SLS velocity limit u32 SLS velocity limit u32", n), parameters.velocityLimit));
  STEP(read(numbered("SLS time for velocity in limits SLS time for velocity in limits", n),
            parameters.timeForVelocityInLimits));
  STEP(read(numbered("SLS error reactions SLS error reaction", n), reaction));
  parameters.errorReaction = reaction == 0x66400000;
  STEP(read(signature_of("SLS", n), signature));
  return NKR_OK;
}

nkr_error_t Reference::get_sdi(int n, Safe::SDIParameters& parameters, std::uint16_t& signature) {
  STEP(read(numbered("SDI velocity zero window u32 SDI velocity zero window u32", n),
            parameters.velocityZeroWindow));
  STEP(read(signature_of("SDI", n), signature));
  return NKR_OK;
}

nkr_error_t Reference::get_sbc(int n, Safe::SBCParameters& parameters, std::uint16_t& signature) {
  STEP(read(numbered("SBC brake time delay SBC brake time delay", n), parameters.brakeTimeDelay));
  STEP(read(signature_of("SBC", n), signature));
  return NKR_OK;
}

nkr_error_t Reference::set_sto(const Safe::STOParameters& parameters) {
  STEP(write("STO restart acknowledge behavior", parameters.restartAcknowledgeBehavior));
  STEP(write("STO activate SBC", parameters.activateSBC));
  update_sto(parameters);
  return NKR_OK;
}

nkr_error_t Reference::set_sls(int n, const Safe::SLSParameters& parameters) {
  const std::uint32_t reaction = parameters.errorReaction ? 0x66400000 : 0;
  STEP(write(numbered("SLS time to velocity monitoring SLS time to velocity monitoring", n),
             parameters.timeToVelocityMonitoring));
  STEP(write(numbered("SLS velocity limit u32 SLS velocity limit u32", n), parameters.velocityLimit));
  STEP(write(numbered("SLS time for velocity in limits SLS time for velocity in limits", n),
             parameters.timeForVelocityInLimits));
  STEP(write(numbered("SLS error reactions SLS error reaction", n), reaction));
  update_sls(n, parameters);
  return NKR_OK;
}

nkr_error_t Reference::set_sdi(int n, const Safe::SDIParameters& parameters) {
  STEP(write(numbered("SDI velocity zero window u32 SDI velocity zero window u32", n),
             parameters.velocityZeroWindow));
  update_sdi(n, parameters);
  return NKR_OK;
}

nkr_error_t Reference::set_sbc(int n, const Safe::SBCParameters& parameters) {
  STEP(write(numbered("SBC brake time delay SBC brake time delay", n), parameters.brakeTimeDelay));
  update_sbc(n, parameters);
  return NKR_OK;
}

nkr_error_t Reference::read_mapping(Bytes& bytes) {
  Bytes read_bytes;
  for (std::uint32_t index = 0x66F0; index <= 0x66FF; ++index) {
    for (int subindex = 1; subindex <= 8; ++subindex) {
      std::uint32_t code = 0;
      STEP(read_at(index, subindex, code));
      append(read_bytes, code, 4);
    }
  }
  bytes.insert(bytes.end(), read_bytes.begin(), read_bytes.end());
  return NKR_OK;
}

nkr_error_t Reference::sign(Bytes bytes, std::uint32_t index, int n) {
  STEP(read_mapping(bytes));
  const std::uint16_t signature = nkr::tavcore::crc16_ccitt(bytes);
  STEP(write_at(index, n, signature));
  return NKR_OK;
}

nkr_error_t Reference::update_sto(const Safe::STOParameters& parameters) {
  Bytes bytes;
  append(bytes, parameters.restartAcknowledgeBehavior ? 1 : 0, 1);
  return sign(bytes, 0x6645, 1);
}

nkr_error_t Reference::update_sls(int n, const Safe::SLSParameters& parameters) {
  std::uint32_t time = 0;
  std::uint32_t velocity = 0;
  std::uint32_t acceleration = 0;
  STEP(read("Time unit", time));
  STEP(read("Velocity unit", velocity));
  STEP(read("Acceleration unit", acceleration));
  Bytes bytes;
  append(bytes, time, 4);
  append(bytes, velocity, 4);
  append(bytes, acceleration, 4);
  append(bytes, parameters.timeToVelocityMonitoring, 2);
  append(bytes, 0, 2);
  append(bytes, parameters.velocityLimit, 4);
  append(bytes, parameters.timeForVelocityInLimits, 2);
  append(bytes, 0, 2);
  append(bytes, 0, 2);
  append(bytes, 0, 4);
  append(bytes, parameters.errorReaction ? 0x66400000 : 0, 4);
  return sign(bytes, 0x6699, n);
}

nkr_error_t Reference::update_sdi(int n, const Safe::SDIParameters& parameters) {
  std::uint32_t position = 0;
  std::uint32_t velocity = 0;
  STEP(read("Position unit", position));
  STEP(read("Velocity unit", velocity));
  Bytes bytes;
  append(bytes, position, 4);
  append(bytes, velocity, 4);
  append(bytes, 0, 2);
  append(bytes, 0, 4);
  append(bytes, 0, 2);
  append(bytes, parameters.velocityZeroWindow, 4);
  return sign(bytes, 0x66D6, n);
}

nkr_error_t Reference::update_sbc(int n, const Safe::SBCParameters& parameters) {
  std::uint32_t time = 0;
  STEP(read("Time unit", time));
  Bytes bytes;
  append(bytes, time, 4);
  append(bytes, parameters.brakeTimeDelay, 2);
  return sign(bytes, 0x6662, n);
}

nkr_error_t Reference::update_all() {
  std::uint16_t signature = 0;
  Safe::STOParameters sto{};
  STEP(get_sto(sto, signature));
  STEP(update_sto(sto));
  for (int n = 1; n <= 2; ++n) {
    Safe::SDIParameters sdi{};
    STEP(get_sdi(n, sdi, signature));
    STEP(update_sdi(n, sdi));
  }
  for (int n = 1; n <= 8; ++n) {
    Safe::SLSParameters sls{};
    STEP(get_sls(n, sls, signature));
    STEP(update_sls(n, sls));
  }
  for (int n = 1; n <= 3; ++n) {
    Safe::SBCParameters sbc{};
    STEP(get_sbc(n, sbc, signature));
    STEP(update_sbc(n, sbc));
  }
  return NKR_OK;
}

nkr_error_t Reference::set_mapping(const std::vector<std::pair<std::string, std::uint32_t>>& codes) {
  for (const auto& [name, code] : codes) STEP(write(name, code));
  STEP(update_all());
  return NKR_OK;
}

nkr_error_t Reference::get_srdo_mapping(int n, Srdo::SRDOMapping& mapping) {
  const std::uint32_t index = 0x1380 + static_cast<std::uint32_t>(n);
  STEP(read_at(index, 0, mapping.count));
  mapping.entries.resize(mapping.count);
  for (int i = 1; i <= mapping.count; ++i) {
    STEP(read_at(index, i, mapping.entries.at(static_cast<std::size_t>(i) - 1)));
  }
  return NKR_OK;
}

nkr_error_t Reference::set_srdo(int n, const Srdo::SRDOParameters& parameters) {
  const std::uint32_t index = 0x1300 + static_cast<std::uint32_t>(n);
  const std::uint8_t enabled_direction = n == 2 || n == 10 || n == 16 ? 1 : 2;
  const std::uint8_t direction = parameters.enabled ? enabled_direction : std::uint8_t{0};
  const std::uint32_t cob_id_1 = parameters.cobId1;
  const std::uint32_t cob_id_2 = parameters.cobId2;
  STEP(write_at(index, 1, direction));
  STEP(write_at(index, 2, parameters.refreshTime));
  STEP(write_at(index, 3, parameters.validationTime));
  STEP(write_at(index, 4, parameters.transmissionType));
  STEP(write_at(index, 5, cob_id_1));
  STEP(write_at(index, 6, cob_id_2));
  Srdo::SRDOMapping mapping{};
  STEP(get_srdo_mapping(n, mapping));
  std::uint8_t held_direction = 0;
  STEP(read_at(index, 1, held_direction));
  Bytes bytes;
  append(bytes, held_direction, 1);
  append(bytes, parameters.refreshTime, 2);
  append(bytes, parameters.validationTime, 1);
  append(bytes, cob_id_1, 4);
  append(bytes, cob_id_2, 4);
  append(bytes, mapping.count, 1);
  mapping.entries.resize(mapping.count);  // an entry that was not read counts as 0
  for (std::uint32_t i = 1; i <= mapping.count; ++i) {
    append(bytes, i, 1);
    append(bytes, mapping.entries.at(i - 1), 4);
  }
  const std::uint16_t signature = nkr::tavcore::crc16_ccitt(bytes);
  STEP(write_at(0x13FF, n, signature));
  return NKR_OK;
}

}  // namespace tavtest
