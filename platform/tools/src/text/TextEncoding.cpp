#include "text/TextEncoding.hpp"

#include <algorithm>
#include <array>
#include <cstdint>

namespace nkr::tools {

namespace {

// Windows-1252, 0x80 to 0x9F; the five unused codes stand for the control characters of the same number.
constexpr std::array<char16_t, 32> kWindows1252 = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

constexpr std::size_t kMessageBytes = 80;

std::uint32_t byte_at(std::string_view text, std::size_t at) {
  return static_cast<unsigned char>(text[at]);
}

bool is_continuation(std::uint32_t byte) {
  return (byte & 0xC0U) == 0x80U;
}

std::uint32_t code_point(std::string_view text, std::size_t length) {
  const std::uint32_t first = byte_at(text, 0);
  if (length == 1) return first;
  std::uint32_t code = first & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) code = code << 6 | (byte_at(text, i) & 0x3FU);
  return code;
}

void append_utf8(std::string& out, std::uint32_t code) {
  const auto add = [&out](std::uint32_t byte) { out += static_cast<char>(byte); };
  if (code < 0x80) {
    add(code);
  } else if (code < 0x800) {
    add(0xC0 | code >> 6);
    add(0x80 | (code & 0x3F));
  } else {
    add(0xE0 | code >> 12);
    add(0x80 | (code >> 6 & 0x3F));
    add(0x80 | (code & 0x3F));
  }
}

// Controls, line and paragraph separators, marks that turn or hide text.
bool is_printable(std::uint32_t code) {
  if (code < 0x20 || (code >= 0x7F && code < 0xA0)) return false;
  if (code >= 0x200B && code <= 0x200F) return false;
  if (code >= 0x2028 && code <= 0x202E) return false;
  return !(code >= 0x2060 && code <= 0x206F) && code != 0xFEFF;
}

void append_escaped(std::string& out, std::uint32_t byte) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  out += "\\x";
  out += kDigits[byte >> 4];
  out += kDigits[byte & 0xF];
}

std::uint32_t from_windows_1252(std::uint32_t byte) {
  return byte >= 0x80 && byte < 0xA0 ? kWindows1252[byte - 0x80] : byte;
}

char in_windows_1252(std::uint32_t code) {
  if (code < 0x80 || (code >= 0xA0 && code <= 0xFF)) return static_cast<char>(code);
  const auto* at = std::find(kWindows1252.begin(), kWindows1252.end(), code);
  return at == kWindows1252.end() ? '?' : static_cast<char>(0x80 + (at - kWindows1252.begin()));
}

}  // namespace

std::size_t utf8_sequence_length(std::string_view text) {
  if (text.empty()) return 0;
  const std::uint32_t first = byte_at(text, 0);
  if (first < 0x80) return 1;
  const std::size_t length = first >= 0xF0 ? 4U : first >= 0xE0 ? 3U : 2U;
  if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if (!is_continuation(byte_at(text, i))) return 0;
  }
  const std::uint32_t code = code_point(text, length);
  const bool overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  return overlong || surrogate || code > 0x10FFFF ? 0 : length;
}

bool is_control(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return (byte < 0x20 && c != '\t') || byte == 0x7F;
}

bool is_ascii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool is_utf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = utf8_sequence_length(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

std::string to_utf8(std::string_view text) {
  if (is_ascii(text) || is_utf8(text)) return std::string(text);
  std::string out;
  out.reserve(text.size() + text.size() / 2);
  for (std::size_t i = 0; i < text.size(); ++i) append_utf8(out, from_windows_1252(byte_at(text, i)));
  return out;
}

std::string to_windows_1252(std::string_view utf8) {
  std::string out;
  out.reserve(utf8.size());
  while (!utf8.empty()) {
    const std::size_t length = utf8_sequence_length(utf8);
    out += length == 0 ? '?' : in_windows_1252(code_point(utf8, length));
    utf8.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return out;
}

std::string printable(std::string_view text) {
  std::string out;
  const bool cut = text.size() > kMessageBytes;
  // A character that the cut would split is left out.
  if (cut) text = cut_utf8(text, kMessageBytes);
  while (!text.empty()) {
    const std::size_t length = utf8_sequence_length(text);
    const std::size_t bytes = std::max<std::size_t>(length, 1);
    if (length != 0 && is_printable(code_point(text, length))) {
      out += text.substr(0, length);
    } else {
      for (std::size_t i = 0; i < bytes; ++i) append_escaped(out, byte_at(text, i));
    }
    text.remove_prefix(bytes);
  }
  if (cut) out += "...";
  return out;
}

std::string_view cut_utf8(std::string_view text, std::size_t bytes) {
  if (text.size() <= bytes) return text;
  std::size_t end = bytes;
  for (int back = 0; back < 3 && end > 0 && is_continuation(byte_at(text, end)); ++back) --end;
  return text.substr(0, is_continuation(byte_at(text, end)) ? bytes : end);
}

}  // namespace nkr::tools
