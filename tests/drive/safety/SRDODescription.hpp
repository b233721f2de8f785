#ifndef TAV_TESTS_DRIVE_SAFETY_SRDODESCRIPTION_HPP
#define TAV_TESTS_DRIVE_SAFETY_SRDODESCRIPTION_HPP

namespace tav::drive::test {

/** A device with one SRDO that is not configured, and objects that can and cannot be mapped. */
inline constexpr const char* kSRDODescription = R"([MandatoryObjects]
SupportedObjects=1
1=0x1000
[OptionalObjects]
SupportedObjects=6
1=0x1301
2=0x1381
3=0x13FE
4=0x13FF
5=0x6210
6=0x6211
[ManufacturerObjects]
SupportedObjects=0
[1000]
ParameterName=Device type
DataType=0x0007
AccessType=ro
[1301]
ParameterName=SRDO 1
ObjectType=9
SubNumber=7
[1301sub0]
ParameterName=Highest
DataType=0x0005
AccessType=ro
DefaultValue=6
[1301sub1]
ParameterName=Direction
DataType=0x0005
AccessType=rw
[1301sub2]
ParameterName=SCT
DataType=0x0006
AccessType=rw
[1301sub3]
ParameterName=SRVT
DataType=0x0005
AccessType=rw
[1301sub4]
ParameterName=Type
DataType=0x0005
AccessType=rw
DefaultValue=254
[1301sub5]
ParameterName=COB-ID 1
DataType=0x0007
AccessType=rw
[1301sub6]
ParameterName=COB-ID 2
DataType=0x0007
AccessType=rw
[1381]
ParameterName=SRDO 1 mapping
ObjectType=9
SubNumber=5
[1381sub0]
ParameterName=Count
DataType=0x0005
AccessType=rw
[1381sub1]
ParameterName=Entry 1
DataType=0x0007
AccessType=rw
[1381sub2]
ParameterName=Entry 2
DataType=0x0007
AccessType=rw
[1381sub3]
ParameterName=Entry 3
DataType=0x0007
AccessType=rw
[1381sub4]
ParameterName=Entry 4
DataType=0x0007
AccessType=rw
[13FE]
ParameterName=Configuration valid
DataType=0x0005
AccessType=rw
[13FF]
ParameterName=Signatures
ObjectType=8
SubNumber=2
[13FFsub0]
ParameterName=Highest
DataType=0x0005
AccessType=ro
DefaultValue=1
[13FFsub1]
ParameterName=Signature 1
DataType=0x0006
AccessType=rw
[6210]
ParameterName=Word
ObjectType=8
SubNumber=3
[6210sub0]
ParameterName=Highest
DataType=0x0005
AccessType=ro
DefaultValue=2
[6210sub1]
ParameterName=Byte
DataType=0x0005
AccessType=rw
PDOMapping=1
[6210sub2]
ParameterName=Private byte
DataType=0x0005
AccessType=rw
[6211]
ParameterName=Inverted word
ObjectType=8
SubNumber=3
[6211sub0]
ParameterName=Highest
DataType=0x0005
AccessType=ro
DefaultValue=2
[6211sub1]
ParameterName=Byte
DataType=0x0005
AccessType=rw
PDOMapping=1
[6211sub2]
ParameterName=Two bytes
DataType=0x0006
AccessType=rw
PDOMapping=1
)";

}  // namespace tav::drive::test

#endif
