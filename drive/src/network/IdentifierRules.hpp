#ifndef TAV_DRIVE_SRC_NETWORK_IDENTIFIERRULES_HPP
#define TAV_DRIVE_SRC_NETWORK_IDENTIFIERRULES_HPP

#include "dictionary/ObjectDictionary.hpp"

namespace tav::drive {

/**
 * Refuses identifiers that the objects of SYNC (0x1005), TIME (0x1012), EMCY (0x1014), EMCY consumers
 * (0x1028) and SDO clients (0x1280 and following) must not have. A valid one of the last three keeps its
 * identifier.
 */
void guard_identifiers(ObjectDictionary& dictionary);

}  // namespace tav::drive

#endif
