#include <gtest/gtest.h>

#include <tavcore/testing/AccessMatcher.hpp>

namespace tavtest::doubles {
namespace {

using namespace tav::doubles;

const std::vector<Access> kAccesses = {
    {AccessKind::READ, 5, 0x60410010, std::uint16_t{0x0237}},
    {AccessKind::WRITE, 5, 0x60400010, std::uint16_t{6}},
    {AccessKind::WRITE, 6, 0x60400010, std::uint16_t{7}},
    {AccessKind::NMT_WRITE, 5, 0, std::uint32_t{1}},
};

TEST(AccessMatcher, ComparesWhatItWasAskedToCompare) {
  EXPECT_EQ(count(kAccesses, written(0x60400010)), 2U);
  EXPECT_EQ(count(kAccesses, written(0x60400010).at_node(6)), 1U);
  EXPECT_EQ(count(kAccesses, written(0x60400010).with(std::uint16_t{6})), 1U);
  EXPECT_EQ(count(kAccesses, read_from(0x60410010)), 1U);
  EXPECT_EQ(count(kAccesses, read_from(0x60400010)), 0U);
  EXPECT_EQ(count(kAccesses, commanded(nkr::canopencore::NMTCommand::START_REMOTE_NODE)), 1U);
  EXPECT_EQ(count(kAccesses, commanded(nkr::canopencore::NMTCommand::STOP_REMOTE_NODE)), 0U);
}

TEST(AccessMatcher, LeavesTheLengthInAnAddressOut) {
  EXPECT_EQ(count(kAccesses, written(0x60400000)), 2U);
  EXPECT_EQ(count(kAccesses, written(0x60400100)), 0U);
}

TEST(AccessMatcher, TellsAValueOfAnotherTypeApart) {
  EXPECT_EQ(count(kAccesses, written(0x60400010).with(std::int16_t{6})), 0U);
}

TEST(MissingIn, IsEmptyWhenTheAccessesWereMadeInThatOrder) {
  EXPECT_EQ(missing_in(kAccesses, {read_from(0x60410000), written(0x60400000).at_node(6)}), "");
  EXPECT_EQ(missing_in(kAccesses, {}), "");
}

TEST(MissingIn, NamesTheFirstAccessThatWasNotMadeInThatOrder) {
  const std::string text = missing_in(kAccesses, {written(0x60400000), read_from(0x60410000).at_node(5)});
  EXPECT_EQ(text,
            "read node 5 0x60410000 is missing in:\n"
            "  read node 5 0x60410010 uint16 567\n"
            "  write node 5 0x60400010 uint16 6\n"
            "  write node 6 0x60400010 uint16 7\n"
            "  NMT write node 5 0x00000000 uint32 1\n");
}

TEST(MissingIn, TakesOneAccessForOneExpectation) {
  const AccessMatcher once = written(0x60400000).at_node(5);
  EXPECT_NE(missing_in(kAccesses, {once, once}), "");
}

}  // namespace
}  // namespace tavtest::doubles
