#include <nkr/tools/EDSLint.hpp>

#include "platform/tools/eds/EdsText.hpp"

using nkr::tools::Diagnostic;
using tavtest::Parsed;
using tavtest::variable;

namespace {

/** A description that CiA 306 has nothing to say against. */
const std::string kClean =
    "[FileInfo]\nFileName=clean.eds\nFileVersion=1\nFileRevision=0\nEDSVersion=4.0\n"
    "[DeviceInfo]\nVendorName=Tester\nVendorNumber=0x00000A27\nNrOfRXPDO=0\nNrOfTXPDO=0\nGranularity=8\n"
    "[DummyUsage]\nDummy0001=0\nDummy0005=1\n[Comments]\nLines=1\nLine1=made for a test\n"
    "[MandatoryObjects]\nSupportedObjects=3\n1=0x1000\n2=0x1001\n3=0x1018\n"
    "[1000]\nParameterName=Device "
    "type\nObjectType=0x7\nDataType=0x0007\nAccessType=ro\nDefaultValue=0x20192\nPDOMapping=0\n"
    "[1001]\nParameterName=Error "
    "register\nObjectType=0x7\nDataType=0x0005\nAccessType=ro\nDefaultValue=0\nPDOMapping=1\n"
    "[1018]\nParameterName=Identity object\nObjectType=0x9\nSubNumber=2\n"
    "[1018sub0]\nParameterName=Highest "
    "sub-index\nObjectType=0x7\nDataType=0x0005\nAccessType=const\nDefaultValue=1\nPDOMapping=0\n"
    "[1018sub1]\nParameterName=Vendor-ID\nObjectType=0x7\nDataType=0x0007\nAccessType=ro\nDefaultValue="
    "0xA27\nPDOMapping=0\n"
    "[OptionalObjects]\nSupportedObjects=1\n1=0x1014\n"
    "[1014]\nParameterName=COB-ID "
    "EMCY\nObjectType=0x7\nDataType=0x0007\nAccessType=rw\nDefaultValue=$NODEID+0x80\nPDOMapping=0\n"
    "[ManufacturerObjects]\nSupportedObjects=1\n1=0x2000\n"
    "[2000]\nParameterName=Errors\nObjectType=0x8\nDataType=0x0003\nAccessType=rww\nLowLimit="
    "0x8000\nHighLimit=0x7FFF\n"
    "PDOMapping=1\nCompactSubObj=4\n[2000Name]\nNrOfEntries=1\n1=Newest\n";

nkr::tools::LintResult lint(const std::string& text) {
  std::istringstream stream(text);
  return nkr::tools::lint_description(stream);
}

std::string with(const std::string& from, const std::string& to) {
  std::string text = kClean;
  text.replace(text.find(from), from.size(), to);
  return text;
}

}  // namespace

TEST(EDSLint, HasNothingToSayOfACleanFile) {
  const auto result = lint(kClean);
  EXPECT_TRUE(result.readable);
  EXPECT_TRUE(result.conforming);
  EXPECT_TRUE(result.diagnostics.empty()) << Parsed(kClean).all();
  EXPECT_TRUE(Parsed(kClean, true).ok);
}

TEST(EDSLint, GivesLineProblemAndCureOfEveryDeviation) {
  struct Change {
    std::string from, to;
  };
  for (const Change& change : std::vector<Change>{{"SupportedObjects=3", "SupportedObjects=4"},
                                                  {"1=0x1014", "1=0x1015"},
                                                  {"3=0x1018\n", "3=0x1018\n4=0x1018\n"},
                                                  {"AccessType=ro", "AccessType=RO"},
                                                  {"AccessType=const", "AccessType=constant"},
                                                  {"DefaultValue=0xA27", "DefaultValue=0xA27G"},
                                                  {"DefaultValue=0xA27", "DefaultValue= 0xA27"},
                                                  {"DefaultValue=0xA27", "DefaultValue=0xA27 ; vendor"},
                                                  {"$NODEID+0x80", "0x80+$NODEID"},
                                                  {"HighLimit=0x7FFF", "HighLimit=0x1FFFF"},
                                                  {"SubNumber=2", "SubNumber=3"},
                                                  {"CompactSubObj=4", "CompactSubObj=255"},
                                                  {"1=Newest", "5=Newest"},
                                                  {"PDOMapping=1", "PDOMapping=yes"},
                                                  {"[OptionalObjects]", "[OptionalObjects"},
                                                  {"[Comments]", "[Comments] x"},
                                                  {"DataType=0x0005", "DataType=5h"},
                                                  {"ParameterName=Vendor-ID\n", ""},
                                                  {"VendorNumber=0x00000A27", "VendorNumber=99999999999"},
                                                  {"[FileInfo]", "[FileInfos]"},
                                                  {"Line1=", "Line1"}}) {
    const std::string text = with(change.from, change.to);
    const auto result = lint(text);
    EXPECT_TRUE(result.readable) << change.to;
    EXPECT_FALSE(result.conforming) << change.to;
    ASSERT_FALSE(result.diagnostics.empty()) << change.to;
    for (const Diagnostic& diagnostic : result.diagnostics) {
      EXPECT_FALSE(diagnostic.problem.empty()) << change.to;
      EXPECT_FALSE(diagnostic.cure.empty()) << change.to;
    }
    EXPECT_FALSE(Parsed(text, true).ok) << change.to;
    EXPECT_TRUE(Parsed(text, false).ok) << change.to;
  }
}

TEST(EDSLint, NotesWhatIsAllowedButWorthALook) {
  for (const std::string& text :
       {with("Vendor-ID", "Highest sub-index"), with("[Comments]", "[VendorSection]"),
        with("PDOMapping=0\n", "PDOMapping=0\nUnit=rpm\n"), with("DefaultValue=0\n", "DefaultValue=\n")}) {
    const auto result = lint(text);
    EXPECT_TRUE(result.conforming);
    ASSERT_EQ(result.diagnostics.size(), 1U) << Parsed(text).all();
    EXPECT_EQ(result.diagnostics[0].severity, Diagnostic::Severity::NOTE);
    EXPECT_GT(result.diagnostics[0].line, 0U);
  }
}

TEST(EDSLint, SaysWhyAFileCannotBeRead) {
  const auto result = lint("<html></html>");
  EXPECT_FALSE(result.readable);
  EXPECT_FALSE(result.conforming);
  ASSERT_EQ(result.diagnostics.size(), 1U);
  EXPECT_EQ(result.diagnostics[0].severity, Diagnostic::Severity::ERROR);
}

TEST(EDSLint, GivesDiagnosticsInTheOrderOfTheLines) {
  const auto result = lint(with("SupportedObjects=3", "SupportedObjects=4") + "nonsense\n[2001]\nfoo=bar\n");
  for (std::size_t i = 1; i < result.diagnostics.size(); ++i) {
    EXPECT_LE(result.diagnostics[i - 1].line, result.diagnostics[i].line);
  }
  EXPECT_GE(result.diagnostics.size(), 4U);
}

TEST(EDSStrict, KeepsTheOldContentWhenAFileDeviates) {
  Parsed eds(kClean, true);
  std::istringstream other(variable("2000", "Speed"));
  EXPECT_FALSE(eds.parser.parse(other, true));
  EXPECT_NE(eds.parser.find("Identity object Vendor-ID"), nullptr);
  EXPECT_EQ(eds.parser.find("Speed"), nullptr);
}
