// What the drive is shipped with.
#include <gtest/gtest.h>
#include <nkr/safety_word.h>

#include <cstdint>
#include <fstream>
#include <nkr/tools/INIParser.hpp>
#include <string>
#include <vector>

#include "description/TavDescription.hpp"

namespace {

using description::default_number;
using description::tav;
using nkr::tools::ObjectID;

/** Bytes of a configuration, low byte first, and their CRC-16 (polynomial 0x1021, initial value 0). */
class Stream {
 public:
  Stream& add(std::int64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) bytes_.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    return *this;
  }

  /** The 128 mapping objects of the CAN safety words, in the order of their addresses. */
  Stream& add_mapping() {
    for (std::uint16_t index = 0x66F0; index <= 0x66FF; ++index) {
      for (std::uint8_t sub = 1; sub <= 8; ++sub) add(default_number(index, sub), 4);
    }
    return *this;
  }

  [[nodiscard]] std::int64_t crc() const {
    unsigned value = 0;
    for (const std::uint8_t byte : bytes_) {
      value ^= static_cast<unsigned>(byte) << 8;
      for (int bit = 0; bit < 8; ++bit) value = (value << 1) ^ ((value & 0x8000U) != 0 ? 0x11021U : 0U);
    }
    return value;
  }

 private:
  std::vector<std::uint8_t> bytes_;
};

std::int64_t signature_default(const std::string& function, int instance) {
  const std::string text = function + " safety application configuration signature ";
  return default_number(text + text + std::to_string(instance));
}

TEST(StreamOfATest, HasTheCheckValueOfItsCrc) {
  Stream stream;
  for (const char c : std::string("123456789")) stream.add(c, 1);
  EXPECT_EQ(stream.crc(), 0x31C3);
}

TEST(TavDefaults, StoSignatureAgreesWithItsParameters) {
  Stream stream;
  stream.add(default_number("STO restart acknowledge behavior"), 1).add_mapping();
  EXPECT_EQ(signature_default("STO", 1), stream.crc());
}

TEST(TavDefaults, SbcSignaturesAgreeWithTheirParameters) {
  for (int n = 1; n <= 3; ++n) {
    Stream stream;
    stream.add(default_number("Time unit"), 4)
        .add(default_number("SBC brake time delay SBC brake time delay " + std::to_string(n)), 2)
        .add_mapping();
    EXPECT_EQ(signature_default("SBC", n), stream.crc()) << n;
  }
}

TEST(TavDefaults, SlsSignaturesAgreeWithTheirParameters) {
  for (int instance = 1; instance <= 8; ++instance) {
    const std::string n = std::to_string(instance);
    Stream stream;
    stream.add(default_number("Time unit"), 4)
        .add(default_number("Velocity unit"), 4)
        .add(default_number("Acceleration unit"), 4)
        .add(default_number("SLS time to velocity monitoring SLS time to velocity monitoring " + n), 2)
        .add(0, 2)
        .add(default_number("SLS velocity limit u32 SLS velocity limit u32 " + n), 4)
        .add(default_number("SLS time for velocity in limits SLS time for velocity in limits " + n), 2)
        .add(0, 2)
        .add(0, 2)
        .add(0, 4)
        .add(default_number("SLS error reactions SLS error reaction " + n), 4)
        .add_mapping();
    EXPECT_EQ(signature_default("SLS", instance), stream.crc()) << n;
  }
}

TEST(TavDefaults, SdiSignaturesAgreeWithTheirParameters) {
  for (int n = 1; n <= 2; ++n) {
    const std::string window = "SDI velocity zero window u32 ";
    Stream stream;
    stream.add(default_number("Position unit"), 4)
        .add(default_number("Velocity unit"), 4)
        .add(0, 2)
        .add(0, 4)
        .add(0, 2)
        .add(default_number(window + window + std::to_string(n)), 4)
        .add_mapping();
    EXPECT_EQ(signature_default("SDI", n), stream.crc()) << n;
  }
}

TEST(TavDefaults, SrdoSignaturesAgreeWithTheirParameters) {
  for (std::uint8_t n = 1; n <= 16; ++n) {
    const auto parameters = static_cast<std::uint16_t>(0x1300 + n);
    Stream stream;
    stream.add(default_number(parameters, 1), 1)
        .add(default_number(parameters, 2), 2)
        .add(default_number(parameters, 3), 1)
        .add(default_number(parameters, 5), 4)
        .add(default_number(parameters, 6), 4)
        .add(default_number(static_cast<std::uint16_t>(0x1380 + n), 0), 1);
    EXPECT_EQ(default_number(static_cast<std::uint16_t>(0x1380 + n), 0), 0);
    EXPECT_EQ(default_number(0x13FF, n), stream.crc()) << int{n};
  }
}

TEST(TavDefaults, NoSafetyFunctionIsMapped) {
  for (std::uint16_t index = 0x66F0; index <= 0x66FF; ++index) {
    for (std::uint8_t sub = 1; sub <= 8; ++sub) EXPECT_EQ(default_number(index, sub), 0);
  }
}

TEST(TavDefaults, NoSafetyFunctionIsDemanded) {
  for (const std::uint32_t code : nkr_safety_word_fct_to_dico_cmd) {
    EXPECT_EQ(default_number(static_cast<std::uint16_t>(code >> 16), static_cast<std::uint8_t>(code >> 8)),
              1);
  }
}

TEST(TavDefaults, SafetyWordCodesAreTheAddressesOfTheFunctionsObjects) {
  const auto expect_code = [](const std::string& name, std::uint32_t code) {
    const auto* object = tav().find(std::string_view(name));
    ASSERT_NE(object, nullptr) << name;
    EXPECT_EQ(object->getObjectID().get() << 8, code) << name;
  };
  std::size_t function = 0;
  const auto expect_function = [&](const std::string& command, const std::string& status) {
    expect_code(command, nkr_safety_word_fct_to_dico_cmd[function]);
    expect_code(status, nkr_safety_word_fct_to_dico_status[function]);
    ++function;
  };
  const auto expect_instances = [&](const std::string& name, int instances) {
    for (int n = 1; n <= instances; ++n) {
      expect_function(name + " commands " + name + " command " + std::to_string(n),
                      name + " statuses " + name + " status " + std::to_string(n));
    }
  };
  expect_function("STO command", "STO status");
  expect_instances("SBC", 3);
  expect_instances("SLS", 8);
  expect_instances("SDIp", 2);
  expect_instances("SDIn", 2);
  expect_function("Error acknowledge command", "Error acknowledge status");
  expect_function("Restart acknowledge command", "Restart acknowledge status");
  EXPECT_EQ(function, 18u);
}

TEST(TavDefaults, VendorIdIsTheOneThatCommandsAreSentTo) {
  EXPECT_EQ(default_number("Identity Object Vendor Id"), 2599);
}

TEST(TavDefaults, HeartbeatComesEvery100Milliseconds) {
  EXPECT_EQ(default_number("Producer Heartbeat Time"), 100);
}

TEST(TavDefaults, NodeIdIsHexadecimalAndTheConfigurationsNodeId) {
  const auto* object = tav().find(std::string_view("Node ID"));
  ASSERT_NE(object, nullptr);
  std::ifstream file("share/tav/tav.ini");
  nkr::tools::INIParserClass ini;
  ASSERT_TRUE(ini.parse(file, true));
  int node = 0;
  ASSERT_TRUE(ini.getInteger("nodeId", node, "default"));
  std::size_t end = 0;
  EXPECT_EQ(std::stoi(object->getDefaultValue(), &end, 16), node);
  EXPECT_EQ(end, object->getDefaultValue().size());
}

TEST(TavDefaults, ConfigurationNamesThisDescription) {
  std::ifstream file("share/tav/tav.ini");
  nkr::tools::INIParserClass ini;
  ASSERT_TRUE(ini.parse(file, true));
  std::string path;
  ASSERT_TRUE(ini.getString("CANOpenEDSFile", path, "default"));
  EXPECT_EQ(path, "share/tav/tav.eds");
  int maximum = 0;
  ASSERT_TRUE(ini.getInteger("maxMaintenanceSpeedValue", maximum, "default"));
  EXPECT_GT(maximum, 0);
}

}  // namespace
