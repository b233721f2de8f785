#include <tav/host/description.hpp>
#include <tav/host/pdo_mapping.hpp>
#include <tav/host/words.hpp>

#include "../words/refusal.hpp"

namespace tav::host {

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

Result entry_of(const ObjectEntry& object, bool receive, std::uint32_t& entry) {
  const std::uint32_t bits = nkr::tools::convert_EDS_Size(object.getDataType());
  const auto refuse = [&](const std::string& why) {
    return refusal(Cause::REFUSED, NKR_SDO_NOT_MAPPABLE, object_text(object) + why);
  };
  if (!object.description().pdo_mapping) return refuse(" cannot be mapped to a PDO");
  if (!fits_direction(object.getAccessType(), receive)) {
    return refuse(receive ? " cannot be mapped to a receive PDO: it is not writable by one"
                          : " cannot be mapped to a transmit PDO: it is not readable by one");
  }
  if (bits == 0) return refuse(" has no fixed length");
  entry = object.getObjectID().get() << 8 | bits;
  return {};
}

}  // namespace

std::string mapping_entry_text(const nkr::tools::EDSParser& description, std::uint32_t entry) {
  constexpr std::uint32_t kLengthMask = 0xFF;
  const ObjectID id(static_cast<std::uint16_t>(entry >> 16), static_cast<std::uint8_t>(entry >> 8));
  const ObjectEntry* const object = description.find(id);
  return (object != nullptr ? object_text(*object) : address_text(id)) + ", " +
         std::to_string(entry & kLengthMask) + " bits";
}

Result mapping_entries(const nkr::tools::EDSParser& description, const std::vector<std::string>& objects,
                       bool receive, std::vector<std::uint32_t>& entries) {
  entries.clear();
  std::uint32_t bits = 0;
  for (const std::string& name : objects) {
    const ObjectEntry* const object = find_object(description, parse_reference(name));
    if (object == nullptr) {
      return refusal(Cause::UNKNOWN_OBJECT, NKR_SDO_NO_OBJECT, "the description has no object " + name);
    }
    std::uint32_t entry = 0;
    Result result = entry_of(*object, receive, entry);
    if (!result.ok()) return result;
    entries.push_back(entry);
    bits += nkr::tools::convert_EDS_Size(object->getDataType());
  }
  if (bits <= kPdoBits) return {};
  return refusal(Cause::REFUSED, NKR_SDO_MAPPING_LENGTH,
                 "the objects are " + std::to_string(bits) + " bits long; a PDO carries 64");
}

}  // namespace tav::host
