#include "pdo/Pdo.hpp"

#include <algorithm>

namespace nkr::canopen {
namespace {

constexpr std::uint32_t kMostPdos = 512;
constexpr std::uint32_t kMostEntries = 64;
constexpr unsigned kMostBits = 64;
constexpr std::uint32_t kInvalid = 0x80000000;
constexpr std::uint32_t kExtended = 0x20000000;
constexpr std::uint32_t kIdMask = 0x7FF;

/** Addresses of the communication and mapping parameters of a direction's first PDO. */
struct Parameters {
  std::uint32_t communication;
  std::uint32_t mapping;
};

Parameters parameters(PdoDirection direction, std::uint32_t number) {
  const std::uint32_t offset = number << 16;
  return direction == PdoDirection::TRANSMIT ? Parameters{0x18000000 + offset, 0x1A000000 + offset}
                                             : Parameters{0x14000000 + offset, 0x16000000 + offset};
}

std::uint32_t subindex(std::uint32_t address, std::uint32_t number) {
  return address | number << 8;
}

bool is_abort_of_node(nkr_error_t code) {
  constexpr std::uint32_t kFirstObjectAbort = 0x06000000;
  return static_cast<std::uint32_t>(code) >= kFirstObjectAbort;
}

bool is_missing(nkr_error_t code) {
  return code == NKR_SDO_NO_OBJECT || code == NKR_SDO_NO_SUBINDEX;
}

nkr_error_t read_entries(const ObjectReader& read, std::uint32_t mapping, Pdo& pdo) {
  std::uint32_t count = 0;
  nkr_error_t result = read(mapping, count);
  for (std::uint32_t i = 1; result == NKR_OK && i <= std::min(count, kMostEntries); ++i) {
    std::uint32_t entry = 0;
    result = read(subindex(mapping, i), entry);
    if (result != NKR_OK) break;
    pdo.entries.push_back({sdo::Multiplexer::of_address(entry), pdo.bits, entry & 0xFFU});
    pdo.bits += entry & 0xFFU;
  }
  return result;
}

nkr_error_t read_pdo(const ObjectReader& read, const Parameters& at, std::uint32_t cob_id, Pdo& pdo) {
  std::uint32_t type = 0;
  const nkr_error_t result = read(subindex(at.communication, 2), type);
  if (result != NKR_OK) return result;
  pdo.id = cob_id & kIdMask;
  pdo.transmission = static_cast<std::uint8_t>(type);
  return read_entries(read, at.mapping, pdo);
}

}  // namespace

const PdoEntry* Pdo::find(sdo::Multiplexer object) const {
  const auto found = std::find_if(entries.begin(), entries.end(),
                                  [&](const PdoEntry& entry) { return entry.object == object; });
  return found == entries.end() ? nullptr : &*found;
}

nkr_error_t read_pdos(const ObjectReader& read, PdoDirection direction, std::vector<Pdo>& pdos) {
  for (std::uint32_t number = 0; number < kMostPdos; ++number) {
    const Parameters at = parameters(direction, number);
    std::uint32_t cob_id = 0;
    nkr_error_t result = read(subindex(at.communication, 1), cob_id);
    if (is_missing(result)) return NKR_OK;
    if (result == NKR_OK && (cob_id & (kInvalid | kExtended)) == 0) {
      Pdo pdo;
      result = read_pdo(read, at, cob_id, pdo);
      if (result == NKR_OK && pdo.bits > 0 && pdo.bits <= kMostBits) pdos.push_back(std::move(pdo));
    }
    if (result != NKR_OK && !is_abort_of_node(result)) return result;
  }
  return NKR_OK;
}

std::uint64_t value_in(const can::Frame& frame, const PdoEntry& entry) {
  std::uint64_t value = 0;
  for (unsigned bit = 0; bit < entry.bits; ++bit) {
    const unsigned position = entry.offset + bit;
    const unsigned byte = frame.data.at(position / 8);
    const std::uint64_t is_set = byte >> (position % 8) & 1U;
    value |= is_set << bit;
  }
  return value;
}

}  // namespace nkr::canopen
