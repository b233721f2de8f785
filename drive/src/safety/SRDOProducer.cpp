#include "safety/SRDOProducer.hpp"

#include <algorithm>

namespace tav::drive {
namespace {

using nkr::can::Frame;

constexpr std::uint8_t kDeclaredValid = 0xA5;
constexpr std::uint8_t kSends = 1;
constexpr std::uint32_t kIdentifier = 0x7FF;

/** For each node id, before the first frame; and between a frame and its inverse. */
constexpr std::chrono::microseconds kHalfMillisecond(500);

}  // namespace

SRDOProducer::SRDOProducer(Context& context) : context_(context), valid_(context.dictionary, 0x13FE, 0) {
  constexpr std::uint8_t kMostNumbers = 64;
  for (std::uint8_t number = 1; number <= kMostNumbers; ++number) {
    if (context.dictionary.find(static_cast<std::uint16_t>(0x1300 + number), 1) != nullptr) add(number);
  }
  if (Object* const valid = valid_.object()) valid->when_written([this] { start_over(); });
}

void SRDOProducer::add(std::uint8_t number) {
  constexpr std::uint8_t kMostEntries = 16;
  ObjectDictionary& dictionary = context_.dictionary;
  const auto index = static_cast<std::uint16_t>(0x1300 + number);
  const auto mapping = static_cast<std::uint16_t>(0x1380 + number);
  Channel channel{{dictionary, index, 1},
                  {dictionary, index, 2},
                  {dictionary, index, 5},
                  {dictionary, index, 6},
                  {dictionary, mapping, 0},
                  {},
                  {}};
  for (std::uint8_t entry = 1; entry <= kMostEntries; ++entry)
    channel.entries.emplace_back(dictionary, mapping, entry);
  channels_.push_back(std::move(channel));
}

bool SRDOProducer::in_use(const Channel& channel) const {
  return context_.nmt == NMTState::OPERATIONAL && valid_.get() == kDeclaredValid &&
         channel.direction.get() == kSends;
}

void SRDOProducer::reset(Reset /*kind*/) {
  start_over();
}

void SRDOProducer::nmt_changed(NMTState /*before*/) {
  start_over();
}

void SRDOProducer::start_over() {
  for (Channel& channel : channels_) {
    channel.inverse_due = Time::max();
    channel.plain_due = in_use(channel) ? context_.now + context_.node_id * kHalfMillisecond : Time::max();
  }
  plan();
}

/** What the plain entries hold now; both frames are made of it, so that no event comes between them. */
Frame SRDOProducer::plain_of(const Channel& channel) {
  Frame frame;
  frame.id = channel.cob_id_1.get() & kIdentifier;
  const std::size_t count = std::min<std::size_t>(channel.count.get(), channel.entries.size());
  for (std::size_t i = 0; i < count; i += 2) {
    const std::uint32_t entry = channel.entries[i].get();
    Object* const object = context_.dictionary.find(static_cast<std::uint16_t>(entry >> 16),
                                                    static_cast<std::uint8_t>(entry >> 8));
    if (object == nullptr || frame.size + object->value.size() > frame.data.size()) continue;
    (void)ObjectDictionary::refresh(*object);
    for (const std::uint8_t byte : object->value) frame.data[frame.size++] = byte;
  }
  return frame;
}

void SRDOProducer::send_plain(Channel& channel) {
  const Frame plain = plain_of(channel);
  channel.inverse = plain;
  channel.inverse.id = channel.cob_id_2.get() & kIdentifier;
  for (std::size_t i = 0; i < plain.size; ++i) {
    channel.inverse.data[i] = static_cast<std::uint8_t>(~unsigned{plain.data[i]});
  }
  channel.plain_due =
      context_.now + std::chrono::milliseconds(std::max<std::uint16_t>(channel.refresh_time.get(), 1));
  channel.inverse_due = context_.now + kHalfMillisecond;
  context_.transmit(plain);
}

void SRDOProducer::plan() {
  due_ = Time::max();
  for (const Channel& channel : channels_) due_ = std::min({due_, channel.plain_due, channel.inverse_due});
}

void SRDOProducer::run() {
  for (Channel& channel : channels_) {
    if (channel.inverse_due <= context_.now) {
      channel.inverse_due = Time::max();
      context_.transmit(channel.inverse);
    }
    if (channel.plain_due <= context_.now) send_plain(channel);
  }
  plan();
}

}  // namespace tav::drive
