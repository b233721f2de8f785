#ifndef TAVCTL_MODEL_PDOMAPPING_HPP
#define TAVCTL_MODEL_PDOMAPPING_HPP

#include <cstdint>
#include <nkr/tools/EDSParser.hpp>
#include <string>
#include <vector>

namespace tavctl {

/** What a mapping entry (index << 16 | subindex << 8 | bits) carries: "\"statusword\" (0x6041:00), 16 bits".
 */
[[nodiscard]] std::string mapping_entry_text(const nkr::tools::EDSParser& description, std::uint32_t entry);

/**
 * The entries of a PDO that carries these objects. Refused before anything is sent: objects that the
 * description does not hold, that cannot be mapped in that direction or have no fixed length, and more than
 * 64 bits.
 */
[[nodiscard]] std::vector<std::uint32_t> mapping_entries(const nkr::tools::EDSParser& description,
                                                         const std::vector<std::string>& objects,
                                                         bool receive);

}  // namespace tavctl

#endif
