#include "session/ObjectAccess.hpp"

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include "model/Format.hpp"

namespace tavctl {

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
nkr_error_t read_as(Session& session, const ObjectEntry& object, Value& value) {
  T raw{};
  const nkr_error_t result = session.dispatcher()->get_value(object.getName(), raw);
  if constexpr (std::is_same_v<T, std::string>) {
    value = value_of(raw);
  } else {
    value = value_of_type(raw);
  }
  return result;
}

nkr_error_t read_bytes(Session& session, ObjectID id, DataType type, Value& value) {
  Bytes bytes;
  const nkr_error_t result = session.client().getBytes(session.node(), id.get() << 8, bytes);
  value = decode_value(type, bytes);
  return result;
}

nkr_error_t read_entry(Session& session, const ObjectEntry& object, Value& value) {
  switch (object.getDataType()) {
    case DataType::BOOLEAN:
      return read_as<bool>(session, object, value);
    case DataType::INTEGER8:
      return read_as<signed char>(session, object, value);
    case DataType::UNSIGNED8:
      return read_as<unsigned char>(session, object, value);
    case DataType::INTEGER16:
      return read_as<short>(session, object, value);
    case DataType::UNSIGNED16:
      return read_as<unsigned short>(session, object, value);
    case DataType::INTEGER32:
      return read_as<int>(session, object, value);
    case DataType::UNSIGNED32:
      return read_as<unsigned int>(session, object, value);
    case DataType::REAL32:
      return read_as<float>(session, object, value);
    case DataType::VISIBLE_STRING:
      return read_as<std::string>(session, object, value);
    default:
      return read_bytes(session, object.getObjectID(), object.getDataType(), value);
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
nkr_error_t write_as(Session& session, const ObjectEntry& object, const T& value) {
  return session.dispatcher()->set_value(object.getName(), value);
}

nkr_error_t write_real(Session& session, const ObjectEntry& object, const Bytes& bytes) {
  const auto raw = from_bytes<std::uint32_t>(bytes);
  float value = 0;
  std::memcpy(&value, &raw, sizeof value);
  return write_as<float>(session, object, value);
}

nkr_error_t write_entry(Session& session, const ObjectEntry& object, const Bytes& bytes) {
  switch (object.getDataType()) {
    case DataType::BOOLEAN:
      return write_as<bool>(session, object, bytes[0] != 0);
    case DataType::UNSIGNED8:
      return write_as(session, object, from_bytes<unsigned char>(bytes));
    case DataType::INTEGER16:
      return write_as(session, object, from_bytes<short>(bytes));
    case DataType::UNSIGNED16:
      return write_as(session, object, from_bytes<unsigned short>(bytes));
    case DataType::INTEGER32:
      return write_as(session, object, from_bytes<int>(bytes));
    case DataType::UNSIGNED32:
      return write_as(session, object, from_bytes<unsigned int>(bytes));
    case DataType::REAL32:
      return write_real(session, object, bytes);
    case DataType::VISIBLE_STRING:
      return write_as(session, object, std::string(bytes.begin(), bytes.end()));
    default:
      return session.client().setBytes(session.node(), object.getObjectID().get() << 8, bytes);
  }
}

std::string text_of(const ObjectReference& reference, const ObjectEntry* object) {
  return object == nullptr ? address_text(*reference.address) : object_text(*object);
}

}  // namespace

Value read_object(Session& session, const ObjectReference& reference) {
  const ObjectEntry* object = find_object(session.description(), reference);
  Value value;
  const nkr_error_t result = object == nullptr
                                 ? read_bytes(session, *reference.address, DataType::UNKNOWN, value)
                                 : read_entry(session, *object, value);
  session.check(result, "read " + text_of(reference, object));
  return value;
}

void write_object(Session& session, const ObjectReference& reference, const std::string& text) {
  const ObjectEntry* object = find_object(session.description(), reference);
  if (object == nullptr) {
    throw Failure(ExitCode::CONFIGURATION,
                  "the description has no object " + address_text(*reference.address),
                  "without its type nothing can be written to it");
  }
  if (!is_writable(object->getAccessType())) {
    throw Failure(ExitCode::REFUSED, object_text(*object) + " cannot be written",
                  "its access is " + access_name(object->getAccessType()));
  }
  const Bytes bytes = encode_value(*object, text, session.node());
  session.check(write_entry(session, *object, bytes), "write " + object_text(*object));
}

}  // namespace tavctl
