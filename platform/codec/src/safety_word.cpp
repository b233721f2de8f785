#include <nkr/safety_word.h>

#include <cstddef>
#include <cstdint>

namespace {

constexpr std::size_t kFunctions = 18;

constexpr std::uint32_t reference(std::uint32_t index, std::uint32_t subindex) {
  return index << 16 | subindex << 8;
}

nkr_error_t find_function(const std::uint32_t (&codes)[kFunctions], std::uint32_t wanted,
                          std::int32_t* function) {
  if (function == nullptr) return NKR_ERROR;
  for (std::size_t i = 0; i < kFunctions; ++i) {
    if (codes[i] == wanted) {
      *function = static_cast<std::int32_t>(i);
      return NKR_OK;
    }
  }
  return NKR_ERROR;
}

}  // namespace

const uint32_t nkr_safety_word_fct_to_dico_cmd[kFunctions] = {
    reference(0x6640, 0),                                                                    // STO
    reference(0x6660, 1), reference(0x6660, 2), reference(0x6660, 3),                        // SBC 1 to 3
    reference(0x6690, 1), reference(0x6690, 2), reference(0x6690, 3), reference(0x6690, 4),  // SLS 1 to 4
    reference(0x6690, 5), reference(0x6690, 6), reference(0x6690, 7), reference(0x6690, 8),  // SLS 5 to 8
    reference(0x66D0, 1), reference(0x66D0, 2),                                              // SDIp 1 and 2
    reference(0x66D1, 1), reference(0x66D1, 2),                                              // SDIn 1 and 2
    reference(0x6632, 0),  // error acknowledge
    reference(0x2630, 0),  // restart acknowledge
};

const uint32_t nkr_safety_word_fct_to_dico_status[kFunctions] = {
    reference(0x2640, 0),                                                                    // STO
    reference(0x2660, 1), reference(0x2660, 2), reference(0x2660, 3),                        // SBC 1 to 3
    reference(0x2690, 1), reference(0x2690, 2), reference(0x2690, 3), reference(0x2690, 4),  // SLS 1 to 4
    reference(0x2690, 5), reference(0x2690, 6), reference(0x2690, 7), reference(0x2690, 8),  // SLS 5 to 8
    reference(0x26D0, 1), reference(0x26D0, 2),                                              // SDIp 1 and 2
    reference(0x26D1, 1), reference(0x26D1, 2),                                              // SDIn 1 and 2
    reference(0x2632, 0),  // error acknowledge
    reference(0x2631, 0),  // restart acknowledge
};

nkr_error_t nkr_safety_word_command_get_fct(uint32_t code, int32_t* function) {
  return find_function(nkr_safety_word_fct_to_dico_cmd, code, function);
}

nkr_error_t nkr_safety_word_status_get_fct(uint32_t code, int32_t* function) {
  return find_function(nkr_safety_word_fct_to_dico_status, code, function);
}
