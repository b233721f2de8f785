// A whole configuration: taken out of a drive, kept as text, put back.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <nkr/canopen/Client.hpp>
#include <tav/host/configuration.hpp>
#include <tav/host/configuration_objects.hpp>

#include "host/DriveBeside.hpp"
#include "support/TemporaryFile.hpp"

namespace tests::host {
namespace {

using tav::host::Cause;
using tav::host::ConfiguredValue;
using tav::host::Result;
using tav::host::Unit;

constexpr nkr::tools::ObjectID kHeartbeat{0x1017, 0};

class ConfigurationTest : public ::testing::Test {
 protected:
  ConfigurationTest() {
    Result result;
    unit = Unit::open(beside.settings(), result);
    EXPECT_TRUE(result.ok());
  }
  static const ConfiguredValue* find(const std::vector<ConfiguredValue>& values, nkr::tools::ObjectID id) {
    const auto found = std::find_if(values.begin(), values.end(), [id](const ConfiguredValue& value) {
      return value.object->getObjectID().get() == id.get();
    });
    return found == values.end() ? nullptr : &*found;
  }

  DriveBeside beside;
  std::unique_ptr<Unit> unit;
};

TEST_F(ConfigurationTest, IsReadWholeAndDiffersInWhatIsChanged) {
  const auto read = read_configuration(*unit);
  EXPECT_TRUE(read.failures.empty());
  EXPECT_EQ(read.values.size(), tav::host::configuration_objects(unit->description()).size());
  EXPECT_TRUE(compare_configuration(*unit, read.values).empty());
  ASSERT_EQ(beside.somebody().setValue(kNode, 0x10170000, std::uint16_t{250}), NKR_OK);
  const auto differences = compare_configuration(*unit, read.values);
  ASSERT_EQ(differences.size(), 1U);
  EXPECT_EQ(differences[0].object->getObjectID().get(), kHeartbeat.get());
  EXPECT_EQ(differences[0].held, "0x00FA");
  EXPECT_TRUE(write_configuration(*unit, read.values).empty());
  EXPECT_TRUE(compare_configuration(*unit, read.values).empty()) << "written back";
}

TEST_F(ConfigurationTest, HoldsNoCommandsAndNothingOfTheOneDevice) {
  const auto read = read_configuration(*unit);
  for (const int index : {0x6040, 0x6042, 0x1010, 0x1011, 0x1003, 0x1008}) {
    EXPECT_EQ(find(read.values, nkr::tools::ObjectID(static_cast<std::uint16_t>(index), 0)), nullptr)
        << std::hex << index;
  }
}

TEST_F(ConfigurationTest, IdentifiersFollowTheNodeIdAsText) {
  const auto read = read_configuration(*unit);
  const ConfiguredValue* const rpdo = find(read.values, nkr::tools::ObjectID(0x1400, 1));
  ASSERT_NE(rpdo, nullptr);
  EXPECT_EQ(rpdo->text, "$NODEID+0x200");
  ConfiguredValue at_20{};
  ASSERT_TRUE(value_of_text(*rpdo->object, rpdo->text, 20, at_20).ok());
  EXPECT_EQ(at_20.bytes, (std::vector<std::uint8_t>{0x14, 0x02, 0, 0}));
}

TEST_F(ConfigurationTest, InAFileThatIsNoneIsRefusedWithTheReason) {
  std::vector<ConfiguredValue> values;
  const auto load = [&](const std::string& path) {
    return load_configured_values(path, unit->description(), kNode, values);
  };
  const Result missing = load("/no/such/file");
  EXPECT_EQ(missing.cause(), Cause::FILE);
  EXPECT_EQ(missing.code(), NKR_NOT_AVAILABLE);
  const Result without_values = load("share/tav/tav.eds");
  EXPECT_EQ(without_values.cause(), Cause::FILE);
  EXPECT_EQ(without_values.code(), NKR_SDO_NO_DATA);
  EXPECT_TRUE(values.empty());
}

}  // namespace
}  // namespace tests::host
