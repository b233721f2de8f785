// One planted fault for each rule: the check finds it, names it, and finds nothing else.
#include <algorithm>
#include <set>

#include "eds/Problem.hpp"
#include "platform/tools/lint/CleanDescription.hpp"
#include "platform/tools/lint/LintText.hpp"

namespace {

using nkr::tools::Diagnostic;
using nkr::tools::Problem;
using tavtest::kCleanDcf;
using tavtest::kCleanEds;
using tavtest::kCleanModular;
using tavtest::with;

/** A change of a clean file, and the rule that it breaks. */
struct Fault {
  const char* name;
  const char* code;
  std::string from;
  std::string to;
  std::set<std::string> also = {};  ///< rules that the same change cannot but break
  const std::string* clean = &kCleanEds;
};

void PrintTo(const Fault& fault, std::ostream* out) {
  *out << fault.name;
}

const std::string kLong(300, 'x');
const std::string kEnd = "DefaultValue=bench\nPDOMapping=0\n";
const std::string kOptional =
    "[OptionalObjects]\nSupportedObjects=9\n1=0x1003\n2=0x1014\n3=0x1400\n4=0x1600\n5=0x1800\n6=0x1A00\n"
    "7=0x6040\n8=0x6041\n9=0x6083\n";
const std::string kLater = "[2004]\n";  // a place between two sections

const std::vector<Fault> kFaults = {
    // The text.
    {"NulPadding", "nul-padding", kEnd, kEnd + std::string(2, '\0')},
    {"TextAfterTheEndOfFile", "after-end-of-file", kEnd, kEnd + "\x1A\nmore\n"},
    {"NoUtf8", "not-utf-8", "Description=made",
     "Description=m\xE4"
     "de"},
    {"ControlCharacter", "control-character", "Description=made", "Description=ma\vde"},
    {"LineTooLong", "line-too-long", "Line2=second", "Line2=second" + kLong, {"text-too-long"}},
    {"LineCut", "line-cut", "Line2=second", "Line2=" + std::string(70000, 'x'), {"text-too-long"}},
    {"NeitherCommentNorKey", "unclear-line", kLater, "nonsense\n[2004]\n"},
    {"EqualsSignWithoutKey", "empty-key", kLater, "=5\n[2004]\n"},
    {"BlanksAroundTheEqualsSign", "blank", "DefaultValue=100", "DefaultValue = 100"},
    {"KeyBeforeTheFirstSection", "outside-section", "[FileInfo]\n", "Stray=1\n[FileInfo]\n"},
    {"HeaderWithoutEnd", "unterminated-header", "[2001ObjectLinks]", "[2001ObjectLinks"},
    {"TextAfterAHeader", "after-header", "[Comments]", "[Comments] x"},
    {"CharacterOutsideAscii", "not-ascii", "Description=made",
     "Description=m\xC3\xA4"
     "de"},
    {"LoneCarriageReturn", "line-end", "Line1=first\n", "Line1=first\r"},
    {"IndentedSection", "indented", "[2004]", "  [2004]"},
    {"IndentedComment", "indented", kLater, " ; note\n[2004]\n"},
    // Sections and keys.
    {"NoNameOfASection", "section-name", kLater, "[]\n[2004]\n"},
    {"IndexOutOfRange", "index-range", kLater, "[12000]\n[2004]\n"},
    {"SubIndexOutOfRange", "subindex-range", kLater, "[2001sub100]\n[2004]\n"},
    {"SectionTwice", "double-section", kLater, "[DummyUsage]\nDummy0001=0\nDummy0005=1\n[2004]\n"},
    {"SectionTwiceWithAnotherValue", "different-section", kLater,
     "[2003]\nParameterName=Gain\nObjectType=0x7\nDataType=0x0008\nAccessType=rw\nDefaultValue=2.5\n"
     "PDOMapping=0\n[2004]\n"},
    {"KeyTwice", "double-key", "DefaultValue=100\n", "DefaultValue=100\ndefaultvalue=100\n"},
    {"KeyTwiceWithAnotherValue", "different-key", "DefaultValue=100\n", "DefaultValue=100\nDefaultValue=5\n"},
    {"DeviceInfoKeyTwiceWithAnotherValue", "different-key", "OrderCode=B-1\n",
     "OrderCode=B-1\nOrderCode=B-2\n"},
    {"UnknownSection", "unknown-section", kLater, "[Vendor]\n[2004]\n"},
    {"UnknownKey", "unknown-key", "DefaultValue=100\n", "DefaultValue=100\nUnit=rpm\n"},
    {"CommissioningWithTwoM",
     "commissioning-spelling",
     "[DeviceComissioning]",
     "[DeviceCommissioning]",
     {},
     &kCleanDcf},
    {"NoFileInfo", "missing-section", "[FileInfo]", "[FileInfos]", {"unknown-section"}},
    // The object lists.
    {"ListEntryThatIsNoIndex", "list-entry", "5=0x2004", "5=0x20G4", {"not-listed"}},
    {"ListedTwice", "listed-twice", "SupportedObjects=5\n", "SupportedObjects=6\n6=0x2000\n"},
    {"ListedTwiceOverTwoLists",
     "listed-twice",
     "SupportedObjects=5\n",
     "SupportedObjects=6\n6=0x1014\n",
     {"wrong-list"}},
    {"WrongCountOfAList", "list-count", "SupportedObjects=9", "SupportedObjects=10"},
    {"ObjectInNoList", "not-listed", "SupportedObjects=5\n1=0x2000\n2=0x2001\n3=0x2002\n4=0x2003\n5=0x2004\n",
     "SupportedObjects=4\n1=0x2000\n2=0x2001\n3=0x2002\n4=0x2003\n"},
    {"ListedButNotDescribed", "listed-not-described", "SupportedObjects=5\n",
     "SupportedObjects=6\n6=0x2005\n"},
    {"MandatoryObjectMissing",
     "mandatory-object",
     "[1001]",
     "[1002]",
     {"listed-not-described", "not-listed"}},
    {"NoListOfManufacturerObjects",
     "list-absent",
     "[ManufacturerObjects]\nSupportedObjects=5\n1=0x2000\n2=0x2001\n3=0x2002\n4=0x2003\n5=0x2004\n",
     "",
     {"not-listed"}},
    {"GapInTheNumbersOfAList", "list-numbering", "5=0x2004", "6=0x2004"},
    {"NumberTwiceInAList", "list-numbering", "5=0x2004", "4=0x2004"},
    {"ManufacturerObjectInTheOptionalList", "wrong-list",
     "SupportedObjects=5\n1=0x2000\n2=0x2001\n3=0x2002\n4=0x2003\n5=0x2004\n",
     "SupportedObjects=6\n1=0x2000\n2=0x2001\n3=0x2002\n4=0x2003\n5=0x2004\n6=0x1005\n[1005]\n"
     "ParameterName=COB-ID SYNC\nObjectType=0x7\nDataType=0x0007\nAccessType=rw\nDefaultValue=0x80\n"},
    // Objects.
    {"ObjectWithoutName", "no-name", "ParameterName=Gain\n", ""},
    {"NameTooLong",
     "name-too-long",
     "ParameterName=Gain",
     "ParameterName=" + std::string(242, 'x'),
     {"line-too-long"}},
    {"NameTwice", "double-name", "ParameterName=Gain", "ParameterName=Label"},
    {"NoObjectTypeOfCiA301", "object-type", "ObjectType=0x7\nDataType=0x0008",
     "ObjectType=VAR\nDataType=0x0008"},
    {"UnreadableDataType", "data-type", "DataType=0x0008", "DataType=float"},
    {"NoDataType", "no-data-type", "DataType=0x0008\n", ""},
    {"NoAccessTypeOfCiA306", "access-type", "AccessType=rww", "AccessType=r"},
    {"AccessTypeInCapitals", "access-case", "AccessType=rww", "AccessType=RWW"},
    {"NoAccessType", "no-access-type", "DataType=0x0008\nAccessType=rw\n", "DataType=0x0008\n"},
    {"PdoMappingOfAWord", "pdo-mapping", "DefaultValue=1.5\nPDOMapping=0",
     "DefaultValue=1.5\nPDOMapping=yes"},
    {"EmptyValue", "empty-value", "DefaultValue=100", "DefaultValue="},
    {"OctalWithAnEight", "value-unreadable", "DefaultValue=100", "DefaultValue=08"},
    {"FractionInAnInteger", "value-unreadable", "DefaultValue=100", "DefaultValue=1.0"},
    {"HexadecimalWithAnH", "value-unreadable", "DefaultValue=100", "DefaultValue=10h"},
    {"ValueOutsideItsType", "value-range", "DefaultValue=100", "DefaultValue=32768"},
    {"NodeIdBehindTheNumber", "node-id-order", "$NODEID+0x80\n", "0x80+$NODEID\n"},
    {"CommentBehindAValue", "inline-comment", "DefaultValue=100", "DefaultValue=100 ; rpm"},
    {"CommentBehindAnAccessType", "inline-comment", "AccessType=rww", "AccessType=rww # in"},
    {"LimitOfAText", "limit-on-other", "DefaultValue=bench\n", "DefaultValue=bench\nLowLimit=a\n"},
    {"LimitsCrossed", "limits-crossed", "LowLimit=0x8000\nHighLimit=0x7FFF", "LowLimit=0\nHighLimit=0xFFFF"},
    {"DefaultAboveItsLimit", "default-outside-limits", "HighLimit=0x7FFF", "HighLimit=99"},
    {"SubSectionSpeltWithACapital", "section-spelling", "[2001sub2]", "[2001Sub2]"},
    {"SubSectionWithALeadingZero", "section-spelling", "[2001sub2]", "[2001sub02]"},
    {"TypeOfAWholeArray", "key-not-used", "ParameterName=Positions\n",
     "ParameterName=Positions\nDataType=0x0004\n"},
    {"LimitOfADomain",
     "key-not-used",
     "ParameterName=Program\n",
     "ParameterName=Program\nHighLimit=5\n",
     {"limit-on-other"}},
    {"VariableWithTheTypeOfADomain", "domain-type", "ObjectType=0x2", "ObjectType=0x7"},
    {"DomainWithAnotherType", "domain-type", "DataType=0x000F", "DataType=0x0007"},
    {"DataTypeThatDoesNotExist", "unknown-data-type", "DataType=0x0008", "DataType=0x0017"},
    {"QuotedText", "quoted-text", "DefaultValue=bench", "DefaultValue=\"bench\""},
    {"TwoNumbersBesideTheNodeId", "node-id-form", "$NODEID+0x80\n", "$NODEID+0x40+0x40\n"},
    {"SumThatOverflowsForANode", "node-id-range", "$NODEID+0x80\n", "$NODEID+0x80\nHighLimit=0xFE\n"},
    {"UndefinedFlag", "obj-flags", "ObjFlags=0x1", "ObjFlags=0x4"},
    {"FlagsThatAreNoNumber", "obj-flags", "ObjFlags=0x1", "ObjFlags=NV"},
    // Arrays and records.
    {"SubEntryWithoutItsObject", "orphan", kLater,
     "[2005sub1]\nParameterName=x\nObjectType=0x7\nDataType=0x0005\nAccessType=ro\n[2004]\n"},
    {"SubEntryOfAVariable", "sub-of-variable", kLater,
     "[2003sub1]\nParameterName=x\nObjectType=0x7\nDataType=0x0005\nAccessType=ro\n[2004]\n"},
    {"RecordWithoutSubEntries", "no-subs",
     "ObjectType=0x7\nDataType=0x0008\nAccessType=rw\nDefaultValue=1.5\nPDOMapping=0", "ObjectType=0x9"},
    {"ArrayWithoutSubIndex0", "no-sub0",
     "SubNumber=3\n[2001sub0]\nParameterName=Highest "
     "sub-index\nObjectType=0x7\nDataType=0x0005\nAccessType=ro\n"
     "DefaultValue=2\nPDOMapping=0\n",
     "SubNumber=2\n"},
    {"HighestSubIndexForSubNumber", "sub-number", "ObjectType=0x8\nSubNumber=3",
     "ObjectType=0x8\nSubNumber=2"},
    {"TypesOfAnArrayDiffer", "array-types", "ParameterName=Second\nObjectType=0x7\nDataType=0x0004",
     "ParameterName=Second\nObjectType=0x7\nDataType=0x0003"},
    {"SubIndex0OfAnotherType", "sub0-type", "DataType=0x0005\nAccessType=ro\nDefaultValue=2",
     "DataType=0x0006\nAccessType=ro\nDefaultValue=2"},
    {"SubIndex0AboveTheHighest", "sub0-value", "AccessType=ro\nDefaultValue=2",
     "AccessType=ro\nDefaultValue=3"},
    {"SubIndex0BelowTheHighest", "sub0-value", "AccessType=ro\nDefaultValue=2",
     "AccessType=ro\nDefaultValue=1"},
    {"CompactCountTooHigh", "compact-count", "CompactSubObj=4\n[2000Name]", "CompactSubObj=255\n[2000Name]"},
    {"LongTextForEverySubEntry",
     "compact-text",
     "DefaultValue=5\n",
     "DefaultValue=" + std::string(1100, '5') + "\n",
     {"line-too-long", "value-unreadable"}},
    {"NameOfASubIndexThatIsNotThere", "compact-list-entry", "4=Oldest", "5=Oldest"},
    {"SubIndexInHexadecimal", "compact-list-entry", "4=Oldest", "0x4=Oldest"},
    {"NamesWithoutACompactObject", "compact-list-alone", kLater, "[2003Name]\nNrOfEntries=0\n[2004]\n"},
    {"NamesWithoutAnObject", "compact-list-alone", kLater, "[2005Name]\nNrOfEntries=0\n[2004]\n"},
    {"SubNumberBesideCompactSubObj", "compact-sub-number", "CompactSubObj=4\n[2000Name]",
     "CompactSubObj=4\nSubNumber=5\n[2000Name]"},
    {"WrongNumberOfNames", "compact-list-count", "NrOfEntries=2\n1=Newest", "NrOfEntries=3\n1=Newest"},
    {"CompactDefaultOutsideItsLimits", "default-outside-limits", "DefaultValue=5\nLowLimit=0",
     "DefaultValue=5\nLowLimit=6"},
    // [FileInfo], [DeviceInfo] and their neighbours.
    {"FileVersionWithAPoint", "file-version", "FileVersion=1", "FileVersion=1.2"},
    {"EdsVersionWithTwoDecimals", "eds-version", "EDSVersion=4.0", "EDSVersion=4.00"},
    {"NoEdsVersion", "eds-version", "EDSVersion=4.0\n", ""},
    {"DayBeforeMonth", "date", "CreationDate=01-05-2026", "CreationDate=25-03-2014"},
    {"TimeOf24Hours", "time", "CreationTime=09:00AM", "CreationTime=14:05"},
    {"TimeOfOneDigit", "time", "CreationTime=09:00AM", "CreationTime=9:5AM"},
    {"DescriptionTooLong",
     "text-too-long",
     "Description=made for a test",
     "Description=" + std::string(244, 'x'),
     {"line-too-long"}},
    {"VendorNumberOfAnother", "identity", "VendorNumber=0x00000A27", "VendorNumber=0x12"},
    {"RevisionNumberOfAnother", "identity", "RevisionNumber=0x00010002", "RevisionNumber=0x00010001"},
    {"ProductNumberOfNothing", "identity-open", "ProductNumber=0x17", "ProductNumber=0"},
    {"ForeignBitRate", "baud-rate", "BaudRate_250=0", "BaudRate_100=1"},
    {"NoBitRate", "baud-rate", "BaudRate_125=1\nBaudRate_250=0\nBaudRate_1000=1", "BaudRate_125=0"},
    {"FlagThatIsNoFlag", "device-flag", "LSS_Supported=1", "LSS_Supported=2"},
    {"FlagAbsent", "device-flag-absent", "LSS_Supported=1\n", ""},
    {"GranularityTooHigh", "granularity", "Granularity=8", "Granularity=65"},
    {"GranularityAbsent", "granularity", "Granularity=8\n", ""},
    {"OldKey", "old-key", "OrderCode=B-1\n", "OrderCode=B-1\nLMT_ManufacturerName=x\n"},
    {"ChannelsWithoutTheirSection", "dynamic-channels", "DynamicChannelsSupported=0",
     "DynamicChannelsSupported=1"},
    {"DummyThatIsNoFlag", "dummy-usage", "Dummy0001=0", "Dummy0001=yes"},
    {"NoDummyUsage", "dummy-usage", "[DummyUsage]\nDummy0001=0\nDummy0005=1\n", "", {"mapping-dummy"}},
    {"CommentLineMissing", "comment-lines", "Lines=2", "Lines=5"},
    {"CommentLineNumberedWrongly", "comment-lines", "Line2=second", "Line3=second"},
    {"LinkMissing", "object-links", "ObjectLinks=2", "ObjectLinks=3"},
    {"NumberOfDeviceInfoTooLarge",
     "info-number",
     "VendorNumber=0x00000A27",
     "VendorNumber=99999999999",
     {"identity-open"}},
    {"EmptyNumberOfDeviceInfo", "empty-info", "VendorNumber=0x00000A27", "VendorNumber=", {"identity-open"}},
    {"CommentBehindANumberOfDeviceInfo", "comment-after-number", "Granularity=8", "Granularity=8 ; bits"},
    {"CommentBehindAListEntry", "comment-after-number", "5=0x2004", "5=0x2004 # label"},
    // PDOs and COB-IDs.
    {"MorePdosThanObjects", "pdo-count", "NrOfRXPDO=1", "NrOfRXPDO=2"},
    {"NoNumberOfPdos", "pdo-count", "NrOfTXPDO=1\n", ""},
    {"PdoWithoutMapping",
     "pdo-without-mapping",
     kOptional,
     with(kOptional, "=9\n", "=10\n") +
         "10=0x1801\n[1801]\nParameterName=TPDO 2 parameters\nObjectType=0x9\nSubNumber=1\n[1801sub0]\n"
         "ParameterName=n\nObjectType=0x7\nDataType=0x0005\nAccessType=const\nDefaultValue=0\n",
     {"pdo-count"}},
    {"CompactPdoBelowThePdosDescribed", "compact-pdo", "NrOfTXPDO=1\n", "NrOfTXPDO=0\nCompactPDO=3\n"},
    {"MappingThatLeadsNowhere", "mapping-target", "DefaultValue=0x60400010", "DefaultValue=0x60420010"},
    {"MappingOfAMissingSubIndex", "mapping-target", "DefaultValue=0x20010120", "DefaultValue=0x20010320"},
    {"DummyThatIsNotAllowed", "mapping-dummy", "Dummy0005=1", "Dummy0005=0"},
    {"DummyInATpdo", "mapping-dummy", "DefaultValue=0x20010120", "DefaultValue=0x00050008"},
    {"MappingOfWhatMayNotBeMapped", "mapping-not-allowed", "DefaultValue=0x20010120",
     "DefaultValue=0x60830010"},
    {"MappedLengthIsNotTheTypes", "mapping-length", "DefaultValue=0x20010120", "DefaultValue=0x20010110"},
    {"ReadOnlyObjectInAnRpdo", "mapping-direction", "DefaultValue=0x60400010", "DefaultValue=0x60410010"},
    {"AccessTypeOfTheOtherDirection", "mapping-access", "AccessType=rww", "AccessType=rwr"},
    {"MoreThan64BitsMapped", "mapping-bits",
     "SubNumber=3\n[1A00sub0]\nParameterName=Number of "
     "entries\nObjectType=0x7\nDataType=0x0005\nAccessType=rw\n"
     "DefaultValue=2\n",
     "SubNumber=4\n[1A00sub3]\nParameterName=Entry 3\nObjectType=0x7\nDataType=0x0007\nAccessType=rw\n"
     "DefaultValue=0x20010220\n[1A00sub0]\nParameterName=Number of entries\nObjectType=0x7\nDataType=0x0005\n"
     "AccessType=rw\nDefaultValue=3\n"},
    {"MoreEntriesThanDescribed", "mapping-count", "AccessType=rw\nDefaultValue=2\nPDOMapping=0\n[1A00sub1]",
     "AccessType=rw\nDefaultValue=3\nPDOMapping=0\n[1A00sub1]"},
    {"CobIdOutsideThePredefinedSet", "cob-id-predefined", "$NODEID+0x200", "$NODEID+0x280"},
    {"CobIdThatIsReserved", "cob-id-restricted", "$NODEID+0x80\n", "0x17F\n"},
    {"CobIdOfNothing", "cob-id-zero", "DefaultValue=$NODEID+0x80\n", "DefaultValue=0\n"},
    {"CobIdTwice", "cob-id-twice", "DefaultValue=$NODEID+0x80\n", "DefaultValue=$NODEID+0x200\n"},
    // A DCF.
    {"NodeIdOfNoNode", "commissioned-node", "NodeID=5", "NodeID=128", {}, &kCleanDcf},
    {"NoNodeId", "commissioned-node", "NodeID=5\n", "", {}, &kCleanDcf},
    {"RateOfNoBus", "commissioned-rate", "Baudrate=125", "Baudrate=100", {}, &kCleanDcf},
    {"RateThatTheDeviceDoesNotSupport", "commissioned-rate", "Baudrate=125", "Baudrate=250", {}, &kCleanDcf},
    {"NetNumberTooLarge", "commissioned-number", "NetNumber=1", "NetNumber=0x100000000", {}, &kCleanDcf},
    {"ManagerThatIsNoFlag", "commissioned-number", "CANopenManager=0", "CANopenManager=2", {}, &kCleanDcf},
    {"SerialNumberOfAnother",
     "commissioned-serial",
     "SubNumber=4\n[1018sub0]",
     "SubNumber=4\n[1018sub4]\nParameterName=Serial\nObjectType=0x7\nDataType=0x0007\nAccessType=ro\n"
     "DefaultValue=8\n[1018sub0]",
     {"sub-number", "sub0-value"},
     &kCleanDcf},
    {"NoLastEds", "last-eds", "LastEDS=clean.eds\n", "", {}, &kCleanDcf},
    {"ValueOfAConstant",
     "constant-value",
     "AccessType=const\nDefaultValue=3\n",
     "AccessType=const\nDefaultValue=3\nParameterValue=4\n",
     {},
     &kCleanDcf},
    {"ParameterValueOutsideItsLimits",
     "default-outside-limits",
     "DefaultValue=100\n",
     "DefaultValue=100\nParameterValue=6\nLowLimit=7\n",
     {"different-key"},
     &kCleanDcf},
    {"FileOfAVariable",
     "file-of-other",
     "DefaultValue=bench\n",
     "DefaultValue=bench\nUploadFile=label.txt\n",
     {},
     &kCleanDcf},
    {"FileOutsideTheFolder",
     "file-outside",
     "DownloadFile=program.bin",
     "DownloadFile=../program.bin",
     {},
     &kCleanDcf},
    {"FileByAnAbsolutePath",
     "file-outside",
     "DownloadFile=program.bin",
     "DownloadFile=C:\\program.bin",
     {},
     &kCleanDcf},
    {"CompactValueOutsideItsLimits", "compact-value", "3=1000\n", "3=1001\n", {}, &kCleanDcf},
    {"CompactValueOutsideItsType", "compact-value", "3=1000\n", "3=40000\n", {}, &kCleanDcf},
    {"WrongNumberOfDenotations",
     "compact-list-count",
     "NrOfEntries=1\n1=speed",
     "NrOfEntries=2\n1=speed",
     {},
     &kCleanDcf},
    {"DenotationOfSubIndex0", "compact-list-entry", "1=speed", "0=speed", {}, &kCleanDcf},
    // Modules.
    {"ModuleNotDescribed",
     "module-absent",
     "[SupportedModules]\nNrOfEntries=2",
     "[SupportedModules]\nNrOfEntries=3",
     {},
     &kCleanModular},
    {"ModuleWithoutOrderCode", "module-info", "OrderCode=O-8\n", "", {}, &kCleanModular},
    {"ModuleVersionTooHigh",
     "module-info",
     "ProductName=Outputs\nProductVersion=1",
     "ProductName=Outputs\nProductVersion=256",
     {},
     &kCleanModular},
    {"FixedObjectNotDescribed", "module-objects", "1=0x3000", "1=0x3001", {}, &kCleanModular},
    {"WrongNumberOfExtensions",
     "module-objects",
     "NrOfEntries=1\n1=0x6200",
     "NrOfEntries=2\n1=0x6200",
     {},
     &kCleanModular},
    {"CountOfAnExtensionThatIsNone", "module-extension", "Count=0;4", "Count=many", {}, &kCleanModular},
    {"HighestSubIndexOfAnExtensionTooHigh",
     "module-extension",
     "ObjExtend=254",
     "ObjExtend=255",
     {},
     &kCleanModular},
    {"ConnectedModuleThatIsNotSupported", "connected-module", "1=2\n2=1\n", "1=2\n2=3\n", {}, &kCleanModular},
};

class LintRule : public testing::TestWithParam<Fault> {};

TEST_P(LintRule, IsFoundWhereItIsBroken) {
  const Fault& fault = GetParam();
  const auto result = tavtest::lint(with(*fault.clean, fault.from, fault.to));
  EXPECT_TRUE(result.readable);
  std::set<std::string> found;
  bool deviation = false;
  for (const Diagnostic& diagnostic : result.diagnostics) {
    found.insert(diagnostic.code);
    deviation = deviation || diagnostic.deviation;
    EXPECT_FALSE(diagnostic.problem.empty());
    EXPECT_FALSE(diagnostic.cure.empty());
  }
  std::set<std::string> expected = fault.also;
  expected.insert(fault.code);
  EXPECT_EQ(found, expected) << tavtest::all_of(result);
  EXPECT_EQ(result.conforming, !deviation);
}

INSTANTIATE_TEST_SUITE_P(Planted, LintRule, testing::ValuesIn(kFaults),
                         [](const auto& fault) { return fault.param.name; });

TEST(LintRules, HaveNothingToSayOfCleanFiles) {
  for (const std::string* text : {&kCleanEds, &kCleanDcf, &kCleanModular}) {
    const auto result = tavtest::lint(*text);
    EXPECT_TRUE(result.readable);
    EXPECT_TRUE(result.conforming);
    EXPECT_TRUE(result.diagnostics.empty()) << tavtest::all_of(result);
  }
}

/** Nothing can be read where these are found: they have tests of their own. */
bool is_fatal(Problem problem) {
  return nkr::tools::row_of(problem).reading == nkr::tools::ProblemRow::Reading::FATAL ||
         problem == Problem::NO_OBJECTS;
}

TEST(LintRules, HaveEachAPlantedFaultAndANameOfItsOwn) {
  std::set<std::string> codes;
  for (std::size_t i = 0; i < static_cast<std::size_t>(Problem::COUNT); ++i) {
    const auto& row = nkr::tools::row_of(static_cast<Problem>(i));
    const std::string code(row.code);
    EXPECT_TRUE(codes.insert(code).second) << code << " stands twice";
    const bool planted = std::any_of(kFaults.begin(), kFaults.end(),
                                     [&code](const Fault& fault) { return fault.code == code; });
    EXPECT_TRUE(planted || is_fatal(row.problem)) << code;
  }
}

TEST(LintRules, LetAMappingOfAModularDeviceNameWhatAModuleBrings) {
  const auto result =
      tavtest::lint(with(kCleanModular, "DefaultValue=0x20010120", "DefaultValue=0x60000108"));
  EXPECT_TRUE(result.diagnostics.empty()) << tavtest::all_of(result);
}

TEST(LintRules, DoNotCountSubIndexFF) {
  const std::string structure =
      "[2001subFF]\nParameterName=Structure\nObjectType=0x7\nDataType=0x0007\nAccessType=ro\n[2002]\n";
  const auto result = tavtest::lint(with(kCleanEds, "[2002]\n", structure));
  EXPECT_TRUE(result.diagnostics.empty()) << tavtest::all_of(result);
}

TEST(LintRules, TakeTheErrorFieldsFirstEntryForACountOfErrors) {
  const std::string field =
      "ObjectType=0x8\nSubNumber=2\n[1003sub0]\nParameterName=Errors\nObjectType=0x7\nDataType="
      "0x0005\nAccessType=rw\n"
      "DefaultValue=0\n[1003sub1]\nParameterName=Newest\nObjectType=0x7\nDataType=0x0007\nAccessType=ro\n";
  const auto result = tavtest::lint(with(
      kCleanEds, "ObjectType=0x8\nDataType=0x0007\nAccessType=ro\nPDOMapping=0\nCompactSubObj=4\n", field));
  EXPECT_TRUE(result.diagnostics.empty()) << tavtest::all_of(result);
}

TEST(LintRules, LetAClientHaveTheIdentifiersOfTheServerThatItAsks) {
  const std::string channel =
      "SupportedObjects=9\n1=0x1280\n[1280]\nParameterName=Client\nObjectType=0x9\nSubNumber=3\n[1280sub0]\n"
      "ParameterName=n\nObjectType=0x7\nDataType=0x0005\nAccessType=const\nDefaultValue=2\n[1280sub1]\n"
      "ParameterName=To the "
      "server\nObjectType=0x7\nDataType=0x0007\nAccessType=rw\nDefaultValue=0x605\n[1280sub2]\n"
      "ParameterName=From the server\nObjectType=0x7\nDataType=0x0007\nAccessType=rw\nDefaultValue=0x585\n";
  const auto result = tavtest::lint(with(kCleanEds, "SupportedObjects=9\n1=0x1003\n", channel));
  for (const Diagnostic& diagnostic : result.diagnostics) EXPECT_NE(diagnostic.code, "cob-id-restricted");
}

}  // namespace
