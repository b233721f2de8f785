#ifndef TAVCTL_MODEL_FORMAT_HPP
#define TAVCTL_MODEL_FORMAT_HPP

#include <nkr/error.h>

#include <cstddef>
#include <cstdint>
#include <nkr/tools/ObjectEntry.hpp>
#include <string>
#include <string_view>

namespace tavctl {

/** "0x" and at least `digits` hexadecimal digits, upper case. */
[[nodiscard]] std::string hex(std::uint64_t value, int digits);

/** The text, filled with blanks to `width` columns and at least one blank behind it. */
[[nodiscard]] std::string padded(std::string_view text, std::size_t width);

/** "0x6041:00". */
[[nodiscard]] std::string address_text(nkr::tools::ObjectID id);

/** "\"statusword\" (0x6041:00)". */
[[nodiscard]] std::string object_text(const nkr::tools::ObjectEntry& object);

/** A result code: "0x05040000: the SDO timed out". */
[[nodiscard]] std::string result_text(nkr_error_t code);

/** "UNSIGNED16"; "0x001C" for a code without a name. */
[[nodiscard]] std::string data_type_name(nkr::tools::DataType type);

/** "rw", "ro", ...; empty when unknown. */
[[nodiscard]] std::string access_name(nkr::tools::AccessType access);

}  // namespace tavctl

#endif
