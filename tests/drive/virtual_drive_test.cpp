// The drive as a whole: how it is made.
#include <gtest/gtest.h>

#include <string>

#include "drive/DriveBench.hpp"

namespace tav::drive::test {
namespace {

TEST(VirtualDrive, SaysWhyADescriptionCannotBeUsed) {
  std::string problem;
  EXPECT_EQ(VirtualDrive::from_file("/nowhere/drive.eds", as_node(1), problem), nullptr);
  EXPECT_EQ(problem, "cannot open /nowhere/drive.eds");
  EXPECT_THROW(DriveBench("", as_node(1)), std::runtime_error);
  EXPECT_EQ(VirtualDrive::from_file("share/tav/tav.eds", as_node(128), problem), nullptr);
  EXPECT_EQ(problem, "the node id 128 is not one of 1 to 127");
}

TEST(VirtualDrive, TakesTheDescriptionsNodeIdWhenNoneIsGiven) {
  DriveBench bench{Settings()};
  EXPECT_EQ(bench.drive().node_id(), 10);
}

TEST(VirtualDrive, ServesEveryObjectOfTheShippedDescription) {
  DriveBench bench;
  EXPECT_EQ(bench.read(0x1018, 1), 2599U);
  EXPECT_EQ(bench.read(0x1000), 0x00020192U);
  EXPECT_EQ(bench.answer("601#4008100000000000"), "581#4708100054415600");  // "TAV"
}

}  // namespace
}  // namespace tav::drive::test
