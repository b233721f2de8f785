#ifndef TAV_HOST_DESCRIPTION_HPP
#define TAV_HOST_DESCRIPTION_HPP

#include <nkr/export.h>

#include <cstddef>
#include <memory>
#include <nkr/tools/EDSParser.hpp>
#include <optional>
#include <string>
#include <tav/host/Result.hpp>
#include <vector>

namespace tav::host {

/** Reads a device description; null, with Cause::DESCRIPTION, when it cannot be opened (NKR_NOT_AVAILABLE) or
 * is none (NKR_ERROR). */
[[nodiscard]] NKR_EXPORT std::unique_ptr<nkr::tools::EDSParser> load_description(const std::string& path,
                                                                                 Result& result);

/** What a user called an object: a name of the description, or an address ("0x6041", "0x1018:1"). */
struct ObjectReference {
  std::string text;                             ///< as the user wrote it
  std::optional<nkr::tools::ObjectID> address;  ///< set when it is an address
};

/** Takes "0xINDEX" and "0xINDEX:SUB" (SUB decimal or 0x hexadecimal) as an address, all else as a name. */
[[nodiscard]] NKR_EXPORT ObjectReference parse_reference(const std::string& text);

/** The object meant; null for a name or an address that the description does not hold. */
[[nodiscard]] NKR_EXPORT const nkr::tools::ObjectEntry* find_object(const nkr::tools::EDSParser& description,
                                                                    const ObjectReference& reference);

/** Names that hold the text, in any case; the first `most` of them. */
[[nodiscard]] NKR_EXPORT std::vector<std::string> similar_names(const nkr::tools::EDSParser& description,
                                                                const std::string& text, std::size_t most);

}  // namespace tav::host

#endif
