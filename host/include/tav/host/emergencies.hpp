#ifndef TAV_HOST_EMERGENCIES_HPP
#define TAV_HOST_EMERGENCIES_HPP

#include <nkr/export.h>

#include <cstdint>
#include <nkr/canopen/Emergency.hpp>
#include <nkr/tools/EDSParser.hpp>
#include <string>

namespace tav::host {

/** "0x3220 DC link under-voltage", with the class of CiA 301 behind it when that says more. */
[[nodiscard]] NKR_EXPORT std::string error_code_text(std::uint16_t code);

/** What the vendor's bytes of this drive's emergencies say: "signature \"SLS ...\" differs"; empty when
 * nothing is known of them. */
[[nodiscard]] NKR_EXPORT std::string vendor_text(const nkr::canopen::Emergency& emergency,
                                                 const nkr::tools::EDSParser& description);

/** What the class of an error code says (CiA 301, table 26). */
[[nodiscard]] NKR_EXPORT std::string error_class_text(std::uint16_t code);

/** The whole message in one line: code, class, error register, vendor bytes and their meaning. */
[[nodiscard]] NKR_EXPORT std::string emergency_line(const nkr::canopen::Emergency& emergency,
                                                    const nkr::tools::EDSParser& description);

}  // namespace tav::host

#endif
