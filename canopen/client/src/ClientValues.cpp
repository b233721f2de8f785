#include <cstring>
#include <nkr/canopen/Client.hpp>
#include <type_traits>
#include <utility>

#include "Core.hpp"
#include "sdo/numbers.hpp"

/** Values of C++ types as the bytes of objects (CiA 301, 7.1.4: little endian), and back. */
namespace nkr::canopen {
namespace {

template <class To, class From>
To with_same_bits(From from) {
  static_assert(sizeof(To) == sizeof(From));
  To to{};
  std::memcpy(&to, &from, sizeof(to));
  return to;
}

}  // namespace

nkr_error_t Client::getBytes(const std::uint8_t& nodeId, const std::uint32_t& address,
                             std::vector<std::uint8_t>& value) {
  sdo::BytesSink sink;
  const nkr_error_t result = core_->upload(nodeId, address, sink, true);
  if (result == NKR_OK) value.swap(sink.bytes());
  return result;
}

nkr_error_t Client::setBytes(const std::uint8_t& nodeId, const std::uint32_t& address,
                             const std::vector<std::uint8_t>& value) {
  return core_->download(nodeId, address, value.data(), value.size());
}

nkr_error_t Client::readLater(std::uint8_t nodeId, canopencore::ObjectAddress address, ReadHandler handler) {
  if (!handler) return NKR_ERROR;
  return core_->later(nodeId, [this, nodeId, address, handle = std::move(handler)](bool cancelled) {
    std::vector<std::uint8_t> value;
    const nkr_error_t result = cancelled ? NKR_CAN_CANCELLED : getBytes(nodeId, address, value);
    handle(result, std::move(value));
  });
}

nkr_error_t Client::readLater(std::uint8_t nodeId, canopencore::ObjectAddress address,
                              ReadReportHandler handler) {
  if (!handler) return NKR_ERROR;
  return core_->later(nodeId, [this, nodeId, address, handle = std::move(handler)](bool cancelled) {
    std::vector<std::uint8_t> value;
    const nkr_error_t result = cancelled ? NKR_CAN_CANCELLED : getBytes(nodeId, address, value);
    RequestFailure failure;
    const bool known = !cancelled && result != NKR_OK && getLastFailure(nodeId, failure) == NKR_OK;
    handle(result, std::move(value), known ? &failure : nullptr);
  });
}

nkr_error_t Client::writeLater(std::uint8_t nodeId, canopencore::ObjectAddress address,
                               std::vector<std::uint8_t> value, WriteHandler handler) {
  if (!handler) return NKR_ERROR;
  return core_->later(
      nodeId, [this, nodeId, address, bytes = std::move(value), handle = std::move(handler)](bool cancelled) {
        handle(cancelled ? NKR_CAN_CANCELLED : setBytes(nodeId, address, bytes));
      });
}

nkr_error_t Client::writeLater(std::uint8_t nodeId, canopencore::ObjectAddress address,
                               std::vector<std::uint8_t> value, WriteReportHandler handler) {
  if (!handler) return NKR_ERROR;
  return core_->later(
      nodeId, [this, nodeId, address, bytes = std::move(value), handle = std::move(handler)](bool cancelled) {
        const nkr_error_t result = cancelled ? NKR_CAN_CANCELLED : setBytes(nodeId, address, bytes);
        RequestFailure failure;
        const bool known = !cancelled && result != NKR_OK && getLastFailure(nodeId, failure) == NKR_OK;
        handle(result, known ? &failure : nullptr);
      });
}

/** Of a short string whose size is not stated the zeros behind it are padding. */
nkr_error_t Client::getValue(const std::uint8_t& nodeId, const std::uint32_t& address, std::string& value) {
  sdo::BytesSink sink;
  const nkr_error_t result = core_->upload(nodeId, address, sink);
  if (result != NKR_OK) return result;
  std::vector<std::uint8_t>& bytes = sink.bytes();
  while (!sink.size_stated() && !bytes.empty() && bytes.back() == 0) bytes.pop_back();
  value.assign(bytes.begin(), bytes.end());
  return NKR_OK;
}

nkr_error_t Client::setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                             const std::string& value) {
  const std::vector<std::uint8_t> bytes(value.begin(), value.end());
  return core_->download(nodeId, address, bytes.data(), bytes.size());
}

nkr_error_t Client::getValue(const std::uint8_t& nodeId, const std::uint32_t& address, std::int64_t& value) {
  return core_->read_integer(nodeId, address, value);
}

nkr_error_t Client::setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                             const std::int64_t& value) {
  return core_->write_integer(nodeId, address, value);
}

nkr_error_t Client::getValue(const std::uint8_t& nodeId, const std::uint32_t& address, std::int32_t& value) {
  return core_->read_integer(nodeId, address, value);
}

nkr_error_t Client::setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                             const std::int32_t& value) {
  return core_->write_integer(nodeId, address, value);
}

nkr_error_t Client::getValue(const std::uint8_t& nodeId, const std::uint32_t& address, std::int16_t& value) {
  return core_->read_integer(nodeId, address, value);
}

nkr_error_t Client::setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                             const std::int16_t& value) {
  return core_->write_integer(nodeId, address, value);
}

nkr_error_t Client::getValue(const std::uint8_t& nodeId, const std::uint32_t& address, std::int8_t& value) {
  return core_->read_integer(nodeId, address, value);
}

nkr_error_t Client::setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                             const std::int8_t& value) {
  return core_->write_integer(nodeId, address, value);
}

nkr_error_t Client::getValue(const std::uint8_t& nodeId, const std::uint32_t& address, std::uint64_t& value) {
  return core_->read_integer(nodeId, address, value);
}

nkr_error_t Client::setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                             const std::uint64_t& value) {
  return core_->write_integer(nodeId, address, value);
}

nkr_error_t Client::getValue(const std::uint8_t& nodeId, const std::uint32_t& address, std::uint32_t& value) {
  return core_->read_integer(nodeId, address, value);
}

nkr_error_t Client::setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                             const std::uint32_t& value) {
  return core_->write_integer(nodeId, address, value);
}

nkr_error_t Client::getValue(const std::uint8_t& nodeId, const std::uint32_t& address, std::uint16_t& value) {
  return core_->read_integer(nodeId, address, value);
}

nkr_error_t Client::setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                             const std::uint16_t& value) {
  return core_->write_integer(nodeId, address, value);
}

nkr_error_t Client::getValue(const std::uint8_t& nodeId, const std::uint32_t& address, std::uint8_t& value) {
  return core_->read_integer(nodeId, address, value);
}

nkr_error_t Client::setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                             const std::uint8_t& value) {
  return core_->write_integer(nodeId, address, value);
}

nkr_error_t Client::getValue(const std::uint8_t& nodeId, const std::uint32_t& address, float& value) {
  sdo::NumberSink sink(sizeof(float));
  const nkr_error_t result = core_->upload(nodeId, address, sink);
  if (result != NKR_OK) return result;
  if (sink.size() != sizeof(float)) return NKR_SDO_LENGTH;
  value = with_same_bits<float>(static_cast<std::uint32_t>(number_of(sink.bytes(), sink.size())));
  return NKR_OK;
}

nkr_error_t Client::setValue(const std::uint8_t& nodeId, const std::uint32_t& address, const float& value) {
  return core_->write_integer(nodeId, address, with_same_bits<std::uint32_t>(value));
}

nkr_error_t Client::getValue(const std::uint8_t& nodeId, const std::uint32_t& address, double& value) {
  sdo::NumberSink sink(sizeof(double));
  const nkr_error_t result = core_->upload(nodeId, address, sink);
  if (result != NKR_OK) return result;
  if (sink.size() == sizeof(float)) {
    value = with_same_bits<float>(static_cast<std::uint32_t>(number_of(sink.bytes(), sink.size())));
  } else if (sink.size() == sizeof(double)) {
    value = with_same_bits<double>(number_of(sink.bytes(), sink.size()));
  } else {
    return NKR_SDO_LENGTH;
  }
  return NKR_OK;
}

nkr_error_t Client::setValue(const std::uint8_t& nodeId, const std::uint32_t& address, const double& value) {
  return core_->write_integer(nodeId, address, with_same_bits<std::uint64_t>(value));
}

nkr_error_t Client::getValue(const std::uint8_t& nodeId, const std::uint32_t& address, bool& value) {
  std::uint8_t byte = 0;
  const nkr_error_t result = core_->read_integer(nodeId, address, byte);
  if (result == NKR_OK) value = byte != 0;
  return result;
}

nkr_error_t Client::setValue(const std::uint8_t& nodeId, const std::uint32_t& address, const bool& value) {
  return core_->write_integer(nodeId, address, static_cast<std::uint8_t>(value ? 1 : 0));
}

}  // namespace nkr::canopen
