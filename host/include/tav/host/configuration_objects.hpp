#ifndef TAV_HOST_CONFIGURATION_OBJECTS_HPP
#define TAV_HOST_CONFIGURATION_OBJECTS_HPP

#include <nkr/export.h>

#include <nkr/tools/EDSParser.hpp>
#include <vector>

namespace tav::host {

/**
 * The objects that make a drive's configuration: what can be both read and written, but for commands that act
 * at once (control word, target velocity, safety commands, store and restore ...), lists that are only
 * cleared, and what belongs to one device alone (node id, identity strings). By index, then sub-index.
 */
[[nodiscard]] NKR_EXPORT std::vector<const nkr::tools::ObjectEntry*> configuration_objects(
    const nkr::tools::EDSParser& description);

/** Whether the object is one of them. */
[[nodiscard]] NKR_EXPORT bool is_configuration(const nkr::tools::ObjectEntry& object);

/** Where an object stands when a configuration is written: what disables goes first, what declares valid
 * last. */
enum class LoadPhase {
  IDENTIFIER,        ///< COB-ID of emergencies or an SDO channel: changes only while it is not valid
  GENERAL,           ///< nothing depends on its place
  PDO_MAPPING,       ///< entries of a PDO mapping: only while the mapping is disabled
  PDO_COUNT,         ///< number of mapped objects: enables the mapping
  PDO_IDENTIFIER,    ///< COB-ID: enables the PDO
  SAFETY_SIGNATURE,  ///< signature of a safety function: after all that it covers
  SRDO_MAPPING,      ///< entries of an SRDO mapping: only while the SRDO is off
  SRDO_COUNT,
  SRDO_PARAMETER,
  SRDO_DIRECTION,  ///< switches the SRDO on
  SRDO_SIGNATURE,
  SRDO_VALIDITY,  ///< declares the SRDO configuration valid: last of all
};
[[nodiscard]] NKR_EXPORT LoadPhase load_phase(nkr::tools::ObjectID id);

}  // namespace tav::host

#endif
