// What somebody may have meant by a misspelt name.
#include <gtest/gtest.h>

#include <tav/host/nearest.hpp>

namespace tests::host {
namespace {

using Names = std::vector<std::string>;
using tav::host::did_you_mean;
using tav::host::nearest_names;

const Names kNames = {"statusword", "controlword", "vl_target_velocity", "vl_velocity_demand",
                      "Error register"};

TEST(NearestNames, ComparesWithoutCaseAndWithoutTheSignsBetweenWords) {
  EXPECT_EQ(nearest_names("StatusWord", kNames), Names{"statusword"});
  EXPECT_EQ(nearest_names("error_register", kNames), Names{"Error register"});
  EXPECT_EQ(nearest_names("VL-Target-Velocity", kNames), Names{"vl_target_velocity"});
}

TEST(NearestNames, ForgivesLettersLeftOutAddedExchangedAndSwapped) {
  for (const char* const misspelt : {"statuword", "statussword", "statusvord", "statsuword"}) {
    EXPECT_EQ(nearest_names(misspelt, kNames), Names{"statusword"}) << misspelt;
  }
}

TEST(NearestNames, ForgivesOneSlipInThreeLettersAtMost) {
  EXPECT_EQ(nearest_names("sdt", {"set"}), Names{"set"});
  EXPECT_EQ(nearest_names("xyt", {"set"}), Names{});
  EXPECT_EQ(nearest_names("ab", {"cd"}), Names{});
}

TEST(NearestNames, NamesExactOnesFirstThenBeginningsThenPartsThenSlips) {
  EXPECT_EQ(nearest_names("move", {"moves", "remove", "mode", "Move"}), (Names{"Move", "moves", "remove"}));
  EXPECT_EQ(nearest_names("move", {"moves", "remove", "mode", "Move"}, 4),
            (Names{"Move", "moves", "remove", "mode"}));
}

TEST(NearestNames, NamesNoneForNothingAndEachOnce) {
  EXPECT_EQ(nearest_names("", kNames), Names{});
  EXPECT_EQ(nearest_names("a", {"a", "a"}), Names{"a"});
}

TEST(NearestNames, AreAskedAboutAsAQuestion) {
  EXPECT_EQ(did_you_mean({"read", "restore"}), "did you mean \"read\", \"restore\"?");
  EXPECT_EQ(did_you_mean({}), "");
}

}  // namespace
}  // namespace tests::host
