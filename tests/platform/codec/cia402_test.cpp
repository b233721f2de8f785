#include <gtest/gtest.h>
#include <nkr/cia402.h>

namespace {

bool flag_at(const nkr_cia402_status_word_t& flags, unsigned bit) {
  const bool all[] = {
      flags.ready_to_switch_on, flags.switched_on,      flags.operation_enabled,  flags.fault,
      flags.voltage_enabled,    flags.quick_stop,       flags.switch_on_disabled, flags.warning,
      flags.manufacturer_8,     flags.remote,           flags.target_reached,     flags.internal_limit_active,
      flags.mode_specific_12,   flags.mode_specific_13, flags.manufacturer_14,    flags.manufacturer_15};
  return all[bit];
}

TEST(Cia402Codec, EachStatusWordBitIsTheFlagOfItsRank) {
  for (unsigned word = 0; word <= 0xFFFF; ++word) {
    nkr_cia402_status_word_t flags{};
    ASSERT_EQ(nkr_cia402_decode_status_word(static_cast<std::uint16_t>(word), &flags), NKR_OK);
    for (unsigned bit = 0; bit < 16; ++bit) ASSERT_EQ(flag_at(flags, bit), ((word >> bit) & 1U) != 0) << word;
  }
}

TEST(Cia402Codec, EachControlWordFlagSetsItsBitAlone) {
  const auto encode = [](nkr_cia402_control_word_t command) {
    std::uint16_t word = 0xFFFF;
    EXPECT_EQ(nkr_cia402_encode_control_word(&command, &word), NKR_OK);
    return word;
  };
  EXPECT_EQ(encode({false, false, false, false, false, false}), 0x0000);
  EXPECT_EQ(encode({true, false, false, false, false, false}), 0x0001);
  EXPECT_EQ(encode({false, true, false, false, false, false}), 0x0002);
  EXPECT_EQ(encode({false, false, true, false, false, false}), 0x0004);
  EXPECT_EQ(encode({false, false, false, true, false, false}), 0x0008);
  EXPECT_EQ(encode({false, false, false, false, true, false}), 0x0080);
  EXPECT_EQ(encode({false, false, false, false, false, true}), 0x0100);
}

TEST(Cia402Codec, NullPointersAreRefused) {
  nkr_cia402_control_word_t command{};
  std::uint16_t word = 0;
  EXPECT_EQ(nkr_cia402_decode_status_word(0, nullptr), NKR_ERROR);
  EXPECT_EQ(nkr_cia402_encode_control_word(nullptr, &word), NKR_ERROR);
  EXPECT_EQ(nkr_cia402_encode_control_word(&command, nullptr), NKR_ERROR);
}

}  // namespace
