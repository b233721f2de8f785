#include <cstdint>
#include <cstring>
#include <nkr/canopen/Client.hpp>
#include <tav/host/Unit.hpp>
#include <tav/host/objects.hpp>
#include <tav/host/words.hpp>
#include <tavcore/CANOpenDispatcher.hpp>
#include <type_traits>
#include <vector>

#include "../words/refusal.hpp"

namespace tav::host {

using nkr::tools::DataType;
using nkr::tools::ObjectEntry;
using nkr::tools::ObjectID;

namespace {

using Bytes = std::vector<std::uint8_t>;

Value value_of_type(bool value) {
  return value_of(value);
}

template <class T>
Value value_of_type(T value) {
  if constexpr (std::is_floating_point_v<T>) {
    return value_of(static_cast<double>(value));
  } else if constexpr (std::is_signed_v<T>) {
    return value_of(static_cast<std::int64_t>(value));
  } else {
    return value_of(static_cast<std::uint64_t>(value), static_cast<int>(sizeof value));
  }
}

template <class T>
nkr_error_t read_as(const Unit& unit, const ObjectEntry& object, Value& value) {
  T raw{};
  const nkr_error_t result = unit.dispatcher()->get_value(object.getName(), raw);
  if constexpr (std::is_same_v<T, std::string>) {
    value = value_of(raw);
  } else {
    value = value_of_type(raw);
  }
  return result;
}

nkr_error_t read_value(const Unit& unit, ObjectID id, DataType type, Value& value) {
  Bytes bytes;
  const nkr_error_t result = read_bytes(unit, id, bytes);
  value = decode_value(type, bytes);
  return result;
}

nkr_error_t read_entry(const Unit& unit, const ObjectEntry& object, Value& value) {
  switch (object.getDataType()) {
    case DataType::BOOLEAN:
      return read_as<bool>(unit, object, value);
    case DataType::INTEGER8:
      return read_as<signed char>(unit, object, value);
    case DataType::UNSIGNED8:
      return read_as<unsigned char>(unit, object, value);
    case DataType::INTEGER16:
      return read_as<short>(unit, object, value);
    case DataType::UNSIGNED16:
      return read_as<unsigned short>(unit, object, value);
    case DataType::INTEGER32:
      return read_as<int>(unit, object, value);
    case DataType::UNSIGNED32:
      return read_as<unsigned int>(unit, object, value);
    case DataType::REAL32:
      return read_as<float>(unit, object, value);
    case DataType::VISIBLE_STRING:
      return read_as<std::string>(unit, object, value);
    default:
      return read_value(unit, object.getObjectID(), object.getDataType(), value);
  }
}

/** The bytes of a value, least significant first, as the C++ type of the access. */
template <class T>
T from_bytes(const Bytes& bytes) {
  std::uint64_t raw = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) raw |= static_cast<std::uint64_t>(bytes[i]) << (8 * i);
  return static_cast<T>(raw);
}

template <class T>
nkr_error_t write_as(const Unit& unit, const ObjectEntry& object, const T& value) {
  return unit.dispatcher()->set_value(object.getName(), value);
}

nkr_error_t write_real(const Unit& unit, const ObjectEntry& object, const Bytes& bytes) {
  const auto raw = from_bytes<std::uint32_t>(bytes);
  float value = 0;
  std::memcpy(&value, &raw, sizeof value);
  return write_as<float>(unit, object, value);
}

nkr_error_t write_entry(const Unit& unit, const ObjectEntry& object, const Bytes& bytes) {
  switch (object.getDataType()) {
    case DataType::BOOLEAN:
      return write_as<bool>(unit, object, bytes[0] != 0);
    case DataType::UNSIGNED8:
      return write_as(unit, object, from_bytes<unsigned char>(bytes));
    case DataType::INTEGER16:
      return write_as(unit, object, from_bytes<short>(bytes));
    case DataType::UNSIGNED16:
      return write_as(unit, object, from_bytes<unsigned short>(bytes));
    case DataType::INTEGER32:
      return write_as(unit, object, from_bytes<int>(bytes));
    case DataType::UNSIGNED32:
      return write_as(unit, object, from_bytes<unsigned int>(bytes));
    case DataType::REAL32:
      return write_real(unit, object, bytes);
    case DataType::VISIBLE_STRING:
      return write_as(unit, object, std::string(bytes.begin(), bytes.end()));
    default:
      return unit.client().setBytes(unit.node_id(), object.getObjectID().get() << 8, bytes);
  }
}

Result unknown(const ObjectReference& reference) {
  if (reference.address) {
    return refusal(Cause::UNKNOWN_OBJECT, NKR_SDO_NO_OBJECT,
                   "the description has no object " + address_text(*reference.address),
                   "without its type nothing can be written to it");
  }
  return refusal(Cause::UNKNOWN_OBJECT, NKR_SDO_NO_OBJECT,
                 "the description knows no object \"" + reference.text + '"');
}

std::string text_of(const ObjectReference& reference, const ObjectEntry* object) {
  return object == nullptr ? address_text(*reference.address) : object_text(*object);
}

}  // namespace

nkr_error_t read_bytes(const Unit& unit, ObjectID id, Bytes& bytes) {
  return unit.client().getBytes(unit.node_id(), id.get() << 8, bytes);
}

Result read_object(const Unit& unit, const ObjectReference& reference, Value& value) {
  const ObjectEntry* const object = find_object(unit.description(), reference);
  if (object == nullptr && !reference.address) return unknown(reference);
  const nkr_error_t result = object == nullptr
                                 ? read_value(unit, *reference.address, DataType::UNKNOWN, value)
                                 : read_entry(unit, *object, value);
  return unit.check(result, "read " + text_of(reference, object));
}

Result write_object(const Unit& unit, const ObjectReference& reference, const std::string& text) {
  const ObjectEntry* const object = find_object(unit.description(), reference);
  if (object == nullptr) return unknown(reference);
  if (!is_writable(object->getAccessType())) {
    return refusal(Cause::REFUSED, NKR_SDO_READ_ONLY, object_text(*object) + " cannot be written",
                   "its access is " + access_name(object->getAccessType()));
  }
  Bytes bytes;
  Result encoded = encode_value(*object, text, unit.node_id(), bytes);
  if (!encoded.ok()) return encoded;
  return unit.check(write_entry(unit, *object, bytes), "write " + object_text(*object));
}

}  // namespace tav::host
