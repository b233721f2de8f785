#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <tav/host/LogReader.hpp>

namespace tests::host {
namespace {

using nkr::can::Frame;
using tav::host::parse_candump_line;

std::int64_t microseconds(const tav::host::FrameTime& when) {
  return when ? std::chrono::duration_cast<std::chrono::microseconds>(when->time_since_epoch()).count() : -1;
}

TEST(CandumpLine, IsReadAsALog) {
  const auto line = parse_candump_line("(1436509052.249713) can0 60A#4018100100000000");
  ASSERT_TRUE(line);
  EXPECT_EQ(line->frame, Frame(0x60A, {0x40, 0x18, 0x10, 0x01, 0, 0, 0, 0}));
  EXPECT_EQ(line->bus_name, "can0");
  EXPECT_EQ(microseconds(line->when), 1436509052249713);
}

TEST(CandumpLine, IsReadAsCandumpShowsIt) {
  const auto line = parse_candump_line("  can0  58A   [8]  43 18 10 01 27 0A 00 00");
  ASSERT_TRUE(line);
  EXPECT_EQ(line->frame, Frame(0x58A, {0x43, 0x18, 0x10, 0x01, 0x27, 0x0A, 0, 0}));
  EXPECT_FALSE(line->when);
}

TEST(CandumpLine, IsReadWithWhateverCandumpWasAskedToShow) {
  const Frame heartbeat(0x70A, {0x7F});
  for (const char* const text : {" (1436509052.249713)  can0  70A   [1]  7F",           // -t a
                                 " (000.000123)  can0  70A   [1]  7F",                  // -t d
                                 " (2015-07-10 06:17:32.249713)  can0  70A   [1]  7F",  // -t A
                                 "  can0  RX - -  70A   [1]  7F",                       // -x
                                 "  vcan0  TX B E  70A   [1]  7F",                      // -x
                                 "  can0  70A   [1]  7F                        '.'",    // -a
                                 "can0 70A [1] 7F"}) {
    const auto line = parse_candump_line(text);
    ASSERT_TRUE(line) << text;
    EXPECT_EQ(line->frame, heartbeat) << text;
  }
  EXPECT_EQ(microseconds(parse_candump_line(" (000.000123)  can0  70A   [1]  7F")->when), 123);
  EXPECT_EQ(microseconds(parse_candump_line(" (2015-07-10 06:17:32.249713)  can0  70A   [1]  7F")->when),
            1436509052249713);
}

TEST(CandumpLine, KnowsRemoteExtendedAndErrorFrames) {
  EXPECT_TRUE(parse_candump_line("  can0  70A   [1]  remote request")->frame.remote);
  EXPECT_TRUE(parse_candump_line("  can0  70A   [0]  remote request")->frame.remote);
  EXPECT_TRUE(parse_candump_line("  can0  0000070A   [1]  05")->frame.extended);
  const auto error = parse_candump_line("  can0  20000004   [8]  00 04 00 00 00 00 00 00   ERRORFRAME");
  ASSERT_TRUE(error);
  EXPECT_TRUE(error->frame.error);
  EXPECT_EQ(error->frame.id, 0x004u);
}

TEST(CandumpLine, ThatIsNoneIsRefused) {
  for (const char* const text : {"", "hello", "can0", "can0 60A", "can0 60A [8]", "can0 60A [8] 40 18",
                                 "can0 60A [9] 0 0 0 0 0 0 0 0 0", "can0 60A [08] 40 18 10 01 00 00 00 00",
                                 "can0 8FF [1] 05", "can0 60A [1] 1FF", "can0 60A [1] zz",
                                 "can0 FFFFFFFF [0]", "(12) can0 60A#1", "(((((", "can0 60A#40##", "(1.2"}) {
    EXPECT_FALSE(parse_candump_line(text)) << text;
  }
}

TEST(LogReader, CountsEveryLineAndPassesOverBlankOnes) {
  std::istringstream log("can0 70A [1] 05\n\n   \r\nrubbish\ncan0 70A [1] 7F");
  tav::host::LogReader reader(log);
  ASSERT_TRUE(reader.next());
  EXPECT_EQ(reader.number(), 1u);
  EXPECT_TRUE(reader.frame());
  ASSERT_TRUE(reader.next());
  EXPECT_EQ(reader.number(), 4u);
  EXPECT_FALSE(reader.frame());
  ASSERT_TRUE(reader.next());
  EXPECT_EQ(reader.frame()->frame, Frame(0x70A, {0x7F})) << "the last line has no end";
  EXPECT_FALSE(reader.next());
}

TEST(LogReader, TakesAnyBytes) {
  std::string bytes;
  std::uint32_t random = 1;
  constexpr char kLikely[] = "can0 (1.[8]#0Af\n\r\t60R\0";
  for (int i = 0; i < 200000; ++i) {
    random = random * 1664525U + 1013904223U;
    bytes +=
        (random >> 30U) == 0 ? static_cast<char>(random >> 16) : kLikely[(random >> 16) % sizeof kLikely];
  }
  std::istringstream log(bytes);
  tav::host::LogReader reader(log);
  std::uint64_t lines = 0;
  while (reader.next()) {
    ++lines;
    const auto logged = reader.frame();
    if (logged) {
      EXPECT_LE(logged->frame.size, 8);
    }
  }
  EXPECT_GT(lines, 100u);
}

TEST(LogReader, KeepsNoMoreOfALineWithoutEndThanAFrameCanTake) {
  std::istringstream log("can0 70A [1] 05 " + std::string(1'000'000, ' ') + "\ncan0 70A [1] 7F\n");
  tav::host::LogReader reader(log);
  ASSERT_TRUE(reader.next());
  EXPECT_LT(reader.line().size(), 10000u);
  EXPECT_FALSE(reader.frame());
  ASSERT_TRUE(reader.next());
  EXPECT_TRUE(reader.frame());
}

}  // namespace
}  // namespace tests::host
