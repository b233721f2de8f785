#include "SdoDecoder.hpp"

#include <algorithm>
#include <cstddef>
#include <tav/host/words.hpp>
#include <utility>

namespace tav::host {

using nkr::can::Frame;
using nkr::tools::ObjectID;

namespace {

/** Bytes of one transfer that are kept: a bus that never ends one must not fill the memory. */
constexpr std::size_t kLongestTransfer = 65536;
constexpr bool kRead = false;
constexpr bool kWrite = true;
constexpr std::size_t kSegmentBytes = 7;
constexpr unsigned kSequenceMask = 0x7F;
constexpr unsigned kLastSegment = 0x80;

ObjectID object_of(const Frame& frame) {
  return {static_cast<std::uint16_t>(frame.data[1] | frame.data[2] << 8), frame.data[3]};
}

std::uint32_t long_of(const Frame& frame) {
  std::uint32_t value = 0;
  for (std::size_t i = 8; i-- > 4;) value = value << 8 | frame.data[i];
  return value;
}

/** Command specifier: the upper three bits. */
unsigned command_of(const Frame& frame) {
  return frame.data[0] >> 5U;
}

bool has_bit(const Frame& frame, unsigned bit) {
  return (frame.data[0] >> bit & 1U) != 0;
}

bool is_expedited(const Frame& frame) {
  return has_bit(frame, 1);
}

/** Data of an expedited transfer: as many bytes as the frame says, or all four. */
std::vector<std::uint8_t> expedited_data(const Frame& frame) {
  const bool size_stated = has_bit(frame, 0);
  const std::ptrdiff_t unused = size_stated ? frame.data[0] >> 2 & 3 : 0;
  return {frame.data.begin() + 4, frame.data.end() - unused};
}

/** ", 12 bytes" when the frame of a block transfer states a size. */
std::string size_text(const Frame& frame) {
  constexpr unsigned kSizeStated = 1;
  return has_bit(frame, kSizeStated) ? ", " + std::to_string(long_of(frame)) + " bytes" : "";
}

void append(std::vector<std::uint8_t>& bytes, const Frame& frame, std::ptrdiff_t unused) {
  if (bytes.size() >= kLongestTransfer) return;
  bytes.insert(bytes.end(), frame.data.begin() + 1, frame.data.end() - unused);
}

SdoDecoder::Meaning says(std::string text) {
  return {std::move(text), {}, {}};
}

}  // namespace

SdoDecoder::Transfer SdoDecoder::started(const Frame& frame, bool download, bool segmented) {
  Transfer transfer;
  transfer.so_far.object = object_of(frame);
  transfer.download = download;
  transfer.segmented = segmented;
  return transfer;
}

SdoDecoder::Meaning SdoDecoder::states(const Transfer& transfer) const {
  const std::string name = objects_.name(transfer.so_far.object);
  if (transfer.so_far.bytes.size() >= kLongestTransfer) return says(name + ": too long to be shown");
  const std::string value = objects_.value(transfer.so_far);
  if (transfer.download) return {"write " + name + " = " + value, transfer.so_far, {}};
  return {name + " is " + value, transfer.so_far, transfer.so_far};
}

SdoDecoder::Meaning SdoDecoder::expedited(Transfer& transfer, const Frame& frame) const {
  transfer.so_far.bytes = expedited_data(frame);
  transfer.whole = true;
  return states(transfer);
}

SdoDecoder::Meaning SdoDecoder::segment(Transfer& transfer, const Frame& frame) const {
  append(transfer.so_far.bytes, frame, frame.data[0] >> 1 & 7);
  transfer.whole = has_bit(frame, 0);
  if (transfer.whole) return states(transfer);
  return says((transfer.download ? "write: segment of " : "segment of ") +
              objects_.name(transfer.so_far.object));
}

SdoDecoder::Meaning SdoDecoder::taken(const Transfer& transfer, const std::string& what) const {
  if (!transfer.download || !transfer.whole) return says(what);
  return {what, {}, transfer.so_far};
}

SdoDecoder::Meaning SdoDecoder::aborted(Transfer& transfer, const Frame& frame,
                                        const std::string& who) const {
  transfer = {};
  return says(who + objects_.name(object_of(frame)) + ": " +
              result_text(static_cast<nkr_error_t>(long_of(frame))));
}

SdoDecoder::Meaning SdoDecoder::block_segment(Transfer& transfer, const Frame& frame) const {
  const unsigned sequence = frame.data[0] & kSequenceMask;
  const bool last = (frame.data[0] & kLastSegment) != 0;
  if (sequence == transfer.sequence + 1) {  // one behind a gap is sent again after the acknowledgement
    transfer.sequence = sequence;
    append(transfer.so_far.bytes, frame, 0);
    transfer.last_segment = last;
  }
  return says("block segment " + std::to_string(sequence) + (last ? " (last)" : "") + " of " +
              objects_.name(transfer.so_far.object));
}

SdoDecoder::Meaning SdoDecoder::block_acknowledged(Transfer& transfer, const Frame& frame) const {
  const unsigned acknowledged = frame.data[1];
  if (acknowledged < transfer.sequence) {
    std::vector<std::uint8_t>& bytes = transfer.so_far.bytes;
    bytes.resize(std::min(bytes.size(), transfer.block_start + acknowledged * kSegmentBytes));
    transfer.last_segment = false;
  }
  transfer.sequence = 0;
  transfer.block_start = transfer.so_far.bytes.size();
  if (transfer.last_segment) transfer.block_sender = Transfer::Sender::NOBODY;
  return says("block of " + objects_.name(transfer.so_far.object) + ": " + std::to_string(acknowledged) +
              " segments taken");
}

SdoDecoder::Meaning SdoDecoder::block_end(Transfer& transfer, const Frame& frame) const {
  const std::size_t unused = frame.data[0] >> 2U & 7U;
  std::vector<std::uint8_t>& bytes = transfer.so_far.bytes;
  bytes.resize(bytes.size() - std::min(bytes.size(), unused));
  transfer.whole = true;
  return states(transfer);
}

SdoDecoder::Meaning SdoDecoder::block_upload_request(Transfer& transfer, const Frame& frame) const {
  switch (frame.data[0] & 3U) {
    case 0:
      transfer = started(frame, kRead, false);
      return says("block read " + objects_.name(transfer.so_far.object));
    case 1:
      return says("block read of " + objects_.name(transfer.so_far.object) + " ended");
    case 2:
      return block_acknowledged(transfer, frame);
    default:
      transfer.block_sender = Transfer::Sender::SERVER;
      return says("block read of " + objects_.name(transfer.so_far.object) + ": start");
  }
}

SdoDecoder::Meaning SdoDecoder::block_upload_reply(Transfer& transfer, const Frame& frame) const {
  if (has_bit(frame, 0)) return block_end(transfer, frame);
  return says(objects_.name(object_of(frame)) + " comes in blocks" + size_text(frame));
}

SdoDecoder::Meaning SdoDecoder::block_download_request(Transfer& transfer, const Frame& frame) const {
  if (has_bit(frame, 0)) return block_end(transfer, frame);
  transfer = started(frame, kWrite, false);
  return says("block write " + objects_.name(transfer.so_far.object) + size_text(frame));
}

SdoDecoder::Meaning SdoDecoder::block_download_reply(Transfer& transfer, const Frame& frame) const {
  switch (frame.data[0] & 3U) {
    case 0:
      transfer.block_sender = Transfer::Sender::CLIENT;
      return says(objects_.name(object_of(frame)) + " ready for blocks of " + std::to_string(frame.data[4]) +
                  " segments");
    case 1:
      return taken(transfer, objects_.name(transfer.so_far.object) + " taken");
    default:
      return block_acknowledged(transfer, frame);
  }
}

SdoDecoder::Meaning SdoDecoder::request(std::uint8_t node, const Frame& frame) {
  Transfer& transfer = transfers_[node];
  // In a block every byte pattern is a segment, but for sequence number 0: that is an abort.
  const bool in_block = transfer.block_sender == Transfer::Sender::CLIENT && !transfer.last_segment;
  if (in_block && (frame.data[0] & kSequenceMask) != 0) return block_segment(transfer, frame);
  switch (command_of(frame)) {
    case 0:
      return segment(transfer, frame);
    case 1:
      transfer = started(frame, kWrite, !is_expedited(frame));
      if (is_expedited(frame)) return expedited(transfer, frame);
      return says("write " + objects_.name(transfer.so_far.object) + ", " + std::to_string(long_of(frame)) +
                  " bytes follow");
    case 2:
      transfer = started(frame, kRead, false);
      return says("read " + objects_.name(transfer.so_far.object));
    case 3:
      return says("read: next segment of " + objects_.name(transfer.so_far.object));
    case 4:
      return aborted(transfer, frame, "abort ");
    case 5:
      return block_upload_request(transfer, frame);
    case 6:
      return block_download_request(transfer, frame);
    default:
      return says("unknown request");
  }
}

SdoDecoder::Meaning SdoDecoder::reply(std::uint8_t node, const Frame& frame) {
  Transfer& transfer = transfers_[node];
  const bool in_block = transfer.block_sender == Transfer::Sender::SERVER && !transfer.last_segment;
  if (in_block && (frame.data[0] & kSequenceMask) != 0) return block_segment(transfer, frame);
  switch (command_of(frame)) {
    case 0:
      return segment(transfer, frame);
    case 1:
      return taken(transfer, "segment taken");
    case 2:
      transfer = started(frame, kRead, !is_expedited(frame));
      if (is_expedited(frame)) return expedited(transfer, frame);
      return says(objects_.name(transfer.so_far.object) + " has " + std::to_string(long_of(frame)) +
                  " bytes");
    case 3:
      return taken(transfer,
                   objects_.name(object_of(frame)) + (transfer.segmented ? " ready for segments" : " taken"));
    case 4:
      return aborted(transfer, frame, "refused ");
    case 5:
      return block_download_reply(transfer, frame);
    case 6:
      return block_upload_reply(transfer, frame);
    default:
      return says("unknown answer");
  }
}

}  // namespace tav::host
