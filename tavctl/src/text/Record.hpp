#ifndef TAVCTL_TEXT_RECORD_HPP
#define TAVCTL_TEXT_RECORD_HPP

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <tav/host/number.hpp>
#include <type_traits>
#include <vector>

#include "cli/Failure.hpp"
#include "cli/Output.hpp"
#include "text/Values.hpp"
#include "text/host.hpp"

namespace tavctl {

// A record of the library is shown and set field by field. What a record's fields are is said once, by a
// function object `fields(visit, record)` that calls visit(key, field) for each of them, in order.

/** How fields are shown and taken beyond what their types say: with units, by name. Empty: as the type does.
 */
struct FieldWords {
  std::function<std::string(const std::string& key, const Value& value)> shown;
  std::function<std::string(const std::string& key, const std::string& text)> taken;
};

/** "KEY=VALUE" in its two parts. Failure(USAGE) when it is none. */
struct Assignment {
  std::string key;
  std::string value;
};
[[nodiscard]] Assignment assignment_of(const std::string& text);

/** Takes the text as a value of the field's type. Failure(USAGE) when it is none or does not fit. */
template <class Field>
void assign(const Assignment& assignment, Field& field) {
  const auto refuse = [&](const char* wanted, ExitCode code = ExitCode::USAGE) {
    throw Failure(code, "\"" + assignment.value + "\" is no value for " + assignment.key + ": " + wanted);
  };
  if constexpr (std::is_same_v<Field, bool>) {
    const std::optional<bool> flag = typed_flag(assignment.value);
    if (!flag) refuse("on or off is wanted");
    field = *flag;
  } else if constexpr (std::is_floating_point_v<Field>) {
    const std::optional<double> number = typed_real(assignment.value);
    if (!number) refuse("a number is wanted");
    field = static_cast<Field>(*number);
  } else if constexpr (std::is_same_v<Field, std::string>) {
    field = assignment.value;
  } else {
    const std::optional<std::int64_t> number = typed_integer(assignment.value);
    using Limits = std::numeric_limits<Field>;
    if (!number) refuse("a whole number is wanted");
    if (*number < static_cast<std::int64_t>(Limits::min()) ||
        *number > static_cast<std::int64_t>(Limits::max())) {
      refuse("it is out of range", ExitCode::REFUSED);
    }
    field = static_cast<Field>(*number);
  }
}

/** A field as people and programs see it. */
template <class Field>
[[nodiscard]] Value field_value(const Field& field) {
  if constexpr (std::is_same_v<Field, bool> || std::is_same_v<Field, std::string>) {
    return value_of(field);
  } else if constexpr (std::is_floating_point_v<Field>) {
    return value_of(static_cast<double>(field));
  } else if constexpr (std::is_signed_v<Field>) {
    return value_of(static_cast<std::int64_t>(field));
  } else {
    return value_of(static_cast<std::uint64_t>(field), static_cast<int>(sizeof field));
  }
}

/** The key as a label: "event_timer" reads "event timer". */
[[nodiscard]] std::string label_of(std::string key);

/** The keys of a record's fields: "time_unit, position_unit". */
template <class Record, class Fields>
[[nodiscard]] std::string field_keys(Fields fields) {
  Record record{};
  std::string keys;
  fields([&](const char* key, const auto&) { keys += keys.empty() ? key : std::string(", ") + key; }, record);
  return keys;
}

template <class Record, class Fields>
void show_record(Output& output, Record& record, Fields fields, const FieldWords& words = {}) {
  fields(
      [&](const char* key, const auto& field) {
        const Value value = field_value(field);
        output.fact(label_of(key), words.shown ? words.shown(key, value) : value.text, key, json_of(value));
      },
      record);
}

/** Sets the fields that the assignments name. Failure(USAGE), with the keys there are, for an unknown one. */
template <class Record, class Fields>
void assign_fields(const std::vector<std::string>& texts, Record& record, Fields fields,
                   const FieldWords& words = {}) {
  for (const std::string& text : texts) {
    Assignment assignment = assignment_of(text);
    if (words.taken) assignment.value = words.taken(assignment.key, assignment.value);
    bool known = false;
    fields(
        [&](const char* key, auto& field) {
          if (assignment.key != key) return;
          known = true;
          assign(assignment, field);
        },
        record);
    if (!known) {
      throw Failure(ExitCode::USAGE, "there is no field \"" + assignment.key + "\"",
                    "The fields are: " + field_keys<Record>(fields) + ".");
    }
  }
}

/** Keys whose fields differ between two records. */
template <class Record, class Fields>
[[nodiscard]] std::vector<std::string> differing_fields(Record& a, Record& b, Fields fields) {
  std::vector<Json> values;
  fields([&](const char*, const auto& field) { values.push_back(json_of(field_value(field))); }, a);
  std::vector<std::string> keys;
  std::size_t position = 0;
  fields(
      [&](const char* key, const auto& field) {
        if (values[position++] != json_of(field_value(field))) keys.emplace_back(key);
      },
      b);
  return keys;
}

}  // namespace tavctl

#endif
