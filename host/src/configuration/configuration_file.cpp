#include <charconv>
#include <cstring>
#include <fstream>
#include <nkr/tools/ObjectValue.hpp>
#include <tav/host/Value.hpp>
#include <tav/host/configuration_file.hpp>
#include <tav/host/configuration_objects.hpp>
#include <tav/host/words.hpp>
#include <utility>

#include "../words/refusal.hpp"

namespace tav::host {

using nkr::tools::DataType;
using nkr::tools::EDSParser;
using nkr::tools::ObjectEntry;

namespace {

constexpr std::uint32_t kIdentifierMask = 0x7FF;  // 11-bit CAN identifier

std::uint64_t number_in(const Bytes& bytes) {
  std::uint64_t number = 0;
  for (std::size_t i = bytes.size(); i-- > 0;) number = number << 8 | bytes[i];
  return number;
}

std::int64_t signed_number_in(const Bytes& bytes) {
  const unsigned unused = 64 - 8 * static_cast<unsigned>(bytes.size());
  return static_cast<std::int64_t>(number_in(bytes) << unused) >> unused;
}

std::string real_text(const Bytes& bytes) {
  char text[64];
  std::to_chars_result end{};
  if (bytes.size() == sizeof(float)) {
    const auto bits = static_cast<std::uint32_t>(number_in(bytes));
    float number = 0;
    std::memcpy(&number, &bits, sizeof number);
    end = std::to_chars(text, text + sizeof text, number);
  } else {
    const std::uint64_t bits = number_in(bytes);
    double number = 0;
    std::memcpy(&number, &bits, sizeof number);
    end = std::to_chars(text, text + sizeof text, number);
  }
  return std::string(text, end.ptr);
}

/** Whether the identifier in the value is the one of the description's default at this node id. */
bool follows_node_id(const ObjectEntry& object, std::uint64_t value, std::uint8_t node) {
  if (!nkr::tools::is_node_relative(object.getDefaultValue())) return false;
  const auto expected = nkr::tools::number_of(object.getDefaultValue(), node);
  return expected && (static_cast<std::uint64_t>(*expected) & kIdentifierMask) == (value & kIdentifierMask);
}

std::string integer_text(const ObjectEntry& object, const Bytes& bytes, std::uint8_t node) {
  if (nkr::tools::is_signed(object.getDataType())) return std::to_string(signed_number_in(bytes));
  const std::uint64_t value = number_in(bytes);
  if (object.getDataType() == DataType::BOOLEAN) return value != 0 ? "1" : "0";
  if (follows_node_id(object, value, node)) return "$NODEID+" + hex(value - node, 1);
  return hex(value, static_cast<int>(2 * bytes.size()));
}

/** The device that a DCF is of must be the drive's: another one's objects mean other things. */
Result see_same_device(const std::string& path, const EDSParser& file, const EDSParser& description) {
  for (const char* const key : {"VendorNumber", "ProductNumber"}) {
    const auto number = [key](const EDSParser& one) {
      return nkr::tools::number_of(one.getInfo("DeviceInfo", key).value_or(""));
    };
    if (number(file) && number(description) && number(file) != number(description)) {
      return refusal(
          Cause::FILE, NKR_SDO_DEVICE_INCOMPATIBLE,
          path + " is the configuration of another device: its " + key + " differs from the description's");
    }
  }
  return {};
}

}  // namespace

Result value_of_text(const ObjectEntry& object, const std::string& text, std::uint8_t node,
                     ConfiguredValue& value) {
  std::string plain = text;
  const auto number = nkr::tools::integer_of(text, object.getDataType(), node);
  if (number) {  // the file's way of writing numbers is not the user's
    plain = nkr::tools::is_signed(object.getDataType()) ? std::to_string(*number)
                                                        : std::to_string(static_cast<std::uint64_t>(*number));
  }
  value.object = &object;
  value.text = text;
  return encode_value(object, plain, node, value.bytes);
}

std::string configured_text(const ObjectEntry& object, const Bytes& bytes, std::uint8_t node) {
  const DataType type = object.getDataType();
  if (nkr::tools::integer_bits(type) != 0 && !bytes.empty() && bytes.size() <= sizeof(std::uint64_t)) {
    return integer_text(object, bytes, node);
  }
  if ((type == DataType::REAL32 && bytes.size() == sizeof(float)) ||
      (type == DataType::REAL64 && bytes.size() == sizeof(double))) {
    return real_text(bytes);
  }
  if (type == DataType::VISIBLE_STRING) return std::string(bytes.begin(), bytes.end());
  std::string text;
  for (const std::uint8_t byte : bytes) text += hex(byte, 2).substr(2);
  return text;
}

Result load_configured_values(const std::string& path, const EDSParser& description, std::uint8_t node,
                              std::vector<ConfiguredValue>& values) {
  values.clear();
  std::ifstream stream(path, std::ios::binary);
  if (!stream) return refusal(Cause::FILE, NKR_NOT_AVAILABLE, "cannot open " + path);
  EDSParser file;
  if (!file.parse(stream, false)) {
    return refusal(Cause::FILE, NKR_ERROR, path + " is no device configuration");
  }
  Result result = see_same_device(path, file, description);
  for (const ObjectEntry* const object : configuration_objects(description)) {
    const ObjectEntry* const configured = file.find(object->getObjectID());
    if (configured == nullptr || !configured->description().parameter_value) continue;
    if (!result.ok()) return result;
    ConfiguredValue value{};
    const Result taken = value_of_text(*object, *configured->description().parameter_value, node, value);
    if (!taken.ok()) {
      const Explanation& why = taken.explanation();
      return refusal(Cause::FILE, NKR_SDO_INVALID_VALUE, path + ": " + why.action, why.detail);
    }
    values.push_back(std::move(value));
  }
  if (!result.ok() || !values.empty()) return result;
  return refusal(Cause::FILE, NKR_SDO_NO_DATA, path + " holds no value for any object of this drive");
}

}  // namespace tav::host
