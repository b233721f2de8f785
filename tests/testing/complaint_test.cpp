#include <gtest/gtest.h>
#include <nkr/log.h>

#include <stdexcept>
#include <tavcore/testing/Complaint.hpp>
#include <tavcore/testing/RecordingClient.hpp>
#include <tavcore/testing/RecordingLog.hpp>

namespace tavtest::doubles {
namespace {

using namespace tav::doubles;

/** Complaints are thrown, as they are in a program that does not say otherwise. */
class Complaints : public testing::Test {
 protected:
  Complaints() {
    complain = [](const std::string& text) { throw std::logic_error(text); };
  }
  ~Complaints() override { complain = before_; }

 private:
  Complaint before_ = complain;
};

TEST_F(Complaints, SayThatAnAnswerHasAnotherTypeThanIsRead) {
  RecordingClient client;
  client.answer(0x60410010, std::uint16_t{1});
  std::uint32_t value = 0;
  EXPECT_THROW(static_cast<void>(client.getValue(5, 0x60410010, value)), std::logic_error);
  std::uint16_t word = 0;
  EXPECT_EQ(client.getValue(5, 0x60410010, word), NKR_OK);
  EXPECT_EQ(word, 1);
}

TEST_F(Complaints, SayThatARecordIsNotLaidOutAsTheLibraryDoes) {
  const RecordingLog log;
  nkr_log_msg_t* const buffer = nkr_log_msg_get_new_buffer();
  EXPECT_EQ(nkr_log_msg_encode_begin(buffer), NKR_OK);
  EXPECT_THROW(static_cast<void>(nkr_log_send_msg(1, 2, buffer)), std::logic_error);
  nkr_log_msg_free_buffer(buffer);
  EXPECT_TRUE(log.records().empty());
}

}  // namespace
}  // namespace tavtest::doubles
