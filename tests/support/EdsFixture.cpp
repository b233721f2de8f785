#include "EdsFixture.hpp"

#include <iomanip>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace tavtest {

using nkr::tools::DataType;

void EdsFixture::add(const std::string& name, DataType type, const std::string& default_value) {
  constexpr std::uint32_t kFirstIndex = 0x2000;  // the manufacturer's area, up to 0x5FFF
  const auto index = kFirstIndex + static_cast<std::uint32_t>(objects_.size());
  const auto [at, added] = objects_.try_emplace(name, Object{index, type, default_value});
  if (!added && at->second.type != type) throw std::logic_error("two types for " + name);
  if (!default_value.empty()) at->second.default_value = default_value;
}

std::uint32_t EdsFixture::address(const std::string& name) const {
  const Object& object = objects_.at(name);
  return object.index << 16 | address_bits(object.type);
}

std::string EdsFixture::text() const {
  std::ostringstream sections;
  std::ostringstream list;
  sections << std::hex << std::setfill('0');
  std::size_t count = 0;
  for (const auto& [name, object] : objects_) {
    if (removed_.count(name) != 0) continue;
    list << ++count << "=0x" << std::hex << object.index << std::dec << '\n';
    sections << '[' << object.index << "]\nParameterName=" << name << "\nObjectType=0x7\nDataType=0x"
             << std::setw(4) << static_cast<unsigned>(object.type)
             << "\nAccessType=rw\nDefaultValue=" << object.default_value << "\nPDOMapping=0\n\n";
  }
  std::ostringstream text;
  text << "[FileInfo]\nFileName=test.eds\nFileVersion=1\nFileRevision=1\nEDSVersion=4.0\n\n"
       << "[DeviceInfo]\nVendorName=test\nVendorNumber=2599\n\n"
       << "[DummyUsage]\nDummy0001=0\n\n"
       << "[MandatoryObjects]\nSupportedObjects=1\n1=0x1000\n\n[OptionalObjects]\nSupportedObjects=0\n\n"
       << "[1000]\nParameterName=Device type\nObjectType=0x7\nDataType=0x0007\nAccessType=ro\n\n"
       << "[ManufacturerObjects]\nSupportedObjects=" << count << '\n'
       << list.str() << '\n'
       << sections.str();
  return text.str();
}

std::uint32_t address_bits(DataType type) {
  switch (type) {
    case DataType::BOOLEAN:
    case DataType::INTEGER8:
    case DataType::UNSIGNED8:
      return 8;
    case DataType::INTEGER16:
    case DataType::UNSIGNED16:
      return 16;
    case DataType::INTEGER32:
    case DataType::UNSIGNED32:
    case DataType::REAL32:
      return 32;
    case DataType::VISIBLE_STRING:
      return 0;
    default:
      throw std::logic_error("a type that the tests do not use");
  }
}

}  // namespace tavtest
