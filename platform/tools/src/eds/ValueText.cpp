#include "eds/ValueText.hpp"

#include <nkr/tools/ObjectValue.hpp>

#include "text/IniLines.hpp"

namespace nkr::tools {

namespace {

bool may_have_comment(std::string_view text) {
  return text.find(';') != std::string_view::npos || text.find('#') != std::string_view::npos;
}

}  // namespace

std::string_view without_comment(std::string_view text) {
  if (!may_have_comment(text)) return trim(text);
  text = text.substr(0, text.find(';'));
  for (std::size_t at = text.find('#'); at != std::string_view::npos; at = text.find('#', at + 1)) {
    if (at > 0 && (text[at - 1] == ' ' || text[at - 1] == '\t')) return trim(text.substr(0, at));
  }
  return trim(text);
}

bool has_comment(std::string_view text) {
  return may_have_comment(text) && without_comment(text).size() != trim(text).size();
}

bool is_octets(std::string_view text) {
  std::size_t digits = 0;
  for (const char c : text) {
    const bool digit = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    if (!digit && c != ' ') return false;
    if (digit) ++digits;
  }
  return digits % 2 == 0;
}

std::string explained(std::string_view text, DataType type) {
  std::string words(without_comment(text));
  const bool hexadecimal = words.size() > 2 && (words[1] == 'x' || words[1] == 'X');
  const auto value = integer_of(text, type);
  if (!hexadecimal || !value || *value >= 0 || !is_signed(type)) return words;
  return words + " (" + std::to_string(*value) + " in an " + integer_name(type) + ")";
}

std::string hexadecimal(std::int64_t value) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  auto rest = static_cast<std::uint64_t>(value);
  std::string digits;
  do {
    digits.insert(digits.begin(), kDigits[rest & 0xFU]);
    rest >>= 4U;
  } while (rest != 0);
  return "0x" + digits;
}

std::string integer_name(DataType type) {
  if (type == DataType::BOOLEAN) return "BOOLEAN";
  const unsigned bits = integer_bits(type);
  if (bits == 0) return {};
  return (is_signed(type) ? "INTEGER" : "UNSIGNED") + std::to_string(bits);
}

}  // namespace nkr::tools
