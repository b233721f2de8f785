#include <gtest/gtest.h>

#include <nkr/Error.hpp>
#include <string>
#include <system_error>

namespace {

TEST(Ok, IsEqualityWithNkrOk) {
  static_assert(nkr::ok(NKR_OK));
  for (const nkr_error_t failure : {0, -1, 2, NKR_ERROR, NKR_NOT_AVAILABLE, NKR_SDO_TIMED_OUT}) {
    EXPECT_FALSE(nkr::ok(failure)) << failure;
  }
}

TEST(ErrorCode, IsEmptyForSuccessAlone) {
  EXPECT_FALSE(nkr::error_code(NKR_OK));
  EXPECT_TRUE(nkr::error_code(0));
  EXPECT_TRUE(nkr::error_code(NKR_ERROR));
}

TEST(ErrorCode, KeepsTheResultAndItsSentence) {
  const std::error_code code = nkr::error_code(NKR_SDO_NO_OBJECT);
  EXPECT_EQ(code.value(), NKR_SDO_NO_OBJECT);
  EXPECT_EQ(code.message(), nkr_error_text(NKR_SDO_NO_OBJECT));
  EXPECT_STREQ(code.category().name(), "nkr");
}

TEST(ErrorCode, ComparesWithWhatTheSystemCallsTheSame) {
  EXPECT_EQ(nkr::error_code(NKR_SDO_TIMED_OUT), std::errc::timed_out);
  EXPECT_EQ(nkr::error_code(NKR_CAN_TIMED_OUT), std::errc::timed_out);
  EXPECT_EQ(nkr::error_code(NKR_CAN_PERMISSION), std::errc::permission_denied);
  EXPECT_EQ(nkr::error_code(NKR_CAN_NO_INTERFACE), std::errc::no_such_device);
  EXPECT_NE(nkr::error_code(NKR_SDO_NO_OBJECT), std::errc::timed_out);
}

TEST(ThrowIfFailed, DoesNothingForSuccess) {
  EXPECT_NO_THROW(nkr::throw_if_failed(NKR_OK, "start"));
}

TEST(ThrowIfFailed, ThrowsTheCodeWithWhatWasTried) {
  try {
    nkr::throw_if_failed(NKR_SDO_TIMED_OUT, "enable the drive");
    FAIL() << "nothing was thrown";
  } catch (const std::system_error& failure) {
    EXPECT_EQ(failure.code().value(), NKR_SDO_TIMED_OUT);
    EXPECT_EQ(failure.what(), "enable the drive: " + std::string(nkr_error_text(NKR_SDO_TIMED_OUT)));
  }
}

}  // namespace
