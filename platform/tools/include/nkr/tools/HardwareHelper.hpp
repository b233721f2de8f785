#ifndef NKR_TOOLS_HARDWAREHELPER_HPP
#define NKR_TOOLS_HARDWAREHELPER_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <memory>
#include <string>

namespace nkr::tools {

/**
 * What the configuration says of the hardware around the drive: mechanics, device node, compatible versions.
 *
 * The key "HWConfigurationEntry" of section "default" names the section that holds the members. A member that
 * is absent or of another type, an unreadable file and a missing section answer NKR_NOT_AVAILABLE.
 */
class NKR_EXPORT HardwareHelper {
 public:
  /** @param contextId  the caller's log context; nothing is logged here, results say all */
  explicit HardwareHelper(unsigned int contextId);
  ~HardwareHelper();
  HardwareHelper(const HardwareHelper&) = delete;
  HardwareHelper& operator=(const HardwareHelper&) = delete;

  /** Reads the INI file at `path`. */
  [[nodiscard]] nkr_error_t init(const std::string& path);

  [[nodiscard]] nkr_error_t getHWConfigurationMember(const std::string& name, int& value) const;
  [[nodiscard]] nkr_error_t getHWConfigurationMember(const std::string& name, double& value) const;
  [[nodiscard]] nkr_error_t getHWConfigurationMember(const std::string& name, std::string& value) const;

  /** NKR_OK, and whether the device node exists. Needs no init(). */
  [[nodiscard]] nkr_error_t checkUSB(const std::string& device, bool& present) const;

  /** The four bytes of a version, highest first, in decimal, joined by dots: 0x01020304 is "1.2.3.4". */
  [[nodiscard]] std::string convertVersionToString(const unsigned int& version) const;

  /** Whether the version's text stands in the comma-separated list "compatibleHWVersions" of that section. */
  [[nodiscard]] nkr_error_t checkHWCompatibility(const std::string& entry, unsigned int hwVersion,
                                                 bool& compatible);

 private:
  struct NKR_HIDDEN Content;
  std::unique_ptr<Content> content_;
};

}  // namespace nkr::tools

#endif
