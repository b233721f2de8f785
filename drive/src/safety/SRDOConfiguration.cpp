#include "safety/SRDOConfiguration.hpp"

#include "dictionary/Checksum.hpp"

namespace tav::drive {
namespace {

constexpr std::uint16_t kParameters = 0x1300;
constexpr std::uint16_t kMapping = 0x1380;
constexpr std::uint16_t kValid = 0x13FE;
constexpr std::uint16_t kSignatures = 0x13FF;
constexpr std::uint8_t kMostNumbers = 64;
constexpr std::uint8_t kDeclaredValid = 0xA5;

std::uint16_t parameters_of(std::uint8_t number) {
  return static_cast<std::uint16_t>(kParameters + number);
}

std::uint16_t mapping_of(std::uint8_t number) {
  return static_cast<std::uint16_t>(kMapping + number);
}

// Sub-indices of the communication parameters.
constexpr std::uint8_t kDirection = 1;
constexpr std::uint8_t kRefreshTime = 2;
constexpr std::uint8_t kValidationTime = 3;
constexpr std::uint8_t kTransmissionType = 4;
constexpr std::uint8_t kCobId1 = 5;
constexpr std::uint8_t kCobId2 = 6;

/** The direction of an SRDO that is received; 1 is sent, 0 neither. */
constexpr std::uint8_t kReceive = 2;

/** The identifiers of SRDOs: the plain frame's is odd, that of its inverse the next one. */
bool is_plain_identifier(std::uint64_t value) {
  return value >= 0x101 && value <= 0x17F && value % 2 != 0;
}
bool is_inverse_identifier(std::uint64_t value) {
  return value >= 0x102 && value <= 0x180 && value % 2 == 0;
}

/** An identifier of 0 says that there is none yet. */
Abort refuses_parameter(std::uint8_t subindex, std::uint64_t value) {
  constexpr std::uint64_t kEventDriven = 254;
  const auto right = [&] {
    switch (subindex) {
      case kDirection:
        return value <= kReceive;
      case kRefreshTime:
      case kValidationTime:
        return value != 0;
      case kTransmissionType:
        return value == kEventDriven;
      case kCobId1:
        return value == 0 || is_plain_identifier(value);
      case kCobId2:
        return value == 0 || is_inverse_identifier(value);
      default:
        return true;
    }
  };
  return right() ? Abort::NONE : Abort::INVALID_VALUE;
}

}  // namespace

SRDOConfiguration::SRDOConfiguration(Context& context)
    : context_(context), valid_(context.dictionary, kValid, 0) {
  for (std::uint8_t number = 1; number <= kMostNumbers; ++number) {
    watch_parameters(number);
    watch_mapping(number);
    if (Object* signature = context.dictionary.find(kSignatures, number)) guard(*signature);
  }
  if (Object* valid = valid_.object()) {
    valid->refuse_when([this](const Bytes& bytes) { return refuses_validity(unsigned_of(bytes)); });
  }
}

Abort SRDOConfiguration::refuses_while_operational() const {
  return context_.nmt == NMTState::OPERATIONAL ? Abort::DEVICE_STATE : Abort::NONE;
}

/** What is changed has to be declared valid again. */
void SRDOConfiguration::guard(Object& object) {
  object.refuse_when([this](const Bytes&) { return refuses_while_operational(); });
  object.when_written([this] { valid_.set(0); });
}

void SRDOConfiguration::watch_parameters(std::uint8_t number) {
  for (std::uint8_t subindex = kDirection; subindex <= kCobId2; ++subindex) {
    Object* const object = context_.dictionary.find(parameters_of(number), subindex);
    if (object == nullptr) continue;
    // The object's own rule takes the place of the description's limits: it has the standard's codes.
    object->low.reset();
    object->high.reset();
    guard(*object);
    object->refuse_when(
        [subindex](const Bytes& bytes) { return refuses_parameter(subindex, unsigned_of(bytes)); });
  }
}

void SRDOConfiguration::watch_mapping(std::uint8_t number) {
  constexpr std::uint8_t kLastEntry = 16;
  for (std::uint8_t subindex = 0; subindex <= kLastEntry; ++subindex) {
    Object* object = context_.dictionary.find(mapping_of(number), subindex);
    if (object == nullptr) continue;
    object->low.reset();
    object->high.reset();
    guard(*object);
    object->refuse_when([this, number, subindex](const Bytes& bytes) {
      if (in_use(number)) return Abort::UNSUPPORTED_ACCESS;
      if (subindex == 0) return refuses_count(number, unsigned_of(bytes));
      return count_of(number) != 0 ? Abort::UNSUPPORTED_ACCESS : Abort::NONE;
    });
  }
}

bool SRDOConfiguration::in_use(std::uint8_t number) const {
  return parameter(number, kDirection) != 0;
}

/** Plain and inverted entry alternate, in whole bytes and equal lengths, up to eight bytes each. */
Abort SRDOConfiguration::refuses_count(std::uint8_t number, std::uint64_t count) const {
  constexpr std::uint32_t kMostBits = 64;
  constexpr std::uint64_t kMostEntries = 16;
  if (count % 2 != 0 || count > kMostEntries) return Abort::MAPPING_TOO_LONG;
  std::uint32_t plain_bits = 0;
  std::uint32_t length = 0;
  for (std::uint64_t i = 1; i <= count; ++i) {
    const auto subindex = static_cast<std::uint8_t>(i);
    const Object* const object = mapped_by(number, subindex);
    const std::uint32_t bits = entry_of(number, subindex) & 0xFFU;
    if (object == nullptr || !object->mappable || bits != 8 * object->size) return Abort::NOT_MAPPABLE;
    const bool inverted = i % 2 == 0;
    if (inverted && bits != length) return Abort::INCOMPATIBLE;
    length = bits;
    plain_bits += inverted ? 0 : bits;
  }
  return plain_bits > kMostBits ? Abort::MAPPING_TOO_LONG : Abort::NONE;
}

Abort SRDOConfiguration::refuses_validity(std::uint64_t value) const {
  const Abort abort = refuses_while_operational();
  if (abort != Abort::NONE || value == 0) return abort;
  if (value != kDeclaredValid) return Abort::INVALID_VALUE;
  for (std::uint8_t number = 1; number <= kMostNumbers; ++number) {
    if (!in_use(number)) continue;
    const bool alone = shares_no_identifier(number);
    if (!alone || !is_complete(number) || !signature_agrees(number)) return Abort::INCOMPATIBLE;
  }
  return Abort::NONE;
}

std::uint32_t SRDOConfiguration::parameter(std::uint8_t number, std::uint8_t subindex) const {
  return Variable<std::uint32_t>(context_.dictionary, parameters_of(number), subindex).get();
}

std::uint8_t SRDOConfiguration::count_of(std::uint8_t number) const {
  return Variable<std::uint8_t>(context_.dictionary, mapping_of(number), 0).get();
}

/** All parameters are there and right, the identifiers are a pair, and what is mapped can be (EN 50325-5). */
bool SRDOConfiguration::is_complete(std::uint8_t number) const {
  for (std::uint8_t subindex = kDirection; subindex <= kCobId2; ++subindex) {
    const bool there = context_.dictionary.find(parameters_of(number), subindex) != nullptr;
    if (!there || refuses_parameter(subindex, parameter(number, subindex)) != Abort::NONE) return false;
  }
  const std::uint32_t plain = parameter(number, kCobId1);
  const bool pair = plain != 0 && parameter(number, kCobId2) == plain + 1;
  return pair && refuses_count(number, count_of(number)) == Abort::NONE && is_mapped_in_its_direction(number);
}

/** What is received can be written, what is sent can be read. */
bool SRDOConfiguration::is_mapped_in_its_direction(std::uint8_t number) const {
  const bool received = parameter(number, kDirection) == kReceive;
  for (unsigned i = 1; i <= count_of(number); ++i) {
    const Object* const object = mapped_by(number, static_cast<std::uint8_t>(i));
    if (object == nullptr || !(received ? object->writable : object->readable)) return false;
  }
  return true;
}

Object* SRDOConfiguration::mapped_by(std::uint8_t number, std::uint8_t subindex) const {
  const std::uint32_t entry = entry_of(number, subindex);
  return context_.dictionary.find(static_cast<std::uint16_t>(entry >> 16),
                                  static_cast<std::uint8_t>(entry >> 8));
}

std::uint32_t SRDOConfiguration::entry_of(std::uint8_t number, std::uint8_t subindex) const {
  return Variable<std::uint32_t>(context_.dictionary, mapping_of(number), subindex).get();
}

bool SRDOConfiguration::shares_no_identifier(std::uint8_t number) const {
  for (std::uint8_t other = 1; other < number; ++other) {
    if (in_use(other) && parameter(other, kCobId1) == parameter(number, kCobId1)) return false;
  }
  return true;
}

/** EN 50325-5, 6.2: direction, times, identifiers, then the mapping entries with their sub-indices. */
bool SRDOConfiguration::signature_agrees(std::uint8_t number) const {
  ObjectDictionary& dictionary = context_.dictionary;
  Checksum checksum;
  const std::size_t kBytesOfParameters[][2] = {{1, 1}, {2, 2}, {3, 1}, {5, 4}, {6, 4}};
  for (const auto& [subindex, bytes] : kBytesOfParameters) {
    checksum.feed(dictionary.find(parameters_of(number), static_cast<std::uint8_t>(subindex)), bytes);
  }
  const std::uint8_t count = count_of(number);
  checksum.feed(count, 1);
  for (unsigned i = 1; i <= count; ++i) {
    checksum.feed(i, 1);
    checksum.feed(dictionary.find(mapping_of(number), static_cast<std::uint8_t>(i)), 4);
  }
  return Variable<std::uint16_t>(dictionary, kSignatures, number).get() == checksum.value();
}

}  // namespace tav::drive
