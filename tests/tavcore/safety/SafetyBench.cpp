#include "SafetyBench.hpp"

namespace tavtest {

namespace {

using Type = EdsFixture::DataType;

std::string numbered(const std::string& text, std::size_t number) {
  return text + std::to_string(number);
}

void add_numbered(EdsFixture& description, const std::string& text, std::size_t first, std::size_t last,
                  Type type) {
  for (std::size_t n = first; n <= last; ++n) description.add(numbered(text, n), type);
}

void add_words(EdsFixture& description) {
  add_numbered(description, "Safety controlwords safety_controlword_can", 1, 8, Type::UNSIGNED8);
  description.add("Safety controlwords manufacturer safety_controlword_safein_1", Type::UNSIGNED8);
  description.add("Safety controlwords manufacturer safety_controlword_safein", Type::UNSIGNED8);
  add_numbered(description, "Safety statuswords safety_statusword_can", 1, 8, Type::UNSIGNED8);
  description.add("Safety statuswords manufacturer safety_statusword_safeout", Type::UNSIGNED8);
}

void add_mappings(EdsFixture& description) {
  for (std::size_t word = 1; word <= 8; ++word) {
    const std::string n = std::to_string(word);
    add_numbered(description, "nkr_safety_word_scw_mapping_cw" + n + " scw_cw_can_" + n + "_bit", 0, 7,
                 Type::UNSIGNED32);
    add_numbered(description, "nkr_safety_word_ssw_mapping_sw" + n + " ssw_sw_can_" + n + "_bit", 0, 7,
                 Type::UNSIGNED32);
  }
  add_numbered(description, "nkr_safety_word_scw_mapping_safein scw_cw_safein_bit", 0, 5, Type::UNSIGNED32);
  add_numbered(description, "nkr_safety_word_ssw_mapping_safeout scw_sw_safeout_bit", 0, 3, Type::UNSIGNED32);
}

void add_functions(EdsFixture& description) {
  description.add("STO command", Type::BOOLEAN);
  description.add("STO status", Type::BOOLEAN);
  add_numbered(description, "SBC commands SBC command ", 1, 3, Type::BOOLEAN);
  add_numbered(description, "SBC statuses SBC status ", 1, 3, Type::BOOLEAN);
  add_numbered(description, "SLS commands SLS command ", 1, 8, Type::BOOLEAN);
  add_numbered(description, "SLS statuses SLS status ", 1, 8, Type::BOOLEAN);
  for (const std::string sign : {"SDIp", "SDIn"}) {
    add_numbered(description, sign + " commands " + sign + " command ", 1, 2, Type::BOOLEAN);
    add_numbered(description, sign + " statuses " + sign + " status ", 1, 2, Type::BOOLEAN);
  }
  for (const std::string kind : {"Error", "Restart"}) {
    description.add(kind + " acknowledge command", Type::BOOLEAN);
    description.add(kind + " acknowledge status", Type::BOOLEAN);
  }
}

std::string signature_name(const std::string& function, std::size_t instance) {
  const std::string text = function + " safety application configuration signature ";
  return numbered(text + text, instance);
}

void add_parameters(EdsFixture& description) {
  for (const char* unit : {"Time unit", "Position unit", "Velocity unit", "Acceleration unit"}) {
    description.add(unit, Type::UNSIGNED32);
  }
  description.add("STO restart acknowledge behavior", Type::BOOLEAN);
  description.add("STO activate SBC", Type::UNSIGNED32);
  description.add(signature_name("STO", 1), Type::UNSIGNED16);
  for (std::size_t n = 1; n <= 8; ++n) {
    description.add(numbered("SLS time to velocity monitoring SLS time to velocity monitoring ", n),
                    Type::UNSIGNED16);
    description.add(numbered("SLS velocity limit u32 SLS velocity limit u32 ", n), Type::UNSIGNED32);
    description.add(numbered("SLS time for velocity in limits SLS time for velocity in limits ", n),
                    Type::UNSIGNED16);
    description.add(numbered("SLS error reactions SLS error reaction ", n), Type::UNSIGNED32);
    description.add(signature_name("SLS", n), Type::UNSIGNED16);
  }
  for (std::size_t n = 1; n <= 2; ++n) {
    description.add(numbered("SDI velocity zero window u32 SDI velocity zero window u32 ", n),
                    Type::UNSIGNED32);
    description.add(signature_name("SDI", n), Type::UNSIGNED16);
  }
  for (std::size_t n = 1; n <= 3; ++n) {
    description.add(numbered("SBC brake time delay SBC brake time delay ", n), Type::UNSIGNED16);
    description.add(signature_name("SBC", n), Type::UNSIGNED16);
  }
  description.add("Configuration valid", Type::UNSIGNED8);
}

}  // namespace

EdsFixture safety_description() {
  EdsFixture description;
  add_words(description);
  add_mappings(description);
  add_functions(description);
  add_parameters(description);
  return description;
}

void SafetyBench::hold(const nkr::tavcore::SafetyConfiguration& c) {
  hold("Time unit", c.units.time_unit);
  hold("Position unit", c.units.position_unit);
  hold("Velocity unit", c.units.velocity_unit);
  hold("Acceleration unit", c.units.acceleration_unit);
  hold("STO restart acknowledge behavior", c.sto.restartAcknowledgeBehavior);
  hold("STO activate SBC", c.sto.activateSBC);
  for (std::size_t n = 1; n <= 8; ++n) {
    const auto& sls = c.sls[n - 1];
    hold(numbered("SLS time to velocity monitoring SLS time to velocity monitoring ", n),
         sls.time_to_velocity_monitoring);
    hold(numbered("SLS velocity limit u32 SLS velocity limit u32 ", n), sls.velocity_limit);
    hold(numbered("SLS time for velocity in limits SLS time for velocity in limits ", n),
         sls.time_for_velocity_in_limits);
    hold(numbered("SLS error reactions SLS error reaction ", n), sls.error_reaction);
  }
  for (std::size_t n = 1; n <= 2; ++n) {
    hold(numbered("SDI velocity zero window u32 SDI velocity zero window u32 ", n),
         c.sdi[n - 1].velocityZeroWindow);
  }
  for (std::size_t n = 1; n <= 3; ++n) {
    hold(numbered("SBC brake time delay SBC brake time delay ", n), c.sbc[n - 1].brakeTimeDelay);
  }
  for (std::uint32_t i = 0; i < 128; ++i) hold_at(0x66F0 + i / 8, i % 8 + 1, c.mapping[i]);
  for (std::size_t bit = 0; bit < 6; ++bit) {
    hold(numbered("nkr_safety_word_scw_mapping_safein scw_cw_safein_bit", bit), c.safe_input_mapping[bit]);
  }
  for (std::size_t bit = 0; bit < 4; ++bit) {
    hold(numbered("nkr_safety_word_ssw_mapping_safeout scw_sw_safeout_bit", bit), c.safe_output_mapping[bit]);
  }
}

void SafetyBench::hold(const nkr::tavcore::SafetySignatures& signatures) {
  hold(signature_name("STO", 1), signatures.sto);
  for (std::size_t n = 1; n <= 8; ++n) hold(signature_name("SLS", n), signatures.sls[n - 1]);
  for (std::size_t n = 1; n <= 2; ++n) hold(signature_name("SDI", n), signatures.sdi[n - 1]);
  for (std::size_t n = 1; n <= 3; ++n) hold(signature_name("SBC", n), signatures.sbc[n - 1]);
}

void SafetyBench::hold(const nkr::tavcore::SRDOConfiguration& srdo) {
  const auto number = static_cast<std::uint32_t>(srdo.number);
  hold_at(0x1300 + number, 1, srdo.direction);
  hold_at(0x1300 + number, 2, srdo.refresh_time);
  hold_at(0x1300 + number, 3, srdo.validation_time);
  hold_at(0x1300 + number, 4, srdo.transmission_type);
  hold_at(0x1300 + number, 5, srdo.cob_id_1);
  hold_at(0x1300 + number, 6, srdo.cob_id_2);
  hold_at(0x1380 + number, 0, static_cast<std::uint8_t>(srdo.mapping.size()));
  std::uint32_t subindex = 0;
  for (const std::uint32_t entry : srdo.mapping) hold_at(0x1380 + number, ++subindex, entry);
}

Accesses mapping_reads(std::uint32_t code) {
  Accesses reads;
  for (std::uint32_t index = 0x66F0; index <= 0x66FF; ++index) {
    for (std::uint32_t subindex = 1; subindex <= 8; ++subindex) {
      reads.push_back(SafetyBench::read_at(index, subindex, code));
    }
  }
  return reads;
}

}  // namespace tavtest
