#include "ServiceTest.hpp"

namespace tavtest {
namespace {

using nkr::tavcore::IVelocityModeService;
using Accesses = std::vector<Access>;
using VelocityTest = ServiceTest;

TEST_F(VelocityTest, HaltChangesItsBitAlone) {
  answer("controlword", u16(0x000F));
  EXPECT_EQ(dispatcher().setHalt(true), NKR_OK);
  answer("controlword", u16(0x01FF));
  EXPECT_EQ(dispatcher().setHalt(false), NKR_OK);
  EXPECT_EQ(client().writes(),
            (Accesses{write_of("controlword", u16(0x010F)), write_of("controlword", u16(0x00FF))}));
}

TEST_F(VelocityTest, EachRampBitChangesAlone) {
  answer("controlword", u16(0x007F));
  EXPECT_EQ(dispatcher().setEnableRamp(false), NKR_OK);
  EXPECT_EQ(dispatcher().setUnlockRamp(false), NKR_OK);
  EXPECT_EQ(dispatcher().setReferenceRamp(false), NKR_OK);
  EXPECT_EQ(client().writes(),
            (Accesses{write_of("controlword", u16(0x006F)), write_of("controlword", u16(0x005F)),
                      write_of("controlword", u16(0x003F))}));
}

TEST_F(VelocityTest, ABitIsChangedInEveryControlWord) {
  for (unsigned word = 0; word <= 0xFFFF; word += 0x0111) {
    answer("controlword", u16(word));
    client().clear();
    EXPECT_EQ(dispatcher().setHalt(true), NKR_OK);
    EXPECT_EQ(dispatcher().setHalt(false), NKR_OK);
    EXPECT_EQ(client().writes(), (Accesses{write_of("controlword", u16(word | 0x0100U)),
                                           write_of("controlword", u16(word & 0xFEFFU))}));
  }
}

TEST_F(VelocityTest, NoBitIsWrittenWhenTheReadFailedOrNeededItsRepeat) {
  fail_once("controlword");
  EXPECT_EQ(dispatcher().setHalt(true), NKR_OK);
  fail("controlword");
  EXPECT_EQ(dispatcher().setHalt(true), kAbort);
  EXPECT_TRUE(client().writes().empty());
}

TEST_F(VelocityTest, AFailedWriteIsRepeatedWithTheSameWord) {
  answer("controlword", u16(0x000F));
  client().fail_access(2, kAbort);
  EXPECT_EQ(dispatcher().setHalt(true), NKR_OK);
  EXPECT_EQ(client().writes(),
            (Accesses{write_of("controlword", u16(0x010F)), write_of("controlword", u16(0x010F))}));
}

TEST_F(VelocityTest, TheBitsNeedNoVendorCheck) {
  answer("Identity Object Vendor Id", 1U);
  EXPECT_EQ(dispatcher().setHalt(true), NKR_OK);
  EXPECT_EQ(client().accesses.size(), 2U);
}

TEST_F(VelocityTest, TheControlWordIsSplitIntoItsFlags) {
  IVelocityModeService::VelocityModeControlword flags{};
  answer("controlword", u16(0x0170));
  ASSERT_EQ(dispatcher().getVelocityModeControlword(flags), NKR_OK);
  EXPECT_TRUE(flags.enable_ramp && flags.unlock_ramp && flags.reference_ramp && flags.halt);
  answer("controlword", u16(0x008F));
  ASSERT_EQ(dispatcher().getVelocityModeControlword(flags), NKR_OK);
  EXPECT_FALSE(flags.enable_ramp || flags.unlock_ramp || flags.reference_ramp || flags.halt);
}

TEST_F(VelocityTest, TheInternalLimitIsBit11OfTheStatusWord) {
  IVelocityModeService::VelocityModeStatusword flags{};
  answer("statusword", u16(0x0800));
  ASSERT_EQ(dispatcher().getVelocityModeStatusword(flags), NKR_OK);
  EXPECT_TRUE(flags.internal_limit_active);
  answer("statusword", u16(0xF7FF));
  ASSERT_EQ(dispatcher().getVelocityModeStatusword(flags), NKR_OK);
  EXPECT_FALSE(flags.internal_limit_active);
}

TEST_F(VelocityTest, TheDimensionFactorIsReadAndNeverWritten) {
  answer("vl_dimension_factor vl_dimension_factor_numerator", 3);
  answer("vl_dimension_factor vl_dimension_factor_denominator", 4);
  IVelocityModeService::VelocityModeParameters parameters{};
  parameters.dimension_factor_numerator = 999;
  parameters.dimension_factor_denominator = -999;
  ASSERT_EQ(dispatcher().setVelocityModeParameters(parameters), NKR_OK);
  EXPECT_EQ(client().accesses.size(), 10U);
  ASSERT_EQ(dispatcher().getVelocityModeParameters(parameters), NKR_OK);
  EXPECT_EQ(parameters.dimension_factor_numerator, 3);
  EXPECT_EQ(parameters.dimension_factor_denominator, 4);
}

TEST_F(VelocityTest, AFailedSetPointFactorLeavesLimitsAndRampsWritten) {
  const std::string factor = "vl_set_point_factor vl_set_point_factor_numerator";
  fail(factor);
  EXPECT_EQ(dispatcher().setVelocityModeParameters({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}), kAbort);
  const Accesses writes = client().writes();
  ASSERT_EQ(writes.size(), 10U);
  EXPECT_EQ(writes[7], write_of("vl_velocity_quick_stop vl_velocity_quick_stop_delta_time", u16(8)));
  EXPECT_EQ(writes[8], write_of(factor, i16(9)));
  EXPECT_EQ(writes[9], write_of(factor, i16(9)));
}

TEST_F(VelocityTest, TargetVelocitiesAreSigned16BitValues) {
  for (const int velocity : {-32768, -1, 0, 1, 32767}) {
    client().clear();
    EXPECT_EQ(dispatcher().setTargetVelocity(i16(velocity)), NKR_OK);
    EXPECT_EQ(client().writes(), (Accesses{write_of("vl_target_velocity", i16(velocity))}));
  }
}

}  // namespace
}  // namespace tavtest
