#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <tav/host/printable.hpp>

namespace tav::host {

namespace {

std::uint32_t byte_at(std::string_view text, std::size_t position) {
  return static_cast<unsigned char>(text[position]);
}

/** The character that begins at `position`: its bytes (Unicode, table 3-7); 0 when there is none. */
struct Character {
  std::size_t bytes = 0;
  std::uint32_t code = 0;
};

Character character_at(std::string_view text, std::size_t position) {
  struct Form {
    std::uint32_t mask, lead;
    std::size_t bytes;
    std::uint32_t first;  ///< smallest code that needs so many bytes
  };
  constexpr Form kForms[] = {
      {0x80, 0x00, 1, 0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};
  const std::uint32_t lead = byte_at(text, position);
  for (const Form& form : kForms) {
    if ((lead & form.mask) != form.lead) continue;
    if (text.size() - position < form.bytes) return {};
    std::uint32_t code = lead & ~form.mask;
    for (std::size_t i = 1; i < form.bytes; ++i) {
      const std::uint32_t next = byte_at(text, position + i);
      if ((next & 0xC0U) != 0x80) return {};
      code = code << 6U | (next & 0x3FU);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < form.first || code > 0x10FFFF || surrogate) return {};
    return {form.bytes, code};
  }
  return {};
}

/** C0, DEL and C1, and what changes the direction of the text that follows. */
bool is_control(std::uint32_t code) {
  return code < 0x20 || (code >= 0x7F && code < 0xA0) || (code >= 0x2028 && code <= 0x202E) ||
         (code >= 0x2066 && code <= 0x2069);
}

std::string escaped(std::string_view bytes) {
  constexpr const char* kDigits = "0123456789ABCDEF";
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const std::uint32_t byte = byte_at(bytes, i);
    text += {'\\', 'x', kDigits[byte >> 4U], kDigits[byte & 0xFU]};
  }
  return text;
}

std::string shown(std::string_view text, bool lines) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const Character character = character_at(text, at);
    const std::size_t size = std::max<std::size_t>(character.bytes, 1);
    const std::string_view bytes = text.substr(at, size);
    const bool line_feed = lines && bytes == "\n";
    const bool harmless = character.bytes > 0 && !is_control(character.code);
    result += harmless || line_feed ? std::string(bytes) : escaped(bytes);
    at += size;
  }
  return result;
}

}  // namespace

std::string printable(std::string_view text) {
  return shown(text, false);
}

std::string printable_lines(std::string_view text) {
  return shown(text, true);
}

}  // namespace tav::host
