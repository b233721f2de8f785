#ifndef TAV_HOST_OBJECTS_HPP
#define TAV_HOST_OBJECTS_HPP

#include <nkr/export.h>

#include <string>
#include <tav/host/Value.hpp>
#include <tav/host/description.hpp>

namespace tav::host {

class Unit;

/** Reads an object through the dispatcher, as the type that the description gives it; an address that the
 * description does not hold is read as bytes. @return with Cause::UNKNOWN_OBJECT, REQUEST */
NKR_EXPORT Result read_object(const Unit& unit, const ObjectReference& reference, Value& value);

/** The bytes of an object as they come over the bus, whatever its type; of any length. */
[[nodiscard]] NKR_EXPORT nkr_error_t read_bytes(const Unit& unit, nkr::tools::ObjectID id,
                                                std::vector<std::uint8_t>& bytes);

/** Writes an object through the dispatcher. Refused before anything is sent: objects that are not writable
 * (Cause::REFUSED), that the description does not hold (UNKNOWN_OBJECT), and values outside type or limits.
 * Nothing is read back. */
NKR_EXPORT Result write_object(const Unit& unit, const ObjectReference& reference, const std::string& text);

}  // namespace tav::host

#endif
