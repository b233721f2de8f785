#include <gtest/gtest.h>

#include <unix/unix_wire.hpp>

namespace nkr::can::test {
namespace {

std::optional<UnixMessage> decode(const UnixBytes& bytes) {
  return decode_unix_message(bytes.data(), bytes.size());
}

TEST(UnixWire, FrameHasTheDescribedBytes) {
  Frame frame{0x1234567, {0xAA, 0xBB}};
  frame.extended = true;
  EXPECT_EQ(encode_frame(frame),
            (UnixBytes{'F', 1, 2, 0, 0x67, 0x45, 0x23, 0x01, 0xAA, 0xBB, 0, 0, 0, 0, 0, 0}));
}

TEST(UnixWire, ReadsBackEveryKindOfFrame) {
  Frame extended{0x1FFFFFFF, {1, 2, 3, 4, 5, 6, 7, 8}};
  extended.extended = true;
  Frame remote{0x701, {}};
  remote.remote = true;
  remote.size = 1;
  Frame error{0x40, {0, 8}};
  error.error = true;
  for (const Frame& frame : {Frame{0x7FF, {9}}, Frame{0, {}}, extended, remote, error}) {
    const auto message = decode(encode_frame(frame));
    ASSERT_TRUE(message.has_value());
    EXPECT_EQ(message->kind, UnixMessage::Kind::FRAME);
    EXPECT_EQ(message->frame, frame);
  }
}

TEST(UnixWire, ReadsBackWelcomeAndLost) {
  EXPECT_EQ(encode_welcome(52), (UnixBytes{'W', 2, 0, 0, 52, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
  const auto welcome = decode(encode_welcome(52));
  ASSERT_TRUE(welcome.has_value());
  EXPECT_EQ(welcome->kind, UnixMessage::Kind::WELCOME);
  EXPECT_EQ(welcome->number, 52U);
  const auto lost = decode(encode_lost(0x0102030405060708));
  ASSERT_TRUE(lost.has_value());
  EXPECT_EQ(lost->kind, UnixMessage::Kind::LOST);
  EXPECT_EQ(lost->number, 0x0102030405060708U);
}

TEST(UnixWire, ReadsBackFilters) {
  const nkr::can::Filter filter{0x580, 0x780};
  EXPECT_EQ(encode_filter(filter, true),
            (UnixBytes{'S', 1, 0, 0, 0x80, 0x05, 0, 0, 0x80, 0x07, 0, 0, 0, 0, 0, 0}));
  for (const bool is_last : {false, true}) {
    const auto message = decode(encode_filter(filter, is_last));
    ASSERT_TRUE(message.has_value());
    EXPECT_EQ(message->kind, UnixMessage::Kind::FILTER);
    EXPECT_EQ(message->filter.id, 0x580U);
    EXPECT_EQ(message->filter.mask, 0x780U);
    EXPECT_EQ(message->is_last_filter, is_last);
  }
}

TEST(UnixWire, ReadsBackMarks) {
  const auto mark = decode(encode_mark(0x0102030405060708));
  ASSERT_TRUE(mark.has_value());
  EXPECT_EQ(mark->kind, UnixMessage::Kind::MARK);
  EXPECT_EQ(mark->number, 0x0102030405060708U);
}

TEST(UnixWire, RefusesReservedBytesOfEveryKind) {
  const auto refused_with = [](UnixBytes bytes, std::size_t position) {
    bytes[position] = 2;
    return !decode(bytes).has_value();
  };
  for (const std::size_t position : {1U, 2U, 3U, 12U, 15U})
    EXPECT_TRUE(refused_with(encode_filter({0x601}, true), position)) << position;
  for (const std::size_t position : {2U, 3U, 8U, 15U}) EXPECT_TRUE(refused_with(encode_welcome(1), position));
  for (const std::size_t position : {1U, 2U, 3U, 4U, 7U}) EXPECT_TRUE(refused_with(encode_mark(1), position));
}

TEST(UnixWire, RefusesWhatIsNoMessage) {
  const auto refused_with = [](std::size_t position, std::uint8_t value) {
    UnixBytes bytes = encode_frame({0x601, {1, 2}});
    bytes[position] = value;
    return !decode(bytes).has_value();
  };
  EXPECT_TRUE(refused_with(0, 'X')) << "unknown kind";
  EXPECT_TRUE(refused_with(1, 8)) << "unknown flag";
  EXPECT_TRUE(refused_with(2, 9)) << "more than 8 bytes";
  EXPECT_TRUE(refused_with(2, 1)) << "bytes behind the size";
  EXPECT_TRUE(refused_with(3, 1)) << "reserved byte";
  EXPECT_TRUE(refused_with(5, 8)) << "an 11-bit identifier above 0x7FF";
  EXPECT_FALSE(refused_with(8, 7));
}

TEST(UnixWire, RefusesOtherSizesAndVersions) {
  const UnixBytes bytes = encode_frame({0x601, {}});
  EXPECT_FALSE(decode_unix_message(bytes.data(), 0).has_value());
  EXPECT_FALSE(decode_unix_message(bytes.data(), bytes.size() - 1).has_value());
  UnixBytes welcome = encode_welcome(52);
  welcome[1] = 1;
  EXPECT_FALSE(decode(welcome).has_value());
}

}  // namespace
}  // namespace nkr::can::test
