#include <gtest/gtest.h>

#include <nkr/can/candump.hpp>

namespace nkr::can::test {
namespace {

using namespace std::chrono_literals;
using std::chrono::system_clock;

Frame remote(std::uint32_t id, std::uint8_t size) {
  Frame frame{id, {}};
  frame.remote = true;
  frame.size = size;
  return frame;
}

Frame extended(std::uint32_t id, std::initializer_list<std::uint8_t> bytes) {
  Frame frame{id, bytes};
  frame.extended = true;
  return frame;
}

Frame error(std::uint32_t id, std::initializer_list<std::uint8_t> bytes) {
  Frame frame{id, bytes};
  frame.error = true;
  return frame;
}

TEST(FrameText, IsCandumpsBothWays) {
  const std::pair<const char*, Frame> cases[] = {
      {"60A#4018100100000000", {0x60A, {0x40, 0x18, 0x10, 0x01, 0, 0, 0, 0}}},
      {"080#", {0x080, {}}},
      {"70A#R", remote(0x70A, 0)},
      {"70A#R1", remote(0x70A, 1)},
      {"12345678#AB", extended(0x12345678, {0xAB})},
      {"00000001#", extended(1, {})},
      {"20000004#0008000000006000", error(4, {0, 8, 0, 0, 0, 0, 0x60, 0})},
  };
  for (const auto& [text, frame] : cases) {
    EXPECT_EQ(to_string(frame), text);
    EXPECT_EQ(parse_frame(text), frame) << text;
  }
}

TEST(FrameText, TakesWhatPeopleType) {
  EXPECT_EQ(parse_frame("60a#40.18.10.01"), (Frame{0x60A, {0x40, 0x18, 0x10, 0x01}}));
  EXPECT_EQ(parse_frame("70a#r"), remote(0x70A, 0));
}

TEST(FrameText, RefusesWhatIsNoClassicalFrame) {
  for (const char* text :
       {"", "#", "60A", "60#40", "800#", "0060A#", "60A#4", "60A#4G", "60A#.40", "60A#40.", "60A#40..18",
        "60A#112233445566778899", "60A##140", "70A#R9", "70A#R11", "FFFFFFFF#", "60A#40 18", "-0A#40"})
    EXPECT_FALSE(parse_frame(text).has_value()) << text;
}

TEST(LogLineText, IsCandumpsBothWays) {
  const std::string text = "(1436509052.249713) vcan0 60A#4018100100000000";
  const LogLine line{system_clock::time_point(1436509052s + 249713us),
                     "vcan0",
                     {0x60A, {0x40, 0x18, 0x10, 0x01, 0, 0, 0, 0}}};
  EXPECT_EQ(to_string(line), text);
  const auto parsed = parse_log_line(text);
  ASSERT_TRUE(parsed.has_value());
  EXPECT_EQ(parsed->when, line.when);
  EXPECT_EQ(parsed->bus_name, "vcan0");
  EXPECT_EQ(parsed->frame, line.frame);
}

TEST(LogLineText, WritesSixDigitsOfTheSecond) {
  EXPECT_EQ(to_string(LogLine{system_clock::time_point(5s + 42us), "can0", {0x80, {}}}),
            "(5.000042) can0 080#");
}

TEST(LogLineText, KeepsTheNameOneWord) {
  EXPECT_EQ(to_string(LogLine{system_clock::time_point(), "unix:/tmp/my bus", {0x80, {}}}),
            "(0.000000) unix:/tmp/my_bus 080#");
}

TEST(LogLineText, TakesBlanksAndADirection) {
  for (const char* text :
       {" (5.000042)  can0  080#  ", "(5.000042) can0 080# R", "(5.000042) can0 080# T\r\n"})
    EXPECT_TRUE(parse_log_line(text).has_value()) << text;
}

TEST(LogLineText, RefusesWhatIsNoLine) {
  for (const char* text :
       {"", "# comment", "(5.000042) can0", "5.000042 can0 080#", "(5) can0 080#", "(5.42) can0 080#",
        "(5.00004x) can0 080#", "(.000042) can0 080#", "(99999999999.000000) can0 080#",
        "(9999999999.000000) can0 080#", "(-5.000042) can0 080#", "(5.000042) can0 080# X",
        "(5.000042) can0 080# R R", "(5.000042) can0 08#", "()", "("})
    EXPECT_FALSE(parse_log_line(text).has_value()) << text;
}

TEST(LogLineText, HoldsNoControlCharacters) {
  EXPECT_FALSE(parse_log_line("(1436509052.249713) can\x1B[31m0 60A#40").has_value());
  EXPECT_FALSE(parse_log_line("(1436509052.249713) can\x7F 60A#40").has_value());
  const LogLine named{{}, "can\x1B[2J\n0", {0x60A, {0x40}}};
  EXPECT_EQ(to_string(named), "(0.000000) can_[2J_0 60A#40");
}

}  // namespace
}  // namespace nkr::can::test
