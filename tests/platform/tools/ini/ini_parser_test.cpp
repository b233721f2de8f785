#include <gtest/gtest.h>

#include <clocale>
#include <nkr/tools/INIParser.hpp>
#include <nkr/tools/INIText.hpp>
#include <sstream>

using nkr::tools::INIParserClass;

namespace {

bool parse(INIParserClass& ini, const std::string& text, bool replace = true) {
  std::istringstream stream(text);
  return ini.parse(stream, replace);
}

std::string string_at(const INIParserClass& ini, const std::string& key, const std::string& section) {
  std::string value = "(none)";
  static_cast<void>(ini.getString(key, value, section));
  return value;
}

}  // namespace

TEST(INIParser, ReadsIntegersTextsAndNumbers) {
  INIParserClass ini;
  ASSERT_TRUE(parse(ini, "[default]\nnodeId = 10\nname=drive one\nratio = 2.5\n[other]\nnodeId=0x1F\n"));
  int node = 0;
  EXPECT_TRUE(ini.getInteger("nodeId", node, "default"));
  EXPECT_EQ(node, 10);
  EXPECT_TRUE(ini.getInteger("nodeId", node, "other"));
  EXPECT_EQ(node, 31);
  EXPECT_EQ(string_at(ini, "name", "default"), "drive one");
  double ratio = 0;
  EXPECT_TRUE(ini.getDouble("ratio", ratio, "default"));
  EXPECT_EQ(ratio, 2.5);
  EXPECT_TRUE(ini.getDouble("nodeId", ratio, "default"));
  EXPECT_EQ(ratio, 10.0);
}

TEST(INIParser, AnswersFalseAndLeavesTheValueForAnotherType) {
  INIParserClass ini;
  ASSERT_TRUE(parse(ini, "[s]\na=ten\nb=1.5\nc=99999999999\nd=\ne=1 2\nf=--1\ng=1,5\nh=-0x-1\ni=-\nj=nan\n"));
  for (const char* key : {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "absent"}) {
    int value = 77;
    EXPECT_FALSE(ini.getInteger(key, value, "s")) << key;
    EXPECT_EQ(value, 77) << key;
  }
  for (const char* key : {"a", "d", "e", "f", "g", "i", "j", "absent"}) {
    double value = 7.5;
    EXPECT_FALSE(ini.getDouble(key, value, "s")) << key;
    EXPECT_EQ(value, 7.5) << key;
  }
  EXPECT_EQ(string_at(ini, "a", "absent"), "(none)");
  EXPECT_EQ(string_at(ini, "d", "s"), "");
}

TEST(INIParser, HoldsTheWholeRangeOfAnInt) {
  INIParserClass ini;
  ASSERT_TRUE(parse(ini, "[s]\nlow=-2147483648\nhigh=+2147483647\nabove=2147483648\nzeros=0010\n"));
  int value = 0;
  EXPECT_TRUE(ini.getInteger("low", value, "s"));
  EXPECT_EQ(value, -2147483647 - 1);
  EXPECT_TRUE(ini.getInteger("high", value, "s"));
  EXPECT_EQ(value, 2147483647);
  EXPECT_FALSE(ini.getInteger("above", value, "s"));
  EXPECT_TRUE(ini.getInteger("zeros", value, "s"));
  EXPECT_EQ(value, 10);
}

TEST(INIParser, SkipsCommentsBlankLinesAndAByteOrderMark) {
  INIParserClass ini;
  ASSERT_TRUE(parse(ini,
                    "\xEF\xBB\xBF; first\r\n\r\n# second\r\n [ s ] \r\n a = 1 ; one\r\n b = x#y # note\r\n"
                    "c=\"a ; b\" ; note\r\n"));
  EXPECT_EQ(string_at(ini, "a", "s"), "1");
  EXPECT_EQ(string_at(ini, "b", "s"), "x#y");
  EXPECT_EQ(string_at(ini, "c", "s"), "a ; b");
}

TEST(INIParser, ComparesNamesExactlyAndKeepsTheFirstOfTwoKeys) {
  INIParserClass ini;
  ASSERT_TRUE(parse(ini, "[s]\nkey=1\nKey=2\nkey=3\n[s]\nkey=4\nmore=5\n"));
  EXPECT_EQ(string_at(ini, "key", "s"), "1");
  EXPECT_EQ(string_at(ini, "Key", "s"), "2");
  EXPECT_EQ(string_at(ini, "more", "s"), "5");
  EXPECT_EQ(string_at(ini, "key", "S"), "(none)");
}

TEST(INIParser, KeepsTheOldContentWhenTheTextIsNoIni) {
  INIParserClass ini;
  ASSERT_TRUE(parse(ini, "[s]\nkey=1\n"));
  for (const std::string& text :
       {std::string("[s]\nkey=2\nno equals sign\n"), std::string("[s\nkey=2\n"), std::string("=2\n"),
        std::string("[s]\nkey=2\0\n", 11), std::string("[]\n")}) {
    EXPECT_FALSE(parse(ini, text)) << text;
    EXPECT_EQ(string_at(ini, "key", "s"), "1");
  }
}

TEST(INIParser, ReplacesOrAddsAsAsked) {
  INIParserClass ini;
  ASSERT_TRUE(parse(ini, "[s]\na=1\nb=1\n[t]\nc=1\n"));
  ASSERT_TRUE(parse(ini, "[s]\na=2\n[u]\nd=2\n", false));
  EXPECT_EQ(string_at(ini, "a", "s"), "2");
  EXPECT_EQ(string_at(ini, "b", "s"), "1");
  EXPECT_EQ(string_at(ini, "c", "t"), "1");
  EXPECT_EQ(string_at(ini, "d", "u"), "2");
  ASSERT_TRUE(parse(ini, "[s]\na=3\n", true));
  EXPECT_EQ(string_at(ini, "a", "s"), "3");
  EXPECT_EQ(string_at(ini, "b", "s"), "(none)");
  EXPECT_FALSE(ini.hasSection("t"));
}

TEST(INIParser, FailsOnAStreamThatCannotBeRead) {
  INIParserClass ini;
  std::istringstream stream("[s]\nkey=1\n");
  stream.setstate(std::ios::badbit);
  EXPECT_FALSE(ini.parse(stream, true));
}

TEST(INIParser, IsOneForTheProcess) {
  EXPECT_EQ(&nkr::tools::INIParser::instance(), &nkr::tools::INIParser::instance());
}

TEST(INIText, SaysWhatStandsInWhichLine) {
  std::istringstream stream("[a]\n; comment\nkey = 1 ; one\nno entry\n[b]\nkey=\"two ; 2\"\nkey = 3\n");
  nkr::tools::INIText text;
  ASSERT_TRUE(nkr::tools::INIText::read(stream, text));
  ASSERT_EQ(text.sections.size(), 2U);
  EXPECT_EQ(text.sections[1].name, "b");
  EXPECT_EQ(text.sections[1].line, 5U);
  ASSERT_EQ(text.entries.size(), 3U);
  EXPECT_EQ(text.entries[0].section, "a");
  EXPECT_EQ(text.entries[0].key, "key");
  EXPECT_EQ(text.entries[0].value, "1");
  EXPECT_EQ(text.entries[0].line, 3U);
  EXPECT_EQ(text.entries[1].value, "two ; 2");
  EXPECT_EQ(text.entries[2].line, 7U);
  ASSERT_EQ(text.unclear.size(), 1U);
  EXPECT_EQ(text.unclear[0].text, "no entry");
  EXPECT_EQ(text.unclear[0].line, 4U);
}

TEST(INIText, IsNoneWithANulByte) {
  std::istringstream stream(std::string("a = 1\n\0", 7));
  nkr::tools::INIText text;
  EXPECT_FALSE(nkr::tools::INIText::read(stream, text));
}
