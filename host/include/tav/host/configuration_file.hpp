#ifndef TAV_HOST_CONFIGURATION_FILE_HPP
#define TAV_HOST_CONFIGURATION_FILE_HPP

#include <nkr/export.h>

#include <cstdint>
#include <nkr/tools/DCFDocument.hpp>
#include <nkr/tools/EDSParser.hpp>
#include <string>
#include <tav/host/Result.hpp>
#include <vector>

namespace tav::host {

using Bytes = std::vector<std::uint8_t>;

/** An object and the value that a configuration gives it. */
struct ConfiguredValue {
  const nkr::tools::ObjectEntry* object;
  Bytes bytes;
  std::string text;  ///< as the file has it
};

/**
 * A value as the text of a DCF (CiA 306). An identifier that follows the node id, as the description's
 * default does, is written as a sum with $NODEID, so that another drive takes it with its own node id.
 */
[[nodiscard]] NKR_EXPORT std::string configured_text(const nkr::tools::ObjectEntry& object,
                                                     const Bytes& bytes, std::uint8_t node);

/** The value that a text of a DCF gives an object of the drive of that node id.
 * @return with Cause::REFUSED for a text that is no value of the object */
NKR_EXPORT Result value_of_text(const nkr::tools::ObjectEntry& object, const std::string& text,
                                std::uint8_t node, ConfiguredValue& value);

/**
 * The configuration in a DCF for the drive of that node id: every configuration object that has a
 * ParameterValue, in the order of the description.
 * @return with Cause::FILE: the file cannot be opened (NKR_NOT_AVAILABLE), is none (NKR_ERROR), is of another
 * device (NKR_SDO_DEVICE_INCOMPATIBLE), holds no value (NKR_SDO_NO_DATA), or one that does not fit its object
 */
NKR_EXPORT Result load_configured_values(const std::string& path, const nkr::tools::EDSParser& description,
                                         std::uint8_t node, std::vector<ConfiguredValue>& values);

}  // namespace tav::host

#endif
