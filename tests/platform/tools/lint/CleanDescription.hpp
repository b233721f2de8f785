#ifndef TESTS_PLATFORM_TOOLS_LINT_CLEANDESCRIPTION_HPP
#define TESTS_PLATFORM_TOOLS_LINT_CLEANDESCRIPTION_HPP

#include <gtest/gtest.h>

#include <string>

namespace tavtest {

/** An EDS that keeps every rule of CiA 306, and shows most of what the rules are about. */
inline const std::string kCleanEds = R"([FileInfo]
FileName=clean.eds
FileVersion=1
FileRevision=0
EDSVersion=4.0
Description=made for a test
CreationTime=09:00AM
CreationDate=01-05-2026
CreatedBy=tester
ModificationTime=02:30PM
ModificationDate=03-25-2026
ModifiedBy=tester
[DeviceInfo]
VendorName=Tester
VendorNumber=0x00000A27
ProductName=Bench
ProductNumber=0x17
RevisionNumber=0x00010002
OrderCode=B-1
BaudRate_125=1
BaudRate_250=0
BaudRate_1000=1
SimpleBootUpMaster=0
SimpleBootUpSlave=1
Granularity=8
DynamicChannelsSupported=0
GroupMessaging=0
NrOfRXPDO=1
NrOfTXPDO=1
LSS_Supported=1
[DummyUsage]
Dummy0001=0
Dummy0005=1
[Comments]
Lines=2
Line1=first
Line2=second
[MandatoryObjects]
SupportedObjects=3
1=0x1000
2=0x1001
3=0x1018
[1000]
ParameterName=Device type
ObjectType=0x7
DataType=0x0007
AccessType=ro
DefaultValue=0x20192
PDOMapping=0
[1001]
ParameterName=Error register
ObjectType=0x7
DataType=0x0005
AccessType=ro
DefaultValue=0
PDOMapping=1
[1018]
ParameterName=Identity object
ObjectType=0x9
SubNumber=4
[1018sub0]
ParameterName=Highest sub-index
ObjectType=0x7
DataType=0x0005
AccessType=const
DefaultValue=3
PDOMapping=0
[1018sub1]
ParameterName=Vendor-ID
ObjectType=0x7
DataType=0x0007
AccessType=ro
DefaultValue=0xA27
PDOMapping=0
[1018sub2]
ParameterName=Product code
ObjectType=0x7
DataType=0x0007
AccessType=ro
DefaultValue=0x17
PDOMapping=0
[1018sub3]
ParameterName=Revision
ObjectType=0x7
DataType=0x0007
AccessType=ro
DefaultValue=0x00010002
PDOMapping=0
[OptionalObjects]
SupportedObjects=9
1=0x1003
2=0x1014
3=0x1400
4=0x1600
5=0x1800
6=0x1A00
7=0x6040
8=0x6041
9=0x6083
[1003]
ParameterName=Error field
ObjectType=0x8
DataType=0x0007
AccessType=ro
PDOMapping=0
CompactSubObj=4
[1014]
ParameterName=COB-ID EMCY
ObjectType=0x7
DataType=0x0007
AccessType=rw
DefaultValue=$NODEID+0x80
PDOMapping=0
[1400]
ParameterName=RPDO 1 parameters
ObjectType=0x9
SubNumber=3
[1400sub0]
ParameterName=Highest sub-index
ObjectType=0x7
DataType=0x0005
AccessType=const
DefaultValue=2
PDOMapping=0
[1400sub1]
ParameterName=COB-ID
ObjectType=0x7
DataType=0x0007
AccessType=rw
DefaultValue=$NODEID+0x200
PDOMapping=0
[1400sub2]
ParameterName=Transmission type
ObjectType=0x7
DataType=0x0005
AccessType=rw
DefaultValue=255
PDOMapping=0
[1600]
ParameterName=RPDO 1 mapping
ObjectType=0x9
SubNumber=4
[1600sub0]
ParameterName=Number of entries
ObjectType=0x7
DataType=0x0005
AccessType=rw
DefaultValue=2
PDOMapping=0
[1600sub1]
ParameterName=Entry 1
ObjectType=0x7
DataType=0x0007
AccessType=rw
DefaultValue=0x60400010
PDOMapping=0
[1600sub2]
ParameterName=Entry 2
ObjectType=0x7
DataType=0x0007
AccessType=rw
DefaultValue=0x00050008
PDOMapping=0
[1600sub3]
ParameterName=Entry 3
ObjectType=0x7
DataType=0x0007
AccessType=rw
DefaultValue=0
PDOMapping=0
[1800]
ParameterName=TPDO 1 parameters
ObjectType=0x9
SubNumber=3
[1800sub0]
ParameterName=Highest sub-index
ObjectType=0x7
DataType=0x0005
AccessType=const
DefaultValue=2
PDOMapping=0
[1800sub1]
ParameterName=COB-ID
ObjectType=0x7
DataType=0x0007
AccessType=rw
DefaultValue=$NODEID+0x40000180
PDOMapping=0
[1800sub2]
ParameterName=Transmission type
ObjectType=0x7
DataType=0x0005
AccessType=rw
DefaultValue=255
PDOMapping=0
[1A00]
ParameterName=TPDO 1 mapping
ObjectType=0x9
SubNumber=3
[1A00sub0]
ParameterName=Number of entries
ObjectType=0x7
DataType=0x0005
AccessType=rw
DefaultValue=2
PDOMapping=0
[1A00sub1]
ParameterName=Entry 1
ObjectType=0x7
DataType=0x0007
AccessType=rw
DefaultValue=0x60410010
PDOMapping=0
[1A00sub2]
ParameterName=Entry 2
ObjectType=0x7
DataType=0x0007
AccessType=rw
DefaultValue=0x20010120
PDOMapping=0
[6040]
ParameterName=Controlword
ObjectType=0x7
DataType=0x0006
AccessType=rww
PDOMapping=1
[6041]
ParameterName=Statusword
ObjectType=0x7
DataType=0x0006
AccessType=ro
PDOMapping=1
[6083]
ParameterName=Profile acceleration
ObjectType=0x7
DataType=0x0003
AccessType=rw
DefaultValue=100
LowLimit=0x8000
HighLimit=0x7FFF
PDOMapping=0
ObjFlags=0x1
[ManufacturerObjects]
SupportedObjects=5
1=0x2000
2=0x2001
3=0x2002
4=0x2003
5=0x2004
[2000]
ParameterName=Table
ObjectType=0x8
DataType=0x0003
AccessType=rw
DefaultValue=5
LowLimit=0
HighLimit=1000
PDOMapping=0
CompactSubObj=4
[2000Name]
NrOfEntries=2
1=Newest
4=Oldest
[2001]
ParameterName=Positions
ObjectType=0x8
SubNumber=3
[2001sub0]
ParameterName=Highest sub-index
ObjectType=0x7
DataType=0x0005
AccessType=ro
DefaultValue=2
PDOMapping=0
[2001sub1]
ParameterName=First
ObjectType=0x7
DataType=0x0004
AccessType=ro
PDOMapping=1
[2001sub2]
ParameterName=Second
ObjectType=0x7
DataType=0x0004
AccessType=ro
PDOMapping=1
[2001ObjectLinks]
ObjectLinks=2
1=0x6040
2=0x6041
[2002]
ParameterName=Program
ObjectType=0x2
DataType=0x000F
AccessType=wo
[2003]
ParameterName=Gain
ObjectType=0x7
DataType=0x0008
AccessType=rw
DefaultValue=1.5
PDOMapping=0
[2004]
ParameterName=Label
ObjectType=0x7
DataType=0x0009
AccessType=rw
DefaultValue=bench
PDOMapping=0
)";

/** The same device commissioned. */
inline const std::string kCleanDcf = [] {
  std::string text = kCleanEds;
  const std::string file = "FileName=clean.eds\n";
  text.replace(text.find(file), file.size(), "FileName=clean.dcf\nLastEDS=clean.eds\n");
  const std::string vendor = "DefaultValue=0xA27\n";
  text.insert(text.find(vendor) + vendor.size(), "ParameterValue=0xA27\n");
  const std::string program = "DataType=0x000F\n";
  text.insert(text.find(program) + program.size(), "DownloadFile=program.bin\n");
  return text +
         "[2000Value]\nNrOfEntries=2\n1=10\n3=1000\n"
         "[2000Denotation]\nNrOfEntries=1\n1=speed\n"
         "[DeviceComissioning]\nNodeID=5\nNodeName=left\nBaudrate=125\nNetNumber=1\nNetworkName=plant\n"
         "CANopenManager=0\nLSS_SerialNumber=7\n";
}();

/** The same device as a coupler of two modules, one of them connected. */
inline const std::string kCleanModular =
    kCleanDcf +
    "[SupportedModules]\nNrOfEntries=2\n"
    "[M1ModuleInfo]\nProductName=Inputs\nProductVersion=1\nProductRevision=0\nOrderCode=I-8\n"
    "[M1Comments]\nLines=1\nLine1=eight inputs\n"
    "[M1FixedObjects]\nNrOfEntries=1\n1=0x3000\n[M1Fixed3000]\nParameterName=Filter\nObjectType=0x7\n"
    "DataType=0x0005\nAccessType=rw\n"
    "[M1SubExtends]\nNrOfEntries=1\n1=0x6000\n[M1SubExt6000]\nParameterName=Inputs\nCount=1\nObjExtend=0\n"
    "[M2ModuleInfo]\nProductName=Outputs\nProductVersion=1\nProductRevision=0\nOrderCode=O-8\n"
    "[M2SubExtends]\nNrOfEntries=1\n1=0x6200\n[M2SubExt6200]\nParameterName=Outputs\nCount=0;4\nObjExtend="
    "254\n"
    "[ConnectedModules]\nNrOfEntries=2\n1=2\n2=1\n";

/** A text with one part replaced, which must stand in it. */
inline std::string with(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

}  // namespace tavtest

#endif
