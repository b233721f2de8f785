// A program's own log that loads a configuration when it is asked for a record.

#include <gtest/gtest.h>
#include <nkr/log.h>

#include <tavcore/Config.hpp>

#include "support/ConfigText.hpp"
#include "support/TemporaryFile.hpp"

namespace {

std::string loaded_by_the_log;
nkr_error_t result_in_the_log = 0;

}  // namespace

extern "C" {

nkr_error_t nkr_log_is_enabled() {
  nkr::tavcore::Config config;
  result_in_the_log = config.load(loaded_by_the_log);
  return 0;
}
nkr_log_msg_t* nkr_log_msg_get_new_buffer() {
  return nullptr;
}
nkr_error_t nkr_log_msg_encode_begin(nkr_log_msg_t* /*message*/) {
  return 0;
}
nkr_error_t nkr_log_msg_encode_header(nkr_log_msg_t* /*message*/, uint32_t /*context*/, uint32_t /*level*/) {
  return 0;
}
nkr_error_t nkr_log_msg_encode_str(nkr_log_msg_t* /*message*/, const char* /*text*/) {
  return 0;
}
nkr_error_t nkr_log_msg_encode_uint(nkr_log_msg_t* /*message*/, uint32_t /*number*/) {
  return 0;
}
nkr_error_t nkr_log_msg_encode_end(nkr_log_msg_t* /*message*/) {
  return 0;
}
nkr_error_t nkr_log_send_msg(uint32_t /*context*/, uint32_t /*level*/, nkr_log_msg_t* /*message*/) {
  return 0;
}
void nkr_log_msg_free_buffer(nkr_log_msg_t* /*message*/) {}

}  // extern "C"

namespace {

TEST(ConfigLoad, ALogMayLoadAConfigurationItself) {
  const tavtest::TemporaryFile bad(tavtest::config_text({{"nodeId", "five"}}));
  const tavtest::TemporaryFile good(tavtest::config_text());
  loaded_by_the_log = good.path();
  EXPECT_EQ(nkr::tavcore::Config().load(bad.path()), NKR_NOT_AVAILABLE);
  EXPECT_EQ(result_in_the_log, NKR_OK);
}

}  // namespace
