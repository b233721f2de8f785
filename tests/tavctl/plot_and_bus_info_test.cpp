// What the tool does without a drive: plots, percentiles, what the system says of an interface.
#include <gtest/gtest.h>

#include "commands/session/BusInfo.hpp"
#include "text/Percentiles.hpp"
#include "text/Plot.hpp"

namespace {

using tavctl::percentile;

TEST(BusInfo, IsWhatTheSystemSaysOfACanInterface) {
  const tavctl::BusInfo info = tavctl::parse_link(
      R"([{"ifname":"can0","operstate":"UP","linkinfo":{"info_kind":"can","info_data":{"state":"ERROR-PASSIVE",)"
      R"("berr_counter":{"tx":128,"rx":3},"restart_ms":100,"bittiming":{"bitrate":250000}}}}])");
  EXPECT_EQ(info.bit_rate, 250000U);
  EXPECT_EQ(info.state, "ERROR-PASSIVE");
  EXPECT_EQ(info.restart_ms, 100U);
  EXPECT_EQ(info.tx_errors, 128U);
  EXPECT_EQ(info.rx_errors, 3U);
}

TEST(BusInfo, IsEmptyForAnInterfaceWithoutAController) {
  for (const char* const text :
       {"", "nonsense", "[]", R"([{"ifname":"vcan0","linkinfo":{"info_kind":"vcan"}}])", R"({"a":1})"}) {
    const tavctl::BusInfo info = tavctl::parse_link(text);
    EXPECT_FALSE(info.bit_rate || info.state || info.restart_ms) << text;
  }
}

TEST(Plot, DrawsDemandAndActualInTheirRange) {
  const auto lines = tavctl::plot({{0.0, 0, 0}, {1.0, 100, 50}, {2.0, 100, 100}}, 21, 11);
  ASSERT_EQ(lines.size(), 13u);
  EXPECT_EQ(lines[0], "    100 |          -         *");
  EXPECT_EQ(lines[5], "        |          o");
  EXPECT_EQ(lines[10], "      0 |*");
  EXPECT_EQ(lines[11], "        +--------------------- 2.0 s");
}

TEST(Plot, OfNothingIsNothing) {
  EXPECT_TRUE(tavctl::plot({}).empty());
}

TEST(Plot, OfStandstillIsOneLine) {
  const auto lines = tavctl::plot({{0.0, 0, 0}, {1.0, 0, 0}}, 10, 3);
  EXPECT_EQ(lines[2], "      0 |*        *");
}

TEST(Percentile, IsTheNearestRank) {
  EXPECT_EQ(percentile({15, 20, 35, 40, 50}, 30), 20);
  EXPECT_EQ(percentile({15, 20, 35, 40, 50}, 50), 35);
  EXPECT_EQ(percentile({50, 15, 40, 20, 35}, 100), 50);
  EXPECT_EQ(percentile({50, 15, 40, 20, 35}, 0), 15);
  EXPECT_EQ(percentile({7}, 99), 7);
  EXPECT_EQ(percentile({}, 50), 0);
}

}  // namespace
