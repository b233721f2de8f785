#include "eds/ValueChecks.hpp"

#include <nkr/tools/ObjectValue.hpp>

#include "eds/ValueText.hpp"

namespace nkr::tools {

namespace {

constexpr std::string_view kNoValue = "no value";

bool is_real(DataType type) {
  return type == DataType::REAL32 || type == DataType::REAL64;
}

bool is_integer(DataType type) {
  return integer_bits(type) != 0;
}

/** What CiA 306 wants of a number's form, beyond being readable. */
void check_form(std::string_view text, Place place, Diagnostics& diagnostics) {
  if (has_comment(text)) diagnostics.report(Problem::INLINE_COMMENT, place, text, "the number before it");
  if (text.find('$') != std::string_view::npos && text.substr(0, 7) != "$NODEID") {
    diagnostics.report(Problem::NODE_ID_ORDER, place, text, "the sum");
  }
}

/** An integer text's value in its type; nothing, reported, when it has none. */
std::optional<std::int64_t> checked_integer(std::string_view text, DataType type, Place place,
                                            Diagnostics& diagnostics) {
  const auto value = integer_of(text, type);
  if (value) {
    check_form(text, place, diagnostics);
    return value;
  }
  if (number_of(text) || integer_of(text, DataType::UNSIGNED64)) {
    const std::string detail = std::string(without_comment(text)) + " in an " + integer_name(type);
    diagnostics.report(Problem::VALUE_RANGE, place, detail, kNoValue);
  } else {
    diagnostics.report(Problem::VALUE_UNREADABLE, place, text, kNoValue);
  }
  return std::nullopt;
}

/** Reports what is wrong with a value text; gives its value when it is an integer that its type holds. */
std::optional<std::int64_t> checked_text(const ObjectFields& fields, Key key,
                                         const std::optional<std::string>& text, DataType type,
                                         Diagnostics& diagnostics) {
  if (!text) return std::nullopt;
  const Place place = fields.place(key);
  if (text->empty()) {
    diagnostics.report(Problem::EMPTY_VALUE, place, {}, kNoValue);
  } else if (is_integer(type)) {
    return checked_integer(*text, type, place, diagnostics);
  } else if (is_real(type)) {
    if (!real_of(*text)) diagnostics.report(Problem::VALUE_UNREADABLE, place, *text, kNoValue);
  } else if (type == DataType::OCTET_STRING && !is_octets(*text)) {
    diagnostics.report(Problem::VALUE_UNREADABLE, place, *text, "the text as it stands");
  }
  return std::nullopt;
}

std::optional<std::int64_t> checked_limit(const ObjectFields& fields, Key key,
                                          const std::optional<std::string>& text, DataType type,
                                          Diagnostics& diagnostics) {
  const bool number = is_integer(type) || is_real(type);
  const bool unknown = type == DataType::UNKNOWN || static_cast<std::uint16_t>(type) > 0x1B;
  if (number || unknown || !text || text->empty()) return checked_text(fields, key, text, type, diagnostics);
  diagnostics.report(Problem::LIMIT_ON_OTHER, fields.place(key), *text, "no limit");
  return std::nullopt;
}

bool less(std::int64_t a, std::int64_t b, DataType type) {
  return type == DataType::UNSIGNED64 ? static_cast<std::uint64_t>(a) < static_cast<std::uint64_t>(b) : a < b;
}

/** Reports a value outside the limits; one that depends on the node id is not judged. */
void check_between(const ObjectFields& fields, Key key, std::optional<std::int64_t> value,
                   const ObjectEntry::Description& object, const Limits& limits, Diagnostics& diagnostics) {
  if (!value || fields.find(key)->value.find('$') != std::string_view::npos) return;
  const DataType type = object.data_type;
  const bool below = limits.low && less(*value, *limits.low, type);
  const bool above = limits.high && less(*limits.high, *value, type);
  if (!below && !above) return;
  const std::string limit = below ? explained(*object.low_limit, type) : explained(*object.high_limit, type);
  const std::string detail = explained(fields.find(key)->value, type) +
                             (below ? " is below LowLimit " : " is above HighLimit ") + limit;
  diagnostics.report(Problem::DEFAULT_OUTSIDE_LIMITS, fields.place(key), detail, "the value");
}

}  // namespace

void check_values(const ObjectFields& fields, const ObjectEntry::Description& object,
                  Diagnostics& diagnostics) {
  const DataType type = object.data_type;
  const auto initial = checked_text(fields, Key::DEFAULT_VALUE, object.default_value, type, diagnostics);
  const auto value = checked_text(fields, Key::PARAMETER_VALUE, object.parameter_value, type, diagnostics);
  Limits limits;
  limits.low = checked_limit(fields, Key::LOW_LIMIT, object.low_limit, type, diagnostics);
  limits.high = checked_limit(fields, Key::HIGH_LIMIT, object.high_limit, type, diagnostics);
  if (limits.low && limits.high && less(*limits.high, *limits.low, type)) {
    const std::string detail =
        explained(*object.low_limit, type) + " is above " + explained(*object.high_limit, type);
    diagnostics.report(Problem::LIMITS_CROSSED, fields.place(Key::LOW_LIMIT), detail, "no limits");
    limits = {};
  }
  check_between(fields, Key::DEFAULT_VALUE, initial, object, limits, diagnostics);
  check_between(fields, Key::PARAMETER_VALUE, value, object, limits, diagnostics);
}

}  // namespace nkr::tools
