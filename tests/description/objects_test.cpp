// Every object that software names: its type, and its address where a standard or the drive's interface
// fixes one.
#include <gtest/gtest.h>

#include <fstream>
#include <nkr/tools/EDSParser.hpp>
#include <set>
#include <string>

#include "description/TavDescription.hpp"

namespace {

using description::tav;
using nkr::tools::AccessType;
using nkr::tools::DataType;
using nkr::tools::ObjectEntry;
using nkr::tools::ObjectID;

constexpr DataType kBool = DataType::BOOLEAN;
constexpr DataType kI8 = DataType::INTEGER8;
constexpr DataType kI16 = DataType::INTEGER16;
constexpr DataType kI32 = DataType::INTEGER32;
constexpr DataType kU8 = DataType::UNSIGNED8;
constexpr DataType kU16 = DataType::UNSIGNED16;
constexpr DataType kU32 = DataType::UNSIGNED32;
constexpr DataType kF32 = DataType::REAL32;
constexpr DataType kText = DataType::VISIBLE_STRING;

const ObjectEntry& object(const std::string& name) {
  const ObjectEntry* found = tav().find(std::string_view(name));
  if (found == nullptr) throw std::runtime_error("no object " + name);
  return *found;
}

void expect_type(const std::string& name, DataType type) {
  ASSERT_NO_THROW(object(name)) << name;
  EXPECT_EQ(object(name).getDataType(), type) << name;
}

void expect_at(const std::string& name, std::uint16_t index, std::uint8_t subindex, DataType type) {
  ASSERT_NO_THROW(object(name)) << name;
  EXPECT_EQ(object(name).getObjectID().get(), ObjectID(index, subindex).get()) << name;
  EXPECT_EQ(object(name).getDataType(), type) << name;
}

void expect_at(std::uint16_t index, std::uint8_t subindex, DataType type) {
  const ObjectEntry* found = tav().find(ObjectID(index, subindex));
  ASSERT_NE(found, nullptr) << std::hex << index << ':' << int{subindex};
  EXPECT_EQ(found->getDataType(), type) << std::hex << index << ':' << int{subindex};
}

std::string numbered(const std::string& text, int number) {
  return text + std::to_string(number);
}

TEST(TavDescription, IsCleanByCia306) {
  std::ifstream file("share/tav/tav.eds");
  nkr::tools::EDSParser parser;
  EXPECT_TRUE(parser.parse(file, true));
  for (const auto& diagnostic : parser.diagnostics()) {
    ADD_FAILURE() << "line " << diagnostic.line << ": " << diagnostic.problem;
  }
}

TEST(TavDescription, NamesEveryObjectOnce) {
  std::set<std::string> names;
  for (const auto& entry : tav().objects()) {
    EXPECT_TRUE(names.insert(entry->getName()).second) << entry->getName();
  }
}

TEST(TavDescription, HoldsTheCommunicationObjectsOfCia301) {
  expect_at(0x1000, 0, kU32);
  expect_at(0x1001, 0, kU8);
  expect_at("COB ID SYNC message", 0x1005, 0, kU32);
  expect_at("Manufacturer device name", 0x1008, 0, kText);
  expect_at("Manufacturer hardware version", 0x1009, 0, kText);
  expect_at("Manufacturer software version", 0x100A, 0, kText);
  expect_at(0x1014, 0, kU32);
  expect_at(0x1015, 0, kU16);
  expect_at(0x1016, 1, kU32);
  expect_at("Producer Heartbeat Time", 0x1017, 0, kU16);
  expect_at("Identity Object Vendor Id", 0x1018, 1, kU32);
  expect_at("Identity Object Product Code", 0x1018, 2, kU32);
  expect_at("Identity Object Revision number", 0x1018, 3, kU32);
  expect_at("Identity Object Serial number", 0x1018, 4, kU32);
  for (std::uint8_t type = 1; type <= 3; ++type) expect_at(0x1029, type, kU8);
}

TEST(TavDescription, HoldsAnErrorListOfAtMost254Entries) {
  expect_at(0x1003, 0, kU8);
  expect_at(0x1003, 1, kU32);
  EXPECT_EQ(object("Pre-defined error field Number of errors").getAccessType(), AccessType::RW);
  EXPECT_EQ(tav().find(ObjectID(0x1003, 255)), nullptr);
}

TEST(TavDescription, HoldsTheStoreAndRestoreObjectsOfAllBlocks) {
  const std::string store = "Store Parameters ";
  expect_at(store + "Save all Parameters", 0x1010, 1, kU32);
  expect_at(store + "Save Communication Parameters", 0x1010, 2, kU32);
  expect_at(store + "Save Application Parameters", 0x1010, 3, kU32);
  expect_at(store + "Save Manufacturer Parameters", 0x1010, 4, kU32);
  expect_at(store + "Save Motor Calibration And Internal Parameters", 0x1010, 5, kU32);
  expect_at(store + "Save Test Results", 0x1010, 6, kU32);
  const std::string restore = "Restore Default Parameters ";
  expect_at(restore + "Restore all Default Parameters", 0x1011, 1, kU32);
  expect_at(restore + "Restore Communication Default Parameters", 0x1011, 2, kU32);
  expect_at(restore + "Restore Application Default Parameters", 0x1011, 3, kU32);
  expect_at(restore + "Restore Manufacturer Parameters", 0x1011, 4, kU32);
  expect_at(restore + "Restore Motor Calibration And Internal Parameters", 0x1011, 5, kU32);
  expect_at(restore + "Restore Test Results", 0x1011, 6, kU32);
}

TEST(TavDescription, FixesTheFirstSdoChannelAndLetsTheSecondBeSet) {
  for (const std::uint8_t sub : {std::uint8_t{1}, std::uint8_t{2}}) {
    expect_at(0x1200, sub, kU32);
    expect_at(0x1201, sub, kU32);
    EXPECT_FALSE(is_writable(tav().find(ObjectID(0x1200, sub))->getAccessType()));
    EXPECT_TRUE(is_writable(tav().find(ObjectID(0x1201, sub))->getAccessType()));
  }
}

TEST(TavDescription, HoldsPdosWithTimesAndEightMappingEntries) {
  const auto expect_pdo = [](std::uint16_t communication, std::uint16_t mapping) {
    expect_at(communication, 1, kU32);
    expect_at(communication, 2, kU8);
    expect_at(communication, 3, kU16);
    expect_at(communication, 5, kU16);
    expect_at(mapping, 0, kU8);
    for (std::uint8_t entry = 1; entry <= 8; ++entry) expect_at(mapping, entry, kU32);
  };
  for (std::uint16_t n = 0; n < 6; ++n) {
    expect_pdo(static_cast<std::uint16_t>(0x1400 + n), static_cast<std::uint16_t>(0x1600 + n));
  }
  for (std::uint16_t n = 0; n < 4; ++n) {
    expect_pdo(static_cast<std::uint16_t>(0x1800 + n), static_cast<std::uint16_t>(0x1A00 + n));
  }
}

TEST(TavDescription, HoldsSixteenSrdosAndTheirSignatures) {
  for (std::uint16_t n = 1; n <= 16; ++n) {
    const auto parameters = static_cast<std::uint16_t>(0x1300 + n);
    expect_at(parameters, 1, kU8);
    expect_at(parameters, 2, kU16);
    expect_at(parameters, 3, kU8);
    expect_at(parameters, 4, kU8);
    expect_at(parameters, 5, kU32);
    expect_at(parameters, 6, kU32);
    expect_at(static_cast<std::uint16_t>(0x1380 + n), 0, kU8);
    expect_at(static_cast<std::uint16_t>(0x1380 + n), 1, kU32);
    expect_at(0x13FF, static_cast<std::uint8_t>(n), kU16);
  }
  expect_at("Configuration valid", 0x13FE, 0, kU8);
}

TEST(TavDescription, HoldsTheDriveProfileOfCia402) {
  expect_at("abort_connection_option_code", 0x6007, 0, kI16);
  expect_at(0x603F, 0, kU16);
  expect_at("controlword", 0x6040, 0, kU16);
  expect_at("statusword", 0x6041, 0, kU16);
  expect_at("quick_stop_option_code", 0x605A, 0, kI16);
  expect_at("shutdown_option_code", 0x605B, 0, kI16);
  expect_at("disable_operation_option_code", 0x605C, 0, kI16);
  expect_at("halt_option_code", 0x605D, 0, kI16);
  expect_at("fault_reaction_option_code", 0x605E, 0, kI16);
  expect_at("modes_of_operation", 0x6060, 0, kI8);
  expect_at("modes_of_operation_display", 0x6061, 0, kI8);
  expect_at("position_value", 0x6064, 0, kI32);
  expect_at("velocity_actual_value", 0x606C, 0, kI32);
  expect_at("polarity", 0x607E, 0, kU8);
  expect_at("supported_drive_modes", 0x6502, 0, kU32);
}

TEST(TavDescription, HoldsTheVelocityModeOfCia402) {
  expect_at("vl_target_velocity", 0x6042, 0, kI16);
  expect_at("vl_velocity_demand", 0x6043, 0, kI16);
  const std::string limits = "vl_velocity_min_max_amount vl_velocity_min_max_amount_";
  expect_at(limits + "vl_velocity_min_amount", 0x6046, 1, kU32);
  expect_at(limits + "vl_velocity_max_amount", 0x6046, 2, kU32);
  expect_at("vl_velocity_acceleration vl_velocity_acceleration_delta_speed", 0x6048, 1, kU32);
  expect_at("vl_velocity_acceleration vl_velocity_acceleration_delta_time", 0x6048, 2, kU16);
  expect_at("vl_velocity_deceleration vl_velocity_deceleration_delta_speed", 0x6049, 1, kU32);
  expect_at("vl_velocity_deceleration vl_velocity_deceleration_delta_time", 0x6049, 2, kU16);
  expect_at("vl_velocity_quick_stop vl_velocity_quick_stop_delta_speed", 0x604A, 1, kU32);
  expect_at("vl_velocity_quick_stop vl_velocity_quick_stop_delta_time", 0x604A, 2, kU16);
  expect_at("vl_set_point_factor vl_set_point_factor_numerator", 0x604B, 1, kI16);
  expect_at("vl_set_point_factor vl_set_point_factor_denominator", 0x604B, 2, kI16);
  expect_at("vl_dimension_factor vl_dimension_factor_numerator", 0x604C, 1, kI32);
  expect_at("vl_dimension_factor vl_dimension_factor_denominator", 0x604C, 2, kI32);
  EXPECT_EQ(object("vl_dimension_factor vl_dimension_factor_numerator").getAccessType(), AccessType::RO);
}

TEST(TavDescription, HoldsTheUnitsAndTheSafetyFunctionsOfCia402Part4) {
  expect_at("Time unit", 0x6600, 0, kU32);
  expect_at("Position unit", 0x6601, 0, kU32);
  expect_at("Velocity unit", 0x6602, 0, kU32);
  expect_at("Acceleration unit", 0x6603, 0, kU32);
  expect_at("STO command", 0x6640, 0, kBool);
  expect_type("STO status", kBool);
  expect_type("STO restart acknowledge behavior", kBool);
  expect_type("STO activate SBC", kU32);
  for (int n = 1; n <= 3; ++n) {
    const auto sub = static_cast<std::uint8_t>(n);
    expect_at(numbered("SBC commands SBC command ", n), 0x6660, sub, kBool);
    expect_type(numbered("SBC statuses SBC status ", n), kBool);
    expect_at(numbered("SBC brake time delay SBC brake time delay ", n), 0x6661, sub, kU16);
  }
  for (int n = 1; n <= 8; ++n) {
    const auto sub = static_cast<std::uint8_t>(n);
    expect_at(numbered("SLS commands SLS command ", n), 0x6690, sub, kBool);
    expect_type(numbered("SLS statuses SLS status ", n), kBool);
    expect_type(numbered("SLS time to velocity monitoring SLS time to velocity monitoring ", n), kU16);
    expect_at(numbered("SLS velocity limit u32 SLS velocity limit u32 ", n), 0x6693, sub, kU32);
    expect_type(numbered("SLS time for velocity in limits SLS time for velocity in limits ", n), kU16);
    expect_at(numbered("SLS error reactions SLS error reaction ", n), 0x6698, sub, kU32);
  }
  for (int n = 1; n <= 2; ++n) {
    const auto sub = static_cast<std::uint8_t>(n);
    expect_at(numbered("SDIp commands SDIp command ", n), 0x66D0, sub, kBool);
    expect_at(numbered("SDIn commands SDIn command ", n), 0x66D1, sub, kBool);
    expect_type(numbered("SDIp statuses SDIp status ", n), kBool);
    expect_type(numbered("SDIn statuses SDIn status ", n), kBool);
    expect_at(numbered("SDI velocity zero window u32 SDI velocity zero window u32 ", n), 0x66D3, sub, kU32);
  }
  expect_at("Error acknowledge command", 0x6632, 0, kBool);
  for (const char* name :
       {"Error acknowledge status", "Restart acknowledge command", "Restart acknowledge status"}) {
    expect_type(name, kBool);
  }
}

TEST(TavDescription, HoldsOneSignaturePerSafetyFunctionInstance) {
  struct Signature {
    const char* function;
    std::uint16_t index;
    int instances;
  };
  for (const Signature& s : {Signature{"STO", 0x6645, 1}, Signature{"SBC", 0x6662, 3},
                             Signature{"SLS", 0x6699, 8}, Signature{"SDI", 0x66D6, 2}}) {
    const std::string text = std::string(s.function) + " safety application configuration signature";
    for (int n = 1; n <= s.instances; ++n) {
      expect_at(numbered(text + ' ' + text + ' ', n), s.index, static_cast<std::uint8_t>(n), kU16);
    }
  }
}

TEST(TavDescription, HoldsTheSafetyWordsAndTheir128MappingObjects) {
  for (int word = 1; word <= 8; ++word) {
    const std::string w = std::to_string(word);
    expect_at("Safety controlwords safety_controlword_can" + w, 0x6620, static_cast<std::uint8_t>(word), kU8);
    expect_at("Safety statuswords safety_statusword_can" + w, 0x6621, static_cast<std::uint8_t>(word), kU8);
    for (int bit = 0; bit < 8; ++bit) {
      const auto sub = static_cast<std::uint8_t>(bit + 1);
      const std::string b = std::to_string(bit);
      expect_at("nkr_safety_word_scw_mapping_cw" + w + " scw_cw_can_" + w + "_bit" + b,
                static_cast<std::uint16_t>(0x66EF + word), sub, kU32);
      expect_at("nkr_safety_word_ssw_mapping_sw" + w + " ssw_sw_can_" + w + "_bit" + b,
                static_cast<std::uint16_t>(0x66F7 + word), sub, kU32);
    }
  }
}

TEST(TavDescription, HoldsTheManufacturerSafetyWords) {
  expect_type("Safety controlwords manufacturer safety_controlword_safein", kU8);
  expect_type("Safety controlwords manufacturer safety_controlword_safein_1", kU8);
  expect_type("Safety statuswords manufacturer safety_statusword_safeout", kU8);
  for (int bit = 0; bit < 6; ++bit) {
    expect_type(numbered("nkr_safety_word_scw_mapping_safein scw_cw_safein_bit", bit), kU32);
  }
  for (int bit = 0; bit < 4; ++bit) {
    expect_type(numbered("nkr_safety_word_ssw_mapping_safeout scw_sw_safeout_bit", bit), kU32);
  }
}

TEST(TavDescription, HoldsTheIdentityAndPeripheralObjectsOfTheManufacturer) {
  expect_type("Node ID", kU8);
  expect_type("R Termination", kBool);
  for (const char* name : {"Software version", "Hardware version", "Hardware config", "Hardware ID"}) {
    expect_type(name, kU32);
  }
  expect_type("nkr_tav_status_word", kU16);
  for (const char* name : {"brake_applied", "low_power_applied", "high_power_applied", "driver_enabled",
                           "configuration_allowed", "communication_enabled"}) {
    expect_type(std::string("status_peripheral status_peripheral_") + name, kBool);
  }
  expect_type("cia402_use_internal_brake", kBool);
  for (const char* name : {"motctrl_speed_pid_p", "motctrl_speed_pid_i", "motctrl_speed_pid_d"}) {
    expect_type(name, kU32);
  }
}

TEST(TavDescription, HoldsTheDiagnosticObjectsOfTheManufacturer) {
  for (const char* name : {"self_test_status_auto_init", "self_test_status_motor_driver",
                           "self_test_simulate_auto_init_error", "self_test_simulate_motor_driver_error"}) {
    expect_type(std::string("self_test ") + name, kU8);
  }
  expect_type("error_type_lvl_1", kU32);
  expect_type("nkr_system_error_previous_protect_state", kU32);
  expect_type("nkr_system_error_protect_state", kU32);
  for (const char* name : {"battery_uv", "battery_ov", "phase_oc", "mos_ot", "drv_ot"}) {
    expect_type(std::string("nkr_system_error_states_status ") + name, kU8);
  }
  const std::string hall = "nkr_hall_public_config ";
  expect_type(hall + "is_valid", kBool);
  for (const std::string coefficient : {"cos_norm_coef.", "sin_norm_coef."}) {
    expect_type(hall + coefficient + "adc_offset_mv", kI32);
    expect_type(hall + coefficient + "gain", kF32);
    expect_type(hall + coefficient + "angle_offset_mdeg", kI32);
  }
}

TEST(TavDescription, HoldsTheSystemErrorThresholds) {
  const std::string config = "nkr_system_error_public_config ";
  for (const char* name :
       {"time_ms_zero_torque_protect", "time_ms_brake_cc_protect", "battery_uv_warning_timeout_ms",
        "battery_ov_warning_timeout_ms", "phase_oc_warning_timeout_ms"}) {
    expect_type(config + name, kU32);
  }
  for (const char* name :
       {"battery_uv_warning", "battery_uv_error", "battery_ov_warning", "battery_ov_error",
        "phase_oc_warning", "phase_oc_error", "temp_hysteresis_rise_mos1", "temp_hysteresis_rise_mos2",
        "temp_hysteresis_fall_mos1", "temp_hysteresis_fall_mos2"}) {
    expect_type(config + name, kI32);
  }
  expect_type(config + "phase_over_board_factor", kF32);
}

}  // namespace
