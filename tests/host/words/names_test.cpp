// What states, words and units are called.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tav/host/words.hpp>
#include <utility>

namespace tests::host {
namespace {

TEST(StatusWord, NamesTheStatesOfCia402) {
  const std::pair<std::uint16_t, const char*> cases[] = {
      {0x0000, "NOT_READY_TO_SWITCH_ON"}, {0x0040, "SWITCH_ON_DISABLED"},
      {0x0021, "READY_TO_SWITCH_ON"},     {0x0023, "SWITCHED_ON"},
      {0x0027, "OPERATION_ENABLED"},      {0x0007, "QUICK_STOP_ACTIVE"},
      {0x000F, "FAULT_REACTION_ACTIVE"},  {0x0008, "FAULT"},
      {0x0001, "no state of CiA 402"}};
  for (const auto& [word, name] : cases) EXPECT_EQ(tav::host::status_word_text(word), name) << word;
}

TEST(ControlWord, NamesItsCommand) {
  EXPECT_EQ(tav::host::control_word_text(0x0000), "disable voltage");
  EXPECT_EQ(tav::host::control_word_text(0x0002), "quick stop");
  EXPECT_EQ(tav::host::control_word_text(0x0006), "shutdown");
  EXPECT_EQ(tav::host::control_word_text(0x0007), "switch on");
  EXPECT_EQ(tav::host::control_word_text(0x000F), "enable operation");
  EXPECT_EQ(tav::host::control_word_text(0x007F), "enable operation, follow the ramp");
  EXPECT_EQ(tav::host::control_word_text(0x0080), "fault reset");
  EXPECT_EQ(tav::host::control_word_text(0x010F), "enable operation, halt");
}

TEST(ErrorRegister, NamesItsBits) {
  EXPECT_EQ(tav::host::error_register_text(0), "no error");
  EXPECT_NE(tav::host::error_register_text(0x02).find("current"), std::string::npos);
}

}  // namespace
}  // namespace tests::host
