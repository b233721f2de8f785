#include <gtest/gtest.h>

#include "platform/log/counting_new.hpp"
#include "platform/tools/eds/EdsText.hpp"

using nkr::tools::AccessType;
using nkr::tools::DataType;
using tavtest::Parsed;
using tavtest::variable;

namespace {

const std::string kIdentity =
    "[1018]\nParameterName=Identity object\nObjectType=0x9\nSubNumber=2\n"
    "[1018sub0]\nParameterName=Highest sub-index\nDataType=5\nAccessType=ro\nDefaultValue=1\n"
    "[1018sub1]\nParameterName=Vendor-ID\nDataType=7\nAccessType=ro\nDefaultValue=0x00000A27\n";

}  // namespace

TEST(EDSParser, NamesAVariableByItsParameterName) {
  const Parsed eds(variable("6041", "Statusword"));
  ASSERT_TRUE(eds.ok);
  const auto object = eds.parser.getObjectByName("Statusword");
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(object->getObjectID().get(), 0x604100U);
  EXPECT_EQ(object.get(), eds.parser.find("Statusword"));
}

TEST(EDSParser, NamesASubEntryByRecordBlankAndOwnName) {
  const Parsed eds(kIdentity);
  const auto object = eds.parser.getObjectByName("Identity object Vendor-ID");
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(object->getObjectID(), nkr::tools::ObjectID(0x1018, 1));
  EXPECT_EQ(object->getDefaultValue(), "0x00000A27");
  EXPECT_EQ(eds.parser.find("Vendor-ID"), nullptr);
  EXPECT_EQ(eds.parser.find("Identity object"), nullptr);
}

TEST(EDSParser, ComparesNamesExactly) {
  const Parsed eds(variable("2000", "Motor  temperature"));
  EXPECT_NE(eds.parser.find("Motor  temperature"), nullptr);
  EXPECT_EQ(eds.parser.find("Motor temperature"), nullptr);
  EXPECT_EQ(eds.parser.find("motor  temperature"), nullptr);
  EXPECT_EQ(eds.parser.find("Motor  temperature "), nullptr);
  EXPECT_EQ(eds.parser.find(""), nullptr);
}

TEST(EDSParser, LeavesADoubledNameToTheFirstObjectInIndexOrder) {
  const Parsed eds(variable("2001", "Speed") + variable("2000", "Speed"));
  ASSERT_NE(eds.parser.find("Speed"), nullptr);
  EXPECT_EQ(eds.parser.find("Speed")->getObjectID().index(), 0x2000);
}

TEST(EDSParser, GivesObjectsByIndexThenSubindex) {
  const Parsed eds(variable("6041", "b") + kIdentity + variable("1000", "a"));
  std::vector<std::uint32_t> ids;
  for (const auto& object : eds.parser.objects()) ids.push_back(object->getObjectID().get());
  EXPECT_EQ(ids, (std::vector<std::uint32_t>{0x100000, 0x101800, 0x101801, 0x604100}));
}

TEST(EDSParser, GivesAddressTypeAccessAndTexts) {
  const Parsed eds(
      "[6041]\nParameterName=Statusword\nObjectType=7\nDataType=0x0006\nAccessType=ro\n"
      "DefaultValue=0x10\nLowLimit=0\nHighLimit=0xFFFF\nPDOMapping=1\n");
  const auto object = eds.parser.getObjectByName("Statusword");
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(object->getObjectAddress(), 0x60410010U);
  EXPECT_EQ(object->getDataType(), DataType::UNSIGNED16);
  EXPECT_EQ(object->getAccessType(), AccessType::RO);
  EXPECT_EQ(object->getDefaultValue(), "0x10");
  EXPECT_EQ(object->getLowLimit(), "0");
  EXPECT_EQ(object->getHighLimit(), "0xFFFF");
  EXPECT_TRUE(object->description().pdo_mapping);
}

TEST(EDSParser, KeepsTheOldContentWhenAParseFails) {
  Parsed eds(variable("2000", "Speed"));
  std::istringstream none("");
  EXPECT_FALSE(eds.parser.parse(none, false));
  EXPECT_NE(eds.parser.find("Speed"), nullptr);
  EXPECT_FALSE(eds.parser.diagnostics().empty());
}

TEST(EDSParser, ReplacesTheContentWhenAParseSucceeds) {
  Parsed eds(variable("2000", "Speed"));
  const auto kept = eds.parser.getObjectByName("Speed");
  std::istringstream other(variable("2001", "Torque"));
  EXPECT_TRUE(eds.parser.parse(other, false));
  EXPECT_EQ(eds.parser.find("Speed"), nullptr);
  EXPECT_NE(eds.parser.find("Torque"), nullptr);
  EXPECT_EQ(kept->getName(), "Speed");
}

TEST(EDSParser, IsEmptyBeforeTheFirstParse) {
  const nkr::tools::EDSParser parser;
  EXPECT_EQ(parser.find("Speed"), nullptr);
  EXPECT_EQ(parser.getObjectByName("Speed"), nullptr);
  EXPECT_TRUE(parser.objects().empty());
  EXPECT_TRUE(parser.diagnostics().empty());
}

TEST(EDSParser, FindsByNameWithoutAnAllocation) {
  const Parsed eds(kIdentity);
  const std::string_view name = "Identity object Vendor-ID";
  const int before = allocations;
  const auto* object = eds.parser.find(name);
  const auto* none = eds.parser.find("no object of that name");
  EXPECT_EQ(allocations, before);
  EXPECT_NE(object, nullptr);
  EXPECT_EQ(none, nullptr);
}

TEST(ObjectAddress, CountsBitsAsTheDrivesAddressesDo) {
  const auto bits = [](unsigned code) { return nkr::tools::convert_EDS_Size(static_cast<DataType>(code)); };
  for (const unsigned code : {0x01U, 0x02U, 0x05U}) EXPECT_EQ(bits(code), 8U) << code;
  for (const unsigned code : {0x03U, 0x06U}) EXPECT_EQ(bits(code), 16U) << code;
  for (const unsigned code : {0x04U, 0x07U, 0x08U}) EXPECT_EQ(bits(code), 32U) << code;
  for (const unsigned code : {0x11U, 0x15U, 0x18U}) EXPECT_EQ(bits(code), 64U) << code;
  for (const unsigned code : {0x00U, 0x09U, 0x0AU, 0x0FU, 0x10U, 0x1BU, 0x40U})
    EXPECT_EQ(bits(code), 0U) << code;
}
