// A program that brings its own codecs: the library uses them.
#include <nkr/cia402.h>
#include <nkr/safety_word.h>

#include "connected.hpp"

namespace {

constexpr std::uint16_t kOwnControlWord = 0x5A5A;
int32_t looked_up = 0;

}  // namespace

nkr_error_t nkr_cia402_decode_status_word(uint16_t, nkr_cia402_status_word_t* out) {
  *out = {};
  out->fault = true;
  return NKR_OK;
}

nkr_error_t nkr_cia402_encode_control_word(const nkr_cia402_control_word_t*, uint16_t* out) {
  *out = kOwnControlWord;
  return NKR_OK;
}

const uint32_t nkr_safety_word_fct_to_dico_cmd[18] = {0xABCD0100};
const uint32_t nkr_safety_word_fct_to_dico_status[18] = {0xABCE0100};

nkr_error_t nkr_safety_word_command_get_fct(uint32_t, int32_t* function) {
  ++looked_up;
  *function = 3;
  return NKR_OK;
}

nkr_error_t nkr_safety_word_status_get_fct(uint32_t, int32_t* function) {
  ++looked_up;
  *function = 3;
  return NKR_OK;
}

namespace {

using nkr::tavcore::CANOpenDispatcher;

void use_the_safety_word_codec(Connected& drive) {
  using FunctionId = CANOpenDispatcher::SafetyFunctionId;
  constexpr auto kWord = CANOpenDispatcher::SafetyControlWordId::CAN_2;
  constexpr std::uint32_t kMappingObjects = 0x66F0;
  for (std::uint32_t word = 0; word < 16; ++word) {
    for (std::uint32_t bit = 1; bit <= 8; ++bit) {
      drive.client->values[(kMappingObjects + word) << 16 | bit << 8] = 0x12340100;  // of no function
    }
  }
  CANOpenDispatcher::SafetyWordMapping mapping{};
  expect(drive.dispatcher->getSafetyControlWordMapping(kWord, mapping) == NKR_OK, "the mapping is read");
  expect(looked_up > 0 && mapping.bit0 == FunctionId{3}, "the program's own look-up says the function");

  mapping.bit0 = FunctionId::STO;
  expect(drive.dispatcher->setSafetyControlWordMapping(kWord, mapping) == NKR_OK, "the mapping is written");
  bool written = false;
  for (const auto& object : drive.client->values) {
    written = written || object.second == nkr_safety_word_fct_to_dico_cmd[0];
  }
  expect(written, "with the code of the program's own table");
}

}  // namespace

int main() {
  constexpr std::uint32_t kVendorId = 0x10180100;
  constexpr std::uint32_t kControlWord = 0x60400000;
  Connected drive;
  drive.client->values[kVendorId] = 2599;

  CANOpenDispatcher::PDSState state{};
  expect(drive.dispatcher->getPDSState(state) == NKR_OK, "the state is read");
  expect(state == CANOpenDispatcher::PDSState::FAULT, "the program's own decoder says the state");
  expect(drive.dispatcher->shutdown() == NKR_OK, "the command is sent");
  expect(drive.client->values[kControlWord] == kOwnControlWord, "the program's own encoder made it");
  use_the_safety_word_codec(drive);
  return 0;
}
