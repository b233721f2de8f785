#include <memory>

#include "LogFixture.hpp"

namespace nkr::log::test {
namespace {

struct GiveBack {
  void operator()(nkr_log_msg_t* buffer) const { nkr_log_msg_free_buffer(buffer); }
};
using Buffer = std::unique_ptr<nkr_log_msg_t, GiveBack>;

Buffer begun() {
  Buffer buffer(nkr_log_msg_get_new_buffer());
  EXPECT_EQ(nkr_log_msg_encode_begin(buffer.get()), NKR_OK);
  EXPECT_EQ(nkr_log_msg_encode_header(buffer.get(), 0x01020304, NKR_LOG_NOTICE), NKR_OK);
  return buffer;
}

std::vector<std::uint8_t> encoded(const Buffer& buffer) {
  std::size_t size = 0;
  const std::uint8_t* const bytes = nkr_log_msg_encoded(buffer.get(), &size);
  return {bytes, bytes + size};
}

std::string text_of(const nkr_log_field_t& field) {
  return {field.text, field.text_size};
}

nkr_error_t begin_reading(const std::vector<std::uint8_t>& bytes) {
  nkr_log_reader_t reader;
  return nkr_log_read_begin(&reader, bytes.data(), bytes.size());
}

const std::vector<std::uint8_t> kOneOfEach = {1, 'H', 4,   3,   2,   1, 4, 0, 0, 0,  'S',
                                              2, 0,   'a', 'b', 'U', 7, 0, 0, 0, 'E'};

TEST(LogMessage, IsEncodedAsItsHeaderDescribes) {
  const Buffer buffer = begun();
  EXPECT_EQ(nkr_log_msg_encode_str(buffer.get(), "ab"), NKR_OK);
  EXPECT_EQ(nkr_log_msg_encode_uint(buffer.get(), 7), NKR_OK);
  EXPECT_EQ(nkr_log_msg_encode_end(buffer.get()), NKR_OK);
  EXPECT_EQ(encoded(buffer), kOneOfEach);
}

TEST(LogMessage, IsReadBackFieldByField) {
  nkr_log_reader_t reader;
  nkr_log_field_t field;
  ASSERT_EQ(nkr_log_read_begin(&reader, kOneOfEach.data(), kOneOfEach.size()), NKR_OK);
  EXPECT_EQ(reader.context, 0x01020304u);
  EXPECT_EQ(reader.level, NKR_LOG_NOTICE);
  ASSERT_EQ(nkr_log_read_next(&reader, &field), NKR_OK);
  EXPECT_EQ(field.kind, NKR_LOG_FIELD_STR);
  EXPECT_EQ(text_of(field), "ab");
  ASSERT_EQ(nkr_log_read_next(&reader, &field), NKR_OK);
  EXPECT_EQ(field.kind, NKR_LOG_FIELD_UINT);
  EXPECT_EQ(field.number, 7u);
  EXPECT_EQ(nkr_log_read_next(&reader, &field), NKR_NOT_AVAILABLE);
  EXPECT_EQ(nkr_log_read_next(&reader, &field), NKR_NOT_AVAILABLE) << "the end stays the end";
}

TEST(LogMessage, CutShortAnywhereIsNoMessage) {
  for (std::size_t size = 0; size < kOneOfEach.size(); ++size) {
    const std::vector<std::uint8_t> part(kOneOfEach.data(), kOneOfEach.data() + size);
    EXPECT_EQ(begin_reading(part), NKR_ERROR) << size << " bytes";
  }
}

TEST(LogMessage, WithForeignBytesIsNoMessage) {
  std::vector<std::uint8_t> other_version = kOneOfEach;
  other_version[0] = 2;
  EXPECT_EQ(begin_reading(other_version), NKR_ERROR);

  std::vector<std::uint8_t> unknown_item = kOneOfEach;
  unknown_item[10] = 'X';
  EXPECT_EQ(begin_reading(unknown_item), NKR_ERROR);

  std::vector<std::uint8_t> text_beyond_the_end = kOneOfEach;
  text_beyond_the_end[12] = 0xFF;
  EXPECT_EQ(begin_reading(text_beyond_the_end), NKR_ERROR);

  std::vector<std::uint8_t> more_after_the_end = kOneOfEach;
  more_after_the_end.push_back(0);
  EXPECT_EQ(begin_reading(more_after_the_end), NKR_ERROR);

  nkr_log_reader_t reader;
  EXPECT_EQ(nkr_log_read_begin(&reader, nullptr, 0), NKR_ERROR);
}

TEST(LogMessage, RefusesStepsOutOfOrder) {
  const Buffer buffer(nkr_log_msg_get_new_buffer());
  EXPECT_EQ(nkr_log_msg_encode_header(buffer.get(), 0, 2), NKR_INVALID_STATE);
  EXPECT_EQ(nkr_log_msg_encode_begin(buffer.get()), NKR_OK);
  EXPECT_EQ(nkr_log_msg_encode_str(buffer.get(), "early"), NKR_INVALID_STATE);
  EXPECT_EQ(nkr_log_msg_encode_uint(buffer.get(), 1), NKR_INVALID_STATE);
  EXPECT_EQ(nkr_log_msg_encode_end(buffer.get()), NKR_INVALID_STATE);
  EXPECT_EQ(nkr_log_msg_encode_header(buffer.get(), 0, 2), NKR_OK);
  EXPECT_EQ(nkr_log_msg_encode_header(buffer.get(), 0, 2), NKR_INVALID_STATE);
  EXPECT_EQ(nkr_log_send_msg(0, 2, buffer.get()), NKR_INVALID_STATE);
  EXPECT_EQ(nkr_log_msg_encode_end(buffer.get()), NKR_OK);
  EXPECT_EQ(nkr_log_msg_encode_uint(buffer.get(), 1), NKR_INVALID_STATE);
  EXPECT_EQ(nkr_log_send_msg(0, 2, buffer.get()), NKR_OK);
}

TEST(LogMessage, RefusesNull) {
  EXPECT_EQ(nkr_log_msg_encode_begin(nullptr), NKR_ERROR);
  EXPECT_EQ(nkr_log_msg_encode_header(nullptr, 0, 2), NKR_ERROR);
  EXPECT_EQ(nkr_log_msg_encode_str(nullptr, "text"), NKR_ERROR);
  EXPECT_EQ(nkr_log_msg_encode_uint(nullptr, 1), NKR_ERROR);
  EXPECT_EQ(nkr_log_msg_encode_end(nullptr), NKR_ERROR);
  EXPECT_EQ(nkr_log_send_msg(0, 2, nullptr), NKR_ERROR);
  EXPECT_EQ(nkr_log_msg_encode_str(begun().get(), nullptr), NKR_ERROR);
  nkr_log_msg_free_buffer(nullptr);
  std::size_t size = 1;
  EXPECT_EQ(nkr_log_msg_encoded(nullptr, &size), nullptr);
  EXPECT_EQ(size, 0u);
}

TEST(LogMessage, BeginsAnewWhenBegunAgain) {
  const Buffer buffer = begun();
  EXPECT_EQ(nkr_log_msg_encode_str(buffer.get(), "gone"), NKR_OK);
  EXPECT_EQ(nkr_log_msg_encode_begin(buffer.get()), NKR_OK);
  EXPECT_EQ(nkr_log_msg_encode_header(buffer.get(), 0, 2), NKR_OK);
  EXPECT_EQ(nkr_log_msg_encode_end(buffer.get()), NKR_OK);
  EXPECT_EQ(encoded(buffer).size(), 11u);
}

TEST(LogMessage, CutsALongTextAndKeepsRoomForTheFieldsAfterIt) {
  const Buffer buffer = begun();
  EXPECT_EQ(nkr_log_msg_encode_str(buffer.get(), std::string(100000, 'x').c_str()), NKR_OK);
  EXPECT_EQ(nkr_log_msg_encode_uint(buffer.get(), 5), NKR_OK);
  EXPECT_EQ(nkr_log_msg_encode_str(buffer.get(), "after"), NKR_OK);
  EXPECT_EQ(nkr_log_msg_encode_end(buffer.get()), NKR_OK);

  const std::vector<std::uint8_t> bytes = encoded(buffer);
  nkr_log_reader_t reader;
  nkr_log_field_t field;
  ASSERT_EQ(nkr_log_read_begin(&reader, bytes.data(), bytes.size()), NKR_OK);
  ASSERT_EQ(nkr_log_read_next(&reader, &field), NKR_OK);
  EXPECT_GT(field.text_size, 2000u);
  EXPECT_EQ(text_of(field).substr(field.text_size - 4), "x...");
  ASSERT_EQ(nkr_log_read_next(&reader, &field), NKR_OK);
  EXPECT_EQ(field.number, 5u);
  ASSERT_EQ(nkr_log_read_next(&reader, &field), NKR_OK);
  EXPECT_EQ(text_of(field), "after");
}

TEST(LogMessage, FailsWhenAFieldHasNoRoomAtAll) {
  const Buffer buffer = begun();
  nkr_error_t result = NKR_OK;
  int fields = 0;
  while (result == NKR_OK && fields < 100000) {
    result = nkr_log_msg_encode_uint(buffer.get(), 1);
    ++fields;
  }
  EXPECT_EQ(result, NKR_ERROR);
  EXPECT_EQ(nkr_log_msg_encode_end(buffer.get()), NKR_OK) << "what stood before is still a message";
  EXPECT_EQ(begin_reading(encoded(buffer)), NKR_OK);
}

TEST(LogBuffers, AreLimitedSoThatALeakEndsInNull) {
  std::vector<Buffer> held;
  while (held.size() < 100000) {
    Buffer buffer(nkr_log_msg_get_new_buffer());
    if (buffer == nullptr) break;
    held.push_back(std::move(buffer));
  }
  EXPECT_LT(held.size(), 100000u);
  held.clear();
  EXPECT_NE(Buffer(nkr_log_msg_get_new_buffer()), nullptr);
}

TEST(LogBuffers, GivenBackTwiceAreHandedOutOnce) {
  nkr_log_msg_t* const buffer = nkr_log_msg_get_new_buffer();
  nkr_log_msg_free_buffer(buffer);
  nkr_log_msg_free_buffer(buffer);
  const Buffer first(nkr_log_msg_get_new_buffer());
  const Buffer second(nkr_log_msg_get_new_buffer());
  EXPECT_NE(first, second);
  EXPECT_EQ(nkr_log_msg_encode_begin(first.get()), NKR_OK);
}

}  // namespace
}  // namespace nkr::log::test
