#include <cstdio>
#include <nkr/canopen/Emergency.hpp>

namespace nkr::canopen {
namespace {

struct Meaning {
  std::uint16_t code;
  std::uint16_t mask;  ///< which digits of a code must agree
  const char* text;
};

constexpr std::uint16_t kCode = 0xFFFF;
constexpr std::uint16_t kClass = 0xFF00;
constexpr std::uint16_t kGroup = 0xF000;

// Narrow before wide: the first that agrees is taken.
constexpr Meaning kMeanings[] = {
    // CiA 402-1, error codes
    {0x2110, kCode, "short circuit or earth leakage at the input"},
    {0x2120, kCode, "earth leakage at the input"},
    {0x2130, kCode, "short circuit at the input"},
    {0x2211, kCode, "internal current no. 1"},
    {0x2212, kCode, "internal current no. 2"},
    {0x2213, kCode, "over-current in the ramp function"},
    {0x2214, kCode, "over-current in the sequence"},
    {0x2220, kCode, "continuous over-current inside the device"},
    {0x2230, kCode, "short circuit or earth leakage inside the device"},
    {0x2240, kCode, "earth leakage inside the device"},
    {0x2250, kCode, "short circuit inside the device"},
    {0x2310, kCode, "continuous over-current at the output"},
    {0x2320, kCode, "short circuit or earth leakage at the motor"},
    {0x2330, kCode, "earth leakage at the motor"},
    {0x2340, kCode, "short circuit at the motor"},
    {0x3110, kCode, "mains over-voltage"},
    {0x3120, kCode, "mains under-voltage"},
    {0x3130, kCode, "phase failure"},
    {0x3210, kCode, "DC link over-voltage"},
    {0x3220, kCode, "DC link under-voltage"},
    {0x3230, kCode, "load error"},
    {0x4110, kCode, "excess ambient temperature"},
    {0x4120, kCode, "too low ambient temperature"},
    {0x4210, kCode, "excess device temperature"},
    {0x4220, kCode, "too low device temperature"},
    {0x4310, kCode, "excess drive temperature"},
    {0x4320, kCode, "too low drive temperature"},
    {0x4410, kCode, "excess supply temperature"},
    {0x5110, kCode, "low-voltage supply"},
    {0x5200, kCode, "control unit"},
    {0x5300, kCode, "operating unit"},
    {0x5400, kCode, "power section"},
    {0x5410, kCode, "output stages"},
    {0x5441, kCode, "contact 1: manufacturer-specific"},
    {0x5530, kCode, "non-volatile data memory"},
    {0x6010, kCode, "software reset (watchdog)"},
    {0x6310, kCode, "loss of parameters"},
    {0x6320, kCode, "parameter error"},
    {0x7110, kCode, "brake chopper"},
    {0x7120, kCode, "motor"},
    {0x7121, kCode, "motor blocked"},
    {0x7122, kCode, "motor error or commutation malfunction"},
    {0x7123, kCode, "motor tilted"},
    {0x7300, kCode, "sensor"},
    {0x7305, kCode, "incremental sensor (encoder) 1"},
    {0x7310, kCode, "speed sensor"},
    {0x7320, kCode, "position sensor"},
    {0x7500, kCode, "communication module"},
    {0x7600, kCode, "data memory module"},
    // CiA 301, table 26 and CiA 402-1
    {0x8110, kCode, "CAN overrun: messages lost"},
    {0x8120, kCode, "CAN in error passive mode"},
    {0x8130, kCode, "life guard or heartbeat error"},
    {0x8140, kCode, "recovered from bus off"},
    {0x8150, kCode, "CAN identifier collision"},
    {0x8210, kCode, "PDO not processed: length error"},
    {0x8220, kCode, "PDO length exceeded"},
    {0x8230, kCode, "destination object not available for a PDO"},
    {0x8240, kCode, "unexpected SYNC data length"},
    {0x8250, kCode, "RPDO time-out"},
    {0x8311, kCode, "excess torque"},
    {0x8331, kCode, "torque fault"},
    {0x8400, kCode, "velocity speed controller"},
    {0x8500, kCode, "position controller"},
    {0x8611, kCode, "following error"},
    {0x8612, kCode, "reference limit"},
    {0x8700, kCode, "SYNC controller"},
    {0x8800, kCode, "winding controller"},
    {0x8900, kCode, "process data monitoring"},
    // CiA 301, table 25: classes
    {0x0000, kClass, "error reset or no error"},
    {0x2100, kClass, "current at the device's input side"},
    {0x2200, kClass, "current inside the device"},
    {0x2300, kClass, "current at the device's output side"},
    {0x3100, kClass, "mains voltage"},
    {0x3200, kClass, "voltage inside the device"},
    {0x3300, kClass, "output voltage"},
    {0x4100, kClass, "ambient temperature"},
    {0x4200, kClass, "device temperature"},
    {0x4300, kClass, "drive temperature"},
    {0x4400, kClass, "supply temperature"},
    {0x5100, kClass, "device hardware: supply"},
    {0x5200, kClass, "device hardware: control"},
    {0x5300, kClass, "device hardware: operating unit"},
    {0x5400, kClass, "device hardware: power section"},
    {0x5500, kClass, "device hardware: data storage"},
    {0x6100, kClass, "internal software"},
    {0x6200, kClass, "user software"},
    {0x6300, kClass, "data set"},
    {0x7100, kClass, "additional module: power"},
    {0x7200, kClass, "additional module: measurement"},
    {0x7300, kClass, "additional module: sensor"},
    {0x7400, kClass, "additional module: computation"},
    {0x7500, kClass, "additional module: communication"},
    {0x7600, kClass, "additional module: data storage"},
    {0x8100, kClass, "monitoring: communication"},
    {0x8200, kClass, "monitoring: protocol error"},
    {0x8300, kClass, "monitoring: torque control"},
    {0x8400, kClass, "monitoring: velocity control"},
    {0x8500, kClass, "monitoring: position control"},
    {0x8600, kClass, "monitoring: positioning"},
    {0x9000, kGroup, "external error"},
    {0xF000, kClass, "additional functions"},
    {0xFF00, kClass, "device specific"},
    {0x1000, kGroup, "generic error"},
    {0x2000, kGroup, "current"},
    {0x3000, kGroup, "voltage"},
    {0x4000, kGroup, "temperature"},
    {0x5000, kGroup, "device hardware"},
    {0x6000, kGroup, "device software"},
    {0x7000, kGroup, "additional modules"},
    {0x8000, kGroup, "monitoring"},
    {0xF000, kGroup, "additional functions"},
};

constexpr const char* kRegisterBits[] = {"generic",       "current",        "voltage",  "temperature",
                                         "communication", "device profile", "reserved", "manufacturer"};

std::string hexadecimal(unsigned value, int digits) {
  char text[16];
  std::snprintf(text, sizeof(text), "%0*X", digits, value);
  return text;
}

}  // namespace

std::string emergency_text(std::uint16_t code) {
  for (const Meaning& meaning : kMeanings) {
    if ((code & meaning.mask) == meaning.code) return meaning.text;
  }
  return "unknown error code";
}

std::vector<std::string> error_register_names(std::uint8_t error_register) {
  std::vector<std::string> names;
  for (unsigned bit = 0; bit < 8; ++bit) {
    if ((static_cast<unsigned>(error_register) >> bit & 1U) != 0) names.emplace_back(kRegisterBits[bit]);
  }
  return names;
}

std::string to_string(const Emergency& emergency) {
  std::string text = "node " + std::to_string(emergency.node) + ": emergency 0x" +
                     hexadecimal(emergency.code, 4) + " (" + emergency_text(emergency.code) +
                     "), error register 0x" + hexadecimal(emergency.error_register, 2);
  const char* separator = " (";
  for (const std::string& name : error_register_names(emergency.error_register)) {
    text += separator + name;
    separator = ", ";
  }
  if (emergency.error_register != 0) text += ')';
  text += ", vendor data";
  for (const std::uint8_t byte : emergency.vendor_data) text += ' ' + hexadecimal(byte, 2);
  return text;
}

}  // namespace nkr::canopen
