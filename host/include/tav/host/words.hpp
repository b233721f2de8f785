#ifndef TAV_HOST_WORDS_HPP
#define TAV_HOST_WORDS_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <cstdint>
#include <nkr/tools/ObjectEntry.hpp>
#include <optional>
#include <string>
#include <tavcore/INMTService.hpp>
#include <tavcore/IPDSService.hpp>
#include <vector>

namespace tav::host {

enum class GroupState : std::uint8_t;

// What states, words, objects and numbers are called.

/** "operational", "pre-operational", "stopped"; "not heard" for UNKNOWN. */
[[nodiscard]] NKR_EXPORT std::string nmt_name(nkr::tavcore::INMTService::NMTState state);

/** "OPERATION_ENABLED"; "unknown state N" outside the eight. */
[[nodiscard]] NKR_EXPORT std::string state_name(nkr::tavcore::IPDSService::PDSState state);

/** The state that a status word (0x6041) says, by the masks of CiA 402-2; none for any other pattern. */
[[nodiscard]] NKR_EXPORT std::optional<nkr::tavcore::IPDSService::PDSState> state_of(
    std::uint16_t status_word);

/** Names of the status word's set bits, lowest first; "quick_stop inactive" reads "quick_stop". */
[[nodiscard]] NKR_EXPORT std::vector<std::string> status_bits(std::uint16_t status_word);

/** "OPERATION_ENABLED": state, or "no state of CiA 402". */
[[nodiscard]] NKR_EXPORT std::string status_word_text(std::uint16_t status_word);

/** What a control word (0x6040) commands: "enable operation, ramp", "shutdown", "fault reset". */
[[nodiscard]] NKR_EXPORT std::string control_word_text(std::uint16_t control_word);

/** "enabled", "held" ... */
[[nodiscard]] NKR_EXPORT const char* name_of(GroupState state);

/** Names of the error register's set bits (object 0x1001); "no error" for 0. */
[[nodiscard]] NKR_EXPORT std::string error_register_text(std::uint8_t error_register);

/** Joined by ", ". */
[[nodiscard]] NKR_EXPORT std::string joined(const std::vector<std::string>& words);

/** What an error code (0x603F, an emergency) says: "0x3220 DC link under-voltage"; "none" for 0. */
[[nodiscard]] NKR_EXPORT std::string last_error_text(std::uint16_t code);

/** "0x" and at least `digits` hexadecimal digits, upper case. */
[[nodiscard]] NKR_EXPORT std::string hex(std::uint64_t value, int digits);

/** "0x6041:00". */
[[nodiscard]] NKR_EXPORT std::string address_text(nkr::tools::ObjectID id);

/** "\"statusword\" (0x6041:00)". */
[[nodiscard]] NKR_EXPORT std::string object_text(const nkr::tools::ObjectEntry& object);

/** A result code: "0x05040000: the SDO timed out". */
[[nodiscard]] NKR_EXPORT std::string result_text(nkr_error_t code);

/** "UNSIGNED16"; "0x001C" for a code without a name. */
[[nodiscard]] NKR_EXPORT std::string data_type_name(nkr::tools::DataType type);

/** "rw", "ro", ...; empty when unknown. */
[[nodiscard]] NKR_EXPORT std::string access_name(nkr::tools::AccessType access);

}  // namespace tav::host

#endif
