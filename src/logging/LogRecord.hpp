#ifndef TAVCORE_LOGGING_LOGRECORD_HPP
#define TAVCORE_LOGGING_LOGRECORD_HPP

#include <nkr/log.h>

#include <cstdint>
#include <string>
#include <type_traits>

#include "Here.hpp"

namespace nkr::tavcore {

/** What every record carries besides its text. */
struct LogOrigin {
  std::uint32_t context;
  std::uint32_t level;
  Here here;
  const char* class_name;  ///< null: the record has no class field
};

/** Builds and sends one record; logging must be enabled. A failure of the log drops the record, nothing else.
 */
void send_log_record(const LogOrigin& origin, const char* text);

/** One record of a fixed text. */
inline void log_record(const LogOrigin& origin, const char* text) {
  if (nkr_log_is_enabled() == NKR_OK) send_log_record(origin, text);
}

/** One record whose text is put together only when logging is enabled: `make_text` returns a std::string. */
template <class MakeText>
void log_record_with(const LogOrigin& origin, MakeText make_text) {
  if (nkr_log_is_enabled() == NKR_OK) send_log_record(origin, make_text().c_str());
}

/** A value as records show it: decimal; bool as 0 or 1; float with six decimals and a point in every locale.
 */
std::string log_text_of(float value);
template <class Integer, class = std::enable_if_t<std::is_integral_v<Integer>>>
std::string log_text_of(Integer value) {
  return std::to_string(static_cast<std::int64_t>(value));
}

}  // namespace nkr::tavcore

#endif
