#include "model/PdoMapping.hpp"

#include "cli/Failure.hpp"
#include "model/Description.hpp"
#include "model/Format.hpp"

namespace tavctl {

using nkr::tools::AccessType;
using nkr::tools::ObjectEntry;
using nkr::tools::ObjectID;

namespace {

constexpr std::uint32_t kPdoBits = 64;

/** A receive PDO writes the object, a transmit PDO reads it; rww and rwr allow one direction each (CiA 306).
 */
bool fits_direction(AccessType access, bool receive) {
  if (receive) return nkr::tools::is_writable(access) && access != AccessType::RWR;
  return nkr::tools::is_readable(access) && access != AccessType::RWW;
}

std::uint32_t entry_of(const ObjectEntry& object, bool receive) {
  const std::uint32_t bits = nkr::tools::convert_EDS_Size(object.getDataType());
  if (!object.description().pdo_mapping) {
    throw Failure(ExitCode::REFUSED, object_text(object) + " cannot be mapped to a PDO",
                  "\"tavctl list\" shows which objects can.");
  }
  if (!fits_direction(object.getAccessType(), receive)) {
    throw Failure(ExitCode::REFUSED, object_text(object) + " cannot be mapped to a " +
                                         (receive ? "receive PDO: it is not writable by one"
                                                  : "transmit PDO: it is not readable by one"));
  }
  if (bits == 0) throw Failure(ExitCode::REFUSED, object_text(object) + " has no fixed length");
  return object.getObjectID().get() << 8 | bits;
}

}  // namespace

std::string mapping_entry_text(const nkr::tools::EDSParser& description, std::uint32_t entry) {
  constexpr std::uint32_t kLengthMask = 0xFF;
  const ObjectID id(static_cast<std::uint16_t>(entry >> 16), static_cast<std::uint8_t>(entry >> 8));
  const ObjectEntry* const object = description.find(id);
  return (object != nullptr ? object_text(*object) : address_text(id)) + ", " +
         std::to_string(entry & kLengthMask) + " bits";
}

std::vector<std::uint32_t> mapping_entries(const nkr::tools::EDSParser& description,
                                           const std::vector<std::string>& objects, bool receive) {
  std::vector<std::uint32_t> entries;
  std::uint32_t bits = 0;
  for (const std::string& name : objects) {
    const ObjectEntry* const object = find_object(description, parse_reference(name));
    if (object == nullptr) {
      throw Failure(ExitCode::CONFIGURATION, "the description has no object " + name);
    }
    entries.push_back(entry_of(*object, receive));
    bits += nkr::tools::convert_EDS_Size(object->getDataType());
  }
  if (bits > kPdoBits) {
    throw Failure(ExitCode::REFUSED,
                  "the objects are " + std::to_string(bits) + " bits long; a PDO carries 64");
  }
  return entries;
}

}  // namespace tavctl
