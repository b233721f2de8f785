#include "safety/SRDOConsumer.hpp"

#include <algorithm>
#include <utility>

#include "safety/SafetyControl.hpp"

namespace tav::drive {
namespace {

using nkr::can::Frame;
using std::chrono::milliseconds;

constexpr std::uint8_t kDeclaredValid = 0xA5;
constexpr std::uint8_t kReceives = 2;
constexpr std::uint32_t kIdentifier = 0x7FF;

// Emergency error codes (CiA 301, table 26).
constexpr std::uint16_t kProtocolError = 0x8200;
constexpr std::uint16_t kTimedOut = 0x8250;

bool is_inverse(const Frame& plain, const Frame& inverted) {
  if (plain.size != inverted.size) return false;
  for (std::size_t i = 0; i < plain.size; ++i) {
    if ((plain.data[i] ^ inverted.data[i]) != 0xFF) return false;
  }
  return true;
}

}  // namespace

SRDOConsumer::SRDOConsumer(Context& context, Errors& errors, std::function<void(bool)> safe_state)
    : context_(context),
      errors_(errors),
      safe_state_(std::move(safe_state)),
      valid_(context.dictionary, 0x13FE, 0) {
  constexpr std::uint8_t kMostNumbers = 64;
  for (std::uint8_t number = 1; number <= kMostNumbers; ++number) {
    if (context.dictionary.find(static_cast<std::uint16_t>(0x1300 + number), 1) != nullptr) add(number);
  }
  guard_fed_objects();
}

void SRDOConsumer::add(std::uint8_t number) {
  constexpr std::uint8_t kMostEntries = 16;
  ObjectDictionary& dictionary = context_.dictionary;
  const auto index = static_cast<std::uint16_t>(0x1300 + number);
  const auto mapping = static_cast<std::uint16_t>(0x1380 + number);
  Channel channel{index,
                  {dictionary, index, 1},
                  {dictionary, index, 2},
                  {dictionary, index, 3},
                  {dictionary, index, 5},
                  {dictionary, index, 6},
                  {dictionary, mapping, 0},
                  {},
                  State::OFF,
                  false,
                  {}};
  for (std::uint8_t entry = 1; entry <= kMostEntries; ++entry) {
    channel.entries.emplace_back(dictionary, mapping, entry);
  }
  channels_.push_back(std::move(channel));
}

void SRDOConsumer::guard_fed_objects() {
  const auto guard = [this](Object& written, const Object& fed) {
    written.refuse_when(
        [this, &fed](const Bytes&) { return !applying_ && feeds(fed) ? Abort::DEVICE_STATE : Abort::NONE; });
  };
  const Object* const safe_input = context_.dictionary.find(SafetyControl::kSafeInput);
  for (Object& object : context_.dictionary.objects()) {
    if (!object.writable) continue;
    if (object.mappable || object.stands_for != nullptr || &object == safe_input) guard(object, object);
    const bool maps_safe_input = object.name.rfind(SafetyControl::kSafeInputMapping, 0) == 0;
    if (maps_safe_input && safe_input != nullptr) guard(object, *safe_input);
  }
}

/** A received SRDO writes that object, by whatever name. */
bool SRDOConsumer::feeds(const Object& object) const {
  if (context_.nmt != NMTState::OPERATIONAL) return false;
  const auto itself = [](const Object& named) {
    return named.stands_for != nullptr ? named.stands_for : &named;
  };
  return std::any_of(channels_.begin(), channels_.end(), [&](const Channel& channel) {
    if (!in_use(channel)) return false;
    const std::vector<Object*> objects = plain_objects(channel);
    return std::any_of(objects.begin(), objects.end(), [&](const Object* const fed) {
      return fed != nullptr && itself(*fed) == itself(object);
    });
  });
}

bool SRDOConsumer::in_use(const Channel& channel) const {
  return valid_.get() == kDeclaredValid && channel.direction.get() == kReceives;
}

void SRDOConsumer::reset(Reset /*kind*/) {
  for (Channel& channel : channels_) end(channel);
  active_ = false;
  check_for_missing_data();
}

void SRDOConsumer::nmt_changed(NMTState /*before*/) {
  active_ = false;
  for (Channel& channel : channels_) {
    end(channel);
    if (context_.nmt == NMTState::OPERATIONAL && in_use(channel)) begin(channel);
  }
  check_for_missing_data();
}

void SRDOConsumer::begin(Channel& channel) {
  channel.state = State::AWAITS_PLAIN;
  active_ = true;
  const milliseconds refresh_time(channel.refresh_time.get());
  if (refresh_time.count() > 0) channel.refresh_due = context_.now + refresh_time;
}

void SRDOConsumer::end(Channel& channel) {
  if (channel.state == State::FAILED) {
    for (const std::uint16_t code : {kProtocolError, kTimedOut}) {
      errors_.clear(code, {static_cast<std::uint8_t>(channel.parameters_index),
                           static_cast<std::uint8_t>(channel.parameters_index >> 8)});
    }
  }
  channel.state = State::OFF;
  channel.received = false;
  channel.refresh_due = channel.validation_due = Time::max();
}

void SRDOConsumer::receive(const Frame& frame) {
  for (Channel& channel : channels_) {
    if (!active_) break;
    if (channel.state == State::AWAITS_PLAIN || channel.state == State::AWAITS_INVERTED) take(channel, frame);
  }
  check_for_missing_data();  // the frame may have changed the configuration too
}

void SRDOConsumer::take(Channel& channel, const Frame& frame) {
  if (frame.id == (channel.cob_id_1.get() & kIdentifier)) {
    take_plain(channel, frame);
  } else if (frame.id == (channel.cob_id_2.get() & kIdentifier)) {
    take_inverted(channel, frame);
  }
}

std::vector<Object*> SRDOConsumer::plain_objects(const Channel& channel) const {
  std::vector<Object*> objects;
  const std::size_t count = std::min<std::size_t>(channel.count.get(), channel.entries.size());
  for (std::size_t i = 0; i < count; i += 2) {
    const std::uint32_t entry = channel.entries[i].get();
    objects.push_back(context_.dictionary.find(static_cast<std::uint16_t>(entry >> 16),
                                               static_cast<std::uint8_t>(entry >> 8)));
  }
  return objects;
}

void SRDOConsumer::take_plain(Channel& channel, const Frame& frame) {
  std::size_t size = 0;
  for (const Object* object : plain_objects(channel)) size += object != nullptr ? object->size : 0;
  if (channel.state == State::AWAITS_INVERTED || frame.size != size) return fail(channel, kProtocolError);
  channel.state = State::AWAITS_INVERTED;
  channel.plain = frame;
  channel.validation_due = context_.now + milliseconds(channel.validation_time.get());
}

/** An inverted frame before its plain one is left alone. */
void SRDOConsumer::take_inverted(Channel& channel, const Frame& frame) {
  if (channel.state != State::AWAITS_INVERTED) return;
  if (!is_inverse(channel.plain, frame)) return fail(channel, kProtocolError);
  channel.received = true;
  channel.validation_due = Time::max();
  begin(channel);
  apply(channel);
}

void SRDOConsumer::apply(const Channel& channel) {
  applying_ = true;
  auto byte = channel.plain.data.begin();
  for (Object* object : plain_objects(channel)) {
    if (object == nullptr) continue;
    const auto end = byte + static_cast<std::ptrdiff_t>(object->size);
    ObjectDictionary::write(*object, Bytes(byte, end));
    byte = end;
  }
  applying_ = false;
}

void SRDOConsumer::fail(Channel& channel, std::uint16_t code) {
  channel.state = State::FAILED;
  channel.received = false;
  channel.refresh_due = channel.validation_due = Time::max();
  errors_.raise(code,
                {static_cast<std::uint8_t>(channel.parameters_index),
                 static_cast<std::uint8_t>(channel.parameters_index >> 8)},
                Errors::Ends::WITH_ITS_CAUSE, true);
}

void SRDOConsumer::check_for_missing_data() {
  const bool missing = valid_.get() == kDeclaredValid &&
                       std::any_of(channels_.begin(), channels_.end(), [this](const Channel& channel) {
                         return in_use(channel) && !channel.received;
                       });
  if (std::exchange(missing_, missing) != missing) safe_state_(missing);
}

Time SRDOConsumer::next_due() const {
  Time due = Time::max();
  if (!active_) return due;
  for (const Channel& channel : channels_) due = std::min({due, channel.refresh_due, channel.validation_due});
  return due;
}

void SRDOConsumer::run() {
  for (Channel& channel : channels_) {
    if (std::min(channel.refresh_due, channel.validation_due) <= context_.now) fail(channel, kTimedOut);
  }
  check_for_missing_data();
}

}  // namespace tav::drive
