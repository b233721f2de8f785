#include <gtest/gtest.h>

#include <nkr/canopen/Emergency.hpp>
#include <string>
#include <vector>

namespace tests::client {
namespace {

using nkr::canopen::emergency_text;
using nkr::canopen::error_register_names;

TEST(EmergencyText, CodesOfCia402HaveTheirOwn) {
  EXPECT_EQ(emergency_text(0x2310), "continuous over-current at the output");
  EXPECT_EQ(emergency_text(0x3210), "DC link over-voltage");
  EXPECT_EQ(emergency_text(0x3220), "DC link under-voltage");
  EXPECT_EQ(emergency_text(0x4310), "excess drive temperature");
  EXPECT_EQ(emergency_text(0x7121), "motor blocked");
  EXPECT_EQ(emergency_text(0x8611), "following error");
}

TEST(EmergencyText, CodesOfCia301HaveTheirOwn) {
  EXPECT_EQ(emergency_text(0x8110), "CAN overrun: messages lost");
  EXPECT_EQ(emergency_text(0x8130), "life guard or heartbeat error");
  EXPECT_EQ(emergency_text(0x8250), "RPDO time-out");
}

TEST(EmergencyText, OtherCodesHaveTheirClasss) {
  EXPECT_EQ(emergency_text(0x0000), "error reset or no error");
  EXPECT_EQ(emergency_text(0x0012), "error reset or no error");
  EXPECT_EQ(emergency_text(0x2199), "current at the device's input side");
  EXPECT_EQ(emergency_text(0x2999), "current");
  EXPECT_EQ(emergency_text(0x1001), "generic error");
  EXPECT_EQ(emergency_text(0x9001), "external error");
  EXPECT_EQ(emergency_text(0xFF42), "device specific");
  EXPECT_EQ(emergency_text(0xA000), "unknown error code");
}

TEST(EmergencyText, NoCodeIsWithoutText) {
  for (unsigned code = 0; code <= 0xFFFF; ++code)
    ASSERT_FALSE(emergency_text(static_cast<std::uint16_t>(code)).empty()) << code;
}

TEST(ErrorRegister, ItsBitsHaveNames) {
  EXPECT_EQ(error_register_names(0), std::vector<std::string>{});
  EXPECT_EQ(error_register_names(0x91),
            (std::vector<std::string>{"generic", "communication", "manufacturer"}));
  EXPECT_EQ(error_register_names(0x2E),
            (std::vector<std::string>{"current", "voltage", "temperature", "device profile"}));
}

TEST(EmergencyText, OneLineSaysItAll) {
  nkr::canopen::Emergency emergency;
  emergency.node = 10;
  emergency.code = 0x2310;
  emergency.error_register = 0x03;
  emergency.vendor_data = {1, 2, 3, 4, 0xAB};
  EXPECT_EQ(
      to_string(emergency),
      "node 10: emergency 0x2310 (continuous over-current at the output), error register 0x03 (generic, "
      "current), vendor data 01 02 03 04 AB");
}

}  // namespace
}  // namespace tests::client
