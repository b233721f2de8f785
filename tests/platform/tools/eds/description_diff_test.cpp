// What differs between two descriptions, and what it means to a machine that runs.
#include <nkr/tools/DescriptionDiff.hpp>

#include "platform/tools/eds/EdsText.hpp"
#include "platform/tools/lint/CleanDescription.hpp"

using nkr::tools::compare_descriptions;
using nkr::tools::DescriptionDifference;
using nkr::tools::Impact;
using nkr::tools::ObjectID;
using tavtest::kCleanDcf;
using tavtest::kCleanEds;
using tavtest::Parsed;
using tavtest::with;

namespace {

std::vector<DescriptionDifference> differences(const std::string& before, const std::string& after) {
  return compare_descriptions(Parsed(before).parser, Parsed(after).parser);
}

/** A change of a description that makes one difference. */
struct Change {
  std::string from, to;
  Impact impact;
  const char* key;
  const char* before;  ///< null: nothing
  const char* after;
};

void expect_text(const std::optional<std::string>& text, const char* expected) {
  EXPECT_EQ(text, expected == nullptr ? std::nullopt : std::optional<std::string>(expected));
}

}  // namespace

TEST(DescriptionDiff, FindsNothingBetweenEqualDescriptions) {
  EXPECT_TRUE(differences(kCleanDcf, kCleanDcf).empty());
}

TEST(DescriptionDiff, RanksWhatAChangeOfAnObjectMeans) {
  for (const Change& change : std::vector<Change>{
           {"ParameterName=Statusword", "ParameterName=Status", Impact::BREAKS, "ParameterName", "Statusword",
            "Status"},
           {"ObjectType=0x2\n", "ObjectType=0x7\n", Impact::BREAKS, "ObjectType", "0x2", "0x7"},
           {"DataType=0x0008", "DataType=0x0004", Impact::BREAKS, "DataType", "0x8", "0x4"},
           {"DataType=0x0008\nAccessType=rw", "DataType=0x0008\nAccessType=ro", Impact::BREAKS, "AccessType",
            "rw", "ro"},
           {"DataType=0x0008\nAccessType=rw", "DataType=0x0008\nAccessType=wo", Impact::BREAKS, "AccessType",
            "rw", "wo"},
           {"AccessType=wo", "AccessType=rw", Impact::ADDS, "AccessType", "wo", "rw"},
           {"AccessType=rww", "AccessType=rw", Impact::CHANGES, "AccessType", "rww", "rw"},
           {"AccessType=rww\nPDOMapping=1", "AccessType=rww\nPDOMapping=0", Impact::BREAKS, "PDOMapping", "1",
            "0"},
           {"DefaultValue=1.5\nPDOMapping=0", "DefaultValue=1.5\nPDOMapping=1", Impact::ADDS, "PDOMapping",
            "0", "1"},
           {"DefaultValue=100", "DefaultValue=101", Impact::CHANGES, "DefaultValue", "100", "101"},
           {"DefaultValue=100\n", "", Impact::CHANGES, "DefaultValue", "100", nullptr},
           {"DefaultValue=100", "DefaultValue=100\nParameterValue=7", Impact::CHANGES, "ParameterValue",
            nullptr, "7"},
           {"LowLimit=0x8000", "LowLimit=0", Impact::CHANGES, "LowLimit", "0x8000", "0"},
           {"HighLimit=0x7FFF", "HighLimit=5", Impact::CHANGES, "HighLimit", "0x7FFF", "5"},
           {"DefaultValue=0x60400010", "DefaultValue=0x60410010", Impact::BREAKS, "DefaultValue",
            "0x60400010", "0x60410010"},
           {"$NODEID+0x200", "$NODEID+0x300", Impact::BREAKS, "DefaultValue", "$NODEID+0x200",
            "$NODEID+0x300"},
           {"$NODEID+0x80\n", "0x81\n", Impact::BREAKS, "DefaultValue", "$NODEID+0x80", "0x81"}}) {
    SCOPED_TRACE(change.to);
    const auto found = differences(kCleanEds, with(kCleanEds, change.from, change.to));
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].impact, change.impact);
    EXPECT_TRUE(found[0].object.has_value());
    EXPECT_EQ(found[0].key, change.key);
    expect_text(found[0].before, change.before);
    expect_text(found[0].after, change.after);
  }
}

TEST(DescriptionDiff, RanksWhatAChangeOutsideTheObjectsMeans) {
  for (const Change& change :
       std::vector<Change>{{"NodeID=5", "NodeID=6", Impact::BREAKS, "NodeID", "5", "6"},
                           {"Baudrate=125", "Baudrate=250", Impact::BREAKS, "Baudrate", "125", "250"},
                           {"NodeName=left", "NodeName=right", Impact::TEXT, "NodeName", "left", "right"},
                           {"VendorNumber=0x00000A27", "VendorNumber=0x12", Impact::BREAKS, "VendorNumber",
                            "0x00000A27", "0x12"},
                           {"RevisionNumber=0x00010002", "RevisionNumber=0x00010003", Impact::CHANGES,
                            "RevisionNumber", "0x00010002", "0x00010003"},
                           {"BaudRate_250=0", "BaudRate_250=1", Impact::CHANGES, "BaudRate_250", "0", "1"},
                           {"OrderCode=B-1", "OrderCode=B-2", Impact::TEXT, "OrderCode", "B-1", "B-2"},
                           {"FileRevision=0", "FileRevision=1", Impact::TEXT, "FileRevision", "0", "1"}}) {
    SCOPED_TRACE(change.to);
    const auto found = differences(kCleanDcf, with(kCleanDcf, change.from, change.to));
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].impact, change.impact);
    EXPECT_FALSE(found[0].object.has_value());
    EXPECT_EQ(found[0].key, change.key);
    expect_text(found[0].before, change.before);
    expect_text(found[0].after, change.after);
  }
}

TEST(DescriptionDiff, TellsObjectsThatAreGoneAndNewOnes) {
  const std::string more =
      kCleanEds + "[2005]\nParameterName=Torque\nObjectType=0x7\nDataType=0x0005\nAccessType=ro\n";
  const auto added = differences(kCleanEds, more);
  ASSERT_EQ(added.size(), 1U);
  EXPECT_EQ(added[0].impact, Impact::ADDS);
  EXPECT_EQ(added[0].object, ObjectID(0x2005, 0));
  EXPECT_EQ(added[0].key, "");
  expect_text(added[0].before, nullptr);
  expect_text(added[0].after, "Torque");
  const auto gone = differences(more, kCleanEds);
  ASSERT_EQ(gone.size(), 1U);
  EXPECT_EQ(gone[0].impact, Impact::BREAKS);
  expect_text(gone[0].before, "Torque");
  expect_text(gone[0].after, nullptr);
}

TEST(DescriptionDiff, TakesNoOtherSpellingForADifference) {
  for (const auto& [from, to] : std::vector<std::pair<std::string, std::string>>{
           {"DefaultValue=100", "DefaultValue=0x64"},
           {"DefaultValue=1.5", "DefaultValue=1.50"},
           {"HighLimit=0x7FFF", "HighLimit=32767"},
           {"LowLimit=0x8000", "LowLimit=-32768"},
           {"$NODEID+0x80\n", "0x80+$NODEID\n"},
           {"NodeID=5", "NodeID=0x05"},
           {"NetNumber=1\n", "NetNumber=0x1\n"},
           {"[DeviceComissioning]", "[DeviceCommissioning]"},
           {"DefaultValue=100\n", "DefaultValue=100\nParameterValue=\n"},
           {"[6041]", "; moved\n[6041]"}}) {
    EXPECT_TRUE(differences(kCleanDcf, with(kCleanDcf, from, to)).empty()) << to;
  }
}

TEST(DescriptionDiff, PutsFirstWhatMattersToARunningMachineThenGoesByIndex) {
  std::string after = with(kCleanDcf, "NodeID=5", "NodeID=6");
  after = with(after, "DefaultValue=100", "DefaultValue=101");
  after = with(after, "OrderCode=B-1", "OrderCode=B-2");
  after = with(after, "DataType=0x0008", "DataType=0x0004");
  after = with(after, "DefaultValue=0x60400010", "DefaultValue=0x60410010");
  after = with(after, "DefaultValue=bench", "DefaultValue=test");
  std::vector<std::pair<Impact, std::string>> order;
  for (const auto& difference : differences(kCleanDcf, after))
    order.emplace_back(difference.impact, difference.key);
  EXPECT_EQ(order, (std::vector<std::pair<Impact, std::string>>{{Impact::BREAKS, "NodeID"},
                                                                {Impact::BREAKS, "DefaultValue"},
                                                                {Impact::BREAKS, "DataType"},
                                                                {Impact::CHANGES, "DefaultValue"},
                                                                {Impact::CHANGES, "DefaultValue"},
                                                                {Impact::TEXT, "OrderCode"}}));
}
