#include <stdexcept>

#include "LogFixture.hpp"

namespace nkr::log::test {
namespace {

const nkr_error_t enabled_at_start = nkr_log_is_enabled();

class LogSetup : public LogTest {
 protected:
  std::vector<Seen> seen_;
};

TEST_F(LogSetup, StartsOff) {
  EXPECT_NE(enabled_at_start, NKR_OK);
}

TEST_F(LogSetup, BuildsMessagesOnlyWhenOnAndWithASink) {
  EXPECT_NE(nkr_log_is_enabled(), NKR_OK);
  nkr_log_set_enabled(1);
  EXPECT_NE(nkr_log_is_enabled(), NKR_OK);
  nkr_log_sink_t sink = 0;
  EXPECT_EQ(nkr_log_add_callback(collect, &seen_, NKR_LOG_TRACE, &sink), NKR_OK);
  EXPECT_EQ(nkr_log_is_enabled(), NKR_OK);
  nkr_log_set_enabled(0);
  EXPECT_NE(nkr_log_is_enabled(), NKR_OK);
  nkr_log_set_enabled(1);
  EXPECT_EQ(nkr_log_remove_sink(sink), NKR_OK);
  EXPECT_NE(nkr_log_is_enabled(), NKR_OK);
}

TEST_F(LogSetup, GivesACallbackTheWholeMessage) {
  nkr_log_add_callback(collect, &seen_, NKR_LOG_TRACE, nullptr);
  nkr_log_set_enabled(1);
  log_text(NKR_LOG_WARNING, "all is well", 9);
  ASSERT_EQ(seen_.size(), 1u);
  EXPECT_EQ(seen_[0].context, 9u);
  EXPECT_EQ(seen_[0].level, NKR_LOG_WARNING);
  EXPECT_EQ(seen_[0].text, "function:42 Class: all is well");
  nkr_log_reader_t reader;
  EXPECT_EQ(nkr_log_read_begin(&reader, seen_[0].encoded.data(), seen_[0].encoded.size()), NKR_OK);
  EXPECT_EQ(reader.context, 9u);
}

TEST_F(LogSetup, FiltersByTheLevelOfEachSinkAndOfAll) {
  std::vector<Seen> failures;
  nkr_log_add_callback(collect, &seen_, NKR_LOG_TRACE, nullptr);
  nkr_log_add_callback(collect, &failures, NKR_LOG_FAILURE, nullptr);
  nkr_log_set_enabled(1);
  nkr_log_set_level(NKR_LOG_NOTICE);
  for (const std::uint32_t level : {NKR_LOG_FAILURE, NKR_LOG_WARNING, NKR_LOG_NOTICE, NKR_LOG_TRACE}) {
    log_text(level, "text");
  }
  EXPECT_EQ(seen_.size(), 3u);
  ASSERT_EQ(failures.size(), 1u);
  EXPECT_EQ(failures[0].level, NKR_LOG_FAILURE);
}

TEST_F(LogSetup, ShowsControlCharactersAsEscapes) {
  nkr_log_add_callback(collect, &seen_, NKR_LOG_TRACE, nullptr);
  nkr_log_set_enabled(1);
  log_text(NKR_LOG_NOTICE, "one\ntwo\x1b[31m\x7f \xc3\xa9");
  ASSERT_EQ(seen_.size(), 1u);
  EXPECT_EQ(seen_[0].text, "function:42 Class: one\\x0atwo\\x1b[31m\\x7f \xc3\xa9");
}

TEST_F(LogSetup, CutsALineThatEscapesMakeTooLong) {
  nkr_log_add_callback(collect, &seen_, NKR_LOG_TRACE, nullptr);
  nkr_log_set_enabled(1);
  log_text(NKR_LOG_NOTICE, std::string(2000, '\n').c_str());
  ASSERT_EQ(seen_.size(), 1u);
  EXPECT_LE(seen_[0].text.size(), 4096u);
  EXPECT_EQ(seen_[0].text.substr(seen_[0].text.size() - 3), "...");
}

TEST_F(LogSetup, CallsARemovedSinkNoMore) {
  nkr_log_sink_t sink = 0;
  nkr_log_add_callback(collect, &seen_, NKR_LOG_TRACE, &sink);
  nkr_log_add_callback([](void*, const nkr_log_record_t*) {}, nullptr, NKR_LOG_TRACE, nullptr);
  nkr_log_set_enabled(1);
  log_text(NKR_LOG_NOTICE, "seen");
  EXPECT_EQ(nkr_log_remove_sink(sink), NKR_OK);
  EXPECT_EQ(nkr_log_remove_sink(sink), NKR_NOT_AVAILABLE);
  log_text(NKR_LOG_NOTICE, "not seen");
  EXPECT_EQ(seen_.size(), 1u);
}

TEST_F(LogSetup, RefusesNothingToWriteTo) {
  nkr_log_sink_t sink = 77;
  EXPECT_EQ(nkr_log_add_callback(nullptr, nullptr, NKR_LOG_TRACE, nullptr), NKR_ERROR);
  EXPECT_EQ(nkr_log_add_file(nullptr, 0, 0, NKR_LOG_TRACE, nullptr), NKR_ERROR);
  EXPECT_EQ(nkr_log_add_file("", 0, 0, NKR_LOG_TRACE, nullptr), NKR_ERROR);
  EXPECT_EQ(nkr_log_add_syslog("", NKR_LOG_TRACE, nullptr), NKR_ERROR);
  EXPECT_EQ(nkr_log_add_file("/no/such/folder/tav.log", 0, 0, NKR_LOG_TRACE, &sink), NKR_NOT_AVAILABLE);
  EXPECT_EQ(sink, 0u);
}

TEST_F(LogSetup, CountsACallbackThatThrowsAsALostMessageAndGoesOn) {
  nkr_log_add_callback([](void*, const nkr_log_record_t*) { throw std::runtime_error("broken"); }, nullptr,
                       NKR_LOG_TRACE, nullptr);
  nkr_log_add_callback(collect, &seen_, NKR_LOG_TRACE, nullptr);
  nkr_log_set_enabled(1);
  const std::uint64_t before = nkr_log_dropped();
  log_text(NKR_LOG_NOTICE, "text");
  EXPECT_EQ(nkr_log_dropped() - before, 1u);
  EXPECT_EQ(seen_.size(), 1u);
}

TEST_F(LogSetup, DropsWhatASinkLogsItself) {
  const auto log_and_collect = [](void* user, const nkr_log_record_t* record) {
    send_text(NKR_LOG_FAILURE, "from within");
    EXPECT_EQ(nkr_log_flush(0), NKR_NOT_AVAILABLE) << "it would wait for itself";
    collect(user, record);
  };
  nkr_log_add_callback(log_and_collect, &seen_, NKR_LOG_TRACE, nullptr);
  nkr_log_set_enabled(1);
  log_text(NKR_LOG_NOTICE, "text");
  ASSERT_EQ(seen_.size(), 1u);
  EXPECT_EQ(seen_[0].level, NKR_LOG_NOTICE);
}

TEST_F(LogSetup, LetsASinkRemoveItself) {
  static nkr_log_sink_t own = 0;
  const auto once = [](void* user, const nkr_log_record_t* record) {
    collect(user, record);
    EXPECT_EQ(nkr_log_remove_sink(own), NKR_OK);
  };
  nkr_log_add_callback(once, &seen_, NKR_LOG_TRACE, &own);
  nkr_log_set_enabled(1);
  log_text(NKR_LOG_NOTICE, "first");
  log_text(NKR_LOG_NOTICE, "second");
  EXPECT_EQ(seen_.size(), 1u);
}

}  // namespace
}  // namespace nkr::log::test
