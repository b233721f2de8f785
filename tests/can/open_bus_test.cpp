#include <gtest/gtest.h>

#include <nkr/can/open_bus.hpp>

namespace nkr::can::test {
namespace {

TEST(OpenBus, VirtualIsANewBusEachTime) {
  nkr_error_t result = NKR_ERROR;
  std::string explanation = "old";
  const auto first = open_bus("virtual", result, explanation);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(result, NKR_OK);
  EXPECT_EQ(explanation, "");
  EXPECT_EQ(first->name(), "virtual");
  EXPECT_NE(first, open_bus("virtual", result, explanation));
}

TEST(OpenBus, NamesAMissingInterface) {
  for (const char* name : {"can99", "", "an-interface-name-that-is-too-long"}) {
    nkr_error_t result = NKR_OK;
    std::string explanation;
    EXPECT_EQ(open_bus(name, result, explanation), nullptr);
    EXPECT_EQ(result, NKR_CAN_NO_INTERFACE);
    EXPECT_NE(explanation.find('"' + std::string(name) + '"'), std::string::npos);
    EXPECT_NE(explanation.find("ip -brief link show type can"), std::string::npos);
  }
}

TEST(OpenBus, NamesAnInterfaceThatIsNoCan) {
  nkr_error_t result = NKR_OK;
  std::string explanation;
  EXPECT_EQ(open_bus("lo", result, explanation), nullptr);
  EXPECT_EQ(result, NKR_CAN_NO_INTERFACE);
  EXPECT_NE(explanation.find("\"lo\" is no CAN interface"), std::string::npos);
}

TEST(BusAdvice, NamesTheCommandForEachTrouble) {
  EXPECT_NE(bus_advice("can1", NKR_CAN_BUS_OFF).find("ip link set can1 type can restart-ms"),
            std::string::npos);
  EXPECT_NE(bus_advice("can1", NKR_CAN_TX_OVERFLOW).find("ip link set can1 txqueuelen"), std::string::npos);
  EXPECT_NE(bus_advice("can1", NKR_CAN_INTERFACE_GONE).find("ip link set can1 up type can bitrate"),
            std::string::npos);
}

TEST(BusAdvice, KnowsThatVirtualInterfacesHaveNoBitRate) {
  const std::string advice = bus_advice("vcan0", NKR_CAN_INTERFACE_GONE);
  EXPECT_NE(advice.find("ip link set vcan0 up"), std::string::npos);
  EXPECT_EQ(advice.find("bitrate"), std::string::npos);
}

TEST(BusAdvice, HasNothingToSayOfOtherCodesAndBuses) {
  EXPECT_EQ(bus_advice("can0", NKR_OK), "");
  EXPECT_EQ(bus_advice("virtual", NKR_CAN_BUS_OFF), "");
  EXPECT_EQ(bus_advice("unix:/run/bus", NKR_CAN_BUS_OFF), "");
}

}  // namespace
}  // namespace nkr::can::test
