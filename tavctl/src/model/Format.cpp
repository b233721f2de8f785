#include "model/Format.hpp"

#include <algorithm>
#include <cstdio>

namespace tavctl {

using nkr::tools::AccessType;
using nkr::tools::DataType;

std::string hex(std::uint64_t value, int digits) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%0*llX", digits, static_cast<unsigned long long>(value));
  return text;
}

std::string padded(std::string_view text, std::size_t width) {
  std::string result(text);
  result.resize(std::max(width, text.size() + 1), ' ');
  return result;
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

std::string data_type_name(DataType type) {
  switch (type) {
    case DataType::UNKNOWN:
      return "?";
    case DataType::BOOLEAN:
      return "BOOLEAN";
    case DataType::INTEGER8:
      return "INTEGER8";
    case DataType::INTEGER16:
      return "INTEGER16";
    case DataType::INTEGER32:
      return "INTEGER32";
    case DataType::UNSIGNED8:
      return "UNSIGNED8";
    case DataType::UNSIGNED16:
      return "UNSIGNED16";
    case DataType::UNSIGNED32:
      return "UNSIGNED32";
    case DataType::REAL32:
      return "REAL32";
    case DataType::VISIBLE_STRING:
      return "VISIBLE_STRING";
    case DataType::OCTET_STRING:
      return "OCTET_STRING";
    case DataType::UNICODE_STRING:
      return "UNICODE_STRING";
    case DataType::TIME_OF_DAY:
      return "TIME_OF_DAY";
    case DataType::TIME_DIFFERENCE:
      return "TIME_DIFFERENCE";
    case DataType::DOMAIN:
      return "DOMAIN";
    case DataType::INTEGER24:
      return "INTEGER24";
    case DataType::REAL64:
      return "REAL64";
    case DataType::INTEGER40:
      return "INTEGER40";
    case DataType::INTEGER48:
      return "INTEGER48";
    case DataType::INTEGER56:
      return "INTEGER56";
    case DataType::INTEGER64:
      return "INTEGER64";
    case DataType::UNSIGNED24:
      return "UNSIGNED24";
    case DataType::UNSIGNED40:
      return "UNSIGNED40";
    case DataType::UNSIGNED48:
      return "UNSIGNED48";
    case DataType::UNSIGNED56:
      return "UNSIGNED56";
    case DataType::UNSIGNED64:
      return "UNSIGNED64";
  }
  return hex(static_cast<std::uint16_t>(type), 4);
}

std::string access_name(AccessType access) {
  switch (access) {
    case AccessType::UNKNOWN:
      return {};
    case AccessType::RO:
      return "ro";
    case AccessType::WO:
      return "wo";
    case AccessType::RW:
      return "rw";
    case AccessType::RWR:
      return "rwr";
    case AccessType::RWW:
      return "rww";
    case AccessType::CONST:
      return "const";
  }
  return {};
}

}  // namespace tavctl
