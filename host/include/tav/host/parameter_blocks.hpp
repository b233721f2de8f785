#ifndef TAV_HOST_PARAMETER_BLOCKS_HPP
#define TAV_HOST_PARAMETER_BLOCKS_HPP

#include <nkr/export.h>

#include <string>
#include <tavcore/ICANOpenDispatcher.hpp>
#include <vector>

namespace tav::host {

/** A block of parameters in the drive's non-volatile memory. */
struct Block {
  const char* name;
  int number;          ///< sub-index of 0x1010 and 0x1011
  bool internal;       ///< of the factory's own
  bool holds_node_id;  ///< restoring it restores the node id
};

/** The names to choose from. */
[[nodiscard]] NKR_EXPORT std::vector<std::string> block_names();
/** The block of that name; null when it is none of block_names(). */
[[nodiscard]] NKR_EXPORT const Block* block_named(const std::string& name);

[[nodiscard]] NKR_EXPORT nkr_error_t store_block(nkr::tavcore::ICANOpenDispatcher& dispatcher,
                                                 const Block& block);
[[nodiscard]] NKR_EXPORT nkr_error_t restore_block(nkr::tavcore::ICANOpenDispatcher& dispatcher,
                                                   const Block& block);

}  // namespace tav::host

#endif
