// What the records say, in words.
#include <gtest/gtest.h>

#include <tav/host/text.hpp>

namespace tests::host {
namespace {

using tav::host::Cause;
using tav::host::Explanation;
using tav::host::Heard;
using tav::host::PowerFacts;
using tav::host::Result;
using State = nkr::tavcore::IPDSService::PDSState;

TEST(TextTest, EveryCauseHasASentenceOfItsOwn) {
  std::vector<std::string> sentences;
  for (int cause = static_cast<int>(Cause::CONFIGURATION); cause <= static_cast<int>(Cause::INTERRUPTED);
       ++cause) {
    Explanation explanation;
    explanation.cause = static_cast<Cause>(cause);
    explanation.action = "try";
    explanation.detail = std::to_string(cause);
    sentences.push_back(headline(explanation));
    EXPECT_NE(sentences.back(), "unknown cause") << cause;
    EXPECT_FALSE(sentences.back().empty()) << cause;
  }
}

TEST(TextTest, OfSuccessIsShort) {
  EXPECT_EQ(text(Result()), "done");
}

TEST(TextTest, NamesTheTransitionThatADriveWaitsFor) {
  PowerFacts facts;
  facts.status_word = 0x0250;
  facts.state = State::SWITCH_ON_DISABLED;
  facts.sto_demanded = true;
  EXPECT_NE(stall_text(facts).find("transition 2"), std::string::npos);
  EXPECT_EQ(power_text(facts).find("transition"), std::string::npos) << "nobody asked it to go on";
  EXPECT_NE(power_text(facts).find("STO is demanded"), std::string::npos);
}

TEST(TextTest, SaysNotBothThatANodeIsHeardAndThatItIsNot) {
  Heard heard;
  heard.last = std::chrono::milliseconds(0);
  EXPECT_EQ(heard_text(heard), "last heard 0 ms before; no heartbeat tells its NMT state");
  heard.nmt = nkr::canopencore::NMTState::OPERATIONAL;
  EXPECT_EQ(heard_text(heard), "last heard 0 ms before, NMT state operational");
  heard.nmt = nkr::canopencore::NMTState::UNKNOWN;
  heard.heartbeat_lost = true;
  EXPECT_EQ(heard_text(heard), "last heard 0 ms before; its heartbeat stays away");
  heard = {};
  heard.other_node = 10;
  EXPECT_EQ(heard_text(heard), "never heard, but node 10 is");
}

TEST(TextTest, SaysThatAMissedHeartbeatIsThisHosts) {
  Explanation explanation;
  explanation.cause = Cause::FAULTED;
  explanation.node = 10;
  explanation.bus = "can0";
  explanation.power = PowerFacts{0x0218, State::FAULT, 0x8130, false, false};
  EXPECT_EQ(headline(explanation).find("the drive went to FAULT: 0x8130"), 0U) << headline(explanation);
  EXPECT_NE(details(explanation).find("this host's heartbeat"), std::string::npos);
}

}  // namespace
}  // namespace tests::host
