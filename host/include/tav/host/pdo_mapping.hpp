#ifndef TAV_HOST_PDO_MAPPING_HPP
#define TAV_HOST_PDO_MAPPING_HPP

#include <nkr/export.h>

#include <cstdint>
#include <nkr/tools/EDSParser.hpp>
#include <string>
#include <tav/host/Result.hpp>
#include <vector>

namespace tav::host {

/** What a mapping entry (index << 16 | subindex << 8 | bits) carries: "\"statusword\" (0x6041:00), 16 bits".
 */
[[nodiscard]] NKR_EXPORT std::string mapping_entry_text(const nkr::tools::EDSParser& description,
                                                        std::uint32_t entry);

/**
 * The entries of a PDO that carries these objects. Refused before anything is sent: objects that the
 * description does not hold (Cause::UNKNOWN_OBJECT), that cannot be mapped in that direction or have no fixed
 * length, and more than 64 bits (REFUSED).
 */
NKR_EXPORT Result mapping_entries(const nkr::tools::EDSParser& description,
                                  const std::vector<std::string>& objects, bool receive,
                                  std::vector<std::uint32_t>& entries);

}  // namespace tav::host

#endif
