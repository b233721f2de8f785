#ifndef NKR_CANOPEN_PDO_PDO_HPP
#define NKR_CANOPEN_PDO_PDO_HPP

#include <nkr/error.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <nkr/can/Frame.hpp>
#include <vector>

#include "sdo/Multiplexer.hpp"

namespace nkr::canopen {

/** Where an object sits in a PDO. */
struct PdoEntry {
  sdo::Multiplexer object;
  unsigned offset = 0;  ///< bits before it
  unsigned bits = 0;
};

/** A PDO as a node has it set up (CiA 301, 7.5.2.35 to .38). */
struct Pdo {
  static constexpr std::uint8_t kOnEverySync = 1;

  std::uint32_t id = 0;           ///< 11-bit CAN identifier
  std::uint8_t transmission = 0;  ///< transmission type
  std::vector<PdoEntry> entries;
  unsigned bits = 0;  ///< of all entries

  [[nodiscard]] std::size_t size() const { return (bits + 7) / 8; }
  /** Null when the object is not in it. */
  [[nodiscard]] const PdoEntry* find(sdo::Multiplexer object) const;
};

/** Reads one unsigned object of the node whose PDOs are looked at. */
using ObjectReader = std::function<nkr_error_t(std::uint32_t address, std::uint32_t& value)>;

enum class PdoDirection { TRANSMIT, RECEIVE };

/**
 * Reads the set-up of a node's PDOs: from the first on, up to the first that the node does not have. PDOs
 * that are switched off, have a 29-bit identifier or no entries are left out.
 * @return NKR_OK, or what a read answered that is no abort of the node
 */
nkr_error_t read_pdos(const ObjectReader& read, PdoDirection direction, std::vector<Pdo>& pdos);

/** The bits of an entry in a PDO's frame, as an unsigned number. */
std::uint64_t value_in(const can::Frame& frame, const PdoEntry& entry);

}  // namespace nkr::canopen

#endif
