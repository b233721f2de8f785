#ifndef TAV_TESTS_DRIVE_TYPESDESCRIPTION_HPP
#define TAV_TESTS_DRIVE_TYPESDESCRIPTION_HPP

namespace tav::drive::test {

/** A device with one object of each kind of type, limit and access. */
inline constexpr const char* kTypesDescription = R"([FileInfo]
FileName=types.eds
[DeviceInfo]
VendorName=test
[MandatoryObjects]
SupportedObjects=1
1=0x1000
[OptionalObjects]
SupportedObjects=2
1=0x1014
2=0x1200
[ManufacturerObjects]
SupportedObjects=14
1=0x2000
2=0x2001
3=0x2002
4=0x2003
5=0x2004
6=0x2005
7=0x2006
8=0x2007
9=0x2008
10=0x2009
11=0x200A
12=0x200B
13=0x200C
14=0x200D
[1000]
ParameterName=Device type
DataType=0x0007
AccessType=ro
DefaultValue=0x00020192
[1014]
ParameterName=COB ID EMCY
DataType=0x0007
AccessType=rw
DefaultValue=$NODEID+0x80
[1200]
ParameterName=SDO Server Parameter
ObjectType=9
SubNumber=3
[1200sub0]
ParameterName=Highest sub-index supported
DataType=0x0005
AccessType=ro
DefaultValue=2
[1200sub1]
ParameterName=client to server
DataType=0x0007
AccessType=ro
DefaultValue=$NODEID+0x600
[1200sub2]
ParameterName=server to client
DataType=0x0007
AccessType=ro
DefaultValue=$NODEID+0x580
[2000]
ParameterName=Limited signed
DataType=0x0003
AccessType=rw
DefaultValue=-2
LowLimit=-100
HighLimit=100
[2001]
ParameterName=Limited unsigned
DataType=0x0005
AccessType=rw
DefaultValue=5
LowLimit=2
HighLimit=9
[2002]
ParameterName=Signed with a limit in unsigned digits
DataType=0x0004
AccessType=rw
DefaultValue=0
LowLimit=0x80000001
HighLimit=0x7FFFFFFF
[2003]
ParameterName=Write only
DataType=0x0006
AccessType=wo
[2004]
ParameterName=Constant
DataType=0x0007
AccessType=const
DefaultValue=0x12345678
[2005]
ParameterName=Wide
DataType=0x001B
AccessType=rw
DefaultValue=0x0102030405060708
[2006]
ParameterName=Name
DataType=0x0009
AccessType=rw
DefaultValue=a name of 20 letters
[2007]
ParameterName=Short name
DataType=0x0009
AccessType=rw
DefaultValue=TAV
[2008]
ParameterName=Real
DataType=0x0008
AccessType=rw
DefaultValue=1.5
LowLimit=-10.0
HighLimit=10.0
[2009]
ParameterName=Flag
DataType=0x0001
AccessType=rw
DefaultValue=1
[200A]
ParameterName=Empty name
DataType=0x0009
AccessType=rw
[200B]
ParameterName=Double
DataType=0x0011
AccessType=rw
DefaultValue=-0.5
[200C]
ParameterName=Three bytes
DataType=0x0010
AccessType=rw
DefaultValue=-2
[200D]
ParameterName=Block of data
ObjectType=2
DataType=0x000F
AccessType=rw
)";

}  // namespace tav::drive::test

#endif
