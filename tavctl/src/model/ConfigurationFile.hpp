#ifndef TAVCTL_MODEL_CONFIGURATIONFILE_HPP
#define TAVCTL_MODEL_CONFIGURATIONFILE_HPP

#include <cstdint>
#include <nkr/tools/DCFDocument.hpp>
#include <nkr/tools/EDSParser.hpp>
#include <string>
#include <vector>

namespace tavctl {

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
[[nodiscard]] std::string configured_text(const nkr::tools::ObjectEntry& object, const Bytes& bytes,
                                          std::uint8_t node);

/**
 * The configuration in a DCF for the drive of that node id: every configuration object that has a
 * ParameterValue, in the order of the description. Failure(CONFIGURATION) for a file that cannot be read, is
 * of another device, or holds a value that does not fit its object.
 */
[[nodiscard]] std::vector<ConfiguredValue> load_configured_values(const std::string& path,
                                                                  const nkr::tools::EDSParser& description,
                                                                  std::uint8_t node);

}  // namespace tavctl

#endif
