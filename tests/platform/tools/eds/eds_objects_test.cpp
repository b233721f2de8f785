// What the sections of objects say: types, values, sub-entries, compact arrays, lists.
#include "platform/tools/eds/EdsText.hpp"

using nkr::tools::AccessType;
using nkr::tools::DataType;
using tavtest::Parsed;
using tavtest::variable;

namespace {

/** An array with CompactSubObj; more keys and sections may follow it. */
std::string compact(const std::string& count, const std::string& more = {}) {
  return "[2000]\nParameterName=Error\nObjectType=8\nDataType=7\nAccessType=rw\nDefaultValue=9\nPDOMapping="
         "1\n"
         "CompactSubObj=" +
         count + "\n" + more;
}

const std::string kRecord = "[2000]\nParameterName=Rec\nObjectType=0x9\nSubNumber=1\n";

}  // namespace

TEST(EDSObjects, TakeAMissingObjectTypeForAVariable) {
  const Parsed eds("[2000]\nParameterName=Speed\nDataType=7\nAccessType=rw\n");
  EXPECT_EQ(eds.at(0x2000).object_type, 7);
  EXPECT_FALSE(eds.says(1, "ObjectType"));
}

TEST(EDSObjects, TakeANonsensicalObjectTypeForAVariable) {
  for (const std::string type : {"VAR", "0x99", "-7", "", "7.0", "0x7 0x8", "0xG"}) {
    const Parsed eds("[2000]\nParameterName=Speed\nObjectType=" + type + "\nDataType=7\nAccessType=rw\n");
    EXPECT_EQ(eds.at(0x2000).object_type, 7) << type;
    EXPECT_TRUE(eds.says(3, "ObjectType")) << type;
  }
}

TEST(EDSObjects, ReadADomainWithoutDataType) {
  const Parsed eds("[2000]\nParameterName=Program\nObjectType=2\nAccessType=wo\n");
  EXPECT_EQ(eds.at(0x2000).object_type, 2);
  EXPECT_EQ(eds.at(0x2000).data_type, DataType::UNKNOWN);
  EXPECT_FALSE(eds.says(1, "DataType"));
}

TEST(EDSObjects, KeepUnknownDataTypesAndRefuseNonsense) {
  for (const auto& [text, code] : std::vector<std::pair<std::string, unsigned>>{{"0x0040", 0x40},
                                                                                {"0xFFFF", 0xFFFF},
                                                                                {"0x10007", 0},
                                                                                {"-1", 0},
                                                                                {"word", 0},
                                                                                {"", 0},
                                                                                {"0", 0},
                                                                                {"0x", 0}}) {
    const Parsed eds("[2000]\nParameterName=Speed\nDataType=" + text + "\nAccessType=rw\nDefaultValue=abc\n");
    EXPECT_EQ(static_cast<unsigned>(eds.at(0x2000).data_type), code) << text;
    EXPECT_EQ(eds.at(0x2000).default_value, "abc") << text;
  }
}

TEST(EDSObjects, NeverTakeUnclearAccessForWritable) {
  for (const std::string access :
       {"rwx", "", "rw#", "rw rw", "# rw", "; rw", "constant", "write only", "r/w", "rw,ro"}) {
    const Parsed eds("[2000]\nParameterName=Speed\nDataType=7\nAccessType=" + access + "\n");
    EXPECT_EQ(eds.at(0x2000).access, AccessType::UNKNOWN) << access;
    EXPECT_FALSE(nkr::tools::is_writable(eds.at(0x2000).access)) << access;
    EXPECT_TRUE(eds.says(4, "AccessType")) << access;
  }
  EXPECT_EQ(Parsed("[2000]\nDataType=7\n").at(0x2000).access, AccessType::UNKNOWN);
}

TEST(EDSObjects, ReadAccessWithoutCaseAndWithAComment) {
  EXPECT_EQ(Parsed("[2000]\nAccessType=RO\n").at(0x2000).access, AccessType::RO);
  EXPECT_EQ(Parsed("[2000]\nAccessType=Const\n").at(0x2000).access, AccessType::CONST);
  for (const std::string access :
       {"rwr ; input", "rwr;input", "rwr # input", "rwr # rw;", "rwr\t#", "rwr ;# rw"}) {
    const Parsed eds("[2000]\nAccessType=" + access + "\n");
    EXPECT_EQ(eds.at(0x2000).access, AccessType::RWR) << access;
    EXPECT_TRUE(eds.says(2, "comment behind a value")) << access;
  }
}

TEST(EDSObjects, CutCommentsBehindEverythingButFreeText) {
  const std::string comment = " # one; two";
  const Parsed eds("[2000]\nParameterName=Name" + comment + "\nObjectType=8" + comment + "\nDataType=3" +
                   comment + "\nAccessType=rw" + comment + "\nPDOMapping=1" + comment + "\nLowLimit=0x8000" +
                   comment + "\nHighLimit=7" + comment + "\nDefaultValue=5" + comment + "\nCompactSubObj=2" +
                   comment + "\n[2001]\nParameterName=Text\nDataType=9\nAccessType=rw\nDefaultValue=a" +
                   comment + "\n[DeviceComissioning]\nNodeID=5" + comment + "\n[OptionalObjects]\n1=0x2000" +
                   comment + "\n");
  const auto& entry = eds.at(0x2000, 2);
  EXPECT_EQ(entry.record_name, "Name" + comment);
  EXPECT_EQ(entry.data_type, DataType::INTEGER16);
  EXPECT_EQ(entry.access, AccessType::RW);
  EXPECT_TRUE(entry.pdo_mapping);
  EXPECT_EQ(nkr::tools::limits_of(entry).low, -32768);
  EXPECT_EQ(nkr::tools::limits_of(entry).high, 7);
  EXPECT_EQ(nkr::tools::integer_of(*entry.default_value, entry.data_type), 5);
  EXPECT_TRUE(entry.listed);
  EXPECT_EQ(eds.at(0x2001).default_value, "a" + comment);
  EXPECT_EQ(eds.parser.getNodeId(), 5);
}

TEST(EDSObjects, TellAnAbsentValueFromAnEmptyOne) {
  const Parsed eds("[2000]\nParameterName=Speed\nDataType=7\nAccessType=rw\nLowLimit=\n");
  EXPECT_EQ(eds.at(0x2000).default_value, std::nullopt);
  EXPECT_EQ(eds.at(0x2000).low_limit, "");
}

TEST(EDSObjects, KeepValueTextsAsTheyStand) {
  for (const std::string text :
       {"a;b ; c", "\"half", "%s%n%p", "C:\\x\\0\\n", "1 # one", "../../etc/passwd", "="}) {
    const Parsed eds("[2000]\nParameterName=T\nDataType=9\nAccessType=rw\nDefaultValue=" + text + "\n");
    EXPECT_EQ(eds.at(0x2000).default_value, text);
  }
}

TEST(EDSObjects, ReportValuesThatTheTypeDoesNotHold) {
  struct Case {
    std::string type, value;
    bool wrong;
  };
  for (const Case& c : std::vector<Case>{{"5", "255", false},
                                         {"5", "256", true},
                                         {"5", "-1", true},
                                         {"3", "0x8000", false},
                                         {"3", "65535", true},
                                         {"7", "0.0", true},
                                         {"7", "0xZZ", true},
                                         {"8", "1.5", false},
                                         {"8", "1,5", true},
                                         {"8", "NaN", true},
                                         {"0xA", "0A FF", false},
                                         {"0xA", "ABC", true},
                                         {"1", "2", true},
                                         {"9", "anything", false},
                                         {"7", "$NODEID+0x80", false}}) {
    const Parsed eds("[2000]\nParameterName=S\nDataType=" + c.type +
                     "\nAccessType=rw\nDefaultValue=" + c.value + "\n");
    EXPECT_EQ(eds.at(0x2000).default_value, c.value);
    EXPECT_EQ(eds.says(5, "value"), c.wrong) << c.type << ' ' << c.value << '\n' << eds.all();
  }
}

TEST(EDSObjects, ReportLimitsThatCannotHold) {
  const auto limits = [](const std::string& type, const std::string& low, const std::string& high) {
    return Parsed("[2000]\nParameterName=S\nDataType=" + type +
                  "\nAccessType=rw\nDefaultValue=9\nLowLimit=" + low + "\nHighLimit=" + high + "\n");
  };
  EXPECT_TRUE(limits("5", "200", "100").says(6, "LowLimit is above"));
  EXPECT_TRUE(limits("5", "-1", "255").says(6, "outside the data type"));
  EXPECT_TRUE(limits("9", "a", "z").says(6, "is no number"));
  EXPECT_TRUE(limits("5", "10", "20").says(5, "own limits"));
  const Parsed sound = limits("3", "0x8000", "0x7FFF");
  EXPECT_FALSE(sound.says(6, ""));
  EXPECT_FALSE(sound.says(7, ""));
}

TEST(EDSObjects, SkipSubindexesAndIndexesOutOfRange) {
  const Parsed eds(kRecord +
                   "[2000sub100]\nParameterName=no\n[2000sub1FF]\nParameterName=no\n"
                   "[2000subFFFFFFFF1]\nParameterName=no\n[2000sub]\nParameterName=no\n"
                   "[2000sub1]\nParameterName=yes\nDataType=5\nAccessType=rw\n"
                   "[12000]\nParameterName=no\n[1FFFFsub1]\nParameterName=no\n[FFFFFFFF]\nParameterName=no\n"
                   "[0000]\nParameterName=no\n");
  EXPECT_EQ(eds.parser.objects().size(), 1U);
  EXPECT_EQ(eds.at(0x2000, 1).parameter, "yes");
  EXPECT_TRUE(eds.says(5, "sub-index outside"));
  EXPECT_TRUE(eds.says(17, "index outside"));
}

TEST(EDSObjects, TakeTheFirstOfTwoKeysAndOfTwoSections) {
  const Parsed eds(
      "[2000]\nParameterName=first\nDataType=5\nAccessType=ro\nparametername=second\n"
      "[2000]\nParameterName=third\nDataType=7\nAccessType=rw\nDefaultValue=1\n");
  EXPECT_EQ(eds.at(0x2000).parameter, "first");
  EXPECT_EQ(eds.at(0x2000).data_type, DataType::UNSIGNED8);
  EXPECT_EQ(eds.at(0x2000).default_value, std::nullopt);
  EXPECT_TRUE(eds.says(5, "key stands twice"));
  EXPECT_TRUE(eds.says(6, "section stands twice"));
}

TEST(EDSObjects, ReadSubEntriesBeforeTheirObject) {
  const Parsed eds("[2000sub1]\nParameterName=x\nDataType=5\nAccessType=rw\n" + kRecord);
  EXPECT_EQ(eds.at(0x2000, 1).name, "Rec x");
  EXPECT_TRUE(eds.ok);
}

TEST(EDSObjects, KeepASubEntryWithoutItsObject) {
  const Parsed eds("[2000sub1]\nParameterName=x\nDataType=5\nAccessType=rw\n");
  EXPECT_EQ(eds.at(0x2000, 1).name, "x");
  EXPECT_EQ(eds.at(0x2000, 1).record_name, "");
  EXPECT_TRUE(eds.says(1, "not described"));
}

TEST(EDSObjects, KeepSubEntriesOfAVariableBesideIt) {
  const Parsed eds(
      variable("2000", "Var", "DefaultValue=1\n") +
      "[2000sub0]\nParameterName=zero\nDefaultValue=2\n[2000sub1]\nParameterName=one\nDataType=5\n");
  EXPECT_EQ(eds.parser.objects().size(), 2U);
  EXPECT_EQ(eds.at(0x2000).default_value, "1");
  EXPECT_EQ(eds.at(0x2000, 1).name, "Var one");
  EXPECT_TRUE(eds.says(8, "sub-entry of a variable"));
}

TEST(EDSObjects, GiveAnArrayWithoutSubEntriesNoEntry) {
  const Parsed eds("[2000]\nParameterName=Arr\nObjectType=8\nDataType=5\nAccessType=rw\n" +
                   variable("2001", "x"));
  EXPECT_EQ(eds.parser.objects().size(), 1U);
  EXPECT_TRUE(eds.says(1, "without sub-entries"));
}

TEST(EDSObjects, KeepAnObjectWithoutAName) {
  const Parsed eds("[2000]\nDataType=5\nAccessType=rw\n[2001]\nParameterName=\nDataType=5\nAccessType=rw\n");
  EXPECT_EQ(eds.parser.objects().size(), 2U);
  EXPECT_EQ(eds.at(0x2000).name, "");
  EXPECT_EQ(eds.parser.find(""), nullptr);
  EXPECT_TRUE(eds.says(1, "ParameterName"));
  EXPECT_TRUE(eds.says(5, "ParameterName"));
}

TEST(EDSObjects, ExpandACompactArray) {
  const Parsed eds(compact("3"));
  ASSERT_EQ(eds.parser.objects().size(), 4U);
  EXPECT_EQ(eds.at(0x2000, 0).parameter, "NrOfObjects");
  EXPECT_EQ(eds.at(0x2000, 0).data_type, DataType::UNSIGNED8);
  EXPECT_EQ(eds.at(0x2000, 0).access, AccessType::RO);
  EXPECT_EQ(eds.at(0x2000, 0).default_value, "3");
  EXPECT_EQ(eds.at(0x2000, 3).name, "Error Error3");
  EXPECT_EQ(eds.at(0x2000, 3).data_type, DataType::UNSIGNED32);
  EXPECT_EQ(eds.at(0x2000, 3).access, AccessType::RW);
  EXPECT_EQ(eds.at(0x2000, 3).default_value, "9");
  EXPECT_TRUE(eds.at(0x2000, 3).pdo_mapping);
  EXPECT_TRUE(eds.at(0x2000, 3).compact);
}

TEST(EDSObjects, NameAndSetCompactEntriesByTheirLists) {
  const Parsed eds(
      compact("3") +
      "[2000Name]\nNrOfEntries=5\n1=Last\n0=zero\n256=no\n-1=no\nx=no\n[2000value]\n2=0x20\n1=\n99=1\n");
  EXPECT_EQ(eds.at(0x2000, 1).name, "Error Last");
  EXPECT_EQ(eds.at(0x2000, 2).name, "Error Error2");
  EXPECT_EQ(eds.at(0x2000, 0).parameter, "NrOfObjects");
  EXPECT_EQ(eds.at(0x2000, 1).parameter_value, "");
  EXPECT_EQ(eds.at(0x2000, 2).parameter_value, "0x20");
  EXPECT_EQ(eds.at(0x2000, 3).parameter_value, std::nullopt);
  EXPECT_EQ(eds.parser.objects().size(), 4U);
  EXPECT_TRUE(eds.says(12, "no entry for a sub-index"));
}

TEST(EDSObjects, LetASubSectionOverrideACompactEntry) {
  const Parsed eds(compact("2") +
                   "[2000sub2]\nParameterName=own\nDataType=6\nAccessType=ro\nDefaultValue=77\n"
                   "[2000sub5]\nParameterName=beyond\nDataType=5\nAccessType=ro\n[2000Value]\n2=5\n");
  EXPECT_EQ(eds.at(0x2000, 1).default_value, "9");
  EXPECT_EQ(eds.at(0x2000, 2).name, "Error own");
  EXPECT_EQ(eds.at(0x2000, 2).default_value, "77");
  EXPECT_EQ(eds.at(0x2000, 2).parameter_value, "5");
  EXPECT_EQ(eds.at(0x2000, 5).name, "Error beyond");
  EXPECT_FALSE(eds.has(0x2000, 3));
}

TEST(EDSObjects, BoundTheCountOfACompactArray) {
  for (const auto& [count, objects] : std::vector<std::pair<std::string, std::size_t>>{
           {"254", 255}, {"255", 256}, {"256", 255}, {"1000000", 255}, {"0xFFFFFFFF", 255}}) {
    const Parsed eds(compact(count));
    EXPECT_EQ(eds.parser.objects().size(), objects) << count;
    EXPECT_EQ(eds.says(8, "CompactSubObj"), count != "254") << count;
  }
  for (const std::string count : {"-5", "many", ""}) {
    const Parsed eds(compact(count) + "[2000sub1]\nParameterName=x\nDataType=5\nAccessType=rw\n");
    EXPECT_EQ(eds.parser.objects().size(), 1U) << count;
    EXPECT_TRUE(eds.says(8, "CompactSubObj")) << count;
  }
}

TEST(EDSObjects, TakeListsAndCountsForHints) {
  const Parsed eds(
      "[OptionalObjects]\nSupportedObjects=4294967295\n7=0x2001\n8=0x2001\n9=2004h\n10=0x3000\n11=0x12000\n" +
      variable("2000", "unlisted") + variable("2001", "listed"));
  EXPECT_FALSE(eds.at(0x2000).listed);
  EXPECT_TRUE(eds.at(0x2001).listed);
  EXPECT_FALSE(eds.has(0x3000));
  EXPECT_TRUE(eds.says(2, "SupportedObjects"));
  EXPECT_TRUE(eds.says(4, "listed twice"));
  EXPECT_TRUE(eds.says(5, "no entry of an object list"));
  EXPECT_TRUE(eds.says(6, "not described"));
  EXPECT_TRUE(eds.says(7, "no entry of an object list"));
  EXPECT_TRUE(eds.says(8, "no object list"));
}

TEST(EDSObjects, TakeAWrongSubNumberForAHint) {
  for (const std::string number : {"200", "-1", "", "x"}) {
    const Parsed eds("[2000]\nParameterName=Rec\nObjectType=9\nSubNumber=" + number +
                     "\n[2000sub0]\nParameterName=n\nDataType=5\nAccessType=ro\n");
    EXPECT_EQ(eds.parser.objects().size(), 1U) << number;
    EXPECT_TRUE(eds.says(4, "SubNumber")) << number;
  }
}

TEST(EDSInfo, GivesKeysOutsideTheObjects) {
  const Parsed eds(
      "[DeviceInfo]\nVendorName=Maker; Sons\nRevisionNumber=001\n[DummyUsage]\nDummy0005=1\n[Vendor]\na=b\n" +
      variable("2000", "x"));
  EXPECT_EQ(eds.parser.getInfo("DeviceInfo", "VendorName"), "Maker; Sons");
  EXPECT_EQ(eds.parser.getInfo("deviceinfo", "REVISIONNUMBER"), "001");
  EXPECT_EQ(eds.parser.getInfo("DummyUsage", "Dummy0005"), "1");
  EXPECT_EQ(eds.parser.getInfo("Vendor", "a"), "b");
  EXPECT_EQ(eds.parser.getInfo("DeviceInfo", "ProductName"), std::nullopt);
  EXPECT_EQ(eds.parser.getInfo("Other", "a"), std::nullopt);
}

TEST(EDSInfo, ReadsWhatADcfCommissions) {
  const std::string object = variable("2000", "COB-ID", "DefaultValue=$NODEID+0x80\nParameterValue=0x99\n");
  const Parsed one_m("[DeviceComissioning]\nNodeID=0x0A\nBaudrate=500\n" + object);
  EXPECT_EQ(one_m.parser.getNodeId(), 10);
  EXPECT_EQ(one_m.at(0x2000).parameter_value, "0x99");
  EXPECT_EQ(Parsed("[DeviceCommissioning]\nNodeID=11\n" + object).parser.getNodeId(), 11);
  for (const std::string id : {"0", "128", "-1", "x", ""}) {
    EXPECT_EQ(Parsed("[DeviceComissioning]\nNodeID=" + id + "\n" + object).parser.getNodeId(), std::nullopt)
        << id;
  }
}
