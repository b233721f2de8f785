#include "sdo/SDOServer.hpp"

#include <algorithm>

#include "node/CobId.hpp"

namespace tav::drive {
namespace {

using nkr::can::Frame;

// Command specifiers of the client, and what the server answers (CiA 301, 7.2.4.3).
constexpr std::uint8_t kDownloadSegment = 0;
constexpr std::uint8_t kDownload = 1;
constexpr std::uint8_t kUpload = 2;
constexpr std::uint8_t kUploadSegment = 3;
constexpr std::uint8_t kAbort = 4;
constexpr std::uint8_t kBlockUpload = 5;
constexpr std::uint8_t kBlockDownload = 6;

constexpr std::uint8_t kExpedited = 0x02;
constexpr std::uint8_t kSizeGiven = 0x01;
constexpr std::uint8_t kToggle = 0x10;
constexpr std::uint8_t kLast = 0x01;

constexpr std::uint8_t kBlockChecksum = 0x04;

constexpr std::size_t kExpeditedBytes = 4;
constexpr std::size_t kSegmentBytes = 7;
constexpr std::uint8_t kFrameBytes = 8;

constexpr std::uint16_t kDefaultChannel = 0x1200;

/** A client that says nothing for so long in mid-transfer is gone. */
constexpr std::chrono::seconds kTimeout(5);

std::uint32_t four_bytes(const Frame& frame) {
  std::uint32_t number = 0;
  for (std::size_t i = 8; i-- > 4;) number = (number << 8) | frame.data[i];
  return number;
}

void put_four_bytes(Frame& frame, std::uint32_t number) {
  for (std::size_t i = 4; i < 8; ++i) {
    frame.data[i] = static_cast<std::uint8_t>(number);
    number >>= 8;
  }
}

}  // namespace

SDOServer::SDOServer(Context& context, std::uint16_t channel)
    : context_(context),
      index_of_channel_(static_cast<std::uint16_t>(0x1200 + channel)),
      request_id_(context.dictionary, index_of_channel_, 1, kCobIdNotValid),
      reply_id_(context.dictionary, index_of_channel_, 2, kCobIdNotValid) {
  for (const Variable<std::uint32_t>* const identifier : {&request_id_, &reply_id_}) {
    Object* const object = identifier->object();
    if (object == nullptr) continue;
    object->refuse_when([this, identifier](const Bytes& bytes) {
      return refuses_identifier(*identifier, static_cast<std::uint32_t>(unsigned_of(bytes)));
    });
    object->when_written([this] { take_identifiers(); });
  }
  if (Object* const client = context.dictionary.find(index_of_channel_, 3)) {
    constexpr std::uint64_t kLargestNodeId = 127;
    client->refuse_when([](const Bytes& bytes) {
      return unsigned_of(bytes) > kLargestNodeId ? Abort::INVALID_VALUE : Abort::NONE;
    });
  }
}

/** The default channel is fixed; another one keeps its identifiers while it is valid (CiA 301, 7.5.2.33). */
Abort SDOServer::refuses_identifier(const Variable<std::uint32_t>& held, std::uint32_t value) const {
  if (index_of_channel_ == kDefaultChannel) return Abort::READ_ONLY;
  return refuses_cob_id(value, open_ ? std::optional(held.get() & kCobIdIdentifier) : std::nullopt,
                        kCobIdBit30);
}

void SDOServer::reset(Reset /*kind*/) {
  constexpr std::uint32_t kDefaultRequest = 0x600;
  constexpr std::uint32_t kDefaultReply = 0x580;
  transfer_ = Transfer::NONE;
  // The default channel of a device whose description leaves it out is there all the same.
  if (index_of_channel_ == kDefaultChannel && request_id_.object() == nullptr) {
    request_id_.set(kDefaultRequest + context_.node_id);
    reply_id_.set(kDefaultReply + context_.node_id);
  }
  take_identifiers();
}

void SDOServer::take_identifiers() {
  listens_to_ = request_id_.get() & kCobIdIdentifier;
  answers_on_ = reply_id_.get() & kCobIdIdentifier;
  const auto usable = [this](std::uint32_t value) {
    if ((value & kCobIdNotValid) != 0) return false;
    return index_of_channel_ == kDefaultChannel ||
           refuses_cob_id(value, std::nullopt, kCobIdBit30) == Abort::NONE;
  };
  open_ = usable(request_id_.get()) && usable(reply_id_.get());
}

void SDOServer::nmt_changed(NMTState /*before*/) {
  if (context_.nmt == NMTState::STOPPED) transfer_ = Transfer::NONE;
}

void SDOServer::receive(const Frame& frame) {
  if (!open_ || frame.id != listens_to_ || frame.size != kFrameBytes) return;
  if (context_.nmt != NMTState::PRE_OPERATIONAL && context_.nmt != NMTState::OPERATIONAL) return;
  serve(frame);
  deadline_ = context_.now + kTimeout;
}

Time SDOServer::next_due() const {
  return transfer_ == Transfer::NONE ? Time::max() : deadline_;
}

void SDOServer::run() {
  if (next_due() <= context_.now) abort(Abort::TIMED_OUT);
}

void SDOServer::serve(const Frame& request) {
  if (transfer_ == Transfer::BLOCK_DOWNLOAD && !begins_anew(request)) return take_block_segment(request);
  switch (request.data[0] >> 5) {
    case kDownload:
      return begin_download(request);
    case kUpload:
      return begin_upload(request);
    case kDownloadSegment:
      return download_segment(request);
    case kUploadSegment:
      return upload_segment(request);
    case kAbort:
      transfer_ = Transfer::NONE;
      return;
    case kBlockUpload:
      return serve_block_upload(request);
    case kBlockDownload:
      return serve_block_download(request);
    default:
      remember(request);
      return abort(Abort::UNKNOWN_COMMAND);
  }
}

void SDOServer::remember(const Frame& request) {
  transfer_ = Transfer::NONE;
  index_ = static_cast<std::uint16_t>(request.data[1] | (request.data[2] << 8));
  subindex_ = request.data[3];
}

/** Whether the access that begins is to be served here; else it is answered, or lost. */
bool SDOServer::admitted(bool write, bool single) {
  const Admission admission = context_.admit({index_, subindex_, write, single, listens_to_, answers_on_});
  in_segments_ = admission.in_segments;
  if (admission.served && admission.refused) abort(*admission.refused);
  return admission.served && !admission.refused;
}

void SDOServer::begin_download(const Frame& request) {
  remember(request);
  if (!admitted(true, (request.data[0] & kExpedited) != 0)) return;
  Abort code = Abort::NONE;
  const Object* object = context_.dictionary.writable(index_, subindex_, code);
  if (object == nullptr) return abort(code);
  const std::uint8_t command = request.data[0];
  size_known_ = (command & kSizeGiven) != 0;
  if ((command & kExpedited) != 0) {
    const std::size_t unused = size_known_ ? (command >> 2) & 3U : 0U;
    std::size_t size = kExpeditedBytes - unused;
    if (!size_known_ && object->kind != Kind::TEXT) size = std::min(size, object->size);
    data_.assign(request.data.begin() + 4, request.data.begin() + 4 + static_cast<std::ptrdiff_t>(size));
    return finish_download();
  }
  announced_size_ = size_known_ ? four_bytes(request) : 0;
  if (announced_size_ > object->size) return abort(Abort::TOO_LONG);
  if (size_known_ && object->kind != Kind::TEXT && announced_size_ < object->size)
    return abort(Abort::TOO_SHORT);
  transfer_ = Transfer::DOWNLOAD;
  toggle_ = false;
  data_.clear();
  answer(reply_with_object(0x60));
}

void SDOServer::download_segment(const Frame& request) {
  if (transfer_ != Transfer::DOWNLOAD) return abort(Abort::UNKNOWN_COMMAND);
  const std::uint8_t command = request.data[0];
  if (((command & kToggle) != 0) != toggle_) return abort(Abort::TOGGLE_BIT);
  const std::size_t unused = (command >> 1) & 7U;
  const std::size_t size = kSegmentBytes - unused;
  Abort code = Abort::NONE;
  const Object* object = context_.dictionary.writable(index_, subindex_, code);
  if (object == nullptr) return abort(code);
  if (data_.size() + size > object->size) return abort(Abort::TOO_LONG);
  data_.insert(data_.end(), request.data.begin() + 1,
               request.data.begin() + 1 + static_cast<std::ptrdiff_t>(size));
  if ((command & kLast) != 0) return finish_download();
  answer(reply(toggle_ ? 0x20 | kToggle : 0x20));
  toggle_ = !toggle_;
}

void SDOServer::finish_download() {
  const bool segmented = transfer_ == Transfer::DOWNLOAD;
  transfer_ = Transfer::NONE;
  if (segmented && size_known_ && data_.size() != announced_size_) return abort(Abort::LENGTH);
  // A write may move this channel, or reset the node: the answer still goes where the request came from.
  Frame confirmation = segmented ? reply(toggle_ ? 0x20 | kToggle : 0x20) : reply_with_object(0x60);
  store(data_, confirmation);
}

/** Writes the object and, when it takes the value, confirms that. */
void SDOServer::store(const Bytes& bytes, const Frame& confirmation) {
  Abort code = Abort::NONE;
  Object* object = context_.dictionary.writable(index_, subindex_, code);
  if (object == nullptr) return abort(code);
  code = ObjectDictionary::write(*object, bytes);
  if (code != Abort::NONE) return abort(code);
  answer(confirmation);
}

/** Brings the object's value up to date for an upload; else aborts. @return the object, or null */
const Object* SDOServer::open_for_upload() {
  if (!admitted(false, false)) return nullptr;
  Abort code = Abort::NONE;
  Object* object = context_.dictionary.readable(index_, subindex_, code);
  if (object != nullptr) code = ObjectDictionary::refresh(*object);
  if (code == Abort::NONE) return object;
  abort(code);
  return nullptr;
}

void SDOServer::begin_upload(const Frame& request) {
  remember(request);
  if (const Object* const object = open_for_upload()) upload_in_segments(object->value);
}

/** The answer to a request for an ordinary upload: a short value at once, else the first of segments. */
void SDOServer::upload_in_segments(const Bytes& value) {
  if (!in_segments_ && !value.empty() && value.size() <= kExpeditedBytes) {
    const std::size_t unused = kExpeditedBytes - value.size();
    Frame frame =
        reply_with_object(static_cast<std::uint8_t>(0x40 | (unused << 2) | kExpedited | kSizeGiven));
    std::copy(value.begin(), value.end(), frame.data.begin() + 4);
    return answer(frame);
  }
  data_ = value;
  sent_ = 0;
  toggle_ = false;
  transfer_ = Transfer::UPLOAD;
  Frame frame = reply_with_object(0x40 | kSizeGiven);
  put_four_bytes(frame, static_cast<std::uint32_t>(data_.size()));
  answer(frame);
}

void SDOServer::upload_segment(const Frame& request) {
  if (transfer_ != Transfer::UPLOAD) return abort(Abort::UNKNOWN_COMMAND);
  if (((request.data[0] & kToggle) != 0) != toggle_) return abort(Abort::TOGGLE_BIT);
  const std::size_t size = std::min(kSegmentBytes, data_.size() - sent_);
  const bool last = sent_ + size == data_.size();
  const std::size_t command = (toggle_ ? kToggle : 0U) | ((kSegmentBytes - size) << 1) | (last ? kLast : 0U);
  Frame frame = reply(static_cast<std::uint8_t>(command));
  std::copy_n(data_.begin() + static_cast<std::ptrdiff_t>(sent_), size, frame.data.begin() + 1);
  sent_ += size;
  toggle_ = !toggle_;
  if (last) transfer_ = Transfer::NONE;
  answer(frame);
}

void SDOServer::serve_block_download(const Frame& request) {
  constexpr std::uint8_t kEnd = 0x01;
  if ((request.data[0] & kEnd) == 0) return begin_block_download(request);
  if (transfer_ != Transfer::BLOCK_DOWNLOAD_END) return abort(Abort::UNKNOWN_COMMAND);
  finish_block_download(request);
}

void SDOServer::begin_block_download(const Frame& request) {
  constexpr std::uint8_t kBlockSizeGiven = 0x02;
  remember(request);
  if (!admitted(true, false)) return;
  Abort code = Abort::NONE;
  const Object* object = context_.dictionary.writable(index_, subindex_, code);
  if (object == nullptr) return abort(code);
  size_known_ = (request.data[0] & kBlockSizeGiven) != 0;
  announced_size_ = size_known_ ? four_bytes(request) : 0;
  if (announced_size_ > object->size) return abort(Abort::TOO_LONG);
  transfer_ = Transfer::BLOCK_DOWNLOAD;
  block_download_.begin(object->size, (request.data[0] & kBlockChecksum) != 0);
  Frame frame = reply_with_object(0xA0 | kBlockChecksum);
  frame.data[4] = BlockDownloadServer::kBlockSize;
  answer(frame);
}

/**
 * Among segments, whether this is the first request of a client that gave its transfer up: not the segment
 * that is awaited, and in all of its bytes a request for an object that there is. A segment that came out of
 * sequence is dropped anyway.
 */
bool SDOServer::begins_anew(const Frame& frame) const {
  if (block_download_.awaits(frame)) return false;
  const auto index = static_cast<std::uint16_t>(frame.data[1] | (frame.data[2] << 8));
  if (context_.dictionary.find(index, frame.data[3]) == nullptr) return false;
  const std::uint8_t command = frame.data[0];
  switch (command >> 5) {
    case kUpload:
      return command == kUpload << 5 && four_bytes(frame) == 0;
    case kDownload:
      return (command & kToggle) == 0 && ((command & kExpedited) != 0 || (command & 0x0CU) == 0);
    case kBlockUpload:
      return (command & 0x1BU) == 0 && BlockUploadServer::is_block_size(frame.data[4]);
    case kBlockDownload:
      return (command & 0x19U) == 0;
    default:
      return false;
  }
}

/** Any byte may begin a segment, but that of an abort: there is no sequence number 0. */
void SDOServer::take_block_segment(const Frame& segment) {
  constexpr std::uint8_t kAbortCommand = 0x80;
  if (segment.data[0] == kAbortCommand) {
    transfer_ = Transfer::NONE;
    return;
  }
  switch (block_download_.take(segment)) {
    case BlockDownloadServer::Progress::UNDER_WAY:
      return;
    case BlockDownloadServer::Progress::TOO_LONG:
      return abort(Abort::TOO_LONG);
    case BlockDownloadServer::Progress::SUB_BLOCK_OVER:
      break;
  }
  Frame frame = reply(0xA2);
  frame.data[1] = block_download_.acknowledge();
  frame.data[2] = BlockDownloadServer::kBlockSize;
  if (block_download_.complete()) transfer_ = Transfer::BLOCK_DOWNLOAD_END;
  answer(frame);
}

void SDOServer::finish_block_download(const Frame& request) {
  transfer_ = Transfer::NONE;
  const Abort code = block_download_.end(request);
  if (code != Abort::NONE) return abort(code);
  const Bytes& bytes = block_download_.bytes();
  if (size_known_ && bytes.size() != announced_size_) return abort(Abort::LENGTH);
  store(bytes, reply(0xA1));
}

void SDOServer::serve_block_upload(const Frame& request) {
  constexpr std::uint8_t kInitiate = 0;
  constexpr std::uint8_t kEnd = 1;
  constexpr std::uint8_t kAcknowledge = 2;
  const auto command = static_cast<std::uint8_t>(request.data[0] & 3U);
  if (command == kInitiate) return begin_block_upload(request);
  const Transfer expected = command == kEnd ? Transfer::BLOCK_UPLOAD_END : Transfer::BLOCK_UPLOAD;
  if (transfer_ != expected) return abort(Abort::UNKNOWN_COMMAND);
  if (command == kEnd) {
    transfer_ = Transfer::NONE;
  } else if (command == kAcknowledge) {
    acknowledge_block_upload(request);
  } else {
    send_sub_block();
  }
}

void SDOServer::begin_block_upload(const Frame& request) {
  remember(request);
  const std::uint8_t block_size = request.data[4];
  const std::uint8_t switch_threshold = request.data[5];
  const Object* const object = open_for_upload();
  if (object == nullptr) return;
  if (!BlockUploadServer::is_block_size(block_size)) return abort(Abort::BLOCK_SIZE);
  const bool may_switch = switch_threshold != 0 && object->value.size() <= switch_threshold;
  if (may_switch) return upload_in_segments(object->value);
  transfer_ = Transfer::BLOCK_UPLOAD;
  block_upload_.begin(object->value, block_size);
  constexpr std::uint8_t kBlockSizeGiven = 0x02;
  Frame frame = reply_with_object(0xC0 | kBlockChecksum | kBlockSizeGiven);
  put_four_bytes(frame, static_cast<std::uint32_t>(object->value.size()));
  answer(frame);
}

void SDOServer::acknowledge_block_upload(const Frame& request) {
  const std::uint8_t block_size = request.data[2];
  if (!BlockUploadServer::is_block_size(block_size)) return abort(Abort::BLOCK_SIZE);
  if (!block_upload_.acknowledge(request.data[1], block_size)) return abort(Abort::SEQUENCE);
  if (!block_upload_.complete()) return send_sub_block();
  transfer_ = Transfer::BLOCK_UPLOAD_END;
  answer(block_upload_.end(answers_on_));
}

void SDOServer::send_sub_block() {
  while (!block_upload_.sub_block_over()) answer(block_upload_.segment(answers_on_));
}

Frame SDOServer::reply(std::uint8_t command) const {
  return Frame(answers_on_, {command, 0, 0, 0, 0, 0, 0, 0});
}

Frame SDOServer::reply_with_object(std::uint8_t command) const {
  return Frame(answers_on_, {command, static_cast<std::uint8_t>(index_),
                             static_cast<std::uint8_t>(index_ >> 8), subindex_, 0, 0, 0, 0});
}

void SDOServer::answer(const Frame& reply) {
  context_.reply(reply);
}

void SDOServer::abort(Abort code) {
  transfer_ = Transfer::NONE;
  Frame frame = reply_with_object(0x80);
  put_four_bytes(frame, static_cast<std::uint32_t>(code));
  answer(frame);
}

}  // namespace tav::drive
