#ifndef TAVCTL_MODEL_DESCRIPTION_HPP
#define TAVCTL_MODEL_DESCRIPTION_HPP

#include <memory>
#include <nkr/tools/EDSParser.hpp>
#include <optional>
#include <string>

namespace tavctl {

/** Reads a device description. Failure(CONFIGURATION) when it cannot be opened or read. */
[[nodiscard]] std::unique_ptr<nkr::tools::EDSParser> load_description(const std::string& path);

/** What the user called an object: a name of the description, or an address ("0x6041", "0x1018:1"). */
struct ObjectReference {
  std::string text;                             ///< as the user wrote it
  std::optional<nkr::tools::ObjectID> address;  ///< set when it is an address
};

/** Takes "0xINDEX" and "0xINDEX:SUB" (SUB decimal or 0x hexadecimal) as an address, all else as a name. */
[[nodiscard]] ObjectReference parse_reference(const std::string& text);

/** The object meant; null for an address that the description does not hold. Failure(CONFIGURATION), with
 * similar names, for an unknown name. */
[[nodiscard]] const nkr::tools::ObjectEntry* find_object(const nkr::tools::EDSParser& description,
                                                         const ObjectReference& reference);

}  // namespace tavctl

#endif
