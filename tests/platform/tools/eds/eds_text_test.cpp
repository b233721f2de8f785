// Lines, encodings, and texts that are no description.
#include "platform/tools/eds/EdsText.hpp"

using tavtest::Parsed;
using tavtest::variable;

namespace {

std::string name_of(const Parsed& eds, std::uint16_t index) {
  return eds.at(index).parameter;
}

}  // namespace

TEST(EDSText, EndsLinesAtCrLfLfAndLoneCr) {
  for (const std::string end : {"\r\n", "\n", "\r"}) {
    std::string text = variable("2000", "Speed", "DefaultValue=42\n") + variable("2001", "Torque");
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += end.size())
      text.replace(at, 1, end);
    const Parsed eds(text);
    ASSERT_TRUE(eds.ok);
    EXPECT_EQ(eds.at(0x2000).default_value, "42");
    EXPECT_EQ(name_of(eds, 0x2001), "Torque");
  }
}

TEST(EDSText, NeedsNoEndOfTheLastLine) {
  const Parsed eds(variable("2000", "Speed", "DefaultValue=42"));
  EXPECT_EQ(eds.at(0x2000).default_value, "42");
}

TEST(EDSText, EndsNoLineAtOtherSeparators) {
  const Parsed eds(variable("2000",
                            "a\vb\fc\xE2\x80\xA8"
                            "d"));
  EXPECT_EQ(name_of(eds, 0x2000),
            "a\vb\fc\xE2\x80\xA8"
            "d");
  EXPECT_TRUE(eds.says(2, "control character"));
}

TEST(EDSText, SkipsAByteOrderMark) {
  const Parsed eds("\xEF\xBB\xBF" + variable("2000", "Speed"));
  ASSERT_TRUE(eds.ok);
  EXPECT_EQ(name_of(eds, 0x2000), "Speed");
}

TEST(EDSText, KeepsUtf8AndReadsTheRestAsWindows1252) {
  const Parsed eds(variable("2000",
                            "Gr\xC3\xB6\xC3\x9F"
                            "e") +
                   variable("2001",
                            "Gr\xF6\xDF"
                            "e \x80 \x96"));
  EXPECT_EQ(name_of(eds, 0x2000),
            "Gr\xC3\xB6\xC3\x9F"
            "e");
  EXPECT_EQ(name_of(eds, 0x2001),
            "Gr\xC3\xB6\xC3\x9F"
            "e \xE2\x82\xAC \xE2\x80\x93");
  EXPECT_NE(eds.parser.find("Gr\xC3\xB6\xC3\x9F"
                            "e \xE2\x82\xAC \xE2\x80\x93"),
            nullptr);
}

TEST(EDSText, TakesOverlongAndSurrogateSequencesForWindows1252) {
  const Parsed eds(variable("2000", "\xC0\xAF") + variable("2001", "\xED\xA0\x80"));
  EXPECT_EQ(name_of(eds, 0x2000), "\xC3\x80\xC2\xAF");
  EXPECT_EQ(name_of(eds, 0x2001), "\xC3\xAD\xC2\xA0\xE2\x82\xAC");
}

TEST(EDSText, CutsALineAtItsFirstEqualsSignAndTrimsBlanksAndTabsAlone) {
  const Parsed eds(
      " \t[ 2000 ]\t; note\n\tParameterName\t= \ta = b\t\nDataType=7\nAccessType =rw\n"
      " DefaultValue = 6 \nDefaultValue\xC2\xA0=7\n");
  EXPECT_EQ(name_of(eds, 0x2000), "a = b");
  EXPECT_EQ(eds.at(0x2000).default_value, "6");
  EXPECT_TRUE(eds.says(2, "blanks around"));
}

TEST(EDSText, TakesSemicolonAndHashFirstForAComment) {
  const Parsed eds(variable("2000", "Speed #1; fast", ";DefaultValue=1\n #DefaultValue=2\nDefaultValue=3\n"));
  EXPECT_EQ(name_of(eds, 0x2000), "Speed #1; fast");
  EXPECT_EQ(eds.at(0x2000).default_value, "3");
}

TEST(EDSText, ComparesSectionsAndKeysWithoutCase) {
  const Parsed eds(
      "[DEVICEINFO]\nvendornumber=5\n[200a]\nPARAMETERNAME=Rec\nobjecttype=9\n"
      "[200ASUB0a]\nparameterName=x\ndatatype=0X5\naccesstype=RW\nDEFAULTVALUE=1\n");
  EXPECT_EQ(eds.at(0x200A, 0x0A).name, "Rec x");
  EXPECT_EQ(eds.at(0x200A, 0x0A).access, nkr::tools::AccessType::RW);
  EXPECT_EQ(eds.parser.getInfo("DeviceInfo", "VendorNumber"), "5");
}

TEST(EDSText, ReportsLinesThatSayNothing) {
  const Parsed eds("50[FileInfo]\nFileName=x\n" +
                   variable("2000", "Speed", "DefaultValue 5\n=6\nDefaultValue=7\n"));
  EXPECT_EQ(eds.at(0x2000).default_value, "7");
  EXPECT_TRUE(eds.says(1, "neither comment"));
  EXPECT_TRUE(eds.says(2, "before the first section"));
  EXPECT_TRUE(eds.says(9, "neither comment"));
  EXPECT_TRUE(eds.says(10, "without a key"));
}

TEST(EDSText, GivesKeysBehindAnUnterminatedHeaderToNoSection) {
  const Parsed eds(variable("2000", "Speed") + "[2001\nParameterName=Lost\nDefaultValue=5\n" +
                   variable("2002", "Torque"));
  EXPECT_EQ(name_of(eds, 0x2000), "Speed");
  EXPECT_EQ(eds.at(0x2000).default_value, std::nullopt);
  EXPECT_FALSE(eds.has(0x2001));
  EXPECT_TRUE(eds.has(0x2002));
  EXPECT_TRUE(eds.says(7, "without \"]\""));
}

TEST(EDSText, IgnoresWhatFollowsTheClosingBracket) {
  const Parsed eds("[2000]] note\nParameterName=Speed\nDataType=7\nAccessType=rw\n");
  EXPECT_EQ(name_of(eds, 0x2000), "Speed");
  EXPECT_TRUE(eds.says(1, "after the \"]\""));
}

TEST(EDSText, TakesNoOddHeaderForAnObject) {
  const Parsed eds(variable("1000", "Device type", "DefaultValue=1\n") +
                   "[[1000]]\nDefaultValue=2\n[10[00]\nDefaultValue=3\n[]\nx=4\n[ ]\nx=5\n]1000[\n[20G0]\n"
                   "ParameterName=no\n[0x2000]\nParameterName=no\n");
  EXPECT_EQ(eds.parser.objects().size(), 1U);
  EXPECT_EQ(eds.at(0x1000).default_value, "1");
}

TEST(EDSText, EndsAtADosEndOfFileMark) {
  const Parsed eds(variable("2000", "Speed", "DefaultValue=42\n") + "\x1A[2000]\nDefaultValue=1\n" +
                   variable("2001", "x"));
  EXPECT_EQ(eds.at(0x2000).default_value, "42");
  EXPECT_FALSE(eds.has(0x2001));
  EXPECT_TRUE(eds.says(0, "end-of-file mark"));
}

TEST(EDSText, SkipsNulPaddingAtTheEnd) {
  const Parsed eds(variable("2000", "Speed") + std::string(4096, '\0'));
  EXPECT_TRUE(eds.ok);
  EXPECT_TRUE(eds.says(0, "NUL bytes at the end"));
}

TEST(EDSText, RejectsWhatIsNoDescriptionAndSaysWhy) {
  const std::string good = variable("2000", "Speed");
  std::string utf16;
  for (const char c : good) utf16 += std::string(1, '\0') + c;
  std::string broken = good;
  broken[20] = '\0';
  const std::vector<std::pair<std::string, std::string>> texts = {
      {"", "no sections"},
      {"\r\n\r\n\n", "no sections"},
      {"; a comment\n# another\n", "no sections"},
      {"../drive.eds", "no sections"},
      {utf16, "UTF-16"},
      {"\xFF\xFE[\0]\0", "UTF-16"},
      {broken, "NUL bytes"},
      {std::string(100, '\0'), "NUL bytes"},
      {"<?xml version=\"1.0\"?><ISO15745Profile/>", "XML or HTML"},
      {"\xEF\xBB\xBF \r\n<!DOCTYPE html><html></html>", "XML or HTML"},
      {"[File]\nDescText = \"Adapter\";\n[Params]\nParam1 =\n 0,\n", "not a CANopen EDS"},
      {"[1018]\nParameterName=Identity\nObjectType=9\n", "no object"},
  };
  for (const auto& [text, reason] : texts) {
    const Parsed eds(text);
    EXPECT_FALSE(eds.ok) << reason;
    ASSERT_FALSE(eds.parser.diagnostics().empty()) << reason;
    bool said = false;
    for (const auto& d : eds.parser.diagnostics()) {
      said = said || (d.severity == nkr::tools::Diagnostic::Severity::ERROR &&
                      d.problem.find(reason) != std::string::npos);
    }
    EXPECT_TRUE(said) << reason << '\n' << eds.all();
  }
}

TEST(EDSText, AcceptsADescriptionWithoutObjectsWithAWarning) {
  for (const std::string text : {"[FileInfo]\nFileName=a.eds\n", "[DeviceInfo]\nVendorName=b\n",
                                 "[MandatoryObjects]\nSupportedObjects=0\n"}) {
    EXPECT_TRUE(Parsed(text).ok) << text;
    EXPECT_TRUE(Parsed(text).says(0, "no object is described")) << text;
    EXPECT_FALSE(Parsed(text, true).ok) << text;
  }
}

TEST(EDSText, FailsOnAStreamThatCannotBeRead) {
  nkr::tools::EDSParser parser;
  std::istringstream stream(variable("2000", "Speed"));
  stream.setstate(std::ios::badbit);
  EXPECT_FALSE(parser.parse(stream, false));
  EXPECT_FALSE(parser.diagnostics().empty());
}

TEST(EDSText, CutsALineWithoutEndAndReadsTheRest) {
  const Parsed eds(variable("2000", std::string(5000000, 'x')) + variable("2001", "Torque"));
  ASSERT_TRUE(eds.ok);
  EXPECT_EQ(name_of(eds, 0x2000), std::string(241, 'x'));
  EXPECT_EQ(name_of(eds, 0x2001), "Torque");
  EXPECT_TRUE(eds.says(2, "65536 bytes"));
}

TEST(EDSText, ReadsATextOfLoneCarriageReturnsInLinearTime) {
  const Parsed eds(std::string(2000000, '\r') + variable("2000", "Speed"));
  EXPECT_TRUE(eds.ok);
}

TEST(EDSText, RefusesMoreObjectsThanADictionaryCanHold) {
  std::string text;
  for (unsigned index = 0x2000; index < 0x2000 + 1100; ++index) {
    char header[64];
    std::snprintf(header, sizeof header, "[%04X]\nObjectType=8\nCompactSubObj=254\n", index);
    text += header;
  }
  const Parsed eds(text);
  EXPECT_FALSE(eds.ok);
  EXPECT_TRUE(eds.says(0, "more than 262144 objects"));
}

TEST(EDSText, BoundsItsDiagnosticsAndTheirLength) {
  std::string text = variable("1000", "Device type");
  for (int i = 0; i < 20000; ++i) text += "no sense \x1B[31m\xFF %n%s\n[bad " + std::to_string(i) + "\n";
  const Parsed eds(text);
  EXPECT_TRUE(eds.ok);
  ASSERT_FALSE(eds.parser.diagnostics().empty());
  EXPECT_LE(eds.parser.diagnostics().size(), 1001U);
  EXPECT_NE(eds.parser.diagnostics().back().problem.find("left out"), std::string::npos);
  for (const auto& d : eds.parser.diagnostics()) {
    EXPECT_LT(d.problem.size(), 500U);
    for (const char c : d.problem + d.section + d.taken + d.cure)
      ASSERT_GE(static_cast<unsigned char>(c), 0x20);
  }
}

TEST(EDSText, CutsALongTextInAMessageBetweenCharacters) {
  std::string name;
  for (int i = 0; i < 200; ++i) name += "\xC3\xA4";
  const Parsed eds(variable("2000", "x" + name + "y"));
  const std::string expected = "x" + name.substr(0, 78) + "...";
  EXPECT_TRUE(eds.says(2, expected)) << eds.all();
}
