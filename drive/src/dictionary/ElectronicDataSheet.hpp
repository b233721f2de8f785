#ifndef TAV_DRIVE_SRC_DICTIONARY_ELECTRONICDATASHEET_HPP
#define TAV_DRIVE_SRC_DICTIONARY_ELECTRONICDATASHEET_HPP

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "dictionary/Object.hpp"

namespace tav::drive {

/**
 * The objects that a description file (EDS, CiA 306) gives a drive, without values yet.
 * @return false, and the reason in `problem`, when the file cannot be used
 */
bool read_description(std::istream& eds, std::vector<Object>& objects, std::string& problem);

/** The value that the object's default text means for a drive of that node id; without a text, zeros. */
[[nodiscard]] Bytes default_value(const Object& object, std::uint8_t node_id);

/** The value that such a text means for the object; nothing when it is none, or does not fit. */
[[nodiscard]] std::optional<Bytes> value_of(const Object& object, const std::string& text);

}  // namespace tav::drive

#endif
