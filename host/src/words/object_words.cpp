#include <cstdio>
#include <tav/host/words.hpp>

namespace tav::host {

using nkr::tools::AccessType;
using nkr::tools::DataType;

std::string hex(std::uint64_t value, int digits) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%0*llX", digits, static_cast<unsigned long long>(value));
  return text;
}

std::string address_text(nkr::tools::ObjectID id) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%04X:%02X", unsigned{id.index()}, unsigned{id.subindex()});
  return text;
}

std::string object_text(const nkr::tools::ObjectEntry& object) {
  return '"' + object.getName() + "\" (" + address_text(object.getObjectID()) + ")";
}

std::string result_text(nkr_error_t code) {
  const bool small = code >= 0 && code < 16;
  return (small ? std::to_string(code) : hex(static_cast<std::uint32_t>(code), 8)) + ": " +
         nkr_error_text(code);
}

namespace {

struct TypeName {
  DataType type;
  const char* name;
};
constexpr TypeName kTypeNames[] = {{DataType::UNKNOWN, "?"},
                                   {DataType::BOOLEAN, "BOOLEAN"},
                                   {DataType::INTEGER8, "INTEGER8"},
                                   {DataType::INTEGER16, "INTEGER16"},
                                   {DataType::INTEGER24, "INTEGER24"},
                                   {DataType::INTEGER32, "INTEGER32"},
                                   {DataType::INTEGER40, "INTEGER40"},
                                   {DataType::INTEGER48, "INTEGER48"},
                                   {DataType::INTEGER56, "INTEGER56"},
                                   {DataType::INTEGER64, "INTEGER64"},
                                   {DataType::UNSIGNED8, "UNSIGNED8"},
                                   {DataType::UNSIGNED16, "UNSIGNED16"},
                                   {DataType::UNSIGNED24, "UNSIGNED24"},
                                   {DataType::UNSIGNED32, "UNSIGNED32"},
                                   {DataType::UNSIGNED40, "UNSIGNED40"},
                                   {DataType::UNSIGNED48, "UNSIGNED48"},
                                   {DataType::UNSIGNED56, "UNSIGNED56"},
                                   {DataType::UNSIGNED64, "UNSIGNED64"},
                                   {DataType::REAL32, "REAL32"},
                                   {DataType::REAL64, "REAL64"},
                                   {DataType::VISIBLE_STRING, "VISIBLE_STRING"},
                                   {DataType::OCTET_STRING, "OCTET_STRING"},
                                   {DataType::UNICODE_STRING, "UNICODE_STRING"},
                                   {DataType::TIME_OF_DAY, "TIME_OF_DAY"},
                                   {DataType::TIME_DIFFERENCE, "TIME_DIFFERENCE"},
                                   {DataType::DOMAIN, "DOMAIN"}};

struct AccessName {
  AccessType access;
  const char* name;
};
constexpr AccessName kAccessNames[] = {{AccessType::RO, "ro"},   {AccessType::WO, "wo"},
                                       {AccessType::RW, "rw"},   {AccessType::RWR, "rwr"},
                                       {AccessType::RWW, "rww"}, {AccessType::CONST, "const"}};

}  // namespace

std::string data_type_name(DataType type) {
  for (const TypeName& row : kTypeNames) {
    if (row.type == type) return row.name;
  }
  return hex(static_cast<std::uint16_t>(type), 4);
}

std::string access_name(AccessType access) {
  for (const AccessName& row : kAccessNames) {
    if (row.access == access) return row.name;
  }
  return {};
}

}  // namespace tav::host
