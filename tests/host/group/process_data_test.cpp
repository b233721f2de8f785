// How a group's process data are mapped, and what they take of the bus.
#include <gtest/gtest.h>

#include <sstream>
#include <tav/host/group_process_data.hpp>

namespace tests::host {
namespace {

using tav::host::group_load;
using tav::host::group_process_data;
using tav::host::GroupLoad;

std::string written(const nkr::canopen::ObjectValue& value) {
  std::ostringstream text;
  text << std::hex << value.address.index << ':' << int{value.address.subindex} << '=';
  std::uint64_t number = 0;
  for (std::size_t i = value.bytes.size(); i-- > 0;) number = number << 8 | value.bytes[i];
  text << number;
  return text.str();
}

// CiA 301, 7.5.2.36 and 7.5.2.38: bit 31 set, sub-index 0 to 0, entries, their number, then valid.
TEST(TheProcessDataOfAGroup, AreWrittenInTheOrderOfTheStandard) {
  std::vector<std::string> all;
  for (const auto& value : group_process_data(0x0B)) all.push_back(written(value));
  const std::vector<std::string> expected{
      "1400:1=8000020b", "1600:0=0",        "1600:1=60400010", "1600:2=60420010",
      "1600:0=2",        "1400:2=1",        "1400:1=20b",      "1800:1=c000018b",
      "1a00:0=0",        "1a00:1=60410010", "1a00:2=60440010", "1a00:3=60640020",
      "1a00:0=3",        "1800:2=1",        "1800:1=4000018b", "1801:1=c000028b"};
  EXPECT_EQ(all, expected);
}

/** The most units that fit, by the worst bits of ISO 11898-1 and 70 % of the bus. */
std::size_t most(unsigned bit_rate, int hertz) {
  std::size_t units = 0;
  while (group_load(units + 1, std::chrono::microseconds(1'000'000 / hertz), bit_rate).fits()) ++units;
  return units;
}

TEST(TheLoadOfAGroup, LetsAsManyUnitsRunAsTheBitRateCarries) {
  struct Row {
    unsigned bit_rate;
    std::size_t at_50, at_100, at_200, at_500, at_1000;
  };
  for (const Row& row :
       {Row{125'000, 7, 3, 1, 0, 0}, Row{250'000, 14, 7, 3, 1, 0}, Row{500'000, 30, 14, 7, 2, 1},
        Row{800'000, 48, 24, 11, 4, 2}, Row{1'000'000, 60, 30, 14, 5, 2}}) {
    EXPECT_EQ(most(row.bit_rate, 50), row.at_50) << row.bit_rate;
    EXPECT_EQ(most(row.bit_rate, 100), row.at_100) << row.bit_rate;
    EXPECT_EQ(most(row.bit_rate, 200), row.at_200) << row.bit_rate;
    EXPECT_EQ(most(row.bit_rate, 500), row.at_500) << row.bit_rate;
    EXPECT_EQ(most(row.bit_rate, 1000), row.at_1000) << row.bit_rate;
  }
}

TEST(TheLoadOfAGroup, SaysWhatWouldFit) {
  const GroupLoad load = group_load(2, std::chrono::milliseconds(1), 500'000);
  EXPECT_FALSE(load.fits());
  EXPECT_EQ(load.bits, 55U + 2 * (95 + 135));
  EXPECT_EQ(load.bit_rate_needed, 800'000U) << "two units at 1 ms";
  EXPECT_EQ(load.shortest_period.count(), 1472) << "515 bits in 70 % of 500 kbit/s";
  EXPECT_TRUE(group_load(2, load.shortest_period, 500'000).fits());
}

}  // namespace
}  // namespace tests::host
