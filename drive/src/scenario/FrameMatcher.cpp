#include "scenario/FrameMatcher.hpp"

#include <algorithm>

#include "node/CobId.hpp"

namespace tav::drive {
namespace {

/** An identifier that an object gives; 0 when it gives none. */
std::uint32_t identifier_at(Context& context, std::uint32_t index, std::uint8_t subindex,
                            std::uint32_t fallback) {
  const std::uint32_t value =
      Variable<std::uint32_t>(context.dictionary, static_cast<std::uint16_t>(index), subindex, fallback)
          .get();
  return (value & kCobIdNotValid) != 0 ? 0 : value & kCobIdIdentifier;
}

bool is_pdo(const FrameClass& pdo, std::uint32_t first_index, std::uint32_t id, Context& context) {
  constexpr std::uint32_t kMostPDOs = 512;
  const std::uint32_t from = pdo.number == 0 ? 1 : pdo.number;
  const std::uint32_t to = pdo.number == 0 ? kMostPDOs : pdo.number;
  for (std::uint32_t number = from; number <= to; ++number) {
    const std::uint32_t index = first_index + number - 1;
    if (context.dictionary.find(static_cast<std::uint16_t>(index), 1) == nullptr) continue;
    const std::uint32_t identifier = identifier_at(context, index, 1, kCobIdNotValid);
    if (identifier != 0 && identifier == id) return true;
  }
  return false;
}

/** Identifiers that are a base and a node id. */
bool is_of_node(std::uint32_t id, std::uint32_t base, std::uint8_t node) {
  constexpr std::uint32_t kLargestNodeId = 127;
  return node == 0 ? id > base && id <= base + kLargestNodeId : id == base + node;
}

}  // namespace

bool matches(const FrameClass& frame_class, const nkr::can::Frame& frame, Context& context) {
  using Class = FrameClass::Kind;
  if (frame.extended || frame.error) return frame_class.kind == Class::ANY;
  constexpr std::uint32_t kLSSMaster = 0x7E5;
  constexpr std::uint32_t kLSSSlave = 0x7E4;
  constexpr std::uint32_t kFirstSRDO = 0x101;
  constexpr std::uint32_t kLastSRDO = 0x180;
  const std::uint32_t id = frame.id;
  const bool srdo = id >= kFirstSRDO && id <= kLastSRDO;
  const bool boots = frame.size == 1 && frame.data[0] == 0;
  switch (frame_class.kind) {
    case Class::ANY:
      return true;
    case Class::NMT:
      return id == 0;
    case Class::GFC:
      return id == 1;
    case Class::SYNC:
      return id == identifier_at(context, 0x1005, 0, 0x80);
    case Class::TIME:
      return id == identifier_at(context, 0x1012, 0, 0x100);
    case Class::EMCY:
      return is_of_node(id, 0x80, frame_class.node);
    case Class::SRDO:
      return srdo && id % 2 == 1;
    case Class::SRDO_INVERSE:
      return srdo && id % 2 == 0;
    case Class::TPDO:
      return is_pdo(frame_class, 0x1800, id, context);
    case Class::RPDO:
      return is_pdo(frame_class, 0x1400, id, context);
    case Class::SDO_REQUEST:
      return is_of_node(id, 0x600, frame_class.node);
    case Class::SDO_REPLY:
      return is_of_node(id, 0x580, frame_class.node);
    case Class::HEARTBEAT:
      return is_of_node(id, 0x700, frame_class.node) && !boots;
    case Class::BOOT_UP:
      return is_of_node(id, 0x700, frame_class.node) && boots;
    case Class::LSS:
      return id == kLSSMaster || id == kLSSSlave;
    case Class::IDENTIFIER:
      return id >= frame_class.number && id <= frame_class.last;
  }
  return false;
}

}  // namespace tav::drive
