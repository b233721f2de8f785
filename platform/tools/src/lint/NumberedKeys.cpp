#include "lint/NumberedKeys.hpp"

#include <algorithm>
#include <nkr/tools/ObjectValue.hpp>
#include <set>

#include "text/IniLines.hpp"

namespace nkr::tools {

namespace {

/** The number of decimal digits; 0 when it is larger than any count of keys. */
std::size_t number_in(std::string_view digits) {
  std::size_t number = 0;
  for (const char c : digits) {
    number = number * 10 + static_cast<std::size_t>(c - '0');
    if (number > 0xFFFFFFFF) return 0;
  }
  return number;
}

}  // namespace

bool all_digits(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

NumberedKeys numbered_keys(const DescriptionView& view, const Section& section, std::string_view word) {
  NumberedKeys keys;
  std::set<std::size_t> numbers;
  for (const auto* line = view.begin(section); line != view.end(section); ++line) {
    const std::string_view start = line->name.substr(0, word.size());
    const std::string_view digits = line->name.substr(start.size());
    if (!equal_without_case(start, word) || !all_digits(digits)) continue;
    ++keys.entries;
    numbers.insert(number_in(digits));
  }
  const bool first_is_one = numbers.empty() || *numbers.begin() == 1;
  const bool last_is_count = numbers.empty() || *numbers.rbegin() == keys.entries;
  keys.in_sequence = numbers.size() == keys.entries && first_is_one && last_is_count;
  return keys;
}

bool is_counted(const DescriptionView& view, const Section& section, std::string_view count_key,
                std::string_view word) {
  const NumberedKeys keys = numbered_keys(view, section, word);
  return keys.in_sequence && view.number(&section, count_key) == static_cast<std::int64_t>(keys.entries);
}

}  // namespace nkr::tools
