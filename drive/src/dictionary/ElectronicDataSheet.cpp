#include "dictionary/ElectronicDataSheet.hpp"

#include <cstring>
#include <istream>
#include <nkr/tools/EDSParser.hpp>
#include <nkr/tools/ObjectValue.hpp>

namespace tav::drive {
namespace {

using nkr::tools::DataType;

/** Bytes and kind of a basic data type (CiA 301, 7.1.4; codes 7.4.7). */
struct Layout {
  Kind kind;
  std::size_t size;
};

constexpr std::size_t kLongestText = 256;
constexpr std::size_t kLongestDomain = 65536;

Layout layout_of(DataType type) {
  switch (type) {
    case DataType::INTEGER8:
      return {Kind::SIGNED, 1};
    case DataType::INTEGER16:
      return {Kind::SIGNED, 2};
    case DataType::INTEGER24:
      return {Kind::SIGNED, 3};
    case DataType::INTEGER32:
      return {Kind::SIGNED, 4};
    case DataType::INTEGER40:
      return {Kind::SIGNED, 5};
    case DataType::INTEGER48:
      return {Kind::SIGNED, 6};
    case DataType::INTEGER56:
      return {Kind::SIGNED, 7};
    case DataType::INTEGER64:
      return {Kind::SIGNED, 8};
    case DataType::BOOLEAN:
    case DataType::UNSIGNED8:
      return {Kind::UNSIGNED, 1};
    case DataType::UNSIGNED16:
      return {Kind::UNSIGNED, 2};
    case DataType::UNSIGNED24:
      return {Kind::UNSIGNED, 3};
    case DataType::UNSIGNED32:
      return {Kind::UNSIGNED, 4};
    case DataType::UNSIGNED40:
      return {Kind::UNSIGNED, 5};
    case DataType::UNSIGNED48:
    case DataType::TIME_OF_DAY:
    case DataType::TIME_DIFFERENCE:
      return {Kind::UNSIGNED, 6};
    case DataType::UNSIGNED56:
      return {Kind::UNSIGNED, 7};
    case DataType::UNSIGNED64:
      return {Kind::UNSIGNED, 8};
    case DataType::REAL32:
      return {Kind::REAL, 4};
    case DataType::REAL64:
      return {Kind::REAL, 8};
    case DataType::VISIBLE_STRING:
    case DataType::OCTET_STRING:
    case DataType::UNICODE_STRING:
      return {Kind::TEXT, kLongestText};
    case DataType::DOMAIN:
    case DataType::UNKNOWN:
      break;
  }
  return {Kind::TEXT, kLongestDomain};
}

double real_in(const std::string& text) {
  return nkr::tools::real_of(text).value_or(0);
}

void put_real(Bytes& bytes, double real) {
  if (bytes.size() == sizeof(float)) {
    const auto narrow = static_cast<float>(real);
    std::uint32_t bits = 0;
    std::memcpy(&bits, &narrow, sizeof bits);
    put_number(bytes, bits);
  } else {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &real, sizeof bits);
    put_number(bytes, bits);
  }
}

/** A limit as a number. Files write a signed limit as unsigned hexadecimal too: it is cut to the type. */
std::optional<long double> limit_of(const std::optional<std::string>& text, const Object& object) {
  if (!text || object.kind == Kind::TEXT) return std::nullopt;
  if (object.kind == Kind::REAL) return static_cast<long double>(real_in(*text));
  const auto number = nkr::tools::number_of(*text);
  if (!number) return std::nullopt;
  Bytes bytes(object.size);
  put_number(bytes, static_cast<std::uint64_t>(*number));
  return number_in(object, bytes);
}

Object object_of(const nkr::tools::ObjectEntry& entry) {
  const auto& description = entry.description();
  Object object;
  object.index = entry.getObjectID().index();
  object.subindex = entry.getObjectID().subindex();
  object.name = entry.getName();
  const Layout layout = layout_of(entry.getDataType());
  object.kind = layout.kind;
  object.size = layout.size;
  object.boolean = entry.getDataType() == DataType::BOOLEAN;
  object.readable = nkr::tools::is_readable(entry.getAccessType());
  object.writable = nkr::tools::is_writable(entry.getAccessType());
  object.mappable = description.pdo_mapping;
  object.low = limit_of(description.low_limit, object);
  object.high = limit_of(description.high_limit, object);
  object.default_text = description.parameter_value ? *description.parameter_value : entry.getDefaultValue();
  return object;
}

std::string why_unusable(const nkr::tools::EDSParser& parser) {
  for (const auto& diagnostic : parser.diagnostics()) {
    if (diagnostic.severity != nkr::tools::Diagnostic::Severity::ERROR) continue;
    return "line " + std::to_string(diagnostic.line) + ": " + diagnostic.problem;
  }
  return "no description of a device could be read from it";
}

}  // namespace

bool read_description(std::istream& eds, std::vector<Object>& objects, std::string& problem) {
  nkr::tools::EDSParser parser;
  if (!parser.parse(eds, false) || parser.objects().empty()) {
    problem = why_unusable(parser);
    return false;
  }
  objects.clear();
  objects.reserve(parser.objects().size());
  for (const auto& entry : parser.objects()) objects.push_back(object_of(*entry));
  return true;
}

Bytes default_value(const Object& object, std::uint8_t node_id) {
  const std::string& text = object.default_text;
  if (object.kind == Kind::TEXT) return Bytes(text.begin(), text.end());
  Bytes value(object.size, 0);
  if (object.kind == Kind::REAL) {
    put_real(value, real_in(text));
  } else if (const auto number = nkr::tools::number_of(text, node_id)) {
    put_number(value, static_cast<std::uint64_t>(*number));
  }
  return value;
}

std::optional<Bytes> value_of(const Object& object, const std::string& text) {
  if (object.kind == Kind::TEXT) {
    if (text.size() > object.size) return std::nullopt;
    return Bytes(text.begin(), text.end());
  }
  Bytes value(object.size, 0);
  if (object.kind == Kind::REAL) {
    const std::optional<double> real = nkr::tools::real_of(text);
    if (!real) return std::nullopt;
    put_real(value, *real);
    return value;
  }
  const auto number = nkr::tools::number_of(text);
  if (!number) return std::nullopt;
  put_number(value, static_cast<std::uint64_t>(*number));
  if (number_in(object, value) != static_cast<long double>(*number)) return std::nullopt;
  return value;
}

}  // namespace tav::drive
