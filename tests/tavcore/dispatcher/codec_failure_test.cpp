// A program with a codec of its own: here one that fails.
#include <nkr/cia402.h>

#include "ServiceTest.hpp"

namespace {
constexpr nkr_error_t kCodecFailure = 55;
}

nkr_error_t nkr_cia402_decode_status_word(uint16_t /*statusWord*/, nkr_cia402_status_word_t* /*out*/) {
  return kCodecFailure;
}

nkr_error_t nkr_cia402_encode_control_word(const nkr_cia402_control_word_t* /*command*/, uint16_t* /*out*/) {
  return kCodecFailure;
}

namespace tavtest {
namespace {

using CodecFailureTest = ServiceTest;
using State = nkr::tavcore::IPDSService::PDSState;

TEST_F(CodecFailureTest, AStatusWordThatCannotBeDecodedLeavesTheStateAndIsRecorded) {
  answer("statusword", u16(0x0027));
  State state{42};
  EXPECT_EQ(dispatcher().getPDSState(state), kCodecFailure);
  EXPECT_EQ(state, State{42});
  const LogEntry last = log.records().back();
  EXPECT_EQ(last.level, 2U);
  EXPECT_EQ(last.function, "getPDSState");
  EXPECT_EQ(last.text, "nkr_cia402_decode_status_word failed !");
}

TEST_F(CodecFailureTest, AControlWordThatCannotBeEncodedIsNotSentAndIsRecorded) {
  answer("Identity Object Vendor Id", 2599U);
  EXPECT_EQ(dispatcher().shutdown(), kCodecFailure);
  EXPECT_TRUE(client().writes().empty());
  const LogEntry last = log.records().back();
  EXPECT_EQ(last.level, 2U);
  EXPECT_EQ(last.function, "sendCIA402ControlWord");
  EXPECT_EQ(last.text, "nkr_cia402_encode_control_word failed !");
}

}  // namespace
}  // namespace tavtest
