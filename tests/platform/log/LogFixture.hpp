#ifndef TESTS_PLATFORM_LOG_LOGFIXTURE_HPP
#define TESTS_PLATFORM_LOG_LOGFIXTURE_HPP

#include <gtest/gtest.h>
#include <nkr/log.h>
#include <nkr/log_decode.h>
#include <nkr/log_setup.h>

#include <string>
#include <vector>

namespace nkr::log::test {

/** Leaves the process's log as it was found: off, without sinks, everything let through. */
class LogTest : public testing::Test {
 protected:
  LogTest() { reset(); }
  ~LogTest() override { reset(); }

  static void reset() {
    nkr_log_set_enabled(0);
    nkr_log_remove_all_sinks();
    nkr_log_set_level(NKR_LOG_TRACE);
  }
};

/** Builds and sends one message as the libraries do, if logging is on. */
inline void send_text(std::uint32_t level, const char* text, std::uint32_t context = 0) {
  if (nkr_log_is_enabled() != NKR_OK) return;
  nkr_log_msg_t* const buffer = nkr_log_msg_get_new_buffer();
  ASSERT_NE(buffer, nullptr);
  EXPECT_EQ(nkr_log_msg_encode_begin(buffer), NKR_OK);
  EXPECT_EQ(nkr_log_msg_encode_header(buffer, context, level), NKR_OK);
  EXPECT_EQ(nkr_log_msg_encode_str(buffer, "function"), NKR_OK);
  EXPECT_EQ(nkr_log_msg_encode_uint(buffer, 42), NKR_OK);
  EXPECT_EQ(nkr_log_msg_encode_str(buffer, "Class"), NKR_OK);
  EXPECT_EQ(nkr_log_msg_encode_str(buffer, text), NKR_OK);
  EXPECT_EQ(nkr_log_msg_encode_end(buffer), NKR_OK);
  EXPECT_EQ(nkr_log_send_msg(context, level, buffer), NKR_OK);
  nkr_log_msg_free_buffer(buffer);
}

/** The same, and every sink has it when this returns, however busy the machine is; not from inside a sink. */
inline void log_text(std::uint32_t level, const char* text, std::uint32_t context = 0) {
  send_text(level, text, context);
  constexpr std::uint32_t kLongMs = 20000;
  EXPECT_EQ(nkr_log_flush(kLongMs), NKR_OK);
}

/** What a callback saw. */
struct Seen {
  std::uint32_t context;
  std::uint32_t level;
  std::string text;
  std::vector<std::uint8_t> encoded;
};

inline void collect(void* user, const nkr_log_record_t* record) {
  static_cast<std::vector<Seen>*>(user)->push_back(
      {record->context,
       record->level,
       record->text,
       {record->encoded, record->encoded + record->encoded_size}});
}

}  // namespace nkr::log::test

#endif
