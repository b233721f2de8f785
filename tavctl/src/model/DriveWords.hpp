#ifndef TAVCTL_MODEL_DRIVEWORDS_HPP
#define TAVCTL_MODEL_DRIVEWORDS_HPP

#include <cstdint>
#include <optional>
#include <string>
#include <tavcore/INMTService.hpp>
#include <tavcore/IPDSService.hpp>
#include <vector>

namespace tavctl {

/** "operational", "pre-operational", "stopped"; "not heard" for UNKNOWN. */
[[nodiscard]] std::string nmt_name(nkr::tavcore::INMTService::NMTState state);

/** "OPERATION_ENABLED"; "unknown state N" outside the eight. */
[[nodiscard]] std::string state_name(nkr::tavcore::IPDSService::PDSState state);

/** The state that a status word (0x6041) says, by the masks of CiA 402-2; none for any other pattern. */
[[nodiscard]] std::optional<nkr::tavcore::IPDSService::PDSState> state_of(std::uint16_t status_word);

/** Names of the status word's set bits, lowest first; "quick_stop inactive" reads "quick_stop". */
[[nodiscard]] std::vector<std::string> status_bits(std::uint16_t status_word);

/** "OPERATION_ENABLED": state, or "no state of CiA 402". */
[[nodiscard]] std::string status_word_text(std::uint16_t status_word);

/** What a control word (0x6040) commands: "enable operation, ramp", "shutdown", "fault reset". */
[[nodiscard]] std::string control_word_text(std::uint16_t control_word);

/** Names of the error register's set bits (object 0x1001); "no error" for 0. */
[[nodiscard]] std::string error_register_text(std::uint8_t error_register);

/** Joined by ", ". */
[[nodiscard]] std::string joined(const std::vector<std::string>& words);

}  // namespace tavctl

#endif
