#include "pdo/PDOParameters.hpp"

#include "node/CobId.hpp"

namespace tav::drive {
namespace {

constexpr std::size_t kMostBytes = 8;
constexpr std::uint8_t kMostEntries = 64;

std::uint16_t communication_index(PDOParameters::Direction direction, std::uint16_t number) {
  constexpr unsigned kReceive = 0x1400;
  constexpr unsigned kTransmit = 0x1800;
  const unsigned first = direction == PDOParameters::Direction::RECEIVE ? kReceive : kTransmit;
  return static_cast<std::uint16_t>(first + number);
}

/** 241 to 253 are reserved, or want remote frames, which the drive does not answer. */
Abort refuses_type(std::uint64_t type) {
  return type > 240 && type < 254 ? Abort::INVALID_VALUE : Abort::NONE;
}

}  // namespace

PDOParameters::PDOParameters(Context& context, Direction direction, std::uint16_t number)
    : context_(context),
      direction_(direction),
      mapping_index_(static_cast<std::uint16_t>(communication_index(direction, number) + 0x200)),
      cob_id_(context.dictionary, communication_index(direction, number), 1, kCobIdNotValid),
      type_(context.dictionary, communication_index(direction, number), 2, 255),
      inhibit_time_(context.dictionary, communication_index(direction, number), 3, 0),
      event_timer_(context.dictionary, communication_index(direction, number), 5, 0),
      count_(context.dictionary, mapping_index_, 0, 0) {
  watch_objects();
}

void PDOParameters::watch_objects() {
  const auto refuse = [](Object* object, std::function<Abort(const Bytes&)> reason) {
    if (object != nullptr) object->refuse_when(std::move(reason));
  };
  refuse(cob_id_.object(), [this](const Bytes& bytes) {
    return refuses_identifier(static_cast<std::uint32_t>(unsigned_of(bytes)));
  });
  refuse(type_.object(), [](const Bytes& bytes) { return refuses_type(unsigned_of(bytes)); });
  refuse(inhibit_time_.object(),
         [this](const Bytes&) { return valid() ? Abort::DEVICE_STATE : Abort::NONE; });
  refuse(count_.object(), [this](const Bytes& bytes) { return refuses_count(unsigned_of(bytes)); });
  for (std::uint8_t i = 1; i <= kMostEntries; ++i) {
    refuse(context_.dictionary.find(mapping_index_, i), [this](const Bytes& bytes) {
      return refuses_entry(static_cast<std::uint32_t>(unsigned_of(bytes)));
    });
  }
  for (Object* object :
       {cob_id_.object(), type_.object(), inhibit_time_.object(), event_timer_.object(), count_.object()}) {
    if (object == nullptr) continue;
    object->when_written([this] { changed_(); });
  }
}

/** A valid PDO keeps its identifier; the write that makes it invalid may bring another. */
Abort PDOParameters::refuses_identifier(std::uint32_t cob_id) const {
  // Of a TPDO bit 30 says that it is not asked for by remote frames.
  const std::uint32_t own_bits = direction_ == Direction::TRANSMIT ? kCobIdBit30 : 0;
  return refuses_cob_id(cob_id, valid() ? std::optional(identifier()) : std::nullopt, own_bits);
}

Abort PDOParameters::refuses_count(std::uint64_t count) const {
  if (valid()) return Abort::UNSUPPORTED_ACCESS;
  std::size_t bytes = 0;
  for (std::size_t i = 1; i <= count; ++i) {
    const Object* object = mapped_by(entry(i));
    if (object == nullptr) return Abort::NOT_MAPPABLE;
    bytes += object->size;
  }
  return bytes > kMostBytes ? Abort::MAPPING_TOO_LONG : Abort::NONE;
}

Abort PDOParameters::refuses_entry(std::uint32_t entry) const {
  if (count_.get() != 0) return Abort::UNSUPPORTED_ACCESS;
  if (entry == 0) return Abort::NONE;
  return mapped_by(entry) == nullptr ? Abort::NOT_MAPPABLE : Abort::NONE;
}

/** The object of a mapping entry: index, sub-index, length in bits; null when it cannot be mapped. */
Object* PDOParameters::mapped_by(std::uint32_t entry) const {
  Object* object = context_.dictionary.find(static_cast<std::uint16_t>(entry >> 16),
                                            static_cast<std::uint8_t>(entry >> 8));
  if (object == nullptr || !object->mappable || (entry & 0xFFU) != 8 * object->size) return nullptr;
  const bool allowed = direction_ == Direction::RECEIVE ? object->writable : object->readable;
  return allowed ? object : nullptr;
}

std::uint32_t PDOParameters::entry(std::size_t number) const {
  return Variable<std::uint32_t>(context_.dictionary, mapping_index_, static_cast<std::uint8_t>(number))
      .get();
}

void PDOParameters::take() {
  identifier_ = cob_id_.get() & kCobIdIdentifier;
  valid_ = (cob_id_.get() & kCobIdNotValid) == 0 && !is_restricted(identifier_);
  transmission_type_ = type_.get();
  objects_.clear();
  size_ = 0;
  for (std::size_t i = 1; i <= count_.get(); ++i) {
    Object* object = mapped_by(entry(i));
    if (object == nullptr || size_ + object->size > kMostBytes) continue;
    objects_.push_back(object);
    size_ += object->size;
  }
}

}  // namespace tav::drive
