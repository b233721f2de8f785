#include <gtest/gtest.h>
#include <nkr/error.h>

#include <cstdint>
#include <set>
#include <string>

namespace {

// The abort codes of CiA 301, table 22.
constexpr std::uint32_t kAbortCodes[] = {
    0x05030000, 0x05040000, 0x05040001, 0x05040002, 0x05040003, 0x05040004, 0x05040005, 0x06010000,
    0x06010001, 0x06010002, 0x06020000, 0x06040041, 0x06040042, 0x06040043, 0x06040047, 0x06060000,
    0x06070010, 0x06070012, 0x06070013, 0x06090011, 0x06090030, 0x06090031, 0x06090032, 0x06090036,
    0x060A0023, 0x08000000, 0x08000020, 0x08000021, 0x08000022, 0x08000023, 0x08000024};

constexpr nkr_error_t kClientCodes[] = {NKR_CAN_BUS_OFF,        NKR_CAN_INTERFACE_GONE, NKR_CAN_NOT_CONNECTED,
                                        NKR_CAN_INVALID_NODE,   NKR_CAN_CLOSED,         NKR_CAN_NO_INTERFACE,
                                        NKR_CAN_PERMISSION,     NKR_CAN_TX_OVERFLOW,    NKR_CAN_TIMED_OUT,
                                        NKR_CAN_WOULD_DEADLOCK, NKR_CAN_CANCELLED,      NKR_CAN_NO_RESOURCES,
                                        NKR_INTERRUPTED};

std::string text_of(std::uint32_t code) {
  return nkr_error_text(static_cast<nkr_error_t>(code));
}

TEST(ErrorCodes, HaveTheValuesThatProgramsCompareWith) {
  EXPECT_EQ(NKR_OK, 1);
  EXPECT_EQ(NKR_ERROR, 4);
  EXPECT_EQ(NKR_NOT_AVAILABLE, 5);
  EXPECT_EQ(NKR_INVALID_STATE, 6);
  EXPECT_EQ(sizeof(nkr_error_t), 4u);
}

TEST(ErrorCodes, OfTheClientLieBetweenTheLibrarysAndTheAbortCodes) {
  for (const nkr_error_t code : kClientCodes) {
    EXPECT_GT(code, NKR_INVALID_STATE);
    EXPECT_LT(code, 0x05000000);
  }
}

TEST(ErrorText, IsASentenceOfItsOwnForEveryKnownCode) {
  std::set<std::string> texts = {text_of(NKR_OK), text_of(NKR_ERROR), text_of(NKR_NOT_AVAILABLE),
                                 text_of(NKR_INVALID_STATE)};
  for (const nkr_error_t code : kClientCodes) texts.insert(nkr_error_text(code));
  for (const std::uint32_t code : kAbortCodes) texts.insert(text_of(code));
  EXPECT_EQ(texts.size(), 4 + std::size(kClientCodes) + std::size(kAbortCodes));
  for (const std::string& text : texts) {
    ASSERT_FALSE(text.empty());
    EXPECT_EQ(text.back(), '.') << text;
  }
}

TEST(ErrorText, TellsAnUnknownAbortCodeFromAnUnknownResult) {
  EXPECT_EQ(text_of(0x06DEAD00), text_of(0xFFFFFFFF));
  EXPECT_EQ(text_of(0), text_of(0x04FFFFFF));
  EXPECT_NE(text_of(0x06DEAD00), text_of(0));
  EXPECT_NE(text_of(0x06DEAD00).find("SDO"), std::string::npos);
}

TEST(ErrorName, IsTheNameThatProgramsCompareWith) {
  EXPECT_STREQ(nkr_error_name(NKR_OK), "NKR_OK");
  EXPECT_STREQ(nkr_error_name(5), "NKR_NOT_AVAILABLE");
  EXPECT_STREQ(nkr_error_name(0x107), "NKR_CAN_TX_OVERFLOW");
  EXPECT_STREQ(nkr_error_name(0x05040000), "NKR_SDO_TIMED_OUT");
}

TEST(ErrorName, IsANameOfItsOwnForEveryKnownCode) {
  std::set<std::string> names;
  for (const nkr_error_t code : kClientCodes) names.insert(nkr_error_name(code));
  for (const std::uint32_t code : kAbortCodes) names.insert(nkr_error_name(static_cast<nkr_error_t>(code)));
  EXPECT_EQ(names.size(), std::size(kClientCodes) + std::size(kAbortCodes));
  for (const std::string& name : names) EXPECT_EQ(name.find("NKR_"), 0U) << name;
}

TEST(ErrorName, TellsAnUnknownAbortCodeFromAnUnknownResult) {
  EXPECT_STREQ(nkr_error_name(0x06DEAD00), "SDO_ABORT");
  EXPECT_STREQ(nkr_error_name(0), "UNKNOWN");
}

}  // namespace
