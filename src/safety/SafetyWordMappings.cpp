// Which safety function each bit of a safety word commands or reports.

#include <nkr/safety_word.h>

#include <array>
#include <tavcore/CANOpenDispatcher.hpp>
#include <tavcore/SafetyConfiguration.hpp>
#include <tavcore/SafetyWordTables.hpp>

#include "../logging/LogRecord.hpp"
#include "../objects/Steps.hpp"
#include "SafetyObjects.hpp"

namespace nkr::tavcore {

using ControlWord = ISafeMotionService::SafetyControlWordId;
using StatusWord = ISafeMotionService::SafetyStatusWordId;
using Function = ISafeMotionService::SafetyFunctionId;
using Mapping = ISafeMotionService::SafetyWordMapping;

const std::map<ControlWord, std::string> sSafetyControlWordMapping = {
    {ControlWord::CAN_1, "nkr_safety_word_scw_mapping_cw1 scw_cw_can_1_bit"},
    {ControlWord::CAN_2, "nkr_safety_word_scw_mapping_cw2 scw_cw_can_2_bit"},
    {ControlWord::CAN_3, "nkr_safety_word_scw_mapping_cw3 scw_cw_can_3_bit"},
    {ControlWord::CAN_4, "nkr_safety_word_scw_mapping_cw4 scw_cw_can_4_bit"},
    {ControlWord::CAN_5, "nkr_safety_word_scw_mapping_cw5 scw_cw_can_5_bit"},
    {ControlWord::CAN_6, "nkr_safety_word_scw_mapping_cw6 scw_cw_can_6_bit"},
    {ControlWord::CAN_7, "nkr_safety_word_scw_mapping_cw7 scw_cw_can_7_bit"},
    {ControlWord::CAN_8, "nkr_safety_word_scw_mapping_cw8 scw_cw_can_8_bit"},
    {ControlWord::SAFE_INPUT, "nkr_safety_word_scw_mapping_safein scw_cw_safein_bit"},
};

const std::map<StatusWord, std::string> sSafetyStatusWordMapping = {
    {StatusWord::CAN_1, "nkr_safety_word_ssw_mapping_sw1 ssw_sw_can_1_bit"},
    {StatusWord::CAN_2, "nkr_safety_word_ssw_mapping_sw2 ssw_sw_can_2_bit"},
    {StatusWord::CAN_3, "nkr_safety_word_ssw_mapping_sw3 ssw_sw_can_3_bit"},
    {StatusWord::CAN_4, "nkr_safety_word_ssw_mapping_sw4 ssw_sw_can_4_bit"},
    {StatusWord::CAN_5, "nkr_safety_word_ssw_mapping_sw5 ssw_sw_can_5_bit"},
    {StatusWord::CAN_6, "nkr_safety_word_ssw_mapping_sw6 ssw_sw_can_6_bit"},
    {StatusWord::CAN_7, "nkr_safety_word_ssw_mapping_sw7 ssw_sw_can_7_bit"},
    {StatusWord::CAN_8, "nkr_safety_word_ssw_mapping_sw8 ssw_sw_can_8_bit"},
    // "scw" in the status word's name is the drive's own spelling.
    {StatusWord::SAFE_OUTPUT, "nkr_safety_word_ssw_mapping_safeout scw_sw_safeout_bit"},
};

namespace {
constexpr int kCanWordBits = 8;
}  // namespace

int mappable_bits(ControlWord word) {
  return word == ControlWord::SAFE_INPUT ? static_cast<int>(kSafeInputBits) : kCanWordBits;
}

int mappable_bits(StatusWord word) {
  return word == StatusWord::SAFE_OUTPUT ? static_cast<int>(kSafeOutputBits) : kCanWordBits;
}

namespace {

constexpr std::array<Function Mapping::*, 8> kFields = {&Mapping::bit0, &Mapping::bit1, &Mapping::bit2,
                                                        &Mapping::bit3, &Mapping::bit4, &Mapping::bit5,
                                                        &Mapping::bit6, &Mapping::bit7};

constexpr std::uint32_t kUnmapped = 0;

/** Bits of the first words that are reserved for the drive, and never written. */
bool is_reserved(ControlWord word, int bit) {
  return word == ControlWord::CAN_1 && (bit == 0 || bit == 6 || bit == 7);
}
bool is_reserved(StatusWord word, int bit) {
  return word == StatusWord::CAN_1 && (bit == 0 || bit == 7);
}

Function& field(Mapping& mapping, int bit) {
  return mapping.*kFields.at(static_cast<std::size_t>(bit));
}
Function field(const Mapping& mapping, int bit) {
  return mapping.*kFields.at(static_cast<std::size_t>(bit));
}

/** `function_of(code, function)`: the converter of the word's kind. */
template <class Word, class FunctionOf>
void read_mapping(Steps& steps, const std::map<Word, std::string>& bases, Word word, Mapping& mapping,
                  FunctionOf function_of) {
  const auto base = bases.find(word);
  if (base == bases.end()) {
    steps.end(NKR_ERROR);
    return;
  }
  for (int bit = 0; bit < mappable_bits(word); ++bit) {
    std::uint32_t code = kUnmapped;
    if (!steps.read(mapping_bit(base->second, bit), code)) return;
    if (code == kUnmapped) {
      field(mapping, bit) = Function::NONE;
    } else if (!steps.once([&] { return function_of(code, field(mapping, bit)); })) {
      return;
    }
  }
}

template <class Word>
bool has_known_functions(Word word, const Mapping& mapping) {
  for (int bit = 0; bit < mappable_bits(word); ++bit) {
    const Function function = field(mapping, bit);
    const bool known = function >= Function::NONE && function <= Function::RESTART_ACKNOWLEDGE;
    if (!known && !is_reserved(word, bit)) return false;
  }
  return true;
}

template <class Word>
void write_mapping(Steps& steps, const std::map<Word, std::string>& bases, Word word, const Mapping& mapping,
                   const std::uint32_t (&codes)[18]) {
  const auto base = bases.find(word);
  if (base == bases.end() || !has_known_functions(word, mapping)) {
    steps.end(NKR_ERROR);
    return;
  }
  for (int bit = 0; bit < mappable_bits(word); ++bit) {
    if (is_reserved(word, bit)) continue;
    const Function function = field(mapping, bit);
    const std::uint32_t code =
        function == Function::NONE ? kUnmapped : codes[static_cast<std::size_t>(function)];
    steps.write(mapping_bit(base->second, bit), code);
  }
}

using Converter = nkr_error_t (*)(std::uint32_t code, std::int32_t* function);

/** Converts a device code; a failure is recorded with the converter's name. */
nkr_error_t convert(Converter converter, const char* converter_name, std::uint32_t code, Function& function,
                    const LogOrigin& origin) {
  std::int32_t number = 0;
  const nkr_error_t result = converter(code, &number);
  if (result == NKR_OK) {
    function = Function{number};
  } else {
    log_record_with(origin,
                    [&] { return std::string(converter_name) + " " + log_text_of(code) + " failed !"; });
  }
  return result;
}

}  // namespace

nkr_error_t CANOpenDispatcher::getSafetyControlWordMapping(const SafetyControlWordId& word,
                                                           SafetyWordMapping& mapping) const {
  Steps steps = Steps::guarded(*dictionary_);
  const LogOrigin origin{dictionary_->context(), NKR_LOG_FAILURE, Here::now(), kDispatcherClass};
  read_mapping(steps, sSafetyControlWordMapping, word, mapping,
               [&](std::uint32_t code, SafetyFunctionId& function) {
                 return convert(nkr_safety_word_command_get_fct, "nkr_safety_word_command_get_fct", code,
                                function, origin);
               });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setSafetyControlWordMapping(const SafetyControlWordId& word,
                                                           const SafetyWordMapping& mapping) {
  Steps steps = Steps::guarded(*dictionary_);
  write_mapping(steps, sSafetyControlWordMapping, word, mapping, nkr_safety_word_fct_to_dico_cmd);
  steps.step([&] { return updateAllSafetySignatures(); });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getSafetyStatusWordMapping(const SafetyStatusWordId& word,
                                                          SafetyWordMapping& mapping) const {
  Steps steps = Steps::guarded(*dictionary_);
  const LogOrigin origin{dictionary_->context(), NKR_LOG_FAILURE, Here::now(), kDispatcherClass};
  read_mapping(steps, sSafetyStatusWordMapping, word, mapping,
               [&](std::uint32_t code, SafetyFunctionId& function) {
                 return convert(nkr_safety_word_status_get_fct, "nkr_safety_word_status_get_fct", code,
                                function, origin);
               });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setSafetyStatusWordMapping(const SafetyStatusWordId& word,
                                                          const SafetyWordMapping& mapping) {
  Steps steps = Steps::guarded(*dictionary_);
  write_mapping(steps, sSafetyStatusWordMapping, word, mapping, nkr_safety_word_fct_to_dico_status);
  steps.step([&] { return updateAllSafetySignatures(); });
  return steps.result();
}

}  // namespace nkr::tavcore
