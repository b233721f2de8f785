#ifndef TAVCTL_MODEL_EMERGENCYTEXT_HPP
#define TAVCTL_MODEL_EMERGENCYTEXT_HPP

#include <cstdint>
#include <nkr/canopen/Emergency.hpp>
#include <nkr/tools/EDSParser.hpp>
#include <string>

#include "cli/Output.hpp"

namespace tavctl {

/** "0x3220 DC link under-voltage", with the class of CiA 301 behind it when that says more. */
[[nodiscard]] std::string error_code_text(std::uint16_t code);

/** What the vendor's bytes of this drive's emergencies say: "signature \"SLS ...\" differs"; empty when
 * nothing is known of them. */
[[nodiscard]] std::string vendor_text(const nkr::canopen::Emergency& emergency,
                                      const nkr::tools::EDSParser& description);

/** The whole message in one line: code, class, error register, vendor bytes and their meaning. */
[[nodiscard]] std::string emergency_line(const nkr::canopen::Emergency& emergency,
                                         const nkr::tools::EDSParser& description);
[[nodiscard]] Json emergency_json(const nkr::canopen::Emergency& emergency,
                                  const nkr::tools::EDSParser& description);

}  // namespace tavctl

#endif
