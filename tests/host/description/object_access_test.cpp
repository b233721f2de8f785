// Objects of a drive by name, and its safety configuration.
#include <gtest/gtest.h>

#include <tav/host/Unit.hpp>
#include <tav/host/objects.hpp>
#include <tav/host/safety_reading.hpp>
#include <tav/host/text.hpp>

#include "host/DriveBeside.hpp"

namespace tests::host {
namespace {

using tav::host::Cause;
using tav::host::Result;
using tav::host::Unit;

class ObjectsTest : public ::testing::Test {
 protected:
  ObjectsTest() {
    Result result;
    unit = Unit::open(beside.settings(), result);
    EXPECT_TRUE(result.ok());
  }

  DriveBeside beside;
  std::unique_ptr<Unit> unit;
};

TEST_F(ObjectsTest, ReadsAndWritesObjectsByNameAndChecksThemFirst) {
  tav::host::Value value;
  const auto target = tav::host::parse_reference("vl_target_velocity");
  EXPECT_TRUE(write_object(*unit, target, "-300").ok());
  EXPECT_TRUE(read_object(*unit, target, value).ok());
  EXPECT_EQ(std::get<std::int64_t>(value.data), -300);
  EXPECT_EQ(write_object(*unit, target, "40000").cause(), Cause::REFUSED);
  EXPECT_EQ(write_object(*unit, tav::host::parse_reference("statusword"), "1").cause(), Cause::REFUSED);
  EXPECT_EQ(read_object(*unit, tav::host::parse_reference("no such object"), value).cause(),
            Cause::UNKNOWN_OBJECT);
}

TEST_F(ObjectsTest, VerifiesTheSafetyConfiguration) {
  nkr::tavcore::SafetyVerification verification;
  const Result read = read_safety(*unit, verification);
  EXPECT_TRUE(read.ok()) << text(read);
  EXPECT_TRUE(verification.passed());
  ASSERT_NE(tav::host::check_named(verification, "SLS 3"), nullptr);
  EXPECT_EQ(tav::host::check_named(verification, "SLS 9"), nullptr);
}

}  // namespace
}  // namespace tests::host
