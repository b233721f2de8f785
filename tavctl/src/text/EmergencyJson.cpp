#include "text/EmergencyJson.hpp"

#include <string>
#include <vector>

#include "text/Values.hpp"

namespace tavctl {

using nkr::canopen::Emergency;
using nkr::tools::EDSParser;

namespace {

std::vector<std::uint8_t> vendor_bytes(const Emergency& emergency) {
  return {emergency.vendor_data.begin(), emergency.vendor_data.end()};
}

}  // namespace

Json emergency_json(const Emergency& emergency, const EDSParser& description) {
  return {{"node", emergency.node},
          {"code", emergency.code},
          {"text", nkr::canopen::emergency_text(emergency.code)},
          {"class", error_class_text(emergency.code)},
          {"error_register", emergency.error_register},
          {"error_register_bits", nkr::canopen::error_register_names(emergency.error_register)},
          {"vendor_data", value_of(vendor_bytes(emergency)).text},
          {"vendor_text", vendor_text(emergency, description)}};
}

}  // namespace tavctl
