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
  constexpr std::uint8_t kLastParameter = 6;
  for (std::uint8_t subindex = 1; subindex <= kLastParameter; ++subindex) {
    if (Object* object = context_.dictionary.find(parameters_of(number), subindex)) guard(*object);
  }
}

void SRDOConfiguration::watch_mapping(std::uint8_t number) {
  constexpr std::uint8_t kLastEntry = 16;
  for (std::uint8_t subindex = 0; subindex <= kLastEntry; ++subindex) {
    Object* object = context_.dictionary.find(mapping_of(number), subindex);
    if (object == nullptr) continue;
    guard(*object);
    object->refuse_when([this, number, subindex](const Bytes& bytes) {
      if (in_use(number)) return Abort::UNSUPPORTED_ACCESS;
      return subindex == 0 ? refuses_count(number, unsigned_of(bytes)) : Abort::NONE;
    });
  }
}

bool SRDOConfiguration::in_use(std::uint8_t number) const {
  return Variable<std::uint8_t>(context_.dictionary, parameters_of(number), 1).get() != 0;
}

/** Plain and inverted entry alternate, in whole bytes and equal lengths, up to eight bytes each. */
Abort SRDOConfiguration::refuses_count(std::uint8_t number, std::uint64_t count) const {
  constexpr std::uint32_t kMostBits = 64;
  if (count % 2 != 0) return Abort::INVALID_VALUE;
  std::uint32_t plain_bits = 0;
  std::uint32_t length = 0;
  for (std::uint64_t i = 1; i <= count; ++i) {
    const auto entry =
        Variable<std::uint32_t>(context_.dictionary, mapping_of(number), static_cast<std::uint8_t>(i)).get();
    const Object* object = context_.dictionary.find(static_cast<std::uint16_t>(entry >> 16),
                                                    static_cast<std::uint8_t>(entry >> 8));
    const std::uint32_t bits = entry & 0xFFU;
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
    if (in_use(number) && !signature_agrees(number)) return Abort::INCOMPATIBLE;
  }
  return Abort::NONE;
}

/** EN 50325-5, 6.2: direction, times, identifiers, then the mapping entries with their sub-indices. */
bool SRDOConfiguration::signature_agrees(std::uint8_t number) const {
  ObjectDictionary& dictionary = context_.dictionary;
  Checksum checksum;
  const std::size_t kBytesOfParameters[][2] = {{1, 1}, {2, 2}, {3, 1}, {5, 4}, {6, 4}};
  for (const auto& [subindex, bytes] : kBytesOfParameters) {
    checksum.feed(dictionary.find(parameters_of(number), static_cast<std::uint8_t>(subindex)), bytes);
  }
  const auto count = Variable<std::uint8_t>(dictionary, mapping_of(number), 0).get();
  checksum.feed(count, 1);
  for (unsigned i = 1; i <= count; ++i) {
    checksum.feed(i, 1);
    checksum.feed(dictionary.find(mapping_of(number), static_cast<std::uint8_t>(i)), 4);
  }
  return Variable<std::uint16_t>(dictionary, kSignatures, number).get() == checksum.value();
}

}  // namespace tav::drive
