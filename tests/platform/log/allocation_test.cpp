#include "LogFixture.hpp"
#include "counting_new.hpp"

namespace nkr::log::test {
namespace {

class LogAllocation : public LogTest {};

TEST_F(LogAllocation, IsNoneOnceTheFirstMessageWasSent) {
  nkr_log_add_file("/dev/null", 0, 0, NKR_LOG_TRACE, nullptr);
  nkr_log_add_callback([](void*, const nkr_log_record_t*) {}, nullptr, NKR_LOG_TRACE, nullptr);
  nkr_log_set_enabled(1);
  log_text(NKR_LOG_TRACE, "first");
  const int before = allocations;
  for (int i = 0; i < 100; ++i) log_text(NKR_LOG_TRACE, "next");
  EXPECT_EQ(allocations, before);
}

TEST_F(LogAllocation, IsNoneForAProgramThatAsksForNoLog) {
  const int before = allocations;
  log_text(NKR_LOG_FAILURE, "not built");
  EXPECT_EQ(allocations, before);
}

}  // namespace
}  // namespace nkr::log::test
