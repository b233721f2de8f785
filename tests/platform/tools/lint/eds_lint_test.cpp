// What a check says: of the file as a whole, of each line, and of how much.
#include <algorithm>

#include "platform/tools/eds/EdsText.hpp"
#include "platform/tools/lint/CleanDescription.hpp"
#include "platform/tools/lint/LintText.hpp"

using nkr::tools::Diagnostic;
using tavtest::kCleanEds;
using tavtest::lint;
using tavtest::Parsed;
using tavtest::variable;
using tavtest::with;

namespace {

/** The remark with that code; a failure of the test and an empty one when there is none. */
Diagnostic remark(const nkr::tools::LintResult& result, const std::string& code) {
  for (const Diagnostic& diagnostic : result.diagnostics) {
    if (diagnostic.code == code) return diagnostic;
  }
  ADD_FAILURE() << "no " << code << " among\n" << tavtest::all_of(result);
  return {};
}

std::string repeated(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

}  // namespace

TEST(EDSLint, AllowsAVendorsSectionsAndKeys) {
  for (const std::string& text : {with(kCleanEds, "[2004]\n", "[VendorSection]\n[2004]\n"),
                                  with(kCleanEds, "ObjFlags=0x1\n", "Unit=rpm\n")}) {
    const auto result = lint(text);
    EXPECT_TRUE(result.conforming);
    ASSERT_EQ(result.diagnostics.size(), 1U) << tavtest::all_of(result);
    EXPECT_EQ(result.diagnostics[0].severity, Diagnostic::Severity::NOTE);
    EXPECT_FALSE(result.diagnostics[0].deviation);
    EXPECT_GT(result.diagnostics[0].line, 0U);
  }
}

TEST(EDSLint, SaysOfASmallDeviationThatTheFileDoesNotConform) {
  const auto result = lint(with(kCleanEds, "CreationDate=01-05-2026", "CreationDate=2026-01-05"));
  EXPECT_EQ(remark(result, "date").severity, Diagnostic::Severity::NOTE);
  EXPECT_TRUE(remark(result, "date").deviation);
  EXPECT_FALSE(result.conforming);
}

TEST(EDSLint, CallsAnErrorWhatCannotBeUsedThoughTheFileCanBeRead) {
  const auto result = lint(with(kCleanEds, "DefaultValue=0x60400010", "DefaultValue=0x60420010"));
  EXPECT_TRUE(result.readable);
  EXPECT_EQ(remark(result, "mapping-target").severity, Diagnostic::Severity::ERROR);
}

TEST(EDSLint, SaysWhyAFileCannotBeRead) {
  const auto result = lint("<html></html>");
  EXPECT_FALSE(result.readable);
  EXPECT_FALSE(result.conforming);
  ASSERT_EQ(result.diagnostics.size(), 1U);
  EXPECT_EQ(result.diagnostics[0].severity, Diagnostic::Severity::ERROR);
}

TEST(EDSLint, GivesDiagnosticsInTheOrderOfTheLines) {
  const auto result =
      lint(with(kCleanEds, "SupportedObjects=3", "SupportedObjects=4") + "nonsense\n[2005]\nfoo=bar\n");
  for (std::size_t i = 1; i < result.diagnostics.size(); ++i) {
    EXPECT_LE(result.diagnostics[i - 1].line, result.diagnostics[i].line);
  }
  EXPECT_GE(result.diagnostics.size(), 4U);
}

TEST(EDSLint, NamesLineSectionAndKey) {
  const auto found = remark(lint(with(kCleanEds, "HighLimit=0x7FFF", "HighLimit=0x1FFFF")), "value-range");
  EXPECT_EQ(found.section, "6083");
  EXPECT_EQ(found.key, "HighLimit");
  const std::string before = kCleanEds.substr(0, kCleanEds.find("HighLimit=0x7FFF"));
  EXPECT_EQ(found.line, static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n') + 1));
}

TEST(EDSLint, ExplainsHexadecimalLimitsOfASignedType) {
  const auto crossed =
      remark(lint(with(kCleanEds, "LowLimit=0x8000\nHighLimit=0x7FFF", "LowLimit=0\nHighLimit=0xFFFF")),
             "limits-crossed");
  EXPECT_NE(crossed.problem.find("0xFFFF (-1 in an INTEGER16)"), std::string::npos) << crossed.problem;
  const auto outside =
      remark(lint(with(kCleanEds, "HighLimit=0x7FFF", "HighLimit=0xFFFF")), "default-outside-limits");
  EXPECT_NE(outside.problem.find("100 is above HighLimit 0xFFFF (-1 in an INTEGER16)"), std::string::npos)
      << outside.problem;
}

TEST(EDSLint, HasOneLineForAllNamesThatStandTwice) {
  std::string text;
  for (const char* index : {"2000", "2001", "2002", "2003"}) text += variable(index, "Speed");
  const auto result = lint(text);
  const auto is_name = [](const Diagnostic& d) { return d.code == "double-name"; };
  EXPECT_EQ(std::count_if(result.diagnostics.begin(), result.diagnostics.end(), is_name), 1);
  EXPECT_NE(remark(result, "double-name").problem.find("the first of 3"), std::string::npos);
  EXPECT_EQ(remark(result, "double-name").line, 7U);
}

TEST(EDSLint, HasOneLineForAllKeysWithoutAValue) {
  const auto result =
      lint(variable("2000", "a", "LowLimit=\nHighLimit=\n") + variable("2001", "b", "LowLimit=\n"));
  const auto is_empty = [](const Diagnostic& d) { return d.code == "empty-value"; };
  EXPECT_EQ(std::count_if(result.diagnostics.begin(), result.diagnostics.end(), is_empty), 1);
  EXPECT_EQ(remark(result, "empty-value").key, "LowLimit");
  EXPECT_NE(remark(result, "empty-value").problem.find("the first of 3"), std::string::npos);
}

TEST(EDSLint, KeepsTheSeriousRemarksWhereTheyAreTooMany) {
  std::string text = kCleanEds;
  for (int i = 0; i < 200; ++i) {
    text += "[Vendor" + std::to_string(i) + "]\n";
    text += "[20" + std::to_string(10 + i % 90) + "sub0" + std::to_string(1 + i % 9) + "]\n";
  }
  text += "[2005]\n" + repeated("vendor=1\n", 200) + repeated("nonsense\n", 200) + repeated("=\n", 200) +
          repeated("a = b\n", 200) + repeated(" ;\n", 200) + "[2003]\nDefaultValue=7\n";
  const auto result = lint(text);
  EXPECT_LE(result.diagnostics.size(), 1001U);
  EXPECT_EQ(result.diagnostics.back().code, "left-out");
  EXPECT_EQ(remark(result, "different-section").severity, Diagnostic::Severity::ERROR);
  const auto notes =
      std::count_if(result.diagnostics.begin(), result.diagnostics.end(),
                    [](const Diagnostic& d) { return d.severity == Diagnostic::Severity::NOTE; });
  const auto warnings =
      std::count_if(result.diagnostics.begin(), result.diagnostics.end(), [](const Diagnostic& d) {
        return d.severity == Diagnostic::Severity::WARNING && d.code == "unclear-line";
      });
  EXPECT_EQ(warnings, 200);
  EXPECT_LT(notes, 400);
}

TEST(EDSStrict, ReadsACleanFile) {
  EXPECT_TRUE(Parsed(kCleanEds, true).ok) << Parsed(kCleanEds).all();
}

TEST(EDSStrict, RefusesWhatTheReaderHadToTakeOtherwise) {
  struct Change {
    std::string from, to;
  };
  for (const Change& change : std::vector<Change>{{"SupportedObjects=3", "SupportedObjects=4"},
                                                  {"2=0x1014", "2=0x1015"},
                                                  {"3=0x1018\n", "3=0x1018\n4=0x1018\n"},
                                                  {"AccessType=ro", "AccessType=RO"},
                                                  {"AccessType=const", "AccessType=constant"},
                                                  {"DefaultValue=0xA27", "DefaultValue=0xA27G"},
                                                  {"DefaultValue=0xA27", "DefaultValue= 0xA27"},
                                                  {"DefaultValue=0xA27", "DefaultValue=0xA27 ; vendor"},
                                                  {"$NODEID+0x80", "0x80+$NODEID"},
                                                  {"HighLimit=0x7FFF", "HighLimit=0x1FFFF"},
                                                  {"SubNumber=4", "SubNumber=5"},
                                                  {"CompactSubObj=4", "CompactSubObj=255"},
                                                  {"1=Newest", "5=Newest"},
                                                  {"PDOMapping=1", "PDOMapping=yes"},
                                                  {"[OptionalObjects]", "[OptionalObjects"},
                                                  {"[Comments]", "[Comments] x"},
                                                  {"DataType=0x0005", "DataType=5h"},
                                                  {"ParameterName=Vendor-ID\n", ""},
                                                  {"VendorNumber=0x00000A27", "VendorNumber=99999999999"},
                                                  {"VendorNumber=0x00000A27", "VendorNumber="},
                                                  {"[FileInfo]", "[FileInfos]"},
                                                  {"Line1=", "Line1"}}) {
    const std::string text = with(kCleanEds, change.from, change.to);
    EXPECT_FALSE(Parsed(text, true).ok) << change.to;
    EXPECT_TRUE(Parsed(text, false).ok) << change.to;
  }
}

TEST(EDSStrict, LeavesToTheCheckWhatDoesNotHinderReading) {
  for (const auto& [from, to] : std::vector<std::pair<std::string, std::string>>{
           {"NrOfRXPDO=1", "NrOfRXPDO=9"},
           {"DefaultValue=0x60400010", "DefaultValue=0x60420010"},
           {"CreationDate=01-05-2026", "CreationDate=2026"},
           {"ObjFlags=0x1", "ObjFlags=0x4"}}) {
    const std::string text = with(kCleanEds, from, to);
    EXPECT_TRUE(Parsed(text, true).ok) << to;
    EXPECT_FALSE(lint(text).conforming) << to;
  }
}

TEST(EDSStrict, KeepsTheOldContentWhenAFileDeviates) {
  Parsed eds(kCleanEds, true);
  std::istringstream other(variable("2000", "Speed"));
  EXPECT_FALSE(eds.parser.parse(other, true));
  EXPECT_NE(eds.parser.find("Identity object Vendor-ID"), nullptr);
  EXPECT_EQ(eds.parser.find("Speed"), nullptr);
}
