#include <gtest/gtest.h>

#include <nkr/tools/DCFDocument.hpp>
#include <nkr/tools/EDSParser.hpp>
#include <sstream>

using nkr::tools::DCFDocument;
using nkr::tools::ObjectID;

namespace {

const std::string kText =
    "; a comment \r\n[FileInfo]\r\nFileName=drive.eds\r\n\r\n[1000]\r\nParameterName = Device "
    "type\r\nDataType=7\r\n"
    "AccessType=ro\r\nVendorKey=kept\r\n\r\n# before the "
    "record\r\n[2000]\r\nParameterName=Rec\r\nObjectType=9\r\n"
    "[2000SUB0A]\r\nParameterName=x\r\nDataType=5\r\nParameterValue = 1 ; old\r\n"
    "[2001]\r\nParameterName=Arr\r\nObjectType=8\r\nDataType=5\r\nCompactSubObj=3\r\n";

DCFDocument document(const std::string& text) {
  DCFDocument dcf;
  std::istringstream stream(text);
  EXPECT_TRUE(dcf.parse(stream));
  return dcf;
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return text.replace(at, from.size(), to);
}

}  // namespace

TEST(DCFDocument, WritesBackWhatItReadByteForByte) {
  for (const std::string& text :
       {kText, std::string("[a]\nb=c"), std::string("[a]\rb=c\r\n\n\r x \n"), std::string("x\n=1\n[a\n[b]\n"),
        std::string("\xEF\xBB\xBF[a]\r\nb=\xC3\xB6\r\n"), "[a]\nb=\xF6\n" + std::string(64, '\0'),
        std::string("[a]\nb=1\n\x1A\n[a]\nb=2\n")}) {
    EXPECT_EQ(document(text).text(), text);
    std::ostringstream out;
    EXPECT_TRUE(document(text).write(out));
    EXPECT_EQ(out.str(), text);
  }
}

TEST(DCFDocument, ChangesTheLineOfAKeyAlone) {
  DCFDocument dcf = document(kText);
  EXPECT_TRUE(dcf.set("fileinfo", "FILENAME", "drive.dcf"));
  EXPECT_EQ(dcf.text(), replaced(kText, "drive.eds", "drive.dcf"));
  EXPECT_EQ(dcf.get("FileInfo", "FileName"), "drive.dcf");
  EXPECT_TRUE(dcf.set("1000", "ParameterName", "Type"));
  EXPECT_EQ(dcf.text(), replaced(replaced(kText, "drive.eds", "drive.dcf"), "= Device type", "= Type"));
}

TEST(DCFDocument, AddsAKeyBehindTheLastOneOfItsSection) {
  DCFDocument dcf = document(kText);
  EXPECT_TRUE(dcf.setParameterValue(ObjectID(0x1000, 0), "0x20192"));
  EXPECT_EQ(dcf.text(),
            replaced(kText, "VendorKey=kept\r\n", "VendorKey=kept\r\nParameterValue=0x20192\r\n"));
}

TEST(DCFDocument, KeepsAFileWithoutALastLineEnd) {
  DCFDocument dcf = document("[2000]\nParameterName=x");
  EXPECT_TRUE(dcf.set("2000", "ParameterValue", "1"));
  EXPECT_EQ(dcf.text(), "[2000]\nParameterName=x\nParameterValue=1");
  EXPECT_TRUE(dcf.setNodeId(3));
  EXPECT_EQ(dcf.text(), "[2000]\nParameterName=x\nParameterValue=1\n\n[DeviceComissioning]\nNodeID=3\n");
}

TEST(DCFDocument, SetsTheValueOfASubEntryHoweverItsSectionIsSpelt) {
  DCFDocument dcf = document(kText);
  EXPECT_EQ(dcf.getParameterValue(ObjectID(0x2000, 10)), "1 ; old");
  EXPECT_TRUE(dcf.setParameterValue(ObjectID(0x2000, 10), "2"));
  EXPECT_EQ(dcf.text(), replaced(kText, "ParameterValue = 1 ; old", "ParameterValue = 2"));
}

TEST(DCFDocument, SetsCompactEntriesInTheListOfValues) {
  DCFDocument dcf = document(kText);
  EXPECT_TRUE(dcf.setParameterValue(ObjectID(0x2001, 3), "0x30"));
  EXPECT_TRUE(dcf.setParameterValue(ObjectID(0x2001, 1), "0x10"));
  EXPECT_TRUE(dcf.setParameterValue(ObjectID(0x2001, 3), "0x31"));
  EXPECT_EQ(dcf.text(), kText + "\r\n[2001Value]\r\nNrOfEntries=2\r\n3=0x31\r\n1=0x10\r\n");
  EXPECT_EQ(dcf.getParameterValue(ObjectID(0x2001, 3)), "0x31");
  EXPECT_EQ(dcf.getParameterValue(ObjectID(0x2001, 2)), std::nullopt);
}

TEST(DCFDocument, TakesNoOtherKeyOfAListForAValue) {
  const DCFDocument dcf = document(kText + "[2001Value]\r\nParameterValue=5\r\n2=6\r\n");
  EXPECT_EQ(dcf.getParameterValue(ObjectID(0x2001, 1)), std::nullopt);
  EXPECT_EQ(dcf.getParameterValue(ObjectID(0x2001, 2)), "6");
}

TEST(DCFDocument, SetsNoValueOfAnObjectThatIsNotDescribed) {
  DCFDocument dcf = document(kText);
  for (const ObjectID id : {ObjectID(0x3000, 0), ObjectID(0x2000, 0), ObjectID(0x2000, 1),
                            ObjectID(0x1000, 1), ObjectID(0x2001, 0), ObjectID(0x2001, 4)}) {
    EXPECT_FALSE(dcf.setParameterValue(id, "1")) << id.get();
    EXPECT_EQ(dcf.getParameterValue(id), std::nullopt) << id.get();
  }
  EXPECT_EQ(dcf.text(), kText);
}

TEST(DCFDocument, GivesTheReaderWhatItWasGiven) {
  DCFDocument dcf = document(kText);
  EXPECT_TRUE(dcf.setParameterValue(ObjectID(0x1000, 0), "7"));
  EXPECT_TRUE(dcf.setParameterValue(ObjectID(0x2001, 2), "8"));
  EXPECT_TRUE(dcf.setNodeId(42));
  EXPECT_TRUE(dcf.setCommissioning("Baudrate", "500"));
  nkr::tools::EDSParser parser;
  std::istringstream stream(dcf.text());
  ASSERT_TRUE(parser.parse(stream, false));
  EXPECT_EQ(parser.find(ObjectID(0x1000, 0))->description().parameter_value, "7");
  EXPECT_EQ(parser.find(ObjectID(0x2001, 2))->description().parameter_value, "8");
  EXPECT_EQ(parser.getNodeId(), 42);
  EXPECT_EQ(parser.getInfo("DeviceComissioning", "Baudrate"), "500");
}

TEST(DCFDocument, UsesTheCommissioningSectionThatIsThere) {
  DCFDocument dcf = document("[DeviceCommissioning]\nNodeID=0x05\n");
  EXPECT_TRUE(dcf.setNodeId(6));
  EXPECT_EQ(dcf.text(), "[DeviceCommissioning]\nNodeID=6\n");
  EXPECT_FALSE(dcf.setNodeId(0));
  EXPECT_FALSE(dcf.setNodeId(128));
}

TEST(DCFDocument, WritesTheEncodingOfTheFile) {
  DCFDocument old = document("[a]\nb=\xF6\n");
  EXPECT_EQ(old.get("a", "b"), "\xC3\xB6");
  EXPECT_TRUE(old.set("a", "c", "\xC3\xA4\xE2\x82\xAC"));
  EXPECT_EQ(old.text(), "[a]\nb=\xF6\nc=\xE4\x80\n");
  DCFDocument utf8 = document("[a]\nb=x\n");
  EXPECT_TRUE(utf8.set("a", "b", "\xC3\xA4"));
  EXPECT_EQ(utf8.text(), "[a]\nb=\xC3\xA4\n");
}

TEST(DCFDocument, RefusesTextsThatCannotStandInALine) {
  DCFDocument dcf = document(kText);
  for (const std::string& bad : {std::string("a\nb"), std::string("a\rb"), std::string("a\0b", 3),
                                 std::string("\x1A"), std::string("\xFF")}) {
    EXPECT_FALSE(dcf.set("1000", "DefaultValue", bad));
    EXPECT_FALSE(dcf.set("1000", bad, "1"));
    EXPECT_FALSE(dcf.set(bad, "key", "1"));
    EXPECT_FALSE(dcf.setParameterValue(ObjectID(0x2001, 1), bad));
  }
  for (const std::string key : {"", " ", "a=b", "[a", ";a", "#a"})
    EXPECT_FALSE(dcf.set("1000", key, "1")) << key;
  for (const std::string section : {"", " ", "a]"}) EXPECT_FALSE(dcf.set(section, "a", "1")) << section;
  EXPECT_EQ(dcf.text(), kText);
}

TEST(DCFDocument, RemovesAllLinesOfAKey) {
  DCFDocument dcf = document("[a]\nk=1\nx=2\nK = 3\n");
  EXPECT_TRUE(dcf.remove("A", "k"));
  EXPECT_EQ(dcf.text(), "[a]\nx=2\n");
  EXPECT_FALSE(dcf.remove("a", "k"));
  EXPECT_FALSE(dcf.remove("b", "k"));
}

TEST(DCFDocument, KeepsTheOldContentWhenAFileIsNoText) {
  DCFDocument dcf = document(kText);
  for (const std::string& text : {std::string(), std::string("no section\n"), std::string("<xml/>"),
                                  std::string("[a]\0\nb=c\n", 10), std::string("\xFF\xFE[\0", 4)}) {
    std::istringstream stream(text);
    EXPECT_FALSE(dcf.parse(stream));
    EXPECT_EQ(dcf.text(), kText);
  }
}

TEST(DCFDocument, CopiesAsADocumentOfItsOwn) {
  DCFDocument dcf = document(kText);
  const DCFDocument before = dcf;
  EXPECT_TRUE(dcf.set("1000", "DefaultValue", "1"));
  EXPECT_EQ(before.text(), kText);
  EXPECT_NE(dcf.text(), kText);
}

TEST(DCFDocument, StartsEmptyAndCanBeFilled) {
  DCFDocument dcf;
  EXPECT_EQ(dcf.text(), "");
  EXPECT_TRUE(dcf.set("FileInfo", "FileName", "new.dcf"));
  EXPECT_EQ(dcf.text(), "[FileInfo]\r\nFileName=new.dcf\r\n");
}
