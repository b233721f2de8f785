#include "trace/FrameDecoder.hpp"

#include <algorithm>
#include <cstddef>
#include <nkr/canopen/Emergency.hpp>

#include "model/DriveWords.hpp"
#include "model/Format.hpp"
#include "model/Value.hpp"

namespace tavctl {

using nkr::can::Frame;
using nkr::tools::DataType;
using nkr::tools::ObjectEntry;
using nkr::tools::ObjectID;

namespace {

constexpr std::uint16_t kControlWord = 0x6040;
constexpr std::uint16_t kStatusWord = 0x6041;
/** Bytes of one transfer that are kept: a bus that never ends one must not fill the memory. */
constexpr std::size_t kLongestTransfer = 65536;

std::uint16_t word_at(const Frame& frame, std::size_t offset) {
  return static_cast<std::uint16_t>(frame.data[offset] | frame.data[offset + 1] << 8);
}

std::uint32_t long_at(const Frame& frame, std::size_t offset) {
  return word_at(frame, offset) | static_cast<std::uint32_t>(word_at(frame, offset + 2)) << 16;
}

ObjectID object_of(const Frame& frame) {
  return {word_at(frame, 1), frame.data[3]};
}

/** Data of an expedited transfer: as many bytes as the frame says, or all four. */
std::vector<std::uint8_t> expedited_data(const Frame& frame) {
  const bool size_stated = (frame.data[0] & 1U) != 0;
  const std::ptrdiff_t unused = size_stated ? frame.data[0] >> 2 & 3 : 0;
  return {frame.data.begin() + 4, frame.data.end() - unused};
}

bool is_expedited(const Frame& frame) {
  return (frame.data[0] & 2U) != 0;
}

std::string nmt_command_text(const Frame& frame) {
  const std::string whom = frame.data[1] == 0 ? "all nodes" : "node " + std::to_string(frame.data[1]);
  switch (frame.data[0]) {
    case 1:
      return "start " + whom;
    case 2:
      return "stop " + whom;
    case 128:
      return "enter pre-operational: " + whom;
    case 129:
      return "reset " + whom;
    case 130:
      return "reset communication of " + whom;
    default:
      return "unknown command " + std::to_string(frame.data[0]) + " to " + whom;
  }
}

std::string heartbeat_text(const Frame& frame) {
  switch (frame.data[0] & 0x7FU) {
    case 0:
      return "boot-up";
    case 4:
      return "stopped";
    case 5:
      return "operational";
    case 127:
      return "pre-operational";
    default:
      return "unknown state " + std::to_string(frame.data[0]);
  }
}

std::string emergency_text(const Frame& frame) {
  const std::uint16_t code = word_at(frame, 0);
  return hex(code, 4) + ' ' + nkr::canopen::emergency_text(code) +
         "; error register: " + error_register_text(frame.data[2]);
}

std::string abort_text(const Frame& frame) {
  return result_text(static_cast<nkr_error_t>(long_at(frame, 4)));
}

}  // namespace

std::string FrameDecoder::name_of(ObjectID id) const {
  const ObjectEntry* object = description_.find(id);
  return object == nullptr ? address_text(id) : object_text(*object);
}

std::string FrameDecoder::value_text(ObjectID id, const std::vector<std::uint8_t>& bytes) const {
  const ObjectEntry* object = description_.find(id);
  if (object == nullptr) return value_of(bytes).text;
  std::string text = decode_value(object->getDataType(), bytes).text;
  if (object->getDataType() == DataType::VISIBLE_STRING) text = '"' + text + '"';
  if (bytes.size() != 2 || id.subindex() != 0) return text;
  const auto word = static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
  if (id.index() == kStatusWord) text += ": " + status_word_text(word);
  if (id.index() == kControlWord) text += ": " + control_word_text(word);
  return text;
}

std::string FrameDecoder::segment_text(Transfer& transfer, const Frame& frame) const {
  const std::ptrdiff_t unused = frame.data[0] >> 1 & 7;
  if (transfer.bytes.size() > kLongestTransfer) transfer.bytes.clear();
  transfer.bytes.insert(transfer.bytes.end(), frame.data.begin() + 1, frame.data.end() - unused);
  const bool last = (frame.data[0] & 1U) != 0;
  if (!last) return "segment of " + name_of(transfer.object);
  return name_of(transfer.object) + " is " + value_text(transfer.object, transfer.bytes);
}

std::string FrameDecoder::request_text(std::uint8_t node, const Frame& frame) {
  Transfer& transfer = transfers_[node];
  switch (frame.data[0] >> 5) {
    case 0:
      return "write: " + segment_text(transfer, frame);
    case 1:
      transfer = {object_of(frame), {}, !is_expedited(frame)};
      if (is_expedited(frame)) {
        return "write " + name_of(transfer.object) + " = " +
               value_text(transfer.object, expedited_data(frame));
      }
      return "write " + name_of(transfer.object) + ", " + std::to_string(long_at(frame, 4)) + " bytes follow";
    case 2:
      transfer = {object_of(frame), {}, false};
      return "read " + name_of(transfer.object);
    case 3:
      return "read: next segment of " + name_of(transfer.object);
    case 4:
      return "abort " + name_of(object_of(frame)) + ": " + abort_text(frame);
    case 5:
      return "block read";
    case 6:
      return "block write";
    default:
      return "unknown request";
  }
}

std::string FrameDecoder::reply_text(std::uint8_t node, const Frame& frame) {
  Transfer& transfer = transfers_[node];
  switch (frame.data[0] >> 5) {
    case 0:
      return segment_text(transfer, frame);
    case 1:
      return "segment taken";
    case 2:
      transfer = {object_of(frame), {}, !is_expedited(frame)};
      if (is_expedited(frame)) {
        return name_of(transfer.object) + " is " + value_text(transfer.object, expedited_data(frame));
      }
      return name_of(transfer.object) + " has " + std::to_string(long_at(frame, 4)) + " bytes";
    case 3:
      return name_of(object_of(frame)) + (transfer.segmented ? " ready for segments" : " taken");
    case 4:
      return "refused " + name_of(object_of(frame)) + ": " + abort_text(frame);
    case 5:
      return "block write: answer";
    case 6:
      return "block read: answer";
    default:
      return "unknown answer";
  }
}

std::string FrameDecoder::pdo_text(std::uint16_t mapping_index, const Frame& frame) const {
  const ObjectEntry* count = description_.find(ObjectID(mapping_index, 0));
  const auto entries = count == nullptr ? std::nullopt : nkr::tools::number_of(count->getDefaultValue());
  std::string text;
  std::size_t offset = 0;
  for (std::int64_t i = 1; entries && i <= std::min<std::int64_t>(*entries, 8); ++i) {
    const ObjectEntry* mapping = description_.find(ObjectID(mapping_index, static_cast<std::uint8_t>(i)));
    const auto entry = mapping == nullptr ? std::nullopt : nkr::tools::number_of(mapping->getDefaultValue());
    const auto packed = static_cast<std::uint32_t>(entry.value_or(0));
    const std::size_t bytes = (packed & 0xFFU) / 8;
    if (bytes == 0 || offset + bytes > frame.size) break;
    const ObjectID id(static_cast<std::uint16_t>(packed >> 16), static_cast<std::uint8_t>(packed >> 8));
    const auto first = frame.data.begin() + static_cast<std::ptrdiff_t>(offset);
    const std::vector<std::uint8_t> data(first, first + static_cast<std::ptrdiff_t>(bytes));
    text += (text.empty() ? "" : "; ") + name_of(id) + " = " + value_text(id, data);
    offset += bytes;
  }
  return text.empty() ? "no default mapping" : text;
}

FrameMeaning FrameDecoder::decode(const Frame& frame) {
  if (frame.error) return {"error", "error frame of the CAN controller"};
  if (frame.extended) return {"?", "29-bit identifier"};
  const auto node = static_cast<std::uint8_t>(frame.id & 0x7FU);
  const std::string of_node = " node " + std::to_string(node);
  const std::uint32_t function = frame.id & 0x780U;
  if (frame.id == 0) return {"NMT", nmt_command_text(frame)};
  if (frame.id == 0x080) return {"SYNC", ""};
  if (frame.id == 0x100) return {"TIME", ""};
  if (function == 0x080) return {"EMCY" + of_node, emergency_text(frame)};
  if (function >= 0x180 && function <= 0x500) {
    const auto number = static_cast<std::uint16_t>((function - 0x180) / 0x100);
    const bool transmit = (function & 0x80U) != 0;
    const auto mapping = static_cast<std::uint16_t>((transmit ? 0x1A00 : 0x1600) + number);
    return {(transmit ? "TPDO" : "RPDO") + std::to_string(number + 1) + of_node, pdo_text(mapping, frame)};
  }
  if (function == 0x600) return {"SDO >" + of_node, request_text(node, frame)};
  if (function == 0x580) return {"SDO <" + of_node, reply_text(node, frame)};
  if (function == 0x700) return {"HB" + of_node, heartbeat_text(frame)};
  return {"?", ""};
}

}  // namespace tavctl
