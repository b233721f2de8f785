#include <tav/host/Value.hpp>
#include <tav/host/emergencies.hpp>
#include <tav/host/words.hpp>

namespace tav::host {

using nkr::canopen::Emergency;
using nkr::tools::EDSParser;
using nkr::tools::ObjectID;

namespace {

constexpr std::uint16_t kClassMask = 0xFF00;
constexpr std::uint16_t kParameterError = 0x6320;
constexpr std::uint16_t kHeartbeatError = 0x8130;
constexpr std::uint16_t kPdoClass = 0x8200;

std::vector<std::uint8_t> vendor_bytes(const Emergency& emergency) {
  return {emergency.vendor_data.begin(), emergency.vendor_data.end()};
}

/** Little endian, as an index stands in a frame. */
std::uint16_t vendor_word(const Emergency& emergency) {
  return static_cast<std::uint16_t>(emergency.vendor_data[0] | emergency.vendor_data[1] << 8);
}

/** The object's name; its array's when the sub-index is not known, as in the pre-defined error field. */
std::string signature_text(ObjectID id, const EDSParser& description) {
  const bool known = id.subindex() != 0;
  const nkr::tools::ObjectEntry* const object = description.find(known ? id : ObjectID(id.index(), 1));
  if (object == nullptr) return address_text(id);
  return known ? object_text(*object) : '"' + object->description().record_name + '"';
}

}  // namespace

std::string error_class_text(std::uint16_t code) {
  return nkr::canopen::emergency_text(code & kClassMask);
}

std::string error_code_text(std::uint16_t code) {
  const std::string text = nkr::canopen::emergency_text(code);
  const std::string of_class = error_class_text(code);
  const bool more = (code & kClassMask) != code && text != of_class;
  return hex(code, 4) + ' ' + text + (more ? " (" + of_class + ')' : "");
}

std::string vendor_text(const Emergency& emergency, const EDSParser& description) {
  const std::uint16_t word = vendor_word(emergency);
  if (word == 0) return {};
  if (emergency.code == kParameterError) {
    return signature_text(ObjectID(word, emergency.vendor_data[2]), description) + " does not agree";
  }
  if (emergency.code == kHeartbeatError) return "node " + std::to_string(word) + " fell silent";
  if ((emergency.code & kClassMask) == kPdoClass) return "RPDO " + std::to_string(word);
  return {};
}

std::string emergency_line(const Emergency& emergency, const EDSParser& description) {
  const std::string vendor = vendor_text(emergency, description);
  return error_code_text(emergency.code) +
         "; error register: " + error_register_text(emergency.error_register) +
         "; vendor bytes: " + value_of(vendor_bytes(emergency)).text +
         (vendor.empty() ? "" : " (" + vendor + ')');
}

}  // namespace tav::host
