#ifndef TAVCORE_DISPATCHER_PARAMETERBLOCKS_HPP
#define TAVCORE_DISPATCHER_PARAMETERBLOCKS_HPP

#include <cstdint>

#include "../objects/TypedObject.hpp"

namespace nkr::tavcore {

/** A parameter block of the drive: its number, and the objects that store it and restore its defaults. */
struct ParameterBlock {
  std::int32_t number;
  Object<std::int32_t> store;
  Object<std::int32_t> restore;
};

// Signatures without which the drive neither stores nor restores (CiA 301, objects 0x1010 and 0x1011).
inline constexpr std::int32_t kStoreSignature = 0x65766173;    // "save"
inline constexpr std::int32_t kRestoreSignature = 0x64616F6C;  // "load"

/** The block of that number, or null. */
template <class Blocks, class BlockId>
const ParameterBlock* find_block(const Blocks& blocks, BlockId id) {
  for (const ParameterBlock& block : blocks) {
    if (block.number == static_cast<std::int32_t>(id)) return &block;
  }
  return nullptr;
}

}  // namespace nkr::tavcore

#endif
