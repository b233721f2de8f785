#include "network/IdentifierRules.hpp"

#include "node/CobId.hpp"

namespace tav::drive {
namespace {

/** SYNC and TIME have no "valid" bit: bit 31 of SYNC has no meaning, that of TIME says "consumes". */
void guard_broadcast(Object* object) {
  if (object == nullptr) return;
  object->refuse_when([](const Bytes& bytes) {
    return refuses_cob_id(static_cast<std::uint32_t>(unsigned_of(bytes)) & ~kCobIdNotValid, std::nullopt);
  });
}

void guard(Object* object, std::uint32_t own_bits = 0) {
  if (object == nullptr) return;
  object->refuse_when([object, own_bits](const Bytes& bytes) {
    const auto held = static_cast<std::uint32_t>(unsigned_of(object->value));
    const bool valid = (held & kCobIdNotValid) == 0;
    return refuses_cob_id(static_cast<std::uint32_t>(unsigned_of(bytes)),
                          valid ? std::optional(held & kCobIdIdentifier) : std::nullopt, own_bits);
  });
}

}  // namespace

void guard_identifiers(ObjectDictionary& dictionary) {
  constexpr unsigned kFirstClient = 0x1280;
  constexpr unsigned kLastClient = 0x12FF;
  guard_broadcast(dictionary.find(0x1005, 0));
  guard_broadcast(dictionary.find(0x1012, 0));
  guard(dictionary.find(0x1014, 0));
  for (Object& object : dictionary.objects()) {
    const bool emergency_consumer = object.index == 0x1028 && object.subindex > 0;
    const bool client = object.index >= kFirstClient && object.index <= kLastClient;
    if (emergency_consumer) guard(&object);
    if (client && (object.subindex == 1 || object.subindex == 2)) guard(&object, kCobIdBit30);
  }
}

}  // namespace tav::drive
