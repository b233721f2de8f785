#ifndef TAVCTL_MODEL_BLOCKS_HPP
#define TAVCTL_MODEL_BLOCKS_HPP

#include <string>
#include <tavcore/ICANOpenDispatcher.hpp>
#include <vector>

namespace tavctl {

/** A block of parameters in the drive's non-volatile memory. */
struct Block {
  const char* name;
  int number;          ///< sub-index of 0x1010 and 0x1011
  bool internal;       ///< of the factory's own
  bool holds_node_id;  ///< restoring it restores the node id
};

/** The names to choose from. */
[[nodiscard]] std::vector<std::string> block_names();
/** The block of that name, one of block_names(). */
[[nodiscard]] const Block& block_named(const std::string& name);

[[nodiscard]] nkr_error_t store_block(nkr::tavcore::ICANOpenDispatcher& dispatcher, const Block& block);
[[nodiscard]] nkr_error_t restore_block(nkr::tavcore::ICANOpenDispatcher& dispatcher, const Block& block);

}  // namespace tavctl

#endif
