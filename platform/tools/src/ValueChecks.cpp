#include "ValueChecks.hpp"

#include <nkr/tools/ObjectValue.hpp>

namespace nkr::tools {

namespace {

constexpr std::string_view kNoValue = "no value";

bool is_real(DataType type) {
  return type == DataType::REAL32 || type == DataType::REAL64;
}

bool is_integer(DataType type) {
  return integer_bits(type) != 0;
}

/** Pairs of hexadecimal digits; blanks may stand between them. */
bool is_octets(std::string_view text) {
  std::size_t digits = 0;
  for (const char c : text) {
    const bool digit = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    if (!digit && c != ' ') return false;
    if (digit) ++digits;
  }
  return digits % 2 == 0;
}

/** What CiA 306 wants of a number's form, beyond being readable. */
void check_form(std::string_view text, Place place, Diagnostics& diagnostics) {
  if (text.find(';') != std::string_view::npos || text.find('#') != std::string_view::npos) {
    diagnostics.report(Problem::INLINE_COMMENT, place, text, "the number before it");
  }
  if (text.find('$') != std::string_view::npos && text.substr(0, 7) != "$NODEID") {
    diagnostics.report(Problem::NODE_ID_ORDER, place, text, "the sum");
  }
}

/** Reports an integer text that has no value in its type; true when it has one. */
bool check_integer(std::string_view text, DataType type, Place place, Diagnostics& diagnostics) {
  if (integer_of(text, type)) {
    check_form(text, place, diagnostics);
    return true;
  }
  const bool readable = number_of(text) || integer_of(text, DataType::UNSIGNED64);
  diagnostics.report(readable ? Problem::VALUE_RANGE : Problem::VALUE_UNREADABLE, place, text, kNoValue);
  return false;
}

void check_text(const ObjectFields& fields, Key key, const std::optional<std::string>& text, DataType type,
                Diagnostics& diagnostics) {
  if (!text) return;
  const Place place = fields.place(key);
  if (text->empty()) {
    diagnostics.report(Problem::EMPTY_VALUE, place, fields.find(key)->name, kNoValue);
  } else if (is_integer(type)) {
    check_integer(*text, type, place, diagnostics);
  } else if (is_real(type)) {
    if (!real_of(*text)) diagnostics.report(Problem::VALUE_UNREADABLE, place, *text, kNoValue);
  } else if (type == DataType::OCTET_STRING && !is_octets(*text)) {
    diagnostics.report(Problem::VALUE_UNREADABLE, place, *text, "the text as it stands");
  }
}

void check_limit(const ObjectFields& fields, Key key, const std::optional<std::string>& text, DataType type,
                 Diagnostics& diagnostics) {
  const bool number = is_integer(type) || is_real(type);
  const bool unknown = type == DataType::UNKNOWN || static_cast<std::uint16_t>(type) > 0x1B;
  if (text && !text->empty() && !number && !unknown) {
    diagnostics.report(Problem::LIMIT_ON_OTHER, fields.place(key), *text, "no limit");
    return;
  }
  check_text(fields, key, text, type, diagnostics);
}

bool less(std::int64_t a, std::int64_t b, DataType type) {
  return type == DataType::UNSIGNED64 ? static_cast<std::uint64_t>(a) < static_cast<std::uint64_t>(b) : a < b;
}

void check_between(const ObjectFields& fields, Key key, const std::optional<std::string>& text,
                   const ObjectEntry::Description& object, const Limits& limits, Diagnostics& diagnostics) {
  if (!text || is_node_relative(*text)) return;
  const auto value = integer_of(*text, object.data_type);
  if (!value) return;
  const bool below = limits.low && less(*value, *limits.low, object.data_type);
  const bool above = limits.high && less(*limits.high, *value, object.data_type);
  if (below || above) {
    diagnostics.report(Problem::DEFAULT_OUTSIDE_LIMITS, fields.place(key), *text, "the value");
  }
}

void check_limits(const ObjectFields& fields, const ObjectEntry::Description& object,
                  Diagnostics& diagnostics) {
  if (!object.low_limit && !object.high_limit) return;
  check_limit(fields, Key::LOW_LIMIT, object.low_limit, object.data_type, diagnostics);
  check_limit(fields, Key::HIGH_LIMIT, object.high_limit, object.data_type, diagnostics);
  if (!is_integer(object.data_type)) return;
  const Limits limits = limits_of(object);
  const bool both = object.low_limit && object.high_limit &&
                    integer_of(*object.low_limit, object.data_type) &&
                    integer_of(*object.high_limit, object.data_type);
  if (both && !limits.low) {
    diagnostics.report(Problem::LIMITS_CROSSED, fields.place(Key::LOW_LIMIT), *object.low_limit, "no limits");
  }
  check_between(fields, Key::DEFAULT_VALUE, object.default_value, object, limits, diagnostics);
  check_between(fields, Key::PARAMETER_VALUE, object.parameter_value, object, limits, diagnostics);
}

}  // namespace

void check_values(const ObjectFields& fields, const ObjectEntry::Description& object,
                  Diagnostics& diagnostics) {
  check_text(fields, Key::DEFAULT_VALUE, object.default_value, object.data_type, diagnostics);
  check_text(fields, Key::PARAMETER_VALUE, object.parameter_value, object.data_type, diagnostics);
  check_limits(fields, object, diagnostics);
}

}  // namespace nkr::tools
